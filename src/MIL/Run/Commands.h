#pragma once

#include <span>
#include <string>
#include <string_view>

namespace vorlin::mil {

/// How milrun is called; printed when it is called otherwise.
extern const std::string_view usage;

/// Runs one command of milrun: the arguments behind the program's name. Throws Error.
void runCommand(std::span<const std::string> arguments);

} // namespace vorlin::mil
