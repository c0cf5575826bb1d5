#pragma once

#include "MIL/Parser/Syntax.h"

#include <string_view>

namespace vorlin::mil {

/// Parses a program text of either style, or of both mixed. `text` must outlive the result.
/// Throws Error with line and column. Checks form only: names and shapes are not resolved.
/// Time and memory are proportional to the text; nesting is limited, so no text can exhaust
/// the stack.
syntax::Program parseProgram(std::string_view text);

} // namespace vorlin::mil
