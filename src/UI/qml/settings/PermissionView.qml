pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import Vorlin

// Whether something is allowed, why it is wanted, and where to allow it.
RowLayout {
    id: line

    required property FormRowBridge row

    spacing: 12

    Symbol {
        Layout.preferredWidth: 22
        Layout.preferredHeight: 22
        name: line.row.control.symbol
        color: line.row.control.granted ? Theme.good : Theme.warning
        Accessible.role: Accessible.Graphic
        Accessible.name: line.row.label + ": " + line.row.control.state
    }
    ColumnLayout {
        Layout.fillWidth: true
        spacing: 2

        Label {
            Layout.fillWidth: true
            text: line.row.label
            font.weight: Font.DemiBold
        }
        Label {
            Layout.fillWidth: true
            text: line.row.control.reason
            caption: true
            secondary: true
        }
    }
    Repeater {
        model: line.row.control.open

        CommandButton {
            required property CommandBridge modelData

            command: modelData
            Accessible.description: line.row.label
        }
    }
}
