import QtQuick
import QtQuick.Layouts
import QtQuick.Controls.Basic

Control {
    padding: 10
    Layout.fillWidth: true
    background: Rectangle {
        radius: 8
        color: Theme.quaternary
        opacity: Theme.cardOpacity
    }
}
