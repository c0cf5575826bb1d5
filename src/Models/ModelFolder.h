#pragma once

#include "Ports/Folders.h"

#include <array>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace vorlin {

/// What a folder must hold directly inside it to be a compatible model.
inline constexpr std::array<std::string_view, 5> modelFiles = {
    "Preprocessor.mlmodelc", "Encoder.mlmodelc", "Decoder.mlmodelc", "JointDecisionv3.mlmodelc",
    "parakeet_v3_vocab.json"};

/// The names of `modelFiles`, in their order, that do not exist in `folder`, or exist and cannot
/// be used, with the reason in brackets behind the name. None when the folder is complete, all when
/// it is no absolute path. May wait for a slow disk: not on the main loop.
std::vector<std::string> missingFiles(Folders& folders, const std::filesystem::path& folder);

/// One sentence that names them, for a person.
std::string missingLine(const std::vector<std::string>& missing);

/// Whether one of these, as `missingFiles` names them, exists and cannot be used.
bool isAnyUnusable(const std::vector<std::string>& missing);

/// Whether `name` names something directly inside a folder, wherever it comes from.
bool isSingleName(std::string_view name);

} // namespace vorlin
