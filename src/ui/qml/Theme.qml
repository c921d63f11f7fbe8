pragma Singleton
import QtQuick
import Murmelo.Ui

// The only place that knows colours and sizes. Each text that is not disabled has a contrast of 4.5:1 at least
// to what it stands on, in every state of its control; where the user wants high contrast, of 7:1. What shows a control
// or its state without a text has 3:1 (WCAG 2, 1.4.11).
QtObject {
    // What the user wants; set from outside.
    property bool dark: false
    property bool highContrast: false
    property color desktopAccent: "#1c71d8"
    property real textScale: 1
    property bool animated: true

    readonly property real textContrast: highContrast ? 7 : 4.5
    readonly property color outline: dark ? "#99ffffff" : "#99000000" // where contrast is high

    readonly property color window: dark ? "#262628" : "#f6f6f7"
    readonly property color border: highContrast ? outline : dark ? "#26ffffff" : "#24000000"

    // Emphasis of what stands on it, from text to the faintest fill.
    readonly property color primary: highContrast ? (dark ? "white" : "black") : dark ? "#e6ffffff" : "#d9000000"
    readonly property color secondary: highContrast ? (dark ? "#e6ffffff" : "#d9000000") : dark ? "#a6ffffff" : "#99000000"
    readonly property color tertiary: highContrast ? (dark ? "#ccffffff" : "#b3000000") : dark ? "#80ffffff" : "#8c000000"
    readonly property color quaternary: dark ? "#1fffffff" : "#1a000000"
    readonly property real cardOpacity: 0.5 // of quaternary
    readonly property color card: Qt.tint(window, Qt.alpha(quaternary, quaternary.a * cardOpacity))

    readonly property color control: dark ? "#4a4a4d" : "#ffffff"
    readonly property color controlHovered: dark ? "#565659" : "#f0f0f1"
    readonly property color controlDown: dark ? "#3e3e41" : "#dededf"
    readonly property color controlBorder: highContrast ? outline : dark ? "#14ffffff" : "#26000000"
    readonly property color menu: dark ? "#333336" : "#ffffff"
    readonly property color controlOutline: dark ? "#929296" : "#7a7a7e" // opaque: the list's covers what is below it
    readonly property color switchOff: controlOutline
    readonly property int switchBorder: dark ? 1 : 0 // the accent alone is too dark there
    readonly property color shadow: dark ? "#1c000000" : "#0a000000" // of one layer
    readonly property real disabledOpacity: 0.5

    readonly property color accentText: "#ffffff" // on red too
    readonly property color accent: ContrastGuard.ensure(desktopAccent, accentText, textContrast)
    readonly property color link: ContrastGuard.ensure(desktopAccent, card, textContrast)
    readonly property color focus: ContrastGuard.ensure(desktopAccent, card, 3)
    readonly property color red: ContrastGuard.ensure("#c2261d", accentText, textContrast)
    readonly property real elapsedOpacity: highContrast ? 1 : 0.85
    readonly property color green: dark ? "#32d74b" : "#1a8035"
    readonly property color blue: dark ? "#4a9eff" : "#1769d2"

    function hovered(tint: color) : color { return Qt.darker(tint, 1.1) }
    function pressed(tint: color) : color { return Qt.darker(tint, 1.18) }

    // Lengths in logical pixels. What holds text grows with it, the space between does not.
    function scaled(length: real) : int { return Math.round(length * textScale) }
    readonly property int title: scaled(18)
    readonly property int title2: scaled(17)
    readonly property int title3: scaled(15)
    readonly property int body: scaled(13)
    readonly property int small: scaled(12)
    readonly property int caption: scaled(11)
    readonly property int iconFrame: scaled(16)
    readonly property int panelWidth: scaled(320)
    readonly property int panelRadius: 10
}
