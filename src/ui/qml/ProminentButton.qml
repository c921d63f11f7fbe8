import QtQuick

// Filled with its tint.
BaseButton {
    id: root

    property color tint: Theme.accent
    property bool large: false

    horizontalPadding: 16
    implicitHeight: Math.max(large ? 32 : 26, implicitContentHeight + 10)
    font.pixelSize: Theme.body
    font.weight: Font.Medium
    textColor: enabled ? Theme.accentText : Theme.tertiary

    background: Rectangle {
        radius: root.large ? 7 : 6
        color: !root.enabled ? Theme.quaternary : root.down ? Theme.pressed(root.tint)
                             : root.hovered ? Theme.hovered(root.tint) : root.tint
        FocusRing { visible: root.visualFocus; controlRadius: parent.radius }
    }
}
