import QtQuick
import QtQuick.Layouts

// One permission: its number until it is granted, what it is for, and the controls that get it.
RowLayout {
    id: root

    required property int number
    required property bool granted
    required property string title
    required property string detail
    default property alias controls: controlRow.data

    spacing: 10
    Layout.fillWidth: true

    Symbol {
        name: root.granted ? "checkmark-circle-fill" : root.number + "-circle"
        tint: root.granted ? Theme.green : Theme.secondary
        size: Theme.scaled(22)
    }
    ColumnLayout {
        spacing: 2
        Label {
            text: root.title
            font.pixelSize: Theme.body
            font.weight: Font.Medium
            color: Theme.primary
        }
        Label {
            objectName: "detail"
            text: root.detail
            font.pixelSize: Theme.caption
            color: Theme.secondary
        }
    }
    Item { Layout.fillWidth: true }
    RowLayout {
        id: controlRow
        spacing: 10
    }
}
