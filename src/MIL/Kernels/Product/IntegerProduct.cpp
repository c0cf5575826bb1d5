#include "MIL/Kernels/Product/IntegerProduct.h"

#include "MIL/Kernels/Product/IntegerRounding.h"
#include "MIL/Kernels/Product/LinesAhead.h"
#include "MIL/Kernels/Product/MultiplyKernels.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace vorlin::mil {

namespace {

// As many rows of A as are multiplied at once (8 KiB) stay in the first-level cache until they have
// met every panel of a block of B (at most 240 KiB), which stays in the second-level cache with the
// tile of C (60 KiB, and as much again where sums become numbers).
constexpr std::int64_t tileRows = 64;
constexpr std::int64_t tileInner = 1024;
constexpr std::int64_t blockColumns = 240; // whole panels, whatever their width

/// Columns that lie in one piece are rounded one by one and turned together.
constexpr std::int64_t turnedColumns = 16;

/// B is packed in stretches of columns that take at most this much memory.
constexpr std::int64_t mostPackedBytes = std::int64_t{16} << 20;

constexpr std::int64_t fewestTerms = 64;
constexpr std::int64_t mostTerms = 16384;
constexpr std::int64_t fewestColumns = 5;

constexpr std::int64_t roundedUp(std::int64_t value, std::int64_t multiple)
{
    return (value + multiple - 1) / multiple * multiple;
}

/// Memory of the calling thread, one for each kind of number.
template <class Number>
Number* threadMemory(std::int64_t count)
{
    thread_local std::vector<Number> memory;
    if (memory.size() < static_cast<std::size_t>(count)) {
        memory.resize(static_cast<std::size_t>(count));
    }
    return memory.data();
}

/// Columns of B packed at one time, their scales, and the sums of their integers.
struct Packed {
    std::uint8_t* panels = nullptr;
    float* scales = nullptr;
    std::int32_t* sums = nullptr;
    std::int64_t firstColumn = 0;
    std::int64_t columns = 0;
};

class IntegerProduct {
public:
    IntegerProduct(const Call& call, const ProductSize& size, const LeftRows& left,
                   const IntegerRows& weights, const RightColumns& right, const ResultSink& sink,
                   const IntegerKernels& kernels)
        : call(call), size(size), left(left), weights(weights), right(right), sink(sink),
          kernels(kernels), panelBytes(roundedUp(size.inner, 4) * kernels.width),
          mostPanels(blockColumns / kernels.width), rowBlocks((size.rows + tileRows - 1) / tileRows)
    {
    }

    void run() const
    {
        const std::int64_t width = kernels.width;
        const std::int64_t stretch =
            std::max<std::int64_t>(mostPackedBytes / panelBytes, 1) * width;
        const std::int64_t most = std::min(stretch, roundedUp(size.columns, width));
        const std::int64_t bytes = most / width * panelBytes;
        auto* const memory = reinterpret_cast<std::uint8_t*>(call.scratch(
            static_cast<std::size_t>(bytes) + 2 * static_cast<std::size_t>(most) * sizeof(float)));
        auto* const scales = reinterpret_cast<float*>(memory + bytes);
        auto* const sums = reinterpret_cast<std::int32_t*>(scales + most);
        for (std::int64_t first = 0; first < size.columns; first += stretch) {
            const Packed packed{memory, scales, sums, first,
                                std::min(stretch, size.columns - first)};
            call.parallel(panels(packed), 1,
                          [&](std::int64_t panel, std::int64_t) { packPanel(packed, panel); });
            call.parallel(tiles(packed), 1,
                          [&](std::int64_t tile, std::int64_t) { multiplyTile(packed, tile); });
        }
    }

private:
    std::int64_t panels(const Packed& packed) const
    {
        return (packed.columns + kernels.width - 1) / kernels.width;
    }
    std::int64_t tiles(const Packed& packed) const
    {
        return rowBlocks * ((panels(packed) + mostPanels - 1) / mostPanels);
    }

