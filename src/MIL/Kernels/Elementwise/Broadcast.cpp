#include "MIL/Kernels/Elementwise/Broadcast.h"

#include "MIL/Error.h"

#include <algorithm>

namespace vorlin::mil {

Shape broadcastShapes(const Shape& a, const Shape& b)
{
    const std::size_t rank = std::max(a.size(), b.size());
    Shape result = Extents::filled(rank, 1);
    for (std::size_t i = 0; i < rank; ++i) {
        const std::int64_t x = i < a.size() ? a[a.size() - 1 - i] : 1;
        const std::int64_t y = i < b.size() ? b[b.size() - 1 - i] : 1;
        if (x != y && x != 1 && y != 1) {
            throw Error("shapes " + describe(a) + " and " + describe(b) +
                        " do not stretch to one another");
        }
        result[rank - 1 - i] = x == 1 ? y : x;
    }
    return result;
}

Broadcast::Broadcast(const Shape& output, std::span<const Shape> operands)
{
    const std::size_t rank = output.size();
    std::array<Extents, mostOperands> full;
    for (std::size_t k = 0; k < mostOperands; ++k) {
        full[k] = Extents::filled(rank, 0);
        if (k >= operands.size()) {
            continue;
        }
        std::int64_t stride = 1;
        for (std::size_t i = 0; i < operands[k].size(); ++i) {
            const std::int64_t extent = operands[k][operands[k].size() - 1 - i];
            full[k][rank - 1 - i] = extent == 1 ? 0 : stride;
            stride *= extent;
        }
    }
    // The innermost axes over which every operand advances evenly, or stands still, become a run.
    std::size_t axis = rank;
    bool first = true;
    while (axis > 0) {
        const std::size_t i = axis - 1;
        bool fits = true;
        if (output[i] != 1) {
            for (std::size_t k = 0; k < operands.size(); ++k) {
                const bool moves = full[k][i] != 0;
                fits = fits &&
                       (first || (moves == advancing[k] && (!moves || full[k][i] == runLength)));
            }
            if (!fits) {
                break;
            }
            for (std::size_t k = 0; k < operands.size(); ++k) {
                advancing[k] = full[k][i] != 0;
            }
            first = false;
            runLength *= output[i];
        }
        --axis;
    }
    for (std::size_t i = 0; i < axis; ++i) {
        runCount *= output[i];
    }
    // Outside, neighbouring axes that every operand crosses evenly are one axis.
    for (std::size_t i = 0; i < axis; ++i) {
        bool merges = !extents.empty();
        for (std::size_t k = 0; merges && k < mostOperands; ++k) {
            merges = strides[k].back() == full[k][i] * output[i];
        }
        if (merges) {
            extents[extents.size() - 1] *= output[i];
        } else {
            extents.push(output[i]);
        }
        for (std::size_t k = 0; k < mostOperands; ++k) {
            if (merges) {
                strides[k][strides[k].size() - 1] = full[k][i];
            } else {
                strides[k].push(full[k][i]);
            }
        }
    }
    if (runLength == 0) {
        runCount = 0;
    }
}

} // namespace vorlin::mil
