pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T
import Vorlin

// A picker as a button that opens a list.
T.ComboBox {
    id: box

    required property FormRowBridge row

    model: row.choices
    textRole: "label"
    currentIndex: row.control.selected
    displayText: row.control.text
    onActivated: index => row.choose(index)
    Keys.onReturnPressed: popup.open()
    Keys.onEnterPressed: popup.open()
    Accessible.role: Accessible.ComboBox
    Accessible.name: row.label
    Accessible.description: displayText
    Accessible.onPressAction: popup.open()

    leftPadding: 12
    rightPadding: 30
    implicitWidth: Math.max(110, Math.min(250, implicitContentWidth + leftPadding + rightPadding))
    implicitHeight: Math.max(28, implicitContentHeight + 10)

    contentItem: Label {
        text: box.displayText
        wrapMode: Text.NoWrap
        elide: Text.ElideRight
        Accessible.ignored: true
    }
    indicator: Symbol {
        x: box.width - width - 10
        anchors.verticalCenter: parent.verticalCenter
        width: 12
        height: 12
        name: "chevron.up.chevron.down"
        color: Theme.secondary
    }
    background: Rectangle {
        radius: 7
        color: box.down ? Theme.controlPressed
               : box.hovered ? Theme.controlHover : Theme.control

        FocusRing {
            shown: box.visualFocus
            radius: 10
        }
    }
    delegate: PickerLine {
        picker: box
        hoverEnabled: (box.popup as PickerPopup).pointed
    }
    popup: PickerPopup {
        picker: box
        choices: box.row.choices
    }
}
