#pragma once

#include <filesystem>

namespace vorlin {

/// Where the engine program lies: beside the running program, as built, or in libexec/vorlin of
/// the place it was installed to. Neither PATH nor the environment is asked.
std::filesystem::path engineProgram();

} // namespace vorlin
