#pragma once

#include "MIL/Kernels/Product/IntegerKernels.h"

namespace vorlin::mil::test {

/// The form of AVX-VNNI with the same instruction of another set, for processors that have that one
/// alone; null where there is neither.
const IntegerKernels* narrowStandIn();

} // namespace vorlin::mil::test
