import QtQuick
import Vorlin

// The overlay: one rounded rectangle at its place in the panel.
Item {
    id: overlay

    required property HUDBridge hud
    // Device pixels to a point.
    property real pixelRatio: 1

    // The desktop has glass of its own, which lies under this picture: none is drawn.
    property bool systemGlass: false
    readonly property rect glassArea: Qt.rect(glass.x + glass.margin, glass.y + glass.margin,
                                              glass.width - 2 * glass.margin,
                                              glass.height - 2 * glass.margin)
    readonly property real glassRadius: glass.radius
    readonly property OverlayColors colors: OverlayColors {
        dark: overlay.hud.dark
    }

    function snapped(points: real): real {
        return Math.round(points * pixelRatio) / pixelRatio;
    }

    Glass {
        id: glass

        margin: overlay.snapped(overlay.hud.outerPadding)
        width: overlay.snapped(row.width + 2 * overlay.hud.horizontalPadding) + 2 * margin
        height: overlay.snapped(row.height + 2 * row.verticalPadding) + 2 * margin
        x: overlay.snapped((overlay.width - width) * overlay.hud.horizontal)
        y: overlay.snapped((overlay.height - height) * overlay.hud.vertical)
        radius: overlay.hud.cornerRadius
        color: overlay.systemGlass ? "transparent" : overlay.colors.glass
        border: overlay.systemGlass ? "transparent" : overlay.colors.border
        shadow: overlay.systemGlass ? "transparent" : overlay.colors.shadow

        StatusRow {
            id: row

            hud: overlay.hud
            colors: overlay.colors
            anchors.centerIn: parent
        }
    }
}
