import QtQuick
import Vorlin

// Leading slot, middle slot, hint: side by side, centred on the row or on its first line. What
// takes another's place appears when that has faded: one through the other could not be read.
Item {
    id: row

    required property HUDBridge hud
    required property OverlayColors colors

    readonly property int levelDuration: hud.reducedMotion ? 0 : 80
    // What the slots are centred on: all of the row, or as much as one line of it takes.
    readonly property real lineHeight: Math.max(leading.height, hint.height, middle.centredHeight)
    // Above the row and below it.
    readonly property real verticalPadding:
        middle.mixed(hud.verticalPadding, line.wrapped ? hud.wrappedPadding : hud.verticalPadding)

    width: hud.showEsc ? hint.x + hint.width : middle.x + middle.width
    height: Math.max(lineHeight, middle.y + middle.height)

    Item {
        id: leading

        // 1 while the meter stands here, 0 while the symbol does.
        property real meterShare: row.hud.showMeter ? 1 : 0
        Behavior on meterShare {
            enabled: !row.hud.reducedMotion
            Spring {}
        }

        width: row.hud.leadingWidth
        height: width
        y: (row.lineHeight - height) / 2

        Symbol {
            // The drawings leave a sixth free around what a symbol of that size covers.
            width: row.hud.symbolSize * 4 / 3
            height: width
            anchors.centerIn: parent
            opacity: Math.max(1 - 2 * leading.meterShare, 0)
            visible: opacity > 0
            name: row.hud.icon
            color: row.hud.tint === HUDBridge.Red ? row.colors.red
                 : row.hud.tint === HUDBridge.Orange ? row.colors.orange : row.colors.secondary
        }

        LevelBars {
            height: row.hud.meterHeight
            anchors.centerIn: parent
            opacity: Math.max(2 * leading.meterShare - 1, 0)
            visible: opacity > 0
            color: row.colors.primary
            duration: row.levelDuration
            heights: row.hud.meterBars
            barWidth: row.hud.meterBarWidth
            gap: row.hud.meterGap
            radius: row.hud.meterRadius
        }
    }

    Item {
        id: middle

        // 1 while the waveform stands here, 0 while the text does.
        property real waveformShare: row.hud.showWaveform ? 1 : 0
        Behavior on waveformShare {
            enabled: !row.hud.reducedMotion
            Spring {}
        }

        x: leading.width + row.hud.spacing
        // Whoever comes or goes is cut where the slot is still narrow.
        clip: waveformShare > 0 && waveformShare < 1
        width: mixed(waveform.width, line.width)
        height: mixed(waveform.height, line.height)
        y: (row.lineHeight - centredHeight) / 2

        readonly property real centredHeight:
            mixed(waveform.height, row.hud.centersRow ? line.height : line.firstHeight)

        function mixed(ofWaveform: real, ofText: real): real {
            return ofWaveform * waveformShare + ofText * (1 - waveformShare);
        }

        LevelBars {
            id: waveform

            width: row.hud.waveformWidth
            height: row.hud.waveformHeight
            anchors.centerIn: parent
            opacity: Math.max(2 * middle.waveformShare - 1, 0) * 0.85
            visible: opacity > 0
            color: row.colors.primary
            duration: row.levelDuration
            heights: row.hud.waveformBars
            barWidth: row.hud.waveformBarWidth
            gap: row.hud.waveformGap
            radius: row.hud.waveformRadius
        }

        TextLine {
            id: line

            hud: row.hud
            color: row.colors.primary
            anchors.verticalCenter: parent.verticalCenter
            opacity: Math.max(1 - 2 * middle.waveformShare, 0)
            visible: opacity > 0
        }
    }

    EscHint {
        id: hint

        hud: row.hud
        colors: row.colors
        x: middle.x + middle.width + row.hud.spacing
        y: (row.lineHeight - height) / 2
        visible: row.hud.showEsc
    }
}
