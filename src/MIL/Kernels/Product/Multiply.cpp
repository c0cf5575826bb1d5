#include "MIL/Kernels/Product/Multiply.h"

#include "MIL/Kernels/Product/IntegerRounding.h"
#include "MIL/Kernels/Product/LinesAhead.h"
#include "MIL/Kernels/Product/MultiplyKernels.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

namespace vorlin::mil {

namespace {

// As many rows of A as are multiplied at once (16 KiB) stay in the first-level cache from their
// expansion to the last panel. A block of B (at most 480 KiB), the tile of C (60 KiB) and what is
// asked for ahead (64 KiB of halves) stay in the second-level cache together.
constexpr std::int64_t tileRows = 64;
constexpr std::int64_t tileInner = 512;
constexpr std::int64_t blockColumns = 240; // whole panels, whatever their width

/// With fewer columns than this, a row is expanded once and multiplied with each column.
constexpr std::int64_t fewColumns = 4;

/// B is packed in stretches of columns that take at most this much memory.
constexpr std::int64_t mostPackedFloats = std::int64_t{4} << 20;

/// Floats of the calling thread, 64-byte aligned; `slot` tells two apart.
float* threadMemory(std::size_t slot, std::int64_t count)
{
    thread_local std::vector<float> memory[2];
    std::vector<float>& floats = memory[slot];
    constexpr std::size_t slack = 16;
    if (floats.size() < static_cast<std::size_t>(count) + slack) {
        floats.resize(static_cast<std::size_t>(count) + slack);
    }
    void* start = floats.data();
    std::size_t space = floats.size() * sizeof(float);
    return static_cast<float*>(
        std::align(64, static_cast<std::size_t>(count) * sizeof(float), start, space));
}

/// The columns of B packed at one time.
struct Packed {
    const float* panels = nullptr;
    std::int64_t firstColumn = 0;
    std::int64_t columns = 0;
};

class Product {
public:
    /// Of `threads`, which take its tiles in turns.
    Product(const Call& call, std::int64_t threads, const ProductSize& size, const LeftRows& left,
            const RightColumns& right, const ResultSink& sink)
        : call(call), threads(threads), size(size), left(left), right(right), sink(sink),
          width(panelWidth()), mostPanels(blockColumns / width), rowsAtOnce(panelRows()),
          dots(dotKernels(call.sumVectors()))
    {
    }

    /// Columns that are packed together.
    std::int64_t stretch() const
    {
        const std::int64_t columns = mostPackedFloats / std::max<std::int64_t>(size.inner, 1);
        return std::max(columns / width, std::int64_t{1}) * width;
    }

    std::int64_t panels(std::int64_t columns) const { return (columns + width - 1) / width; }
    std::int64_t packedFloats(std::int64_t columns) const
    {
        return panels(columns) * width * size.inner;
    }

    void packPanel(const Packed& packed, std::int64_t panel, float* memory) const
    {
        float* const out = memory + panel * width * size.inner;
        const std::int64_t first = panel * width;
        const std::int64_t columns = std::min(width, packed.columns - first);
        if (columns < width) {
            // What comes of it is dropped, but must not be slow, as with subnormal numbers.
            for (std::int64_t k = 0; k < size.inner; ++k) {
                std::fill_n(out + k * width + columns, width - columns, 0.0f);
            }
        }
        right.pack(0, size.inner, packed.firstColumn + first, columns, out, width);
    }

    std::int64_t tiles(const Packed& packed) const
    {
        return rowBlocks() * columnBlocks(packed.columns);
    }

