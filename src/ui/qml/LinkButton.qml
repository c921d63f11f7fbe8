import QtQuick

// Borderless and small.
BaseButton {
    id: root

    property color color: Theme.link

    verticalPadding: 2
    horizontalPadding: 4
    font.pixelSize: Theme.small
    textColor: down || hovered ? Theme.primary : color

    background: Rectangle {
        radius: 4
        color: root.hovered ? Theme.quaternary : "transparent"
        FocusRing { visible: root.visualFocus; controlRadius: 4; anchors.margins: -1 }
    }
}
