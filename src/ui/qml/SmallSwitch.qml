import QtQuick
import QtQuick.Templates

// The label leads, the switch stands at the other end.
Switch {
    id: root

    readonly property int gap: 8

    function flip() {
        toggle()
        toggled()
    }

    padding: 0
    font.pixelSize: Theme.body
    font.weight: Font.Medium
    implicitWidth: implicitContentWidth
    implicitHeight: Math.max(18, indicator.height, implicitContentHeight)
    Keys.onReturnPressed: flip()
    Keys.onEnterPressed: flip()
    Accessible.role: Accessible.CheckBox
    Accessible.name: text
    Accessible.checkable: true
    Accessible.checked: checked
    Accessible.onPressAction: flip()
    Accessible.onToggleAction: flip()

    indicator: Rectangle {
        x: root.mirrored ? 0 : root.width - width
        y: (root.height - height) / 2
        width: Theme.scaled(28)
        height: Theme.scaled(16)
        radius: height / 2
        color: root.checked ? Theme.accent : Theme.switchOff
        Rectangle {
            readonly property real inset: 1.5

            x: root.checked === root.mirrored ? inset : parent.width - width - inset
            y: inset
            width: height
            height: parent.height - 2 * inset
            radius: height / 2
            color: "white"
            border.width: Theme.dark ? 0 : 0.5
            border.color: "#20000000"
            Behavior on x {
                enabled: Theme.animated
                NumberAnimation { duration: 90 }
            }
        }
        FocusRing { visible: root.visualFocus; controlRadius: parent.radius }
    }
    contentItem: Text {
        text: root.text
        font: root.font
        color: Theme.primary
        leftPadding: root.mirrored ? root.indicator.width + root.gap : 0
        rightPadding: root.mirrored ? 0 : root.indicator.width + root.gap
        verticalAlignment: Text.AlignVCenter
        wrapMode: Text.Wrap
    }
}
