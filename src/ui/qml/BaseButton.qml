import QtQuick
import QtQuick.Templates

// What all buttons do alike, beside being clicked.
AbstractButton {
    id: root

    property color textColor: Theme.primary

    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()
    Accessible.role: Accessible.Button
    Accessible.name: text
    // Qt 6.4 does not tell a screen reader that an item is disabled.
    Accessible.description: enabled ? "" : qsTr("Not available")
    Accessible.onPressAction: if (root.enabled) root.clicked()

    contentItem: Text {
        text: root.text
        font: root.font
        color: root.textColor
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }
}
