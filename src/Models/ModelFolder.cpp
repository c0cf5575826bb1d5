#include "Models/ModelFolder.h"

namespace vorlin {

std::vector<std::string> missingFiles(Folders& folders, const std::filesystem::path& folder)
{
    std::vector<std::string> missing;
    for (const auto name : modelFiles) {
        const auto why = folder.is_absolute() ? folders.whyUnusable(folder, std::string(name))
                                              : std::optional<std::string>("");
        if (why) {
            missing.push_back(std::string(name) + (why->empty() ? "" : " (" + *why + ")"));
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
