import QtQuick
import QtQuick.Layouts
import QtQuick.Templates

Control {
    padding: 10
    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    Layout.fillWidth: true
    background: Rectangle {
        radius: 8
        color: Theme.quaternary
        opacity: Theme.cardOpacity
    }
}
