#pragma once

#include "Hotkey.h"
#include "Ports/EventTap.h"

#include <vector>

namespace vorlin {

/// The dictation key for as long as the person has chosen none: the first of `candidates` whose
/// press and release can both be watched and that types no characters when it is held. Where none
/// can, the first that types none; of no candidates `Hotkey{}`. Main loop.
Hotkey defaultHotkey(const std::vector<Hotkey>& candidates, EventTap& tap);

} // namespace vorlin
