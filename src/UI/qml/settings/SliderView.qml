import QtQuick
import QtQuick.Templates as T
import Vorlin

// A number between two others, with its value beside it.
Row {
    id: line

    required property FormRowBridge row

    T.Slider {
        id: slider

        from: line.row.control.least
        to: line.row.control.most
        stepSize: line.row.control.step
        snapMode: T.Slider.SnapAlways
        value: line.row.control.value
        // Also as a screen reader sets it.
        onValueChanged: value === line.row.control.value ? undefined : line.row.slide(value)
        Accessible.onIncreaseAction: slider.increase()
        Accessible.onDecreaseAction: slider.decrease()
        Accessible.role: Accessible.Slider
        Accessible.name: line.row.label
        anchors.verticalCenter: parent.verticalCenter
        width: line.row.control.width
        height: 24
        leftPadding: 2
        rightPadding: 2

        background: Rectangle {
            x: slider.leftPadding
            y: (slider.height - height) / 2
            width: slider.availableWidth
            height: 4
            radius: 2
            color: Theme.track

            Rectangle {
                width: slider.visualPosition * parent.width
                height: parent.height
                radius: parent.radius
                color: Theme.accent
            }
        }
        handle: Rectangle {
            x: slider.leftPadding + slider.visualPosition * (slider.availableWidth - width)
            y: (slider.height - height) / 2
            width: 18
            height: 18
            radius: 9
            color: slider.pressed ? Qt.darker(Theme.knob, 1.08) : Theme.knob
            border.width: Theme.hairline
            border.color: Theme.dark ? "#40000000" : "#42000000"

            FocusRing {
                shown: slider.visualFocus
                radius: 13
            }
        }
    }
    Label {
        width: line.row.control.textWidth
        anchors.verticalCenter: parent.verticalCenter
        horizontalAlignment: Text.AlignRight
        secondary: true
        text: line.row.control.text
    }
}
