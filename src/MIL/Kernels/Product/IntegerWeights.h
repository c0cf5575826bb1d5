#pragma once

#include "MIL/Kernels/Product/IntegerRounding.h"
#include "MIL/Kernels/Product/LinesAhead.h"
#include "MIL/Kernels/Product/Multiply.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace vorlin::mil {

/// The rows of A in 8 bits: A(i, k) is scale(i) (q(i, k) - offset(i)), where they lie as such
/// integers, else scale(i) q(i, k), rounded to 255 steps of the row.
/// Rows that lie as integers are read where they lie; others are rounded anew each time they are
/// expanded, which costs no memory.
class IntegerRows {
public:
    /// One pass over the rows.
    IntegerRows(const Call& call, const ProductSize& size, const LeftRows& left);

    /// What makes numbers of the row's sums, when columns were multiplied with `zero` added.
    SummedRow summed(std::int64_t row, std::int32_t zero) const
    {
        const auto i = static_cast<std::size_t>(row);
        return {zero * sums[i], lying == nullptr ? 0 : offsets[i], scales[i]};
    }

    /// A piece of the rows: q(row + i, first + k) is a[i * stride + k] for i < rows, k < count;
    /// what stands behind, up to a multiple of four, may be read.
    struct Block {
        const std::int8_t* a = nullptr;
        std::int64_t stride = 0;
    };
    /// `room` takes rows * count integers, with count rounded up to a multiple of four.
    Block expand(const LeftRows& left, const LeftPiece& piece, std::int8_t* room) const;

    /// Of memory.
    std::size_t bytes() const { return scales.size() * 3 * sizeof(float); }

private:
    /// Whether all rows lie as integers, one behind the other at equal distances.
    bool findLying(const ProductSize& size, const LeftRows& left);
    void prepare(const LeftRows& left, std::int64_t row, std::int64_t inner);

    std::vector<float> scales;
    std::vector<float> inverses;        // of rows that are rounded
    std::vector<std::int32_t> offsets;  // of rows that lie
    std::vector<std::int32_t> sums;     // of q
    const std::int8_t* lying = nullptr; // the first row, else null
    std::int64_t distance = 0;          // of those that lie
};

/// What products in 8 bits know of the weights of a model, made when each is first used. One thread
/// at a time.
class IntegerWeights {
public:
    /// What tells weights apart: where they lie, and the element that the first row begins with.
    struct Place {
        const void* weights = nullptr;
        std::int64_t first = 0;
    };

    const IntegerRows& rowsOf(const Place& place, const ProductSize& size, const Call& call,
                              const LeftRows& left);
    std::size_t bytes() const;

private:
    /// By place, rows and their length: the same bytes may be weights of several shapes.
    std::map<std::array<std::uintptr_t, 4>, IntegerRows> known;
};

} // namespace vorlin::mil
