import QtQuick
import QtQuick.Layouts
import Vorlin

// A folder's path, and the button that chooses one.
RowLayout {
    id: line

    required property FormRowBridge row

    spacing: 10

    Label {
        Layout.fillWidth: true
        text: line.row.control.path
        secondary: true
        elide: Text.ElideMiddle
        wrapMode: Text.NoWrap
        horizontalAlignment: Text.AlignRight
    }
    CommandButton {
        command: line.row.control.choose
        Accessible.description: line.row.label
    }
}
