import QtQuick

BaseButton {
    id: root

    property bool small: false

    horizontalPadding: small ? 10 : 14
    implicitHeight: Math.max(small ? 22 : 26, implicitContentHeight + 6)
    font.pixelSize: small ? Theme.caption : Theme.body
    textColor: enabled ? Theme.primary : Theme.tertiary

    background: Rectangle {
        radius: 6
        border.width: 1
        border.color: Theme.controlBorder
        color: root.down ? Theme.controlDown : root.hovered ? Theme.controlHovered : Theme.control
        FocusRing { visible: root.visualFocus }
    }
}
