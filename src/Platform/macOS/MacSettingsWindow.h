#pragma once

#include <cstdint>

namespace vorlin {

/// Gives a window of this program, by its number (of its view), the identifier by which the
/// settings are found among the program's windows. Main thread.
void nameSettingsWindow(std::uintptr_t window);

} // namespace vorlin
