#pragma once

#include <filesystem>

namespace vorlin {

/// Whether a binary language model is there to its end. Its words stand there, and the library
/// reads past its memory when some are missing. Other forms are left to the library.
bool isCompleteLanguageModel(const std::filesystem::path& file);

} // namespace vorlin
