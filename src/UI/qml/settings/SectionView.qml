pragma ComponentBehavior: Bound
import QtQuick
import Vorlin

// A section of a form: a card of rows with a header above and a footer below.
Column {
    id: view

    required property FormSectionBridge section

    function rowAt(index: int): RowView {
        return lines.itemAt(index) as RowView;
    }

    spacing: 7

    Item {
        width: parent.width
        height: Math.max(header.implicitHeight, buttons.height)
        visible: view.section.header !== ""

        Label {
            id: header

            x: 4
            anchors.verticalCenter: parent.verticalCenter
            text: view.section.header
            font.weight: Font.DemiBold
            Accessible.role: Accessible.Heading
        }
        Row {
            id: buttons

            anchors.right: parent.right
            anchors.bottom: parent.bottom
            spacing: 6

            Repeater {
                model: view.section.commands

                CommandButton {
                    required property CommandBridge modelData

                    command: modelData
                }
            }
        }
    }
    Rectangle {
        width: parent.width
        height: rows.height
        radius: 11
        color: Theme.card
        border.width: Theme.hairline
        border.color: Theme.outline

        Column {
            id: rows

            width: parent.width

            Repeater {
                id: lines

                model: view.section.rows

                RowView {
                    width: rows.width
                }
            }
        }
    }
    Label {
        x: 4
        width: parent.width - 8
        visible: text !== ""
        text: view.section.footer
        caption: true
        secondary: true
    }
}
