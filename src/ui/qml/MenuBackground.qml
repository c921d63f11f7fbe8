pragma ComponentBehavior: Bound
import QtQuick

// What is below an open list is covered, and darker at its edge.
Rectangle {
    id: root

    radius: 6
    color: Theme.menu
    border.width: 1
    border.color: Theme.controlOutline

    // The software renderer has no blur: each layer is a little larger and makes what it covers a little darker.
    Repeater {
        model: 6
        Rectangle {
            required property int index

            z: -1
            anchors.fill: parent
            anchors.margins: -index
            anchors.topMargin: 2 - index
            anchors.bottomMargin: -2 - index
            radius: root.radius + index
            color: Theme.shadow
        }
    }
}
