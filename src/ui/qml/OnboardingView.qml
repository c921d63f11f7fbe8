import QtQuick
import QtQuick.Layouts
import Murmelo.Ui

// Leads a new user to the two permissions.
FocusScope {
    id: root

    required property AppStateModel app

    property bool checking: false // once the user has asked for a check, for as long as there is the window
    readonly property bool micGranted: app.micGranted
    readonly property bool systemGranted: app.systemAudio === AppStateModel.Works
    readonly property bool systemChecking: app.systemAudio === AppStateModel.Unknown && checking

    focus: true
    implicitWidth: Theme.scaled(460)
    implicitHeight: Theme.scaled(300)
    LayoutMirroring.enabled: Application.layoutDirection === Qt.RightToLeft
    LayoutMirroring.childrenInherit: true
    // A button that has the focus takes the key first.
    Keys.onReturnPressed: event => pressDefaultButton(event)
    Keys.onEnterPressed: event => pressDefaultButton(event)

    function pressDefaultButton(event) {
        if (done.enabled && !event.isAutoRepeat)
            done.clicked()
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 24
        spacing: 18

        ColumnLayout {
            spacing: 4
            Text {
                Layout.fillWidth: true
                text: qsTr("Record what you hear and say")
                font.pixelSize: Theme.title2
                font.weight: Font.Bold
                color: Theme.primary
                horizontalAlignment: Text.AlignLeft
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            Label {
                objectName: "explanation"
                Layout.fillWidth: true
                text: qsTr("The app captures your computer's audio and your microphone. That needs two one-time permissions.")
                font.pixelSize: Theme.body
                color: Theme.secondary
                wrapMode: Text.Wrap
                horizontalAlignment: Text.AlignLeft
            }
        }
        OnboardingRow {
            objectName: "micRow"
            number: 1
            granted: root.micGranted
            title: qsTr("Microphone")
            detail: granted ? qsTr("Granted") : qsTr("So your voice is in the recording.")
            PushButton {
                objectName: "grantMic"
                visible: !root.micGranted
                text: qsTr("Grant")
                Accessible.description: qsTr("Microphone")
                onClicked: root.app.requestMic()
            }
        }
        OnboardingRow {
            objectName: "systemRow"
            number: 2
            granted: root.systemGranted
            title: qsTr("System Audio")
            detail: granted ? qsTr("Granted — capture verified.") : root.systemChecking ? qsTr("Checking…")
                            : qsTr("So everything you hear is in the recording.")
            Spinner {
                objectName: "checkingSpinner"
                visible: root.systemChecking
            }
            PushButton {
                objectName: "grantSystemAudio"
                visible: !root.systemGranted && !root.systemChecking
                text: qsTr("Grant")
                Accessible.description: qsTr("System Audio")
                onClicked: {
                    root.checking = true
                    root.app.grantSystemAudio()
                }
            }
            PushButton {
                objectName: "settings"
                small: true
                visible: root.app.systemAudio === AppStateModel.Silent
                text: qsTr("Settings")
                onClicked: root.app.openSoundSettings()
            }
        }
        Item { Layout.fillHeight: true }
        RowLayout {
            Item { Layout.fillWidth: true }
            ProminentButton {
                id: done
                objectName: "done"
                enabled: root.micGranted // the system's audio can be looked after later
                text: qsTr("Done")
                onClicked: root.app.finishOnboarding()
                ButtonText { button: done }
            }
        }
    }
}
