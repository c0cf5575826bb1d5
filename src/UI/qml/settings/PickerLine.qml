import QtQuick
import QtQuick.Templates as T
import Vorlin

// A choice in the list of a picker.
T.ItemDelegate {
    id: line

    required property T.ComboBox picker
    required property var modelData
    required property int index

    text: modelData.label
    highlighted: picker.highlightedIndex === index
    width: ListView.view ? ListView.view.width : 0
    implicitHeight: Math.max(28, implicitContentHeight + 10)
    leftPadding: 8
    rightPadding: 10
    Accessible.role: Accessible.ListItem
    Accessible.name: modelData.note === "" ? text : text + ", " + modelData.note
    Accessible.onPressAction: line.clicked()

    contentItem: Row {
        spacing: 7

        Symbol {
            width: 13
            height: 13
            anchors.verticalCenter: parent.verticalCenter
            opacity: line.index === line.picker.currentIndex ? 1 : 0
            name: "checkmark"
            color: Theme.text
        }
        Label {
            width: line.availableWidth - 20
            anchors.verticalCenter: parent.verticalCenter
            text: line.text
            elide: Text.ElideRight
            wrapMode: Text.NoWrap
            Accessible.ignored: true
        }
    }
    background: Rectangle {
        radius: 5
        color: line.highlighted ? Theme.accentTint : "transparent"

        Label {
            anchors.right: parent.right
            anchors.rightMargin: 10
            anchors.verticalCenter: parent.verticalCenter
            text: line.modelData.note
            caption: true
            secondary: true
            wrapMode: Text.NoWrap
            Accessible.ignored: true
        }
    }
}
