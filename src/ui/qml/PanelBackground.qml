import QtQuick

// What is behind the panel in its window, with a line around it where the window has no frame.
Rectangle {
    id: root

    property bool framed: true

    color: Theme.window
    antialiasing: true
    radius: framed ? Theme.panelRadius : 0

    Rectangle {
        anchors.fill: parent
        visible: root.framed
        color: "transparent"
        antialiasing: true
        radius: root.radius
        border.width: 1
        border.color: Theme.border
    }
}
