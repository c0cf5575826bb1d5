import QtQuick
import Vorlin

// The status, the live text or the notice: in one line that loses its front where it is too long,
// or wrapped; what is taller than the panel shows its end.
Item {
    id: line

    required property HUDBridge hud
    property alias color: shown.color

    readonly property real firstHeight: shown.implicitHeight / Math.max(shown.lineCount, 1)

    // A line that is cut keeps its room: it would change with every letter.
    width: hud.oneLine ? shown.width : Math.ceil(Math.min(shown.contentWidth, shown.width))
    height: Math.min(shown.implicitHeight,
                     Math.max(Math.floor(hud.maxTextHeight / firstHeight), 1) * firstHeight)
    clip: shown.implicitHeight > height

    Text {
        id: shown

        width: Math.min(Math.ceil(implicitWidth), line.hud.maxTextWidth)
        x: line.hud.rightToLeft ? line.width - width : 0
        anchors.bottom: parent.bottom
        textFormat: Text.PlainText
        font.pixelSize: Math.round(line.hud.textSize)
        font.weight: Font.Medium
        elide: line.hud.oneLine ? Text.ElideLeft : Text.ElideNone
        wrapMode: line.hud.oneLine ? Text.NoWrap : Text.Wrap
        // At the end that the newest words are at, if there is more room than a cut line needs.
        horizontalAlignment: line.hud.rightToLeft === (line.hud.oneLine && truncated)
                             ? Text.AlignLeft : Text.AlignRight

        // The old text stays while the waveform takes its place.
        Binding on text {
            when: !line.hud.showWaveform
            value: line.hud.text
            restoreMode: Binding.RestoreNone
        }
    }
}
