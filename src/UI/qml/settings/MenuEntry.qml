import QtQuick
import QtQuick.Templates as T
import Vorlin

// An entry of a menu.
T.MenuItem {
    id: entry

    required property CommandBridge command
    readonly property real above: command.beginsGroup ? 9 : 0
    readonly property color ink: command.destructive ? Theme.destructive : Theme.text

    text: command.text
    enabled: command.enabled
    onTriggered: command.press()
    Accessible.role: Accessible.MenuItem
    Accessible.name: text
    Accessible.onPressAction: entry.triggered()

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    leftPadding: 10
    rightPadding: 14
    topPadding: 6 + above
    bottomPadding: 6

    contentItem: Row {
        spacing: 8

        Symbol {
            visible: entry.command.symbol !== ""
            width: 15
            height: 15
            anchors.verticalCenter: parent.verticalCenter
            name: entry.command.symbol
            color: entry.ink
        }
        Label {
            text: entry.text
            color: entry.ink
            wrapMode: Text.NoWrap
            anchors.verticalCenter: parent.verticalCenter
            Accessible.ignored: true
        }
    }
    background: Item {
        Rectangle {
            visible: entry.command.beginsGroup
            x: 4
            y: 4
            width: parent.width - 8
            height: Theme.hairline
            color: Theme.separator
        }
        Rectangle {
            anchors.fill: parent
            anchors.topMargin: entry.above
            radius: 5
            color: entry.highlighted ? Theme.accentTint : "transparent"
        }
    }
}
