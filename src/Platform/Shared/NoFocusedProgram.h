#pragma once

#include "Ports/FocusedProgram.h"

namespace vorlin {

/// "Not available here": the port on a desktop that does not say which program has the focus.
/// Everything is pasted with that desktop's usual chord.
class NoFocusedProgram final : public FocusedProgram {
public:
    explicit NoFocusedProgram(const PasteChord& usual) : usual(usual) {}

    PasteChord pasteChord() override { return usual; }

private:
    PasteChord usual;
};

} // namespace vorlin
