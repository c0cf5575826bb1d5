#include "HUDLayout.h"

#include <algorithm>

namespace vorlin {

namespace {

constexpr double waveformGap = 3;
constexpr double lowestWaveformBar = 4;
constexpr double meterGapPerBar = 0.6;
constexpr std::size_t levelsOfMeter = 4;

HUDBars bars(std::span<const float> levels, double barWidth, double gap, double room, double lowest)
{
    HUDBars row{barWidth, gap, barWidth / 2, {}};
    row.heights.reserve(levels.size());
    for (const float level : levels) {
        const double height = level > 0 ? room * std::min(1.0F, level) : 0; // 0 for no number too
        row.heights.push_back(std::max(lowest, height));
    }
    return row;
}

} // namespace

HUDLayout hudLayout(double scale, HUDTextMode textMode, HUDKept kept)
{
    const bool full = textMode == HUDTextMode::full;
    const bool mayTakeASecondLine = !full && kept == HUDKept::beginning;
    HUDLayout layout;
    layout.scale = scale;
    layout.panel = panelSize(scale, textMode);
    layout.outerPadding = 12 * scale;
    layout.horizontalPadding = 20 * scale;
    layout.verticalPadding = 14 * scale;
    layout.wrappedPadding = (mayTakeASecondLine ? 8 : 14) * scale;
    layout.cornerRadius = 27 * scale;
    layout.spacing = 10 * scale;
    layout.leadingWidth = 20 * scale;
    layout.symbolSize = 15 * scale;
    layout.textSize = 14 * scale;
    layout.escSize = 11 * scale;
    layout.maxTextWidth = (full ? 340 : 260) * scale;
    layout.maxTextHeight = layout.panel.height - 2 * (layout.outerPadding + layout.wrappedPadding);
    layout.mostLines = full ? 0 : mayTakeASecondLine ? 2 : 1;
    layout.kept = kept;
    layout.rowAlignment = full ? VerticalAlignment::top : VerticalAlignment::center;
    layout.waveform = {150 * scale, 26 * scale};
    layout.meterHeight = 18 * scale;
    layout.meterBarWidth = 3 * scale;
    return layout;
}

HUDBars waveformBars(std::span<const float> levels, const Size& size)
{
    if (levels.empty()) {
        return {};
    }
    const auto count = static_cast<double>(levels.size());
    const double width = (size.width - waveformGap * (count - 1)) / count;
    return bars(levels, std::max(0.0, width), waveformGap, size.height, lowestWaveformBar);
}

HUDBars meterBars(std::span<const float> levels, double height, double barWidth)
{
    if (levels.empty()) {
        return {};
    }
    return bars(levels, barWidth, meterGapPerBar * barWidth, height, barWidth);
}

std::span<const float> meterLevels(std::span<const float> levels)
{
    return levels.last(std::min(levelsOfMeter, levels.size()));
}

} // namespace vorlin
