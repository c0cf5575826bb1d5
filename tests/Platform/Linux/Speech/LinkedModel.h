#pragma once

#include "SpokenAudio.h"

#include <filesystem>

namespace vorlin {

/// Makes `folder` a copy of the system's US-English model, file by file linked to it, so that a
/// test can replace one.
inline void linkSystemModel(const std::filesystem::path& folder)
{
    namespace fs = std::filesystem;
    const fs::path original = systemModels / "en-us";
    fs::create_directories(folder / "en-us");
    for (const auto& each : fs::recursive_directory_iterator(original)) {
        if (each.is_regular_file()) {
            fs::create_symlink(each.path(), folder / fs::relative(each.path(), original));
        }
    }
}

} // namespace vorlin