    void packPanel(const Packed& packed, std::int64_t panel) const
    {
        call.checkStop();
        const std::int64_t first = panel * kernels.width;
        const std::int64_t columns = std::min(kernels.width, packed.columns - first);
        std::uint8_t* const out = packed.panels + panel * panelBytes;
        const Packed part{out, packed.scales + first, packed.sums + first,
                          packed.firstColumn + first, columns};
        if (right.lieAlone()) {
            packColumns(part);
        } else {
            packTogether(part);
        }
    }

    /// Columns that lie in one piece each.
    void packColumns(const Packed& part) const
    {
        const std::int64_t fours = (size.inner + 3) / 4;
        auto* const numbers = threadMemory<float>(size.inner);
        // Fours of integers are turned as numbers of as many bits; nobody looks at them.
        auto* const turned =
            reinterpret_cast<float*>(threadMemory<std::uint32_t>(fours * turnedColumns));
        for (std::int64_t j = 0; j < part.columns; j += turnedColumns) {
            const std::int64_t together = std::min(turnedColumns, part.columns - j);
            for (std::int64_t i = 0; i < together; ++i) {
                right.pack(0, size.inner, part.firstColumn + j + i, 1, numbers, 1);
                const StepSize step = stepSize(largestMagnitude(numbers, size.inner));
                part.scales[j + i] = step.scale;
                auto* const bytes = reinterpret_cast<std::uint8_t*>(turned + i * fours);
                std::fill_n(bytes + 4 * fours - 4, 4, std::uint8_t{0});
                part.sums[j + i] =
                    roundToBytes(numbers, size.inner, step.inverse, kernels.zero, bytes);
            }
            transposeFloats(turned, fours, together, fours,
                            reinterpret_cast<float*>(part.panels) + j, kernels.width);
        }
    }

    /// Columns whose rows lie in one piece each.
    void packTogether(const Packed& part) const
    {
        const std::int64_t stride = kernels.width;
        auto* const numbers = threadMemory<float>((size.inner + 2) * stride);
        float* const inverses = numbers + size.inner * stride;
        float* const largest = inverses + stride;
        right.pack(0, size.inner, part.firstColumn, part.columns, numbers, stride);
        largestOfColumns(numbers, stride, size.inner, part.columns, largest);
        for (std::int64_t j = 0; j < part.columns; ++j) {
            const StepSize step = stepSize(largest[j]);
            part.scales[j] = step.scale;
            inverses[j] = step.inverse;
        }
        roundToFours(numbers, stride, size.inner, part.columns, inverses, kernels.zero, part.panels,
                     kernels.width, part.sums);
    }

    void multiplyTile(const Packed& packed, std::int64_t index) const
    {
        // Row blocks innermost: neighbouring tasks share their panels.
        const std::int64_t firstRow = index % rowBlocks * tileRows;
        const std::int64_t firstPanel = index / rowBlocks * mostPanels;
        const std::int64_t rows = std::min(tileRows, size.rows - firstRow);
        const std::int64_t panelCount = std::min(mostPanels, panels(packed) - firstPanel);
        const std::int64_t stride = mostPanels * kernels.width;
        auto* const sums = threadMemory<std::int32_t>(tileRows * stride);
        auto* const room = threadMemory<std::int8_t>(kernels.rows * tileInner);
        const std::int64_t groups = (rows + kernels.rows - 1) / kernels.rows;
        for (std::int64_t k = 0; k < size.inner; k += tileInner) {
            call.checkStop();
            const std::int64_t inner = std::min(tileInner, size.inner - k);
            LinesAhead ahead(left, pieceAfter(packed, index, k), panelCount * groups);
            for (std::int64_t i = 0; i < rows; i += kernels.rows) {
                const std::int64_t height = std::min(kernels.rows, rows - i);
                const auto block = weights.expand(left, {firstRow + i, height, k, inner}, room);
                for (std::int64_t p = 0; p < panelCount; ++p) {
                    const std::int64_t panel = firstPanel + p;
                    kernels.multiply(
                        {.a = block.a,
                         .aStride = block.stride,
                         .b = packed.panels + panel * panelBytes + k * kernels.width,
                         .fours = (inner + 3) / 4,
                         .rows = height,
                         .columns = std::min(kernels.width, packed.columns - panel * kernels.width),
                         .c = sums + i * stride + p * kernels.width,
                         .cStride = stride,
                         .accumulate = k != 0,
                         .ahead = ahead.next()});
                }
            }
        }
        store(packed, firstRow, rows, firstPanel * kernels.width, sums, stride);
    }

