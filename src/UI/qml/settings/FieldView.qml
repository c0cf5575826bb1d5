import QtQuick
import Vorlin

// A line of text of a form.
TextBox {
    required property FormRowBridge row

    label: row.label
    text: row.control.text
    placeholderText: row.control.placeholder
    onTextEdited: row.edit(text)
}
