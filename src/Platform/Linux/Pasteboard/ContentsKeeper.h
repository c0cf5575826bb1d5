#pragma once

#include "Platform/Linux/Pasteboard/Offering.h"

#include <optional>

namespace vorlin {

/// Starts vorlin-keeper, which offers `contents` as the clipboard of the Wayland session from then
/// on, unless other contents are there when it begins. False where it cannot be started; waits for
/// nothing.
bool keepContents(const Offering& contents);

/// What such a process was given through `file`; nothing when that is not whole.
std::optional<Offering> keptContents(int file);

} // namespace vorlin
