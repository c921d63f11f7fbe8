import QtQuick
import QtQuick.Layouts
import Murmelo.Ui

// What has become of the last recording, and the ways to it.
Card {
    id: root

    required property AppStateModel app

    RowLayout {
        anchors.fill: parent
        spacing: 8
        Spinner {
            objectName: "transcribingSpinner"
            visible: root.app.isTranscribing
        }
        Symbol {
            objectName: "savedSymbol"
            visible: !root.app.isTranscribing
            name: "checkmark-circle-fill"
            tint: Theme.green
        }
        Label {
            objectName: "lastRecordingText"
            Layout.fillWidth: true
            text: root.app.isTranscribing ? qsTr("Transcribing…") : qsTr("Saved · %1").arg(root.app.lastDuration)
            font.pixelSize: Theme.caption
            color: root.app.isTranscribing ? Theme.secondary : Theme.primary
            wrapMode: Text.Wrap
            horizontalAlignment: Text.AlignLeft
        }
        LinkButton {
            objectName: "transcriptButton"
            visible: root.app.hasTranscript
            text: qsTr("Transcript")
            onClicked: root.app.openTranscript()
        }
        LinkButton {
            objectName: "folderButton"
            Layout.rightMargin: -horizontalPadding // its text ends where picker and switch end
            text: qsTr("Folder")
            onClicked: root.app.revealLastRecording()
        }
    }
}
