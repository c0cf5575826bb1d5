import QtQuick
import QtQuick.Templates as T
import Vorlin

// A line of text to be written.
T.TextField {
    id: field

    property string label: ""

    Accessible.role: Accessible.EditableText
    Accessible.name: label
    implicitWidth: 240
    implicitHeight: Math.max(28, contentHeight + 10)
    leftPadding: 9
    rightPadding: 9
    verticalAlignment: TextInput.AlignVCenter
    color: Theme.text
    font.pixelSize: Theme.textSize
    selectByMouse: true
    selectionColor: Theme.accentFill
    selectedTextColor: Theme.accentInk

    Label {
        anchors.fill: parent
        anchors.leftMargin: field.leftPadding
        visible: field.length === 0 && field.preeditText === ""
        text: field.placeholderText
        secondary: true
        elide: Text.ElideRight
        wrapMode: Text.NoWrap
        Accessible.ignored: true
    }
    background: Rectangle {
        radius: 7
        color: Theme.dark ? "#26000000" : "#ffffff"
        border.width: field.activeFocus ? 2 : Theme.hairline
        border.color: field.activeFocus ? Theme.accent : Theme.fieldOutline
    }
}
