import QtQuick
import Vorlin

// A text to be read: what belongs to a label, or a paragraph.
Label {
    required property FormRowBridge row

    text: row.control.text
    visible: text !== ""
    secondary: row.label !== ""
    horizontalAlignment: row.label === "" ? Text.AlignLeft : Text.AlignRight
}
