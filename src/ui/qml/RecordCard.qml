import QtQuick
import QtQuick.Layouts
import Murmelo.Ui

// The one button for everything: start, and stop with the time.
ProminentButton {
    id: root

    required property AppStateModel app

    objectName: "recordButton"
    large: true
    Layout.fillWidth: true
    tint: app.isRecording ? Theme.red : Theme.accent
    // A recording can always be stopped, once.
    enabled: !app.isSaving && (app.isRecording || (!app.isStarting && app.selectedMicID !== ""))
    text: app.isRecording ? qsTr("Stop") : app.isStarting ? qsTr("Starting…") : qsTr("Start Recording")
    Accessible.description: app.isRecording ? app.elapsedString : enabled ? "" : qsTr("Not available")
    onClicked: app.toggleRecording()

    RowLayout {
        anchors.fill: parent
        spacing: 8
        Item { Layout.fillWidth: true }
        Symbol {
            objectName: "recordSymbol"
            name: root.app.isRecording ? "stop-fill" : "record-circle"
            tint: root.textColor
        }
        Text {
            text: root.text
            font: root.font
            color: root.textColor
        }
        ElapsedText {
            objectName: "elapsed"
            visible: root.app.isRecording
            text: root.app.elapsedString
            font: root.font
            color: root.textColor
            opacity: Theme.elapsedOpacity
        }
        Item { Layout.fillWidth: true }
    }
}
