pragma ComponentBehavior: Bound
import QtQuick
import Vorlin

// What stands above the window: a raised card with a soft shadow.
Rectangle {
    id: card

    color: Theme.raised
    radius: 8
    border.width: Theme.hairline
    border.color: Theme.outline

    Repeater {
        model: 6

        Rectangle {
            required property int index

            z: -1
            anchors.fill: parent
            anchors.margins: -index - 1
            anchors.topMargin: -index + 1
            anchors.bottomMargin: -index - 3
            radius: card.radius + index + 1
            color: Theme.dark ? "#12000000" : "#07000000"
        }
    }
}
