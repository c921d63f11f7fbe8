import QtQuick
import Murmelo.Ui

// Chooses one of the offered microphones. It shows nothing when the selected one is not among them, and cannot be used
// when there are none. The list is made when it opens for the first time.
Pressable {
    id: root

    required property AppStateModel app

    readonly property var mics: app.mics
    readonly property int count: mics.length
    readonly property int currentIndex: indexOfSelected()
    readonly property string displayText: count > 0 ? nameAt(currentIndex) : qsTr("No microphone")
    readonly property int rowHeight: Math.max(24, metrics.height + 8)
    readonly property bool mirrored: LayoutMirroring.enabled
    readonly property var popup: list.item
    readonly property bool isOpen: popup !== null && popup.visible
    property int highlightedIndex: -1 // in the open list

    function nameAt(index: int) : string { return index >= 0 && index < count ? mics[index].name : "" }
    function indexOfSelected() : int {
        for (let i = 0; i < count; ++i)
            if (mics[i].id === app.selectedMicID)
                return i
        return -1
    }
    function open() {
        if (count === 0)
            return
        highlightedIndex = indexOfSelected()
        if (popup === null)
            list.setSource("MicList.qml", { picker: root, parent: root })
        popup.open()
    }
    function close() {
        if (isOpen)
            popup.close()
    }
    function toggle() {
        if (isOpen)
            close()
        else
            open()
    }
    // Chosen again, it counts as well.
    function choose(index: int) {
        close()
        if (index >= 0 && index < count)
            app.selectedMicID = mics[index].id
    }
    function goTo(index: int) {
        if (index < 0 || index >= count)
            return
        if (isOpen)
            highlightedIndex = index
        else if (index !== indexOfSelected())
            choose(index)
    }
    // The next one, all round, whose name begins with what has been typed.
    function search(typed: string, from: int) {
        for (let i = 0; i < count; ++i) {
            const index = (from + 1 + i) % count
            if (typed !== "" && nameAt(index).toLowerCase().startsWith(typed.toLowerCase()))
                return goTo(index)
        }
    }

    objectName: "micPicker"
    enabled: count > 0
    implicitWidth: label.implicitWidth
    implicitHeight: rowHeight
    Accessible.role: Accessible.ComboBox
    Accessible.name: qsTr("Microphone")
    Accessible.description: displayText
    Accessible.focusable: true
    Accessible.onPressAction: if (root.enabled) root.toggle()

    onClicked: toggle()
    onActiveFocusChanged: if (!activeFocus) close()
    onEnabledChanged: if (!enabled) close()
    Window.onVisibilityChanged: if (Window.visibility === Window.Hidden) close()
    Keys.onPressed: event => {
        const current = isOpen ? highlightedIndex : indexOfSelected()
        event.accepted = true
        switch (event.key) {
        case Qt.Key_Up:
            return goTo(current - 1)
        case Qt.Key_Down:
            return goTo(current + 1)
        case Qt.Key_Home:
            return goTo(0)
        case Qt.Key_End:
            return goTo(count - 1)
        case Qt.Key_Return:
        case Qt.Key_Enter:
            if (isOpen)
                choose(highlightedIndex)
            return
        case Qt.Key_Space:
            event.accepted = isOpen // the first one opens
            if (isOpen)
                choose(highlightedIndex)
            return
        case Qt.Key_Escape:
            event.accepted = isOpen // the next one closes the panel
            return close()
        default:
            event.accepted = false
            search(event.text, current)
        }
    }

    FontMetrics {
        id: metrics
        font: label.font
    }
    Rectangle {
        id: background
        anchors.fill: parent
        radius: 6
        opacity: root.enabled ? 1 : Theme.disabledOpacity
        border.width: 1
        border.color: Theme.controlOutline
        color: root.down || root.isOpen ? Theme.controlDown : root.hovered ? Theme.controlHovered : Theme.control
    }
    FocusRing {
        visible: root.visualFocus
        controlRadius: background.radius
    }
    Text {
        id: label
        anchors.fill: parent
        leftPadding: root.mirrored ? Theme.scaled(24) : 8
        rightPadding: root.mirrored ? 8 : Theme.scaled(24)
        text: root.displayText
        textFormat: Text.PlainText
        font.pixelSize: Theme.body
        color: root.count === 0 ? Theme.secondary : root.enabled ? Theme.primary : Theme.tertiary
        elide: Text.ElideRight
        horizontalAlignment: Text.AlignLeft
        verticalAlignment: Text.AlignVCenter
    }
    Symbol {
        x: root.mirrored ? 6 : root.width - width - 6
        y: (root.height - height) / 2
        size: Theme.scaled(14)
        visible: root.count > 0
        name: "chevron-up-down"
        tint: root.enabled ? Theme.secondary : Theme.tertiary
    }
    Loader { id: list }
}
