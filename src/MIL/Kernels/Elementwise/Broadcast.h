#pragma once

#include "MIL/Extents.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace vorlin::mil {

/// The shape two operands stretch to: aligned at the right, extent 1 stretches. Throws Error.
Shape broadcastShapes(const Shape& a, const Shape& b);

/// Walks an output that several operands are stretched to, in runs of consecutive elements. Over
/// one run each operand either advances with the output or stands still.
class Broadcast {
public:
    static constexpr std::size_t mostOperands = 3;
    using Offsets = std::array<std::int64_t, mostOperands>;

    Broadcast(const Shape& output, std::span<const Shape> operands);

    /// Elements of a run, and number of runs.
    std::int64_t length() const { return runLength; }
    std::int64_t runs() const { return runCount; }
    bool advances(std::size_t operand) const { return advancing[operand]; }

    /// Calls `body(run, offsets)` for the runs [begin, end), where offsets say at which flat
    /// element each operand starts.
    template <class Body>
    void forEach(std::int64_t begin, std::int64_t end, Body&& body) const
    {
        Extents counter = Extents::filled(extents.size(), 0);
        Offsets offsets{};
        std::int64_t rest = begin;
        for (std::size_t i = extents.size(); i-- > 0;) {
            counter[i] = rest % extents[i];
            rest /= extents[i];
            for (std::size_t k = 0; k < mostOperands; ++k) {
                offsets[k] += counter[i] * strides[k][i];
            }
        }
        for (std::int64_t run = begin; run < end; ++run) {
            body(run, static_cast<const Offsets&>(offsets));
            for (std::size_t i = extents.size(); i-- > 0;) {
                for (std::size_t k = 0; k < mostOperands; ++k) {
                    offsets[k] += strides[k][i];
                }
                if (++counter[i] < extents[i]) {
                    break;
                }
                for (std::size_t k = 0; k < mostOperands; ++k) {
                    offsets[k] -= extents[i] * strides[k][i];
                }
                counter[i] = 0;
            }
        }
    }

    /// Calls `body(first, count, offsets)` for the runs, or parts of runs, that the elements
    /// [begin, end) are made of, where `first` is a flat element of the output.
    template <class Body>
    void forEachIn(std::int64_t begin, std::int64_t end, Body&& body) const
    {
        if (begin >= end) {
            return;
        }
        forEach(begin / runLength, (end - 1) / runLength + 1,
                [&](std::int64_t run, const Offsets& offsets) {
                    const std::int64_t start = run * runLength;
                    const std::int64_t from = std::max<std::int64_t>(begin - start, 0);
                    const std::int64_t to = std::min(end - start, runLength);
                    Offsets moved = offsets;
                    for (std::size_t k = 0; k < mostOperands; ++k) {
                        moved[k] += advancing[k] ? from : 0;
                    }
                    body(start + from, to - from, static_cast<const Offsets&>(moved));
                });
    }

private:
    Extents extents; // of the axes outside a run
    std::array<Extents, mostOperands> strides;
    std::array<bool, mostOperands> advancing{};
    std::int64_t runLength = 1;
    std::int64_t runCount = 1;
};

} // namespace vorlin::mil
