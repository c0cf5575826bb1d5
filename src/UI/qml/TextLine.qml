import QtQuick
import Vorlin

// The status, the live text or the notice: in one line that loses its front where it is too long,
// or wrapped; what is taller than the panel shows its end.
Item {
    id: line

    required property HUDBridge hud
    property alias color: shown.color

    width: Math.min(Math.ceil(shown.implicitWidth), hud.maxTextWidth)
    height: Math.min(Math.ceil(shown.implicitHeight), hud.maxTextHeight)
    clip: shown.implicitHeight > hud.maxTextHeight

    Text {
        id: shown

        width: parent.width
        anchors.bottom: parent.bottom
        textFormat: Text.PlainText
        font.pixelSize: Math.round(line.hud.textSize)
        font.weight: Font.Medium
        elide: line.hud.oneLine ? Text.ElideLeft : Text.ElideNone
        wrapMode: line.hud.oneLine ? Text.NoWrap : Text.Wrap
        horizontalAlignment: line.hud.rightToLeft ? Text.AlignRight : Text.AlignLeft

        // The old text stays while the waveform takes its place.
        Binding on text {
            when: !line.hud.showWaveform
            value: line.hud.text
            restoreMode: Binding.RestoreNone
        }
    }
}
