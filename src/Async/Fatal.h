#pragma once

#include <string_view>

namespace vorlin {

/// Stops the program with `message` on standard error: for what cannot happen. Any thread.
[[noreturn]] void fatal(std::string_view message);

} // namespace vorlin
