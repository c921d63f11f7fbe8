import QtQuick
import QtQuick.Layouts
import Murmelo.Ui

// All that the tray icon opens, without a window of its own and without a background.
FocusScope {
    id: root

    required property AppStateModel app

    readonly property bool shown: Window.visibility !== Window.Hidden && Window.visibility !== Window.Minimized
    onShownChanged: {
        if (shown)
            app.panelAppeared()
        else
            app.panelDisappeared()
    }

    focus: true
    implicitWidth: Theme.panelWidth
    implicitHeight: column.implicitHeight + 2 * column.anchors.margins
    LayoutMirroring.enabled: Application.layoutDirection === Qt.RightToLeft
    LayoutMirroring.childrenInherit: true
    Keys.onEscapePressed: Window.window.close()

    Shortcut {
        sequence: "Ctrl+Q"
        onActivated: root.app.quit()
    }

    ColumnLayout {
        id: column
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: 12
        spacing: 10

        Text {
            Layout.fillWidth: true
            Layout.leftMargin: 2
            Layout.rightMargin: 2
            objectName: "title"
            text: "Murmelo"
            font.pixelSize: Theme.title
            font.weight: Font.Bold
            color: Theme.primary
            horizontalAlignment: Text.AlignLeft
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        RecordCard {
            app: root.app
            focus: true
        }
        InputCard {
            objectName: "inputCard"
            app: root.app
        }
        TranscribeCard {
            objectName: "transcribeCard"
            app: root.app
        }
        Loader {
            objectName: "lastRecordingCard"
            Layout.fillWidth: true
            active: root.app.hasLastRecording
            visible: active
            // The loader of Qt 6.4 makes no bound component.
            sourceComponent: LastRecordingCard { app: root.app } // qmllint disable unqualified
        }
        Text {
            objectName: "statusLine"
            Layout.fillWidth: true
            Layout.leftMargin: 2
            Layout.rightMargin: 2
            visible: text !== ""
            text: root.app.status
            textFormat: Text.PlainText
            font.pixelSize: Theme.caption
            color: Theme.secondary
            wrapMode: Text.Wrap
            horizontalAlignment: Text.AlignLeft
            Accessible.role: Accessible.StatusBar
            Accessible.name: text
        }
        RowLayout {
            spacing: 8
            LinkButton {
                objectName: "permissionsButton"
                Layout.leftMargin: 2 - horizontalPadding // the text, not its padding, is in line with the title
                text: qsTr("Permissions…")
                color: Theme.tertiary
                onClicked: root.app.openOnboarding()
            }
            Item { Layout.fillWidth: true }
            LinkButton {
                objectName: "quitButton"
                Layout.rightMargin: 2
                horizontalPadding: 8 // its text ends where what stands in the cards ends
                text: qsTr("Quit")
                color: Theme.tertiary
                onClicked: root.app.quit()
            }
        }
    }
}
