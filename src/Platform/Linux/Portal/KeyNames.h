#pragma once

#include "Hotkey.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vorlin {

/// The name of a key's symbol, as xkbcommon has it, where a US keyboard has it; empty for a code
/// that no key has, and for modifier keys, which make no shortcut. `virtualKey` as in `Hotkey`.
std::string_view keySymbolName(std::uint16_t virtualKey);

/// The number of a symbol of that name; 0 for none.
std::uint32_t keySymbol(std::string_view name);

/// A hotkey as the desktops' common specification of shortcuts writes it: "F9", "CTRL+ALT+d";
/// nothing for one that it cannot write: a lone modifier, a key without a symbol.
std::optional<std::string> shortcutTrigger(const Hotkey& hotkey);

} // namespace vorlin
