#pragma once

#include "Dictation.h"
#include "HUDPlacement.h"
#include "Preferences.h"

#include <span>
#include <vector>

namespace vorlin {

/// What stays in view of a text that is too long: a notice or a warning keeps its beginning, live
/// text its end.
enum class HUDKept { beginning, end };

/// The overlay's measures in points, times the scale where nothing else is said.
///
/// The panel holds one row (leading slot, middle slot, "esc" hint) inside a rounded rectangle with
/// continuous corners: outer padding, then the rectangle, then its inner paddings, then the row.
struct HUDLayout {
    double scale = 1;
    /// The same size the panel has.
    Size panel;
    double outerPadding = 0;
    double horizontalPadding = 0;
    double verticalPadding = 0;
    /// The vertical padding where the text has taken more than one line.
    double wrappedPadding = 0;
    double cornerRadius = 0;
    /// Between the slots of the row.
    double spacing = 0;
    /// The leading slot's width: the symbol, or the meter, is centred in it.
    double leadingWidth = 0;
    /// Font size of the symbol (semibold), the text (medium) and the "esc" hint (semibold).
    double symbolSize = 0;
    double textSize = 0;
    double escSize = 0;
    /// The text is as wide as it is, up to this; then it wraps, within words too, if it may have
    /// more than one line.
    double maxTextWidth = 0;
    /// The room for the text in the panel.
    double maxTextHeight = 0;
    /// How many lines the text has at most; 0: as many as there is room for.
    int mostLines = 1;
    /// What is shown of a text that is too long for its lines. The end of a text in one line, and
    /// the beginning of any, has a "…" in place of the rest.
    HUDKept kept = HUDKept::end;
    /// How the slots of the row stand beside each other: centred, or on the first of many lines.
    VerticalAlignment rowAlignment = VerticalAlignment::center;
    /// The waveform's frame.
    Size waveform;
    double meterHeight = 0;
    double meterBarWidth = 0;

    bool operator==(const HUDLayout&) const = default;
};

HUDLayout hudLayout(double scale, HUDTextMode textMode, HUDKept kept);

/// A row of bars of one width, side by side from the left, vertically centred; in points.
struct HUDBars {
    double barWidth = 0;
    double gap = 0;
    /// Of a bar that is higher than wide; half a bar's height where that is less.
    double cornerRadius = 0;
    std::vector<double> heights;

    bool operator==(const HUDBars&) const = default;
};

/// One bar for each level, 3 points apart (at every scale), filling `size`'s width; each
/// max(4, height × level) high. No levels: no bars.
HUDBars waveformBars(std::span<const float> levels, const Size& size);

/// One bar of `barWidth` for each level, 0.6 × `barWidth` apart; each
/// max(`barWidth`, `height` × level) high. No levels: no bars.
HUDBars meterBars(std::span<const float> levels, double height, double barWidth);

/// The levels that the meter beside the text shows: the newest 4, which fit its slot.
std::span<const float> meterLevels(std::span<const float> levels);

} // namespace vorlin
