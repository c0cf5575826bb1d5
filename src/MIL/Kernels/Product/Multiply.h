#pragma once

#include "MIL/Graph/Call.h"
#include "MIL/Kernels/Product/DotKernels.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace vorlin::mil {

// Every product of the engine is C(i, j) = sum over k of A(i, k) B(k, j), accumulated in single
// precision. A is read row by row, expanded from whatever form it is stored in, one tile at a
// time; B is packed once into panels of consecutive columns. Weights are always A and
// activations B, so that stored weights are read in the order in which they lie and never
// transposed.

/// The rows of A.
class LeftRows {
public:
    virtual ~LeftRows() = default;
    /// Writes A(row, first) to A(row, first + count - 1).
    virtual void expand(std::int64_t row, std::int64_t first, std::int64_t count,
                        float* out) const = 0;
    /// sums[i * stride] = the sum over k < count of A(firstRow + i, k) x[k], for i < rows.
    virtual void dots(const DotKernels& kernels, std::int64_t firstRow, std::int64_t rows,
                      std::int64_t count, const float* x, float* sums, std::int64_t stride) const;
    /// The memory that `expand` of these elements reads, where it is one piece: a hint of what to
    /// bring into the cache before.
    virtual std::span<const std::byte> lying(std::int64_t /*row*/, std::int64_t /*first*/,
                                             std::int64_t /*count*/) const
    {
        return {};
    }
    /// out[k] = A(row, first + k) times `inverse`, rounded to the nearest integer, ties to even.
    virtual void round(std::int64_t row, std::int64_t first, std::int64_t count, float inverse,
                       std::int8_t* out) const;
    /// The first `count` elements of a row as integers that lie somewhere, if they do.
    virtual std::optional<ScaledBytes> scaledBytes(std::int64_t /*row*/,
                                                   std::int64_t /*count*/) const
    {
        return std::nullopt;
    }
};

/// The columns of B.
class RightColumns {
public:
    virtual ~RightColumns() = default;
    /// Writes B(firstRow + k, firstColumn + j) to out[k * stride + j] for k < rows, j < columns.
    virtual void pack(std::int64_t firstRow, std::int64_t rows, std::int64_t firstColumn,
                      std::int64_t columns, float* out, std::int64_t stride) const = 0;
    /// Whether a column lies in one piece: it is then best packed alone.
    virtual bool lieAlone() const { return false; }
};

/// Takes finished pieces of C.
class ResultSink {
public:
    virtual ~ResultSink() = default;
    /// C(firstRow + i, firstColumn + j) is tile[i * stride + j]; the sink may change the tile.
    /// Called for every element once, from several threads.
    virtual void store(std::int64_t firstRow, std::int64_t rows, std::int64_t firstColumn,
                       std::int64_t columns, float* tile, std::int64_t stride) const = 0;
};

struct ProductSize {
    std::int64_t rows = 0;    // of A and C
    std::int64_t inner = 0;   // columns of A, rows of B
    std::int64_t columns = 0; // of B and C
};

/// Computes one product on the call's threads, in its scratch memory. The error of an element is
/// at most (inner + 2) 2^-24 times the sum of the terms' magnitudes.
void multiply(const Call& call, const ProductSize& size, const LeftRows& left,
              const RightColumns& right, const ResultSink& sink);

/// The same on the calling thread alone, in memory of that thread; for many small products.
void multiplyHere(const Call& call, const ProductSize& size, const LeftRows& left,
                  const RightColumns& right, const ResultSink& sink);

namespace reference {
/// In double precision, element by element.
void multiply(const Call& call, const ProductSize& size, const LeftRows& left,
              const RightColumns& right, const ResultSink& sink);
} // namespace reference

} // namespace vorlin::mil
