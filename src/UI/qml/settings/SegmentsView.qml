pragma ComponentBehavior: Bound
import QtQuick
import Vorlin

// A picker as a row of segments.
Rectangle {
    id: segments

    required property FormRowBridge row

    implicitWidth: choices.width + 6
    implicitHeight: choices.height + 6
    radius: 8
    color: Theme.control

    Choices {
        id: choices

        anchors.centerIn: parent
        columns: model.length
        spacing: 2
        label: segments.row.label
        model: segments.row.choices
        selected: segments.row.control.selected
        onChosen: index => segments.row.choose(index)

        delegate: Choice {
            id: segment

            required property var modelData
            required property int index

            group: choices
            place: index
            text: modelData.label
            implicitWidth: Math.max(64, implicitContentWidth + 24)
            implicitHeight: Math.max(24, implicitContentHeight + 8)

            contentItem: Label {
                text: segment.text
                wrapMode: Text.NoWrap
                horizontalAlignment: Text.AlignHCenter
                font.weight: segment.checked ? Font.DemiBold : Font.Normal
                color: segment.checked ? Theme.accentInk : Theme.text
                Accessible.ignored: true
            }
            background: Rectangle {
                radius: 6
                color: segment.checked ? Theme.accentFill
                       : segment.down ? Theme.controlPressed
                       : segment.hovered ? Theme.controlHover : "transparent"

                FocusRing {
                    shown: segment.visualFocus
                    gap: 3
                    radius: 10
                }
            }
        }
    }
}
