pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T
import Vorlin

// A button with a text, a symbol or both.
T.AbstractButton {
    id: button

    property string symbol: ""
    property string help: ""
    property bool flat: false
    property bool suggested: false
    property bool destructive: false
    property bool tinted: false
    // Keys are meant for something else: none is a click.
    property bool ignoresKeys: false

    readonly property color ink: !enabled ? Theme.secondary
                                 : suggested ? Theme.accentInk
                                 : destructive ? Theme.destructive : Theme.text
    readonly property color face: suggested && enabled ? Theme.accentFill
                                  : tinted ? Theme.accentTint
                                  : flat ? "transparent" : Theme.control

    implicitWidth: Math.max(text === "" ? 28 : 0,
                            implicitContentWidth + leftPadding + rightPadding)
    implicitHeight: Math.max(28, implicitContentHeight + topPadding + bottomPadding)
    leftPadding: text === "" ? 5 : 12
    rightPadding: text === "" ? 5 : 12
    topPadding: 5
    bottomPadding: 5
    opacity: enabled ? 1 : 0.55

    Accessible.role: Accessible.Button
    Accessible.name: text === "" ? help : text
    Accessible.description: text === "" ? "" : help
    Accessible.onPressAction: button.clicked()
    Keys.onSpacePressed: event => event.accepted = button.ignoresKeys
    Keys.onReturnPressed: event => clickOnce(event)
    Keys.onEnterPressed: event => clickOnce(event)
    // What follows the first press of a held key is meant for what the button showed then: by now
    // it may do the opposite.

    function clickOnce(event: KeyEvent) {
        if (!event.isAutoRepeat && !ignoresKeys) {
            clicked();
        }
    }

    contentItem: ButtonFace {
        text: button.text
        symbol: button.symbol
        ink: button.ink
        bold: button.suggested
    }

    background: Rectangle {
        radius: 7
        color: button.face

        Rectangle {
            anchors.fill: parent
            radius: parent.radius
            color: button.down ? Theme.controlPressed : Theme.controlHover
            visible: button.enabled && (button.hovered || button.down)
        }
        FocusRing {
            shown: button.visualFocus
            radius: 10
        }
    }

    HintLoader {
        target: button
        text: button.help
        wanted: button.hovered || button.visualFocus
    }
}