    /// Makes numbers of the sums of a tile, whose first column is `first` of those packed.
    void store(const Packed& packed, std::int64_t firstRow, std::int64_t rows, std::int64_t first,
               const std::int32_t* sums, std::int64_t stride) const
    {
        const std::int64_t columns = std::min(mostPanels * kernels.width, packed.columns - first);
        auto* const numbers = threadMemory<float>(tileRows * stride);
        for (std::int64_t i = 0; i < rows; ++i) {
            const std::int64_t row = firstRow + i;
            scaleSums(sums + i * stride, columns, weights.summed(row, kernels.zero),
                      packed.sums + first, packed.scales + first, numbers + i * stride);
        }
        sink.store(firstRow, rows, packed.firstColumn + first, columns, numbers, stride);
    }

    /// What the thread that computes a tile needs of A when it is done with the columns from `k`.
    LeftPiece pieceAfter(const Packed& packed, std::int64_t index, std::int64_t k) const
    {
        k += tileInner;
        if (k >= size.inner) {
            index += static_cast<std::int64_t>(call.threads());
            k = 0;
        }
        if (index >= tiles(packed)) {
            return {};
        }
        const std::int64_t row = index % rowBlocks * tileRows;
        return {row, std::min(tileRows, size.rows - row), k, std::min(tileInner, size.inner - k)};
    }

    const Call& call;
    const ProductSize& size;
    const LeftRows& left;
    const IntegerRows& weights;
    const RightColumns& right;
    const ResultSink& sink;
    const IntegerKernels& kernels;
    const std::int64_t panelBytes;
    const std::int64_t mostPanels; // of a column block
    const std::int64_t rowBlocks;
};

} // namespace

bool fitsIntegers(const ProductSize& size)
{
    return size.columns >= fewestColumns && size.inner >= fewestTerms && size.inner <= mostTerms &&
           size.rows > 0;
}

void multiplyInIntegers(const Call& call, const ProductSize& size, const LeftRows& left,
                        const IntegerRows& weights, const RightColumns& right,
                        const ResultSink& sink, const IntegerKernels& kernels)
{
    IntegerProduct(call, size, left, weights, right, sink, kernels).run();
}

namespace {

/// What is known of the weights, made at their first use; null where they are not multiplied in 8
/// bits.
const IntegerRows* integersOf(const Call& call, const ProductSize& size,
                              const IntegerWeights::Place& weights, const LeftRows& left)
{
    IntegerWeights* const integers = call.integerWeights();
    const bool fits = integers != nullptr && !call.referenceKernels() && fitsIntegers(size);
    return fits ? &integers->rowsOf(weights, size, call, left) : nullptr;
}

} // namespace

void multiplyWeights(const Call& call, const ProductSize& size,
                     const IntegerWeights::Place& weights, const LeftRows& left,
                     const RightColumns& right, const ResultSink& sink)
{
    if (const IntegerRows* const rows = integersOf(call, size, weights, left)) {
        multiplyInIntegers(call, size, left, *rows, right, sink);
    } else {
        multiply(call, size, left, right, sink);
    }
}

void prepareWeights(const Call& call, const ProductSize& size, const IntegerWeights::Place& weights,
                    const LeftRows& left)
{
    integersOf(call, size, weights, left);
}

} // namespace vorlin::mil
