#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string_view>

namespace vorlin::mil::fuzz {

/// A bundle folder of this process, in memory where the system has such a place.
std::filesystem::path bundleFolder();

/// Replaces a file of the bundle.
void writeFile(const std::filesystem::path& path, std::string_view content);

/// Puts a small weight file into the bundle, always the same, once.
void prepareWeights();

/// Loads the bundle and predicts from zeros, stopping after a moment. Errors are fine; anything
/// else is a finding.
void loadAndPredict();

/// The same at shorter lengths of each input, as far as there are any; `count` names the input
/// that says how many frames count.
void loadAndShorten(std::string_view count);

} // namespace vorlin::mil::fuzz
