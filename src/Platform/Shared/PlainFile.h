#pragma once

#include "Ports/Folders.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>

namespace vorlin {

/// The text without what would break its line: names may hold anything.
std::string oneLine(std::string text);

/// The bytes of a file, as `Folders::read` promises them. May wait for a disk.
Bytes readPlainFile(const std::filesystem::path& file, std::size_t most,
                    const std::function<void()>& onProgress);

} // namespace vorlin
