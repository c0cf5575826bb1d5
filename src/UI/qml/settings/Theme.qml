pragma Singleton
import QtQuick

// The colours and sizes of the settings window, on a light and on a dark desktop. Every text stands
// out from what is under it by 4.5 to 1 at least.
QtObject {
    property bool dark: false
    property bool reducedMotion: false
    property color accent: "#308cc6"
    property real pixelRatio: 1

    readonly property color window: dark ? "#222226" : "#f3f3f5"
    readonly property color bar: dark ? "#2a2a2f" : "#fafafb"
    readonly property color card: dark ? "#303036" : "#ffffff"
    readonly property color raised: dark ? "#3a3a41" : "#ffffff"
    readonly property color outline: dark ? "#1affffff" : "#1a000000"
    readonly property color separator: dark ? "#17ffffff" : "#14000000"
    readonly property color fieldOutline: dark ? "#45ffffff" : "#42000000"
    readonly property color text: dark ? "#f4f4f6" : "#1d1d20"
    readonly property color secondary: dark ? "#b1b1ba" : "#62626a"
    readonly property color control: dark ? "#1cffffff" : "#0f000000"
    readonly property color controlHover: dark ? "#28ffffff" : "#19000000"
    readonly property color controlPressed: dark ? "#38ffffff" : "#26000000"
    readonly property color track: dark ? "#33ffffff" : "#26000000"
    readonly property color knob: dark ? "#e4e4e8" : "#ffffff"
    readonly property color dim: dark ? "#80000000" : "#4d000000"
    readonly property color good: dark ? "#57d27c" : "#1d7f3b"
    readonly property color warning: dark ? "#ffb454" : "#a14d00"
    readonly property color destructive: dark ? "#ff8f86" : "#c0212b"
    readonly property color link: dark ? "#86bdff" : "#0b5cad"

    // What stands on the accent is white, on a bright one black; where white would be hard to read
    // the accent under it is darker.
    readonly property real brightness: 0.2126 * linear(accent.r) + 0.7152 * linear(accent.g)
                                       + 0.0722 * linear(accent.b)
    readonly property bool bright: brightness > 0.4
    readonly property color accentInk: bright ? "#16161a" : "#ffffff"
    readonly property color accentFill: bright || brightness < 0.18
                                        ? accent
                                        : Qt.darker(accent, Math.pow(brightness / 0.18, 1 / 2.2))
    readonly property color accentTint: Qt.rgba(accent.r, accent.g, accent.b, dark ? 0.28 : 0.16)

    readonly property string family: Application.font.family
    readonly property real textSize: Math.max(11, Application.font.pixelSize)
    readonly property real captionSize: Math.max(10, Math.round(textSize * 0.88))
    readonly property real titleSize: Math.round(textSize * 1.75)

    // As thin as a line can be that is drawn sharply.
    readonly property real hairline: Math.max(1, Math.floor(pixelRatio)) / pixelRatio
    readonly property int motion: reducedMotion ? 0 : 120

    function linear(part: real): real {
        return part <= 0.04045 ? part / 12.92 : Math.pow((part + 0.055) / 1.055, 2.4);
    }
}
