import QtQuick
import QtQuick.Layouts
import Murmelo.Ui

Card {
    id: root

    required property AppStateModel app

    ColumnLayout {
        anchors.fill: parent
        spacing: 4
        SmallSwitch {
            objectName: "transcriptSwitch"
            Layout.fillWidth: true
            text: qsTr("Transcript")
            checked: root.app.transcribeEnabled
            onClicked: root.app.transcribeEnabled = !root.app.transcribeEnabled
        }
        Label {
            Layout.fillWidth: true
            text: qsTr("Quick on-device transcript with speaker labels. For higher quality, open the audio in any transcription app.")
            font.pixelSize: Theme.caption
            color: Theme.secondary
            wrapMode: Text.Wrap
            horizontalAlignment: Text.AlignLeft
        }
    }
}
