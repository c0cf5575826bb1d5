import QtQuick
import Vorlin

// A text in the window's font.
Text {
    property bool caption: false
    property bool secondary: false

    visible: text !== ""
    color: secondary ? Theme.secondary : Theme.text
    font.pixelSize: caption ? Theme.captionSize : Theme.textSize
    lineHeight: 1.1
    wrapMode: Text.Wrap
    textFormat: Text.PlainText
    verticalAlignment: Text.AlignVCenter
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
