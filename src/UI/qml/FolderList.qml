pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T
import Vorlin

// The folders that a person may mark, and go into. The focus stays on the list, so what is marked
// is said.
ListView {
    id: list

    required property FolderBrowser browser
    readonly property real lineHeight: currentItem?.height ?? height
    readonly property int page: Math.max(1, Math.floor(height / lineHeight) - 1)

    function move(index: int) {
        browser.marked = Math.max(0, Math.min(count - 1, index));
    }
    // Whether the key meant something.
    function press(key: int, text: string): bool {
        switch (key) {
        case Qt.Key_Up:
            move(browser.marked - 1);
            break;
        case Qt.Key_Down:
            move(browser.marked + 1);
            break;
        case Qt.Key_PageUp:
            move(browser.marked - page);
            break;
        case Qt.Key_PageDown:
            move(browser.marked + page);
            break;
        case Qt.Key_Home:
            move(0);
            break;
        case Qt.Key_End:
            move(count - 1);
            break;
        case Qt.Key_Right:
        case Qt.Key_Return:
        case Qt.Key_Enter:
            browser.open(browser.marked);
            break;
        case Qt.Key_Left:
        case Qt.Key_Backspace:
            browser.leave();
            break;
        default:
            if (text <= " ") {
                return false;
            }
            browser.find(text);
        }
        return true;
    }

    clip: true
    activeFocusOnTab: true
    boundsBehavior: Flickable.StopAtBounds
    keyNavigationEnabled: false
    model: browser.folders
    currentIndex: -1
    Accessible.role: Accessible.List
    Accessible.name: "Folders"
    Keys.onPressed: event => {
        const withModifier = event.modifiers & (Qt.ControlModifier | Qt.AltModifier);
        event.accepted = !withModifier && press(event.key, event.text);
    }
    delegate: FolderLine {
        onPressed: list.forceActiveFocus(Qt.MouseFocusReason)
        onClicked: list.browser.marked = index
        onDoubleClicked: list.browser.open(index)
        Accessible.onPressAction: list.browser.marked = index
    }
    Connections {
        property string spoken

        function say() {
            const named = list.browser.typed;
            if (named !== spoken && list.activeFocus) {
                spoken = named;
                Speaker.say(named.substring(named.lastIndexOf("/") + 1) || "/");
            }
        }
        // A list that is given anew marks a line by itself: the mark is told behind it.
        function onMarkedChanged() {
            list.currentIndex = list.browser.marked;
            say();
        }

        target: list.browser
    }

    T.ScrollBar.vertical: ScrollMark {}
}
