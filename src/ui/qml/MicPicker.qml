pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates
import Murmelo.Ui

// Chooses one of the offered microphones. It shows nothing when the selected one is not among them.
ComboBox {
    id: root

    required property AppStateModel app

    readonly property int rowHeight: Math.max(24, metrics.height + 8)

    function showSelection() { currentIndex = indexOfValue(app.selectedMicID) }

    objectName: "micPicker"
    textRole: "name"
    valueRole: "id"
    model: app.mics
    font.pixelSize: Theme.body
    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: rowHeight
    leftPadding: mirrored ? Theme.scaled(24) : 8
    rightPadding: mirrored ? 8 : Theme.scaled(24)
    Accessible.role: Accessible.ComboBox
    Accessible.name: qsTr("Microphone")
    Accessible.description: displayText
    Accessible.onPressAction: {
        if (popup.visible)
            popup.close()
        else if (enabled)
            popup.open()
    }

    onActivated: app.selectedMicID = currentValue
    onModelChanged: showSelection() // a new list begins with its first entry
    Component.onCompleted: showSelection()
    onEnabledChanged: if (!enabled) popup.close()
    Window.onVisibilityChanged: if (Window.visibility === Window.Hidden) popup.close()

    Connections {
        target: root.app
        function onChanged() { root.showSelection() }
    }
    FontMetrics {
        id: metrics
        font: root.font
    }

    contentItem: Text {
        text: root.displayText
        textFormat: Text.PlainText
        font: root.font
        color: root.enabled ? Theme.primary : Theme.tertiary
        elide: Text.ElideRight
        horizontalAlignment: Text.AlignLeft
        verticalAlignment: Text.AlignVCenter
    }
    background: Rectangle {
        radius: 6
        opacity: root.enabled ? 1 : 0.5
        border.width: 1
        border.color: Theme.controlBorder
        color: root.down ? Theme.controlDown : Theme.control
        FocusRing { visible: root.visualFocus }
    }
    indicator: Symbol {
        x: root.mirrored ? 6 : root.width - width - 6
        y: (root.height - height) / 2
        size: Theme.scaled(14)
        name: "chevron-up-down"
        tint: root.enabled ? Theme.secondary : Theme.tertiary
    }

    popup: Popup {
        y: root.height + 4
        width: root.width
        // No further than to the window's end; the rest scrolls.
        height: Math.min(contentItem.implicitHeight + 2 * padding,
                         root.Window.height - root.mapToItem(null, 0, y).y - 8)
        padding: 5
        contentItem: ListView {
            clip: true
            implicitHeight: contentHeight
            model: root.delegateModel
            currentIndex: root.highlightedIndex
            LayoutMirroring.enabled: root.mirrored // the popup is no child of the panel
            LayoutMirroring.childrenInherit: true
            ScrollIndicator.vertical: ThinScrollIndicator { }
        }
        background: Rectangle {
            radius: 8
            color: Theme.menu
            border.width: 1
            border.color: Theme.border
        }
    }
    delegate: ItemDelegate {
        id: row

        required property int index

        width: root.popup.availableWidth
        height: root.rowHeight
        verticalPadding: 0
        leftPadding: mirrored ? 8 : Theme.scaled(24)
        rightPadding: mirrored ? Theme.scaled(24) : 8
        font.pixelSize: Theme.body
        highlighted: root.highlightedIndex === index
        text: root.textAt(index)
        Accessible.role: Accessible.ListItem
        Accessible.name: text
        Accessible.selected: root.currentIndex === index
        Accessible.onPressAction: clicked()

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
                visible: root.currentIndex === row.index
                name: "check"
                tint: row.highlighted ? Theme.accentText : Theme.primary
            }
        }
    }
}
