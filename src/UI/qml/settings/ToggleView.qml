import QtQuick
import QtQuick.Templates as T
import Vorlin

// Something that is on or off.
T.Switch {
    id: toggle

    required property FormRowBridge row

    checked: row.control.on
    onToggled: row.toggle(checked)
    Keys.onReturnPressed: event => turnOnce(event)
    Keys.onEnterPressed: event => turnOnce(event)
    // A held key means what its first press did.

    function turnOnce(event: KeyEvent) {
        if (!event.isAutoRepeat) {
            row.toggle(!checked);
        }
    }

    Accessible.role: Accessible.CheckBox
    Accessible.name: row.label
    Accessible.checkable: true
    Accessible.checked: checked
    Accessible.onPressAction: row.toggle(!checked)
    Accessible.onToggleAction: row.toggle(!checked)
    implicitWidth: 40
    implicitHeight: 24

    indicator: Rectangle {
        anchors.fill: parent
        radius: height / 2
        color: toggle.checked ? Theme.accent : Theme.track

        Behavior on color {
            ColorAnimation {
                duration: Theme.motion
            }
        }

        Rectangle {
            readonly property real room: toggle.width - width - 3

            x: Math.max(3, Math.min(room, toggle.visualPosition * toggle.width - width / 2))
            y: 3
            width: 18
            height: 18
            radius: 9
            color: toggle.checked ? "#ffffff" : Theme.knob
            border.width: Theme.hairline
            border.color: "#1f000000"

            Behavior on x {
                enabled: !toggle.pressed
                NumberAnimation {
                    duration: Theme.motion
                    easing.type: Easing.OutCubic
                }
            }
        }
        FocusRing {
            shown: toggle.visualFocus
            radius: 16
        }
    }
}
