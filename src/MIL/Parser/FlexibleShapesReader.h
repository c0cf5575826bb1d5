#pragma once

#include "MIL/FlexibleShapes.h"
#include "MIL/Parser/Lexer.h"

namespace vorlin::mil {

/// Reads the value of a function's attribute `FlexibleShapeInformation`, type and all, of either
/// style:
///   tuple<...>((("DefaultShapes", {{"x", [1, 3]}}),
///               ("RangeDims", {{"x", [[1, 1], [1, 40]]}})))
///   tuple<...>((("EnumeratedShapes", {{"a key", {{"x", [1, 2]}}}, ...})))
/// Parts of other names are passed over. Throws Error with the place.
FlexibleShapes readFlexibleShapes(Lexer& lexer);

/// Passes over a literal of any form whose brackets balance; nesting is limited.
void skipLiteral(Lexer& lexer, int depth = 0);

} // namespace vorlin::mil
