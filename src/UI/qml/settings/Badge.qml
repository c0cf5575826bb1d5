import QtQuick
import Vorlin

// A word in a small box.
Rectangle {
    property alias text: word.text
    property bool accented: false

    implicitWidth: word.implicitWidth + 12
    implicitHeight: word.implicitHeight + 4
    radius: 5
    color: accented ? Theme.accentTint : Theme.control

    Label {
        id: word

        anchors.centerIn: parent
        width: Math.min(implicitWidth, parent.width - 12)
        caption: true
        wrapMode: Text.NoWrap
        elide: Text.ElideRight
        secondary: !parent.accented
        font.pixelSize: Math.max(10, Theme.captionSize - 1)
    }
}
