pragma ComponentBehavior: Bound
import QtQuick
import QtQml.Models
import QtQuick.Templates as T
import Vorlin

// A menu of the core's commands.
T.Menu {
    id: list

    required property var commands

    onAboutToShow: (contentItem as PointedList).begin()
    onClosed: parent.forceActiveFocus(Qt.PopupFocusReason)

    margins: 6
    padding: 5
    implicitWidth: Math.max(150, implicitContentWidth + leftPadding + rightPadding)
    implicitHeight: implicitContentHeight + topPadding + bottomPadding

    contentItem: PointedList {
        implicitWidth: contentItem.childrenRect.width
        implicitHeight: contentHeight
        model: list.contentModel
        interactive: false
        currentIndex: list.currentIndex
    }
    background: PopupBackground {}

    Instantiator {
        model: list.commands
        delegate: MenuEntry {
            required property CommandBridge modelData

            command: modelData
            hoverEnabled: (list.contentItem as PointedList).pointed
        }
        onObjectAdded: (index, object) => list.insertItem(index, object as MenuEntry)
        onObjectRemoved: (index, object) => list.removeItem(object as MenuEntry)
    }
}
