import QtQuick
import Vorlin

// A button of the core's.
PushButton {
    id: button

    required property CommandBridge command

    text: command.text
    symbol: command.symbol
    help: command.help
    enabled: command.enabled
    destructive: command.destructive
    onClicked: command.press()
}
