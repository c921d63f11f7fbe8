pragma ComponentBehavior: Bound
import QtQuick

// A time whose digits are all as wide as the widest, so that the text does not tremble as the seconds pass.
Row {
    id: root

    property string text
    property font font
    property color color: Theme.primary

    readonly property real digitWidth: {
        let widest = 0
        for (let digit = 0; digit < 10; ++digit)
            widest = Math.max(widest, metrics.advanceWidth(String(digit)))
        return widest
    }

    LayoutMirroring.enabled: false // times are read from the left everywhere
    LayoutMirroring.childrenInherit: true

    FontMetrics {
        id: metrics
        font: root.font
    }
    Repeater {
        model: root.text.length
        Text {
            required property int index
            readonly property string character: root.text.charAt(index)

            text: character
            width: character >= "0" && character <= "9" ? root.digitWidth : implicitWidth
            horizontalAlignment: Text.AlignHCenter
            font: root.font
            color: root.color
        }
    }
}
