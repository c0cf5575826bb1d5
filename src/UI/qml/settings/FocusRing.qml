import QtQuick
import Vorlin

// Shows that the keyboard acts on the item around which it stands.
Rectangle {
    property bool shown: false
    property real gap: 2

    anchors.fill: parent
    anchors.margins: -gap - border.width
    visible: shown
    color: "transparent"
    border.width: 2
    border.color: Theme.accent
}
