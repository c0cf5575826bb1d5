pragma ComponentBehavior: Bound
import QtQuick
import Vorlin

// One of several choices in lines of `columns`: one stop of the tab key, arrow keys within.
Grid {
    id: choices

    required property var model
    required property int selected
    property string label: ""
    property Component delegate

    signal chosen(index: int)

    function move(from: int, by: int) {
        const to = from + by;
        if (to >= 0 && to < repeater.count) {
            repeater.itemAt(to).forceActiveFocus(Qt.TabFocusReason);
            choices.chosen(to);
        }
    }
    function moveAside(from: int, by: int) {
        if (Math.floor((from + by) / columns) === Math.floor(from / columns)) {
            move(from, by);
        }
    }

    Accessible.role: Accessible.Grouping
    Accessible.name: label

    Repeater {
        id: repeater

        model: choices.model
        delegate: choices.delegate
    }
}
