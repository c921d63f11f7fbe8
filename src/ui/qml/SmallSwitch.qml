import QtQuick
import Murmelo.Ui

// The label leads, the switch stands at the other end. It shows what `checked` is bound to; who is told of a click
// changes that.
Pressable {
    id: root

    property string text
    property bool checked: false
    readonly property bool mirrored: LayoutMirroring.enabled
    readonly property int gap: 8
    readonly property color trackColor: checked ? Theme.accent : Theme.switchOff

    implicitWidth: label.implicitWidth
    implicitHeight: Math.max(18, track.height, label.implicitHeight)
    Accessible.role: Accessible.CheckBox
    Accessible.name: text
    Accessible.focusable: true
    Accessible.checkable: true
    Accessible.checked: checked
    Accessible.onPressAction: if (root.enabled) root.clicked()
    Accessible.onToggleAction: if (root.enabled) root.clicked()

    Text {
        id: label
        anchors.fill: parent
        text: root.text
        font.pixelSize: Theme.body
        font.weight: Font.Medium
        color: root.enabled ? Theme.primary : Theme.tertiary
        leftPadding: root.mirrored ? track.width + root.gap : 0
        rightPadding: root.mirrored ? 0 : track.width + root.gap
        verticalAlignment: Text.AlignVCenter
        wrapMode: Text.Wrap
    }
    Rectangle {
        id: track
        objectName: "switchTrack"
        x: root.mirrored ? 0 : root.width - width
        y: (root.height - height) / 2
        width: Theme.scaled(28)
        height: Theme.scaled(16)
        radius: height / 2
        opacity: root.enabled ? 1 : Theme.disabledOpacity
        color: root.down ? Theme.pressed(root.trackColor) : root.hovered ? Theme.hovered(root.trackColor) : root.trackColor
        border.width: Theme.switchBorder
        border.color: Theme.controlOutline
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
    }
    FocusRing {
        anchors.fill: track
        visible: root.visualFocus
        controlRadius: track.radius
    }
}
