import QtQuick
import Vorlin

// Makes a menu of the core's commands for an item when it is first opened.
Loader {
    id: loader

    required property Item target
    required property var commands

    // Opens it with a corner at a point of the item: its upper left one, or its upper right one.
    function popup(x: real, y: real, endsThere: bool) {
        if (item === null) {
            setSource("CommandsMenu.qml", {
                parent: target,
                commands: Qt.binding(() => loader.commands)
            });
        }
        const menu = item as CommandsMenu;
        menu.popup(target, x, y);
        if (endsThere) {
            menu.x = Qt.binding(() => x - menu.width);
        }
    }
}
