#pragma once

#include "Ports/FocusedProgram.h"

#include <string_view>

namespace vorlin {

/// The chord that pastes in a program, by the two names of its window's WM_CLASS property, or by
/// the one of a Wayland window as class; the desktop's usual one, Control+V, for a program that is
/// not in the table. Case does not matter.
PasteChord pasteChordFor(std::string_view instanceName, std::string_view className);

} // namespace vorlin
