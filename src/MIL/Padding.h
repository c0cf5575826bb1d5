#pragma once

#include "MIL/Tensor.h"

#include <cstddef>
#include <vector>

namespace vorlin::mil {

/// The elements of `whole` that a tensor of the smaller shape `part` has, too, into `bytes`.
/// Elements take whole bytes.
void cutDown(const TensorView& whole, const Shape& part, std::vector<std::byte>& bytes);

/// The tensor with zeros beyond its extents, up to those of `shape`.
std::vector<std::byte> padded(const TensorView& part, const Shape& shape);

} // namespace vorlin::mil
