import QtQuick
import Vorlin

// The key that cancels, as a small keycap.
Rectangle {
    id: hint

    required property HUDBridge hud
    required property OverlayColors colors

    width: Math.ceil(key.implicitWidth) + Math.round(10 * hud.scale)
    height: Math.ceil(key.implicitHeight) + Math.round(4 * hud.scale)
    radius: 5 * hud.scale
    color: colors.keycap

    Text {
        id: key

        anchors.centerIn: parent
        textFormat: Text.PlainText
        text: hint.hud.esc
        color: hint.colors.secondary
        font.pixelSize: Math.round(hint.hud.escSize)
        font.weight: Font.DemiBold
    }
}
