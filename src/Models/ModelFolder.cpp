#include "Models/ModelFolder.h"

namespace vorlin {

std::vector<std::string> missingFiles(Folders& folders, const std::filesystem::path& folder)
{
    std::vector<std::string> missing;
    for (const auto name : modelFiles) {
        if (!folder.is_absolute() || !folders.contains(folder, std::string(name))) {
            missing.emplace_back(name);
        }
    }
    return missing;
}

bool isSingleName(std::string_view name)
{
    return !name.empty() && name != "." && name != ".." &&
           name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
}

} // namespace vorlin
