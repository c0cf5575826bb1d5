import QtQuick
import Vorlin

// The status, the live text, the notice. Live text shows its end: one line loses its front, many
// lose those that the panel has no room for. A notice shows its beginning.
Item {
    id: line

    required property HUDBridge hud
    property alias color: shown.color

    // How the text that stands here is shown; the old one stays while the waveform takes its place.
    property int mostLines
    property bool keepsBeginning
    property bool rightToLeft
    readonly property bool oneLine: mostLines === 1
    readonly property bool wrapped: shown.lineCount > 1
    readonly property real firstHeight: shown.implicitHeight / Math.max(shown.lineCount, 1)

    // A line that is cut keeps its room: it would change with every letter.
    width: oneLine ? shown.width : Math.ceil(Math.min(shown.contentWidth, shown.width))
    height: Math.min(shown.implicitHeight, linesOf(firstHeight) * firstHeight)
    clip: shown.implicitHeight > height

    function linesOf(lineHeight: real): int {
        return mostLines > 0 ? mostLines : Math.max(Math.floor(hud.maxTextHeight / lineHeight), 1);
    }

    Binding on mostLines {
        when: !line.hud.showWaveform
        value: line.hud.mostLines
        restoreMode: Binding.RestoreNone
    }
    Binding on keepsBeginning {
        when: !line.hud.showWaveform
        value: line.hud.keepsBeginning
        restoreMode: Binding.RestoreNone
    }
    Binding on rightToLeft {
        when: !line.hud.showWaveform
        value: line.hud.rightToLeft
        restoreMode: Binding.RestoreNone
    }

    FontMetrics {
        id: metrics

        font: shown.font
    }

    TextMetrics {
        id: uncut

        font: shown.font
        text: shown.text
    }

    Text {
        id: shown

        width: Math.min(Math.ceil(implicitWidth), line.hud.maxTextWidth)
        x: line.rightToLeft ? line.width - width : 0
        y: line.keepsBeginning ? 0 : line.height - height
        textFormat: Text.PlainText
        font.pixelSize: Math.round(line.hud.textSize)
        font.weight: Font.Medium
        wrapMode: line.oneLine ? Text.NoWrap : Text.Wrap
        elide: line.keepsBeginning ? Text.ElideRight
                                   : line.oneLine ? Text.ElideLeft : Text.ElideNone
        maximumLineCount: line.keepsBeginning ? line.linesOf(metrics.height) : undefined
        // Two lines have the room of one and its padding, however high the font's are.
        lineHeightMode: line.mostLines > 1 ? Text.FixedHeight : Text.ProportionalHeight
        lineHeight: line.mostLines > 1 ? Math.min(Math.ceil(metrics.height),
                                                  line.hud.maxTextHeight / line.mostLines) : 1
        // At the end that the newest words are at, if there is more room than a cut line needs.
        // Whether it is cut must not come from the layout, which begins anew with the alignment;
        // a letter too early is not seen, since a line that is not cut is as wide as its text.
        readonly property bool cut: line.oneLine && uncut.advanceWidth >
                                    line.hud.maxTextWidth - metrics.averageCharacterWidth
        horizontalAlignment: line.rightToLeft === cut ? Text.AlignLeft : Text.AlignRight

        // The old text stays while the waveform takes its place.
        Binding on text {
            when: !line.hud.showWaveform
            value: line.hud.text
            restoreMode: Binding.RestoreNone
        }
    }
}
