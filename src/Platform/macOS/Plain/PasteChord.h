#pragma once

#include "Hotkey.h"
#include "Ports/FocusedProgram.h"

namespace vorlin {

/// Command-V and no other modifier, which pastes in every program.
inline constexpr PasteChord commandV{keyCodes::v, eventFlags::maskCommand, PasteSource::clipboard};

} // namespace vorlin
