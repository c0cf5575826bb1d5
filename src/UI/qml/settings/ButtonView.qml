import QtQuick
import Vorlin

// A button in a row of its own.
Item {
    id: line

    required property FormRowBridge row

    implicitWidth: button.implicitWidth
    implicitHeight: button.implicitHeight

    CommandButton {
        id: button

        anchors.centerIn: parent
        command: line.row.control.command
    }
}
