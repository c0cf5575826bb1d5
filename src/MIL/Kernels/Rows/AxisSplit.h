#pragma once

#include "MIL/Tensor.h"

#include <cstdint>

namespace vorlin::mil {

/// A tensor seen as rows: for each index of the axes that stay, the elements along the axes that
/// are worked on together, in row-major order.
class AxisSplit {
public:
    /// `axes` in ascending order.
    AxisSplit(const Shape& shape, const Extents& axes);

    std::int64_t rows() const { return rowCount; }
    /// Elements of a row.
    std::int64_t width() const { return rowWidth; }

    /// The flat place where a row starts.
    std::int64_t start(std::int64_t row) const;
    /// How far element i of a row lies behind the row's start.
    std::int64_t offset(std::int64_t i) const;

    /// A row as single precision, from fp16 or fp32.
    void load(const TensorView& tensor, std::int64_t row, float* out) const;
    void store(const TensorBuffer& tensor, std::int64_t row, const float* values) const;

private:
    /// Calls `body(offset, count, stride)` for pieces of a row.
    template <class Body>
    void forEachPiece(std::int64_t row, Body&& body) const;

    Extents keptExtents;
    Extents keptStrides;
    Extents extents;
    Extents strides;
    std::int64_t rowCount = 1;
    std::int64_t rowWidth = 1;
};

/// Memory of the calling thread for one row of `width` floats; `slot` tells up to four apart.
/// Stays until the thread asks for the same slot again.
float* rowBuffer(std::int64_t width, std::size_t slot = 0);

/// How many rows make a task worth handing out.
std::int64_t rowGrain(std::int64_t width);

} // namespace vorlin::mil
