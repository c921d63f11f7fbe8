import QtQuick
import QtQuick.Layouts
import Murmelo.Ui

// What is recorded, with its levels.
Card {
    id: root

    required property AppStateModel app

    readonly property int rowSpacing: 8

    component RowIcon: Item {
        property alias name: icon.name
        Layout.preferredWidth: Theme.iconFrame
        Layout.preferredHeight: Theme.iconFrame
        opacity: enabled ? 1 : Theme.disabledOpacity
        Symbol {
            id: icon
            anchors.centerIn: parent
            tint: Theme.secondary
        }
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 10
        Label {
            text: qsTr("Input")
            font.pixelSize: Theme.caption
            font.weight: Font.Medium
            color: Theme.secondary
        }
        ColumnLayout {
            spacing: 4
            RowLayout {
                objectName: "micRow"
                spacing: root.rowSpacing
                // The microphone stays the same during a recording.
                enabled: !root.app.isRecording && !root.app.isStarting
                RowIcon { name: "mic" }
                MicPicker {
                    app: root.app
                    Layout.fillWidth: true
                }
            }
            MeterBar {
                objectName: "micMeter"
                Layout.fillWidth: true
                Layout.leftMargin: Theme.iconFrame + root.rowSpacing // in line with the picker
                level: root.app.micLevel
                color: Theme.green
                Accessible.name: qsTr("Microphone level")
            }
        }
        ColumnLayout {
            spacing: 4
            RowLayout {
                Layout.leftMargin: 2
                spacing: root.rowSpacing
                RowIcon { name: "speaker-wave-2" }
                Label {
                    Layout.fillWidth: true
                    text: qsTr("Whatever you hear on this computer")
                    font.pixelSize: Theme.body
                    color: Theme.primary
                    wrapMode: Text.Wrap
                    horizontalAlignment: Text.AlignLeft
                }
            }
            MeterBar {
                objectName: "outputMeter"
                Layout.fillWidth: true
                Layout.leftMargin: Theme.iconFrame + root.rowSpacing
                level: root.app.outputLevel
                color: Theme.blue
                Accessible.name: qsTr("System audio level")
            }
        }
    }
}
