import QtQuick
import Vorlin

// What stands on a button, in its middle.
Item {
    id: face

    property string text: ""
    property string symbol: ""
    property color ink: Theme.text
    property bool bold: false

    implicitWidth: line.implicitWidth
    implicitHeight: line.implicitHeight

    Row {
        id: line

        anchors.centerIn: parent
        spacing: 6

        Symbol {
            visible: face.symbol !== ""
            width: face.text === "" ? 18 : 15
            height: width
            anchors.verticalCenter: parent.verticalCenter
            name: face.symbol
            color: face.ink
        }
        Label {
            visible: text !== ""
            text: face.text
            color: face.ink
            wrapMode: Text.NoWrap
            anchors.verticalCenter: parent.verticalCenter
            font.weight: face.bold ? Font.DemiBold : Font.Normal
            Accessible.ignored: true
        }
    }
}
