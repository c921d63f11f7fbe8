import QtQuick
import QtQuick.Layouts
import QtQuick.Templates
import Murmelo.Ui

Card {
    id: root

    required property AppStateModel app

    contentItem: ColumnLayout {
        spacing: 4
        SmallSwitch {
            objectName: "transcriptSwitch"
            Layout.fillWidth: true
            text: qsTr("Transcript")
            checked: root.app.transcribeEnabled
            onToggled: root.app.transcribeEnabled = checked
        }
        Label {
            Layout.fillWidth: true
            text: qsTr("Quick on-device transcript with speaker labels. For higher quality, open the audio in MacWhisper or any transcription app.")
            font.pixelSize: Theme.caption
            lineHeight: 1.12
            color: Theme.secondary
            wrapMode: Text.Wrap
            horizontalAlignment: Text.AlignLeft
        }
    }
}
