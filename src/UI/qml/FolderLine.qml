import QtQuick
import QtQuick.Templates as T
import Vorlin

// A folder in the list of those that a person may go into.
T.ItemDelegate {
    id: line

    required property int index
    required property string modelData

    text: modelData
    highlighted: ListView.isCurrentItem
    width: ListView.view ? ListView.view.width : 0
    implicitHeight: Math.max(28, implicitContentHeight + 10)
    leftPadding: 10
    rightPadding: 14
    focusPolicy: Qt.NoFocus
    Accessible.role: Accessible.ListItem
    Accessible.name: text
    Accessible.selected: highlighted

    contentItem: Row {
        spacing: 8

        Symbol {
            width: 16
            height: 16
            anchors.verticalCenter: parent.verticalCenter
            name: "folder"
            color: Theme.secondary
        }
        Label {
            width: line.availableWidth - 24
            anchors.verticalCenter: parent.verticalCenter
            text: line.text
            elide: Text.ElideMiddle
            wrapMode: Text.NoWrap
            Accessible.ignored: true
        }
    }
    background: Rectangle {
        radius: 5
        color: line.highlighted ? Theme.accentTint : line.hovered ? Theme.controlHover
                                                                  : "transparent"
    }
}
