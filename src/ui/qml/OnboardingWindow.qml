import QtQuick
import QtQuick.Window
import Murmelo.Ui

// Closing it only hides it; its owner decides when it goes.
Window {
    id: root

    required property AppStateModel app

    objectName: "onboardingWindow"
    title: qsTr("Set up Murmelo")
    flags: Qt.Window | Qt.CustomizeWindowHint | Qt.WindowTitleHint | Qt.WindowCloseButtonHint
    color: Theme.window
    width: Theme.scaled(460)
    height: Theme.scaled(320)
    minimumWidth: width
    maximumWidth: width
    minimumHeight: height
    maximumHeight: height

    Shortcut {
        sequence: "Ctrl+Q"
        onActivated: root.app.quit()
    }
    OnboardingView {
        objectName: "onboardingView"
        anchors.centerIn: parent
        width: implicitWidth
        height: implicitHeight
        app: root.app
        Keys.onEscapePressed: root.close()
    }
}
