#pragma once

#include "Preferences.h"
#include "Settings/Form.h"

namespace vorlin {

/// The nine positions of the overlay as a grid of cells, in the order of `hudPositions`.
PickerControl positionGrid(HUDPosition selection, Action<std::size_t> choose);

} // namespace vorlin
