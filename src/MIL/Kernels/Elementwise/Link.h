#pragma once

#include "MIL/Kernels/Elementwise/BinaryFunctions.h"
#include "MIL/Kernels/Elementwise/UnaryFunctions.h"

#include <variant>

namespace vorlin::mil {

/// What an element-wise operation does to floating numbers, whatever they are: what a sink needs to
/// do it, too.
struct UnaryLink {
    UnaryFunction function;
    double alpha = 0;
    double beta = 0;
};
using Link = std::variant<UnaryLink, BinaryFunction>;

} // namespace vorlin::mil
