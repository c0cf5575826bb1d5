pragma ComponentBehavior: Bound
import QtQuick
import Vorlin

// The position on a screen, as nine cells of it.
Rectangle {
    id: screen

    required property FormRowBridge row

    implicitWidth: choices.width + 10
    implicitHeight: choices.height + 10
    radius: 8
    color: Theme.control
    border.width: Theme.hairline
    border.color: Theme.outline

    Choices {
        id: choices

        anchors.centerIn: parent
        columns: 3
        spacing: 3
        label: screen.row.label
        model: screen.row.choices
        selected: screen.row.control.selected
        onChosen: index => screen.row.choose(index)

        delegate: Choice {
            id: cell

            required property var modelData
            required property int index

            group: choices
            place: index
            help: modelData.label
            implicitWidth: 34
            implicitHeight: 20

            background: Rectangle {
                radius: 4
                color: cell.down ? Theme.controlPressed
                       : cell.hovered ? Theme.controlHover : Theme.control

                Rectangle {
                    anchors.fill: parent
                    radius: parent.radius
                    visible: cell.checked
                    color: Theme.accentFill
                }
                Rectangle {
                    anchors.centerIn: parent
                    width: 16
                    height: 5
                    radius: 2.5
                    color: cell.checked ? Theme.accentInk : Theme.secondary
                    opacity: cell.checked ? 1 : 0.45
                }
                FocusRing {
                    shown: cell.visualFocus
                    gap: 1
                    radius: 6
                }
            }
        }
    }
}
