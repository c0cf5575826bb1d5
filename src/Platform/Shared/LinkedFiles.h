#pragma once

#include "Platform/Shared/Descriptor.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace vorlin {

/// Looks at `entry`, a file or folder, for symbolic links: its own, those below it, and those
/// below folders that links lead to. Calls `found` for each plain file that one of them leads to,
/// with a descriptor of its path. Returns in a few words which of them leads to what is of no use,
/// "weights/weight.bin leads to a device"; nothing when none does. May wait for a disk.
std::optional<std::string> followLinks(const std::filesystem::path& entry,
                                       const std::function<void(const Descriptor&)>& found);

} // namespace vorlin
