#include "Models/ModelFolder.h"

#include <algorithm>

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

std::string missingLine(const std::vector<std::string>& missing)
{
    std::string names;
    for (const auto& name : missing) {
        names += (names.empty() ? "" : ", ") + name;
    }
    return "Missing: " + names + ".";
}

bool isAnyUnusable(const std::vector<std::string>& missing)
{
    return std::ranges::any_of(missing, [](const std::string& each) {
        return std::ranges::find(modelFiles, each) == modelFiles.end(); // it has a reason behind
    });
}

bool isSingleName(std::string_view name)
{
    return !name.empty() && name != "." && name != ".." &&
           name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
}

} // namespace vorlin
