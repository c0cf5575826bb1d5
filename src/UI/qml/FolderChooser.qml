import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Vorlin

// A window in which a person goes through the folders and chooses one.
Window {
    id: root

    required property string prompt
    required property FolderBrowser browser
    required property bool dark
    required property color accent

    signal rejected

    width: 600
    height: 420
    minimumWidth: 420
    minimumHeight: 280
    flags: Qt.Dialog
    modality: Qt.WindowModal
    visible: true
    color: Theme.window
    onClosing: root.rejected()
    // Another program may have made or removed folders meanwhile.
    onActiveChanged: {
        if (active) {
            browser.refresh();
        }
    }
    Component.onCompleted: folders.forceActiveFocus()

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
    Connections {
        function onProblemChanged() {
            Speaker.say(root.browser.problem);
        }

        target: root.browser
    }

    Shortcut {
        sequences: ["Esc", "Ctrl+W"]
        onActivated: root.rejected()
    }
    Shortcut {
        sequences: ["Alt+Up"]
        onActivated: root.browser.leave()
    }
    Shortcut {
        sequences: ["Ctrl+L"]
        onActivated: field.forceActiveFocus(Qt.ShortcutFocusReason)
    }
    Shortcut {
        sequences: ["Ctrl+H"]
        onActivated: root.browser.toggleHidden()
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
                enabled: root.browser.current !== "/"
                onClicked: root.browser.leave()
            }
            TextBox {
                id: field

                objectName: "path"
                Layout.fillWidth: true
                label: "Folder"
                text: root.browser.typed
                onTextEdited: root.browser.typed = text
                onAccepted: root.browser.choose()
            }
        }
        Rectangle {
            Layout.fillWidth: true
            Layout.fillHeight: true
            radius: 9
            color: Theme.card
            border.width: folders.activeFocus ? 2 : Theme.hairline
            border.color: folders.activeFocus ? Theme.accent : Theme.outline

            FolderList {
                id: folders

                objectName: "folders"
                anchors.fill: parent
                anchors.margins: 5
                browser: root.browser
            }
            Label {
                anchors.centerIn: parent
                text: root.browser.note
                secondary: true
            }
        }
        RowLayout {
            spacing: 8

            Label {
                Layout.fillWidth: true
                text: root.browser.problem
                visible: true
                color: Theme.destructive
                Accessible.role: Accessible.AlertMessage
                Accessible.ignored: text === ""
            }
            PushButton {
                objectName: "cancel"
                text: "Cancel"
                onClicked: root.rejected()
            }
            PushButton {
                objectName: "choose"
                text: root.prompt
                suggested: true
                onClicked: root.browser.choose()
            }
        }
    }
}
