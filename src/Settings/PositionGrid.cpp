#include "Settings/PositionGrid.h"

#include <array>
#include <string_view>

namespace vorlin {

namespace {

constexpr std::array<std::string_view, hudPositions.size()> helpTexts = {
    "Top left",     "Top center",  "Top right",     "Middle left",  "Center",
    "Middle right", "Bottom left", "Bottom center", "Bottom right",
};

} // namespace

PickerControl positionGrid(HUDPosition selection, Action<std::size_t> choose)
{
    PickerControl grid{PickerControl::Style::grid, {}, {}, std::move(choose)};
    for (std::size_t i = 0; i < hudPositions.size(); ++i) {
        const HUDPosition position = hudPositions.at(i);
        grid.choices.push_back({std::string(rawValue(position)), std::string(helpTexts.at(i)), {}});
        if (position == selection) {
            grid.selected = i;
        }
    }
    return grid;
}

} // namespace vorlin
