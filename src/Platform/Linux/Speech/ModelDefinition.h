#pragma once

#include <filesystem>

namespace vorlin {

/// Whether the decoder may be given the acoustic model's definition file (`mdef`). It follows the
/// numbers in the binary form of the file blindly and would crash on damaged ones; so this looks
/// whether every table is there in full and every index stays inside the table it points into.
/// The text form is left to the decoder, which parses it.
bool isSoundModelDefinition(const std::filesystem::path& file);

} // namespace vorlin
