pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import Vorlin

// The dictation key: a button that shows it and records another, and a menu of presets.
RowLayout {
    id: line

    required property FormRowBridge row

    spacing: 4

    PushButton {
        text: line.row.control.text
        tinted: line.row.control.recording
        ignoresKeys: line.row.control.recording
        Layout.minimumWidth: 120
        Accessible.name: line.row.label
        Accessible.description: text
        onClicked: line.row.click()
        onActiveFocusChanged: activeFocus ? undefined : line.row.leave()
        Component.onDestruction: line.row.leave()
    }
    CommandButton {
        id: presets

        command: line.row.control.presetsButton
        flat: true
        onClicked: menu.popup(0, presets.height + 3, false)
        Accessible.role: Accessible.ButtonMenu

        MenuLoader {
            id: menu

            target: presets
            commands: line.row.control.presets
        }
    }
}
