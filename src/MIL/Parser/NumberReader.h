#pragma once

#include "MIL/Parser/Lexer.h"
#include "MIL/Tensor.h"

#include <cstddef>
#include <vector>

namespace vorlin::mil {

/// Reads the literal of a tensor of numbers or booleans straight into its memory form. The
/// nesting of the brackets must agree with the declared shape. Throws Error with the place.
/// Memory grows with the text that is read, never with what the declaration claims.
std::vector<std::byte> readNumbers(Lexer& lexer, const TensorType& type);

} // namespace vorlin::mil
