pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T
import Vorlin

// A grouped form that scrolls where it is longer than its room.
Flickable {
    id: view

    required property FormBridge form
    property real gap: 24
    readonly property real most: Math.max(0, contentHeight - height)
    // The row in which something went wrong: in sight until the person looks elsewhere.
    property RowView troubled: null

    function scrollTo(y: real) {
        contentY = Math.max(0, Math.min(most, y));
    }
    function scrollBy(distance: real) {
        troubled = null;
        scrollTo(contentY + distance);
    }
    function keepPlace() {
        if (troubled && troubled.row.problem !== "") {
            reveal(troubled);
        } else {
            scrollTo(contentY);
        }
    }
    // Brings what has the focus into view.
    function reveal(item: Item) {
        for (let each = item; each; each = each.parent) {
            if (each === contentItem) {
                const top = item.mapToItem(contentItem, 0, 0).y;
                if (top - 16 < contentY) {
                    scrollTo(top - 16);
                } else if (top + item.height + 16 > contentY + height) {
                    scrollTo(top + item.height + 16 - height);
                }
                return;
            }
        }
    }

    clip: true
    // The pointer is there for the controls; the wheel scrolls.
    interactive: false
    contentHeight: sections.height + 2 * 20
    onMostChanged: keepPlace()
    onFormChanged: troubled = null
    Keys.onPressed: event => {
        const page = event.key === Qt.Key_PageDown ? 1 : event.key === Qt.Key_PageUp ? -1 : 0;
        event.accepted = page !== 0;
        if (event.accepted) {
            scrollBy(page * 0.8 * height);
        }
    }

    WheelHandler {
        acceptedDevices: PointerDevice.Mouse | PointerDevice.TouchPad
        onWheel: event => view.scrollBy(-(event.pixelDelta.y || event.angleDelta.y / 2))
    }
    Connections {
        function onActiveFocusItemChanged() {
            view.troubled = null;
            view.reveal(view.Window.activeFocusItem);
        }

        target: view.Window.window
    }
    Connections {
        function onTroubled(section, row) {
            view.troubled = (parts.itemAt(section) as SectionView).rowAt(row);
            view.keepPlace();
        }

        target: view.form
    }

    Column {
        id: sections

        x: view.gap
        y: 20
        width: view.width - 2 * view.gap
        spacing: 20

        Repeater {
            id: parts

            model: view.form.sections

            SectionView {
                required property FormSectionBridge modelData

                width: sections.width
                section: modelData
            }
        }
    }

    T.ScrollBar.vertical: ScrollMark {
        parent: view
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        anchors.right: parent.right
    }
}
