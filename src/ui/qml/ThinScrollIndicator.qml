import QtQuick
import QtQuick.Templates

// Shows that there is more than fits, and where one is.
ScrollIndicator {
    id: root

    implicitWidth: implicitContentWidth + 2 * padding
    padding: 2

    contentItem: Rectangle {
        implicitWidth: 2
        visible: root.size < 1
        color: Theme.tertiary
    }
}
