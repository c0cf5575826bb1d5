pragma ComponentBehavior: Bound
import QtQuick
import QtQml.Models
import QtQuick.Templates as T
import Vorlin

// A menu of the core's commands.
T.Menu {
    id: menu

    required property var commands

    onClosed: parent.forceActiveFocus(Qt.PopupFocusReason)

    margins: 6
    padding: 5
    implicitWidth: Math.max(150, implicitContentWidth + leftPadding + rightPadding)
    implicitHeight: implicitContentHeight + topPadding + bottomPadding

    contentItem: ListView {
        implicitWidth: contentItem.childrenRect.width
        implicitHeight: contentHeight
        model: menu.contentModel
        interactive: false
        currentIndex: menu.currentIndex
    }
    background: PopupBackground {}

    Instantiator {
        model: menu.commands
        delegate: MenuEntry {
            required property CommandBridge modelData

            command: modelData
        }
        onObjectAdded: (index, object) => menu.insertItem(index, object as MenuEntry)
        onObjectRemoved: (index, object) => menu.removeItem(object as MenuEntry)
    }
}
