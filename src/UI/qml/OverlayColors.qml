import QtQuick

// The colours of a light and of a dark desktop. Each text stands out from the glass over black and
// over white alike.
QtObject {
    property bool dark: false

    readonly property color glass: dark ? "#e81c1c1f" : "#f0f8f8fa"
    readonly property color border: dark ? "#33ffffff" : "#1f000000"
    readonly property color shadow: dark ? "#73000000" : "#4d000000"
    readonly property color primary: dark ? "#f5ffffff" : "#e6000000"
    readonly property color secondary: dark ? "#b3ebebf5" : "#b33c3c43"
    readonly property color keycap: dark ? "#1fffffff" : "#14000000"
    readonly property color red: dark ? "#ff453a" : "#e3271c"
    readonly property color orange: dark ? "#ff9f0a" : "#c96a00"
}
