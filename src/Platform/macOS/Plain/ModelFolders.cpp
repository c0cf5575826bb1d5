#include "Platform/macOS/Plain/ModelFolders.h"

#include <string>

namespace vorlin {

bool isDirectlyBelow(const std::filesystem::path& folder, const std::filesystem::path& root)
{
    const auto name = folder.filename();
    return !name.empty() && name != "." && name != ".." && folder == root / name &&
           folder.native().find('\0') == std::string::npos;
}

} // namespace vorlin
