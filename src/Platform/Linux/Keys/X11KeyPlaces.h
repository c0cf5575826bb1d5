#pragma once

#include "Platform/Linux/Keys/X11Keyboard.h"

#include <cstdint>
#include <optional>

namespace vorlin {

/// The place of a letter's key, as the kernel numbers keys, for who does not know which of the
/// person's layouts is in use: where every layout that types the letter has it, and in the others
/// programs look for shortcuts next; where a US keyboard has it if none types it. Nothing where the
/// layouts differ, and for other keys. `keyCode` as in `Hotkey`. Main loop.
std::optional<std::uint32_t> placeInAllLayouts(X11Keyboard& keyboard, std::uint16_t keyCode);

} // namespace vorlin
