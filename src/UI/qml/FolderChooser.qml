pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Qt.labs.folderlistmodel
import Vorlin

// A window in which a person goes through the folders and chooses one: that whose path stands in
// the field, which is the one that is marked in the list, else the one whose folders are listed.
Window {
    id: root

    required property string prompt
    required property string start
    required property bool dark
    required property color accent
    // The path of the folder whose folders are listed.
    property string current: "/"
    // Why what was chosen cannot be.
    property string problem: ""

    signal accepted(string folder)
    signal rejected

    function addressOf(path: string): string {
        return "file://" + path.split("/").map(encodeURIComponent).join("/");
    }
    // Lists what is in a folder, with the mark on one of them where it is there.
    function list(path: string, marked: string) {
        folders.currentIndex = -1;
        folders.wanted = marked;
        current = path;
        inside.folder = addressOf(path);
        field.text = path;
        problem = "";
    }
    function open(index: int) {
        if (index >= 0 && index < inside.count) {
            list(inside.get(index, "filePath"), "");
        }
    }
    function leave() {
        if (current !== "/") {
            list(current.replace(/\/[^\/]*$/, "") || "/", current);
        }
    }
    function choose() {
        accepted(field.text);
    }

    width: 600
    height: 420
    minimumWidth: 420
    minimumHeight: 280
    flags: Qt.Dialog
    modality: Qt.WindowModal
    visible: true
    color: Theme.window
    onClosing: root.rejected()
    Component.onCompleted: {
        list(start, "");
        folders.forceActiveFocus();
    }

    Binding {
        target: Theme
        property: "dark"
        value: root.dark
    }
    Binding {
        target: Theme
        property: "accent"
        value: root.accent
    }
    Binding {
        target: Theme
        property: "pixelRatio"
        value: Screen.devicePixelRatio
    }

    FolderListModel {
        id: inside

        showFiles: false
        caseSensitive: false
        onStatusChanged: folders.mark()
    }

    Shortcut {
        sequences: ["Esc", "Ctrl+W"]
        onActivated: root.rejected()
    }
    Shortcut {
        sequences: ["Alt+Up"]
        onActivated: root.leave()
    }
    Shortcut {
        sequences: ["Ctrl+L"]
        onActivated: field.forceActiveFocus(Qt.ShortcutFocusReason)
    }
    Shortcut {
        sequences: ["Ctrl+H"]
        onActivated: inside.showHidden = !inside.showHidden
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 16
        spacing: 12

        RowLayout {
            spacing: 8

            PushButton {
                objectName: "up"
                text: "Up"
                help: "The folder around this one"
                enabled: root.current !== "/"
                onClicked: root.leave()
            }
            TextBox {
                id: field

                objectName: "path"
                Layout.fillWidth: true
                label: "Folder"
                onTextEdited: root.problem = ""
                onAccepted: root.choose()
            }
        }
        Rectangle {
            Layout.fillWidth: true
            Layout.fillHeight: true
            radius: 9
            color: Theme.card
            border.width: folders.activeFocus ? 2 : Theme.hairline
            border.color: folders.activeFocus ? Theme.accent : Theme.outline

            ListView {
                id: folders

                // The path of the folder that is marked once it is listed.
                property string wanted: ""

                function mark() {
                    if (wanted !== "" && inside.status === FolderListModel.Ready) {
                        currentIndex = inside.indexOf(root.addressOf(wanted));
                        wanted = "";
                    }
                }
                function move(index: int) {
                    currentIndex = Math.max(0, Math.min(count - 1, index));
                }
                // The next folder whose name begins so.
                function find(letter: string) {
                    for (let step = 1; step <= count; ++step) {
                        const index = (Math.max(currentIndex, -1) + step) % count;
                        if (inside.get(index, "fileName").toLowerCase().startsWith(letter)) {
                            currentIndex = index;
                            return;
                        }
                    }
                }

                objectName: "folders"
                anchors.fill: parent
                anchors.margins: 5
                clip: true
                activeFocusOnTab: true
                boundsBehavior: Flickable.StopAtBounds
                keyNavigationEnabled: false
                currentIndex: -1
                model: inside
                Accessible.role: Accessible.List
                Accessible.name: "Folders"
                onCurrentIndexChanged: {
                    if (currentIndex >= 0 && currentIndex < inside.count) {
                        field.text = inside.get(currentIndex, "filePath");
                        root.problem = "";
                    }
                }
                delegate: FolderLine {
                    onClicked: {
                        folders.currentIndex = index;
                        folders.forceActiveFocus(Qt.MouseFocusReason);
                    }
                    onDoubleClicked: root.open(index)
                    Accessible.onPressAction: folders.currentIndex = index
                }
                Keys.onPressed: event => {
                    const page = Math.max(1, Math.floor(height / (currentItem?.height ?? height)) - 1);
                    event.accepted = true;
                    if (event.modifiers & (Qt.ControlModifier | Qt.AltModifier)) {
                        event.accepted = false;
                    } else if (event.key === Qt.Key_Up) {
                        move(currentIndex - 1);
                    } else if (event.key === Qt.Key_Down) {
                        move(currentIndex + 1);
                    } else if (event.key === Qt.Key_PageUp) {
                        move(currentIndex - page);
                    } else if (event.key === Qt.Key_PageDown) {
                        move(currentIndex + page);
                    } else if (event.key === Qt.Key_Home) {
                        move(0);
                    } else if (event.key === Qt.Key_End) {
                        move(count - 1);
                    } else if (event.key === Qt.Key_Right || event.key === Qt.Key_Return
                               || event.key === Qt.Key_Enter) {
                        root.open(currentIndex);
                    } else if (event.key === Qt.Key_Left || event.key === Qt.Key_Backspace) {
                        root.leave();
                    } else if (event.text > " ") {
                        find(event.text.toLowerCase());
                    } else {
                        event.accepted = false;
                    }
                }

                T.ScrollBar.vertical: ScrollMark {}
            }
            Label {
                anchors.centerIn: parent
                visible: inside.status === FolderListModel.Ready && inside.count === 0
                text: "No folders in here"
                secondary: true
            }
        }
        RowLayout {
            spacing: 8

            Label {
                Layout.fillWidth: true
                text: root.problem
                visible: true
                color: Theme.destructive
                Accessible.role: Accessible.AlertMessage
                Accessible.ignored: root.problem === ""
            }
            PushButton {
                text: "Cancel"
                onClicked: root.rejected()
            }
            PushButton {
                text: root.prompt
                suggested: true
                onClicked: root.choose()
            }
        }
    }
}
