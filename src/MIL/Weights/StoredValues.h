#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace vorlin::mil {

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
};

using StoredValuesPointer = std::shared_ptr<const StoredValues>;

} // namespace vorlin::mil
