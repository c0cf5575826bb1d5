#pragma once

#include "MIL/Extents.h"

#include <algorithm>
#include <cstdint>

namespace vorlin::mil
{

/// A tensor cut into equal blocks, a number of them along each axis. What a stored form keeps
/// for each block (a palette, a scale) is numbered in row-major order.
class Blocks
{
public:
    Blocks() = default;
    /// `counts[i]` blocks along axis i, which divides `shape[i]`.
    Blocks(const Shape& shape, const Extents& counts) : shape(shape), counts(counts)
    {
        for (std::size_t i = shape.size(); i-- > 0;) {
            const std::int64_t size = counts[i] == 0 ? 1 : shape[i] / counts[i];
            sizes.insert(0, std::max<std::int64_t>(size, 1));
        }
        // Behind the last cut, neighbours stay in one block.
        for (std::size_t i = shape.size(); i-- > 0;) {
            run *= sizes[i];
            if (counts[i] > 1) {
                break;
            }
        }
        run = std::max<std::int64_t>(run, 1);
    }

    /// The block of the element at a flat place.
    std::int64_t at(std::int64_t place) const
    {
        std::int64_t block = 0;
        std::int64_t stride = 1;
        for (std::size_t i = shape.size(); i-- > 0;) {
            block += place % shape[i] / sizes[i] * stride;
            place /= shape[i];
            stride *= counts[i];
        }
        return block;
    }

    /// Calls `body(offset, length, block)` for the pieces of [first, first + count) that lie in
    /// one block each.
    template <class Body>
    void forEach(std::int64_t first, std::int64_t count, Body&& body) const
    {
        for (std::int64_t done = 0; done < count;) {
            const std::int64_t place = first + done;
            const std::int64_t length = std::min(run - place % run, count - done);
            body(done, length, at(place));
            done += length;
        }
    }

private:
    Shape shape;
    Extents counts;
    Extents sizes;
    std::int64_t run = 1;
};

} // namespace vorlin::mil
