pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates

// What a picker of microphones opens. Here alone, with its scroll indicator, are controls of Qt: loading them takes
// longer than drawing the panel.
Popup {
    id: root

    required property MicPicker picker

    property point pointer // where the mouse has been seen last
    readonly property Component delegate: ItemDelegate {
        id: row

        required property int index

        width: root.availableWidth
        height: root.picker.rowHeight
        verticalPadding: 0
        leftPadding: mirrored ? 8 : Theme.scaled(24)
        rightPadding: mirrored ? Theme.scaled(24) : 8
        font.pixelSize: Theme.body
        focusPolicy: Qt.NoFocus
        highlighted: root.picker.highlightedIndex === index
        text: root.picker.nameAt(index)
        Accessible.role: Accessible.ListItem
        Accessible.name: text
        Accessible.selected: root.picker.currentIndex === index
        Accessible.onPressAction: clicked()
        onClicked: root.picker.choose(index)

        contentItem: Text {
            text: row.text
            textFormat: Text.PlainText
            font: row.font
            color: row.highlighted ? Theme.accentText : Theme.primary
            elide: Text.ElideRight
            horizontalAlignment: Text.AlignLeft
            verticalAlignment: Text.AlignVCenter
        }
        background: Rectangle {
            radius: 5
            color: row.highlighted ? Theme.accent : "transparent"
            Symbol {
                x: row.mirrored ? parent.width - width - 6 : 6
                anchors.verticalCenter: parent.verticalCenter
                size: Theme.scaled(12)
                visible: root.picker.currentIndex === row.index
                name: "check"
                tint: row.highlighted ? Theme.accentText : Theme.primary
            }
        }

        // A list that scrolls beneath a mouse that rests highlights nothing.
        HoverHandler {
            onPointChanged: {
                if (!hovered || point.scenePosition === root.pointer)
                    return
                root.pointer = point.scenePosition
                root.picker.highlightedIndex = row.index
            }
        }
    }

    // As wide as the picker's focus ring: its round corners then cover the ends of the meter below.
    x: -3
    y: picker.height + 4
    width: picker.width + 6
    // No further than to the window's end; the rest scrolls.
    height: Math.min(contentItem.implicitHeight + 2 * padding,
                     picker.Window.height - picker.mapToItem(null, 0, y).y - 8)
    padding: 5
    closePolicy: Popup.CloseOnEscape | Popup.CloseOnPressOutsideParent

    contentItem: ListView {
        clip: true
        implicitHeight: contentHeight
        model: root.picker.mics
        currentIndex: root.picker.highlightedIndex
        onVisibleChanged: if (visible) positionViewAtIndex(currentIndex, ListView.Beginning)
        LayoutMirroring.enabled: root.picker.mirrored // the popup is no child of the panel
        LayoutMirroring.childrenInherit: true
        ScrollIndicator.vertical: ThinScrollIndicator { }
        delegate: root.delegate
    }
    background: MenuBackground { }
}
