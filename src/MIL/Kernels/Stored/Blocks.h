#pragma once

#include "MIL/Extents.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace vorlin::mil {

/// A tensor cut into equal blocks, a number of them along each axis. What a stored form keeps
/// for each block (a palette, a scale) is numbered in row-major order.
class Blocks {
public:
    Blocks() = default;
    /// `counts[i]` blocks along axis i, which divides `shape[i]`.
    Blocks(const Shape& shape, const Extents& counts)
    {
        std::int64_t inner = 1; // elements behind the axis
        std::int64_t blocks = 1;
        for (std::size_t i = shape.size(); i-- > 0;) {
            if (counts[i] > 1) {
                cuts[cutCount++] = {inner, shape[i], shape[i] / counts[i], blocks};
            } else if (cutCount == 0) {
                run = inner * shape[i]; // behind the last cut, neighbours stay in one block
            }
            if (cutCount == 1 && counts[i] > 1) {
                run = inner * (shape[i] / counts[i]);
            }
            inner *= shape[i];
            blocks *= counts[i];
        }
        run = std::max<std::int64_t>(run, 1);
    }

    /// The block of the element at a flat place.
    std::int64_t at(std::int64_t place) const
    {
        std::int64_t block = 0;
        for (std::size_t i = 0; i < cutCount; ++i) {
            const Cut& cut = cuts[i];
            block += place / cut.inner % cut.extent / cut.size * cut.blocks;
        }
        return block;
    }

    /// The extent of the last axis where every place along it is a block of its own, so that
    /// neighbours have consecutive blocks; else 0.
    std::int64_t finest() const
    {
        const bool fine = cutCount > 0 && cuts[0].inner == 1 && cuts[0].size == 1;
        return fine ? cuts[0].extent : 0;
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
    /// An axis with more than one block.
    struct Cut {
        std::int64_t inner = 1;
        std::int64_t extent = 1;
        std::int64_t size = 1;   // of a block, along the axis
        std::int64_t blocks = 1; // behind the axis
    };

    std::array<Cut, Extents::maximumRank> cuts{};
    std::size_t cutCount = 0;
    std::int64_t run = 1;
};

} // namespace vorlin::mil
