#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

namespace vorlin::mil {

/// Numbers that lie in memory as integers of 8 bits: number i is scale (integers[i] - offset).
struct ScaledBytes {
    const std::int8_t* integers = nullptr;
    float scale = 0;
    std::int32_t offset = 0; // at most 255 from 0
};

/// The numbers of a constant in whatever form they are stored: half precision, a palette,
/// quantised, sparse, or one of these inside another. They are expanded piece by piece, where
/// they are needed; the expanded whole never exists unless an operation that knows only dense
/// tensors asks for it. Immutable, any thread.
class StoredValues {
public:
    StoredValues() = default;
    StoredValues(const StoredValues&) = delete;
    StoredValues& operator=(const StoredValues&) = delete;
    virtual ~StoredValues() = default;

    /// Writes the elements [first, first + count) of the row-major order to `out`, as the
    /// expanded tensor would hold them: rounded to its element type.
    virtual void expand(std::int64_t first, std::int64_t count, float* out) const = 0;

    /// For values that are the nonzero ones of a sparse tensor: the same, where
    /// `positions[i]` is the place of element `first + i` in the dense tensor.
    virtual void expandAt(std::int64_t first, std::span<const std::int64_t> positions,
                          float* out) const
    {
        expand(first, static_cast<std::int64_t>(positions.size()), out);
    }

    /// The memory that `expand` of these elements reads most of, where it is one piece.
    virtual std::span<const std::byte> lying(std::int64_t /*first*/, std::int64_t /*count*/) const
    {
        return {};
    }

    /// These elements as integers, if they lie as such and have one scale and offset; not rounded
    /// to the element type.
    virtual std::optional<ScaledBytes> scaledBytes(std::int64_t /*first*/,
                                                   std::int64_t /*count*/) const
    {
        return std::nullopt;
    }

    /// out[i] = element first + i times `inverse`, rounded to the nearest integer, ties to even,
    /// where this form has a shorter way to it than to expand; else does nothing and returns false.
    virtual bool round(std::int64_t /*first*/, std::int64_t /*count*/, float /*inverse*/,
                       std::int8_t* /*out*/) const
    {
        return false;
    }
};

using StoredValuesPointer = std::shared_ptr<const StoredValues>;

} // namespace vorlin::mil
