pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Vorlin

// A speech engine: what it is, whether it is the one in use, and what can be done with it.
FocusScope {
    id: engine

    required property FormRowBridge row
    readonly property var control: row.control
    readonly property CommandBridge select: control.select

    implicitHeight: line.implicitHeight

    Keys.onMenuPressed: openContextMenu(24, height - 8)
    Keys.onPressed: event => {
        if (event.key === Qt.Key_F10 && event.modifiers & Qt.ShiftModifier) {
            event.accepted = true;
            openContextMenu(24, height - 8);
        }
    }

    function openContextMenu(x: real, y: real) {
        if (control.contextMenu.length > 0) {
            contextMenu.popup(x, y, false);
        }
    }

    TapHandler {
        acceptedButtons: Qt.RightButton
        onTapped: point => engine.openContextMenu(point.position.x, point.position.y)
    }
    HoverHandler {
        id: pointer
    }
    MenuLoader {
        id: contextMenu

        target: engine
        commands: engine.control.contextMenu
    }
    HintLoader {
        target: engine
        text: engine.control.help
        wanted: pointer.hovered || engine.activeFocus
    }

    RowLayout {
        id: line

        width: parent.width
        spacing: 10

        T.AbstractButton {
            id: leading

            Layout.fillWidth: true
            implicitHeight: implicitContentHeight
            enabled: engine.select.enabled
            checked: engine.control.selected
            onClicked: engine.select.press()
            Keys.onReturnPressed: clicked()
            Keys.onEnterPressed: clicked()
            Accessible.role: Accessible.RadioButton
            Accessible.name: engine.select.help
            Accessible.description: engine.control.description
            Accessible.checkable: true
            Accessible.checked: checked
            Accessible.onPressAction: leading.clicked()

            background: Rectangle {
                anchors.fill: parent
                anchors.margins: -4
                radius: 7
                color: leading.down ? Theme.control : "transparent"

                FocusRing {
                    shown: leading.visualFocus
                    gap: 0
                    radius: 9
                }
            }
            contentItem: EngineSummary {
                row: engine.row
            }
        }
        ProgressMeter {
            visible: engine.control.downloading
            value: engine.control.progress
            Accessible.name: engine.row.label + ", " + engine.control.percentage
        }
        Label {
            visible: engine.control.downloading
            Layout.minimumWidth: Math.ceil(widest.advanceWidth)
            horizontalAlignment: Text.AlignRight
            text: engine.control.percentage
            caption: true
            secondary: true
            wrapMode: Text.NoWrap

            TextMetrics {
                id: widest

                font.pixelSize: Theme.captionSize
                text: "100%"
            }
        }
        Label {
            visible: text !== ""
            text: engine.control.size
            caption: true
            secondary: true
            wrapMode: Text.NoWrap
        }
        Repeater {
            model: engine.control.commands

            CommandButton {
                required property CommandBridge modelData

                command: modelData
                flat: command.text === ""
                Accessible.description: engine.row.label
                // The second press of somebody very quick was meant for the first one's button:
                // where "Download" was, what cancels it may be by now.
                onDoubleClicked: {}
            }
        }
        CommandButton {
            id: more

            command: engine.control.menuButton
            visible: engine.control.menu.length > 0
            flat: true
            onClicked: menu.popup(more.width, more.height + 3, true)
            Accessible.role: Accessible.ButtonMenu

            MenuLoader {
                id: menu

                target: more
                commands: engine.control.menu
            }
        }
    }
}