    void multiplyTile(const Packed& packed, std::int64_t index) const
    {
        // Row blocks innermost: neighbouring tasks share their panels.
        const std::int64_t firstRow = index % rowBlocks() * tileRows;
        const std::int64_t firstPanel = index / rowBlocks() * mostPanels;
        const std::int64_t rows = std::min(tileRows, size.rows - firstRow);
        const std::int64_t panelCount = std::min(mostPanels, panels(packed.columns) - firstPanel);
        const std::int64_t stride = mostPanels * width;
        float* const a = threadMemory(0, rowsAtOnce * tileInner);
        float* const c = threadMemory(1, tileRows * stride);
        if (size.inner == 0) {
            std::fill_n(c, tileRows * stride, 0.0f);
        }
        for (std::int64_t k = 0; k < size.inner; k += tileInner) {
            call.checkStop();
            const std::int64_t inner = std::min(tileInner, size.inner - k);
            const std::int64_t groups = (rows + rowsAtOnce - 1) / rowsAtOnce;
            LinesAhead ahead(left, pieceAfter(packed, index, k), panelCount * groups);
            for (std::int64_t i = 0; i < rows; i += rowsAtOnce) {
                const std::int64_t height = std::min(rowsAtOnce, rows - i);
                for (std::int64_t r = 0; r < height; ++r) {
                    left.expand(firstRow + i + r, k, inner, a + r * tileInner);
                }
                for (std::int64_t p = 0; p < panelCount; ++p) {
                    const float* const panel =
                        packed.panels + ((firstPanel + p) * size.inner + k) * width;
                    multiplyPanel(a, tileInner, panel, inner, height,
                                  std::min(width, packed.columns - (firstPanel + p) * width),
                                  c + i * stride + p * width, stride, k != 0, ahead.next());
                }
            }
        }
        const std::int64_t first = firstPanel * width;
        sink.store(firstRow, rows, packed.firstColumn + first,
                   std::min(panelCount * width, packed.columns - first), c, stride);
    }

    /// Few columns: rows [begin, end) against each of them; `columns` holds them one by one.
    void multiplyRows(std::int64_t begin, std::int64_t end, const float* columns) const
    {
        float tile[tileRows * fewColumns];
        for (std::int64_t i = begin; i < end; i += tileRows) {
            const std::int64_t rows = std::min(tileRows, end - i);
            for (std::int64_t j = 0; j < size.columns; ++j) {
                left.dots(dots, i, rows, size.inner, columns + j * size.inner, tile + j,
                          fewColumns);
            }
            sink.store(i, rows, 0, size.columns, tile, fewColumns);
        }
    }

    void packColumns(float* memory) const
    {
        for (std::int64_t j = 0; j < size.columns; ++j) {
            right.pack(0, size.inner, j, 1, memory + j * size.inner, 1);
        }
    }

private:
    /// What the thread that computes a tile needs of A when it is done with the columns from `k`.
    LeftPiece pieceAfter(const Packed& packed, std::int64_t index, std::int64_t k) const
    {
        k += tileInner;
        if (k >= size.inner) {
            index += threads;
            k = 0;
        }
        if (index >= tiles(packed)) {
            return {};
        }
        const std::int64_t row = index % rowBlocks() * tileRows;
        return {row, std::min(tileRows, size.rows - row), k, std::min(tileInner, size.inner - k)};
    }

    std::int64_t rowBlocks() const { return (size.rows + tileRows - 1) / tileRows; }
    std::int64_t columnBlocks(std::int64_t columns) const
    {
        return (panels(columns) + mostPanels - 1) / mostPanels;
    }

