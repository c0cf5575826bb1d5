#pragma once

#include <filesystem>

namespace vorlin {

/// Whether a folder lies in `root` itself, under a name of its own.
bool isDirectlyBelow(const std::filesystem::path& folder, const std::filesystem::path& root);

} // namespace vorlin