    const Call& call;
    const std::int64_t threads;
    const ProductSize& size;
    const LeftRows& left;
    const RightColumns& right;
    const ResultSink& sink;
    const std::int64_t width;
    const std::int64_t mostPanels; // of a column block
    const std::int64_t rowsAtOnce;
    const DotKernels& dots;
};

} // namespace

void LeftRows::dots(const DotKernels& kernels, std::int64_t firstRow, std::int64_t rows,
                    std::int64_t count, const float* x, float* sums, std::int64_t stride) const
{
    float chunk[tileInner];
    for (std::int64_t i = 0; i < rows; ++i) {
        float sum = 0;
        for (std::int64_t k = 0; k < count; k += tileInner) {
            const std::int64_t piece = std::min(tileInner, count - k);
            expand(firstRow + i, k, piece, chunk);
            sum += kernels.floats(chunk, x + k, piece);
        }
        sums[i * stride] = sum;
    }
}

void LeftRows::round(std::int64_t row, std::int64_t first, std::int64_t count, float inverse,
                     std::int8_t* out) const
{
    alignas(64) float chunk[tileInner];
    for (std::int64_t k = 0; k < count; k += tileInner) {
        const std::int64_t piece = std::min(tileInner, count - k);
        expand(row, first + k, piece, chunk);
        roundToBytes(chunk, piece, inverse, 0, reinterpret_cast<std::uint8_t*>(out + k));
    }
}

void multiply(const Call& call, const ProductSize& size, const LeftRows& left,
              const RightColumns& right, const ResultSink& sink)
{
    if (size.rows == 0 || size.columns == 0) {
        return;
    }
    if (call.referenceKernels()) {
        reference::multiply(call, size, left, right, sink);
        return;
    }
    const Product product(call, static_cast<std::int64_t>(call.threads()), size, left, right, sink);
    if (size.columns <= fewColumns) {
        auto* const columns = reinterpret_cast<float*>(
            call.scratch(static_cast<std::size_t>(size.columns * size.inner) * sizeof(float)));
        product.packColumns(columns);
        const std::int64_t grain =
            std::max<std::int64_t>(1, 65536 / std::max<std::int64_t>(size.inner, 1));
        call.parallel(size.rows, (grain + tileRows - 1) / tileRows * tileRows,
                      [&](std::int64_t begin, std::int64_t end) {
                          product.multiplyRows(begin, end, columns);
                      });
        return;
    }
    const std::int64_t stretch = std::min(product.stretch(), size.columns);
    auto* const memory = reinterpret_cast<float*>(
        call.scratch(static_cast<std::size_t>(product.packedFloats(stretch)) * sizeof(float)));
    for (std::int64_t first = 0; first < size.columns; first += stretch) {
        const Packed packed{memory, first, std::min(stretch, size.columns - first)};
        call.parallel(product.panels(packed.columns), 1, [&](std::int64_t begin, std::int64_t) {
            product.packPanel(packed, begin, memory);
        });
        call.parallel(product.tiles(packed), 1, [&](std::int64_t begin, std::int64_t) {
            product.multiplyTile(packed, begin);
        });
    }
}

void multiplyHere(const Call& call, const ProductSize& size, const LeftRows& left,
                  const RightColumns& right, const ResultSink& sink)
{
    if (size.rows == 0 || size.columns == 0) {
        return;
    }
    if (call.referenceKernels()) {
        reference::multiply(call, size, left, right, sink);
        return;
    }
    thread_local std::vector<float> memory;
    const Product product(call, 1, size, left, right, sink);
    const std::int64_t stretch = std::min(product.stretch(), size.columns);
    const bool few = size.columns <= fewColumns;
    const auto needed =
        static_cast<std::size_t>(few ? size.columns * size.inner : product.packedFloats(stretch));
    if (memory.size() < needed) {
        call.checkScratch(needed * sizeof(float));
        memory.resize(needed);
    }
    if (few) {
        product.packColumns(memory.data());
        product.multiplyRows(0, size.rows, memory.data());
        return;
    }
    for (std::int64_t first = 0; first < size.columns; first += stretch) {
        const Packed packed{memory.data(), first, std::min(stretch, size.columns - first)};
        for (std::int64_t i = 0; i < product.panels(packed.columns); ++i) {
            product.packPanel(packed, i, memory.data());
        }
        for (std::int64_t i = 0; i < product.tiles(packed); ++i) {
            product.multiplyTile(packed, i);
        }
    }
}

void reference::multiply(const Call& call, const ProductSize& size, const LeftRows& left,
                         const RightColumns& right, const ResultSink& sink)
{
    std::vector<float> row(static_cast<std::size_t>(size.inner));
    std::vector<float> columns(static_cast<std::size_t>(size.inner * size.columns));
    for (std::int64_t j = 0; j < size.columns; ++j) {
        right.pack(0, size.inner, j, 1, columns.data() + j * size.inner, 1);
    }
    std::vector<float> results(static_cast<std::size_t>(size.columns));
    for (std::int64_t i = 0; i < size.rows; ++i) {
        call.checkStop();
        left.expand(i, 0, size.inner, row.data());
        for (std::int64_t j = 0; j < size.columns; ++j) {
            double sum = 0;
            for (std::int64_t k = 0; k < size.inner; ++k) {
                sum += static_cast<double>(row[static_cast<std::size_t>(k)]) *
                       static_cast<double>(columns[static_cast<std::size_t>(j * size.inner + k)]);
            }
            results[static_cast<std::size_t>(j)] = static_cast<float>(sum);
        }
        sink.store(i, 1, 0, size.columns, results.data(), size.columns);
    }
}

} // namespace vorlin::mil
