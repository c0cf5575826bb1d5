#include "MIL/Kernels/Product/Operands.h"

#include "MIL/Kernels/Elementwise/Elements.h"
#include "MIL/Kernels/Product/MultiplyKernels.h"

#include <algorithm>

namespace vorlin::mil {

namespace {

/// `count` elements of a matrix, `stride` apart.
void load(const MatrixView& matrix, std::int64_t first, std::int64_t stride, std::int64_t count,
          float* out)
{
    if (matrix.stored != nullptr) {
        if (stride == 1) {
            matrix.stored->expand(first, count, out);
            return;
        }
        for (std::int64_t i = 0; i < count; ++i) {
            matrix.stored->expand(first + i * stride, 1, out + i);
        }
    } else if (stride == 1) {
        loadFloats(matrix.tensor, first, count, out);
    } else if (matrix.tensor.type.element == ElementType::fp16) {
        const Half* const in = matrix.tensor.as<Half>() + first;
        for (std::int64_t i = 0; i < count; ++i) {
            out[i] = widen(in[i * stride]);
        }
    } else {
        const float* const in = matrix.tensor.as<float>() + first;
        for (std::int64_t i = 0; i < count; ++i) {
            out[i] = in[i * stride];
        }
    }
}

} // namespace

void MatrixRows::expand(std::int64_t row, std::int64_t first, std::int64_t count, float* out) const
{
    load(matrix, matrix.base + row * matrix.rowStride + first * matrix.columnStride,
         matrix.columnStride, count, out);
}

void MatrixRows::dots(const DotKernels& kernels, std::int64_t firstRow, std::int64_t rows,
                      std::int64_t count, const float* x, float* sums, std::int64_t stride) const
{
    if (matrix.stored != nullptr || matrix.columnStride != 1) {
        LeftRows::dots(kernels, firstRow, rows, count, x, sums, stride);
        return;
    }
    const bool halves = matrix.tensor.type.element == ElementType::fp16;
    std::int64_t i = 0;
    for (; halves && i + dotRows <= rows; i += dotRows) {
        const std::int64_t at = matrix.base + (firstRow + i) * matrix.rowStride;
        kernels.rowsOfHalves(matrix.tensor.as<Half>() + at, matrix.rowStride, x, count,
                             sums + i * stride, stride);
    }
    for (; i < rows; ++i) {
        const std::int64_t at = matrix.base + (firstRow + i) * matrix.rowStride;
        sums[i * stride] = halves ? kernels.halves(matrix.tensor.as<Half>() + at, x, count)
                                  : kernels.floats(matrix.tensor.as<float>() + at, x, count);
    }
}

std::span<const std::byte> MatrixRows::lying(std::int64_t row, std::int64_t first,
                                             std::int64_t count) const
{
    if (matrix.columnStride != 1) {
        return {};
    }
    const std::int64_t place = matrix.base + row * matrix.rowStride + first;
    return matrix.stored != nullptr ? matrix.stored->lying(place, count)
                                    : bytesOf(matrix.tensor, place, count);
}

void MatrixRows::round(std::int64_t row, std::int64_t first, std::int64_t count, float inverse,
                       std::int8_t* out) const
{
    const std::int64_t place = matrix.base + row * matrix.rowStride + first;
    if (matrix.stored == nullptr || matrix.columnStride != 1 ||
        !matrix.stored->round(place, count, inverse, out)) {
        LeftRows::round(row, first, count, inverse, out);
    }
}

std::optional<ScaledBytes> MatrixRows::scaledBytes(std::int64_t row, std::int64_t count) const
{
    if (matrix.stored == nullptr || matrix.columnStride != 1) {
        return std::nullopt;
    }
    return matrix.stored->scaledBytes(matrix.base + row * matrix.rowStride, count);
}

void MatrixColumns::pack(std::int64_t firstRow, std::int64_t rows, std::int64_t firstColumn,
                         std::int64_t columns, float* out, std::int64_t stride) const
{
    const std::int64_t base =
        matrix.base + firstRow * matrix.rowStride + firstColumn * matrix.columnStride;
    if (matrix.columnStride == 1 || (columns == 1 && stride != 1)) {
        for (std::int64_t k = 0; k < rows; ++k) {
            load(matrix, base + k * matrix.rowStride, 1, columns, out + k * stride);
        }
        return;
    }
    if (columns == 1) {
        load(matrix, base, matrix.rowStride, rows, out);
        return;
    }
    // The columns lie in rows of memory: read pieces of them and turn each piece.
    constexpr std::int64_t length = 64;
    constexpr std::int64_t group = 16;
    alignas(64) float piece[group * length];
    for (std::int64_t k = 0; k < rows; k += length) {
        const std::int64_t count = std::min(length, rows - k);
        for (std::int64_t j = 0; j < columns; j += group) {
            const std::int64_t together = std::min(group, columns - j);
            for (std::int64_t c = 0; c < together; ++c) {
                load(matrix, base + k * matrix.rowStride + (j + c) * matrix.columnStride,
                     matrix.rowStride, count, piece + c * length);
            }
            transposeFloats(piece, length, together, count, out + k * stride + j, stride);
        }
    }
}

namespace {

/// Rows that are stored together.
constexpr std::int64_t mostRows = 64;

/// The bias of some rows: one for each, or one for all of them.
class Biases {
public:
    Biases(const TensorView* bias, std::int64_t first, std::int64_t rows)
        : none(bias == nullptr), single(!none && bias->elements() == 1)
    {
        if (!none) {
            loadFloats(*bias, single ? 0 : first, single ? 1 : rows, values);
        }
    }

    /// Null where there are none.
    const float* numbers() const { return none ? nullptr : values; }

    const bool none;
    const bool single;

private:
    float values[mostRows];
};

} // namespace

/// `values` are those of `rows`, which may be changed.
void MatrixSink::storePieces(FinishedRows rows, float* values) const
{
    rows.values = values;
    rows.out = target.tensor.data;
    rows.halves = target.tensor.type.element == ElementType::fp16;
    if (passes) {
        rows.passes = *passes;
        finishRows(rows);
        return;
    }
    for (std::int64_t i = 0; i < rows.rows; ++i) {
        float* const row = values + i * rows.stride;
        const std::int64_t place = rows.place + i * rows.placeStride;
        if (rows.addends != nullptr) {
            addFloats(row, rows.columns, rows.addends + i * rows.addendRows,
                      rows.addendColumns == 0);
        }
        finish->apply(place, rows.columns, row);
        storeFloats(target.tensor, place, rows.columns, row);
    }
}

void MatrixSink::storeRows(std::int64_t firstRow, std::int64_t rows, std::int64_t base,
                           std::int64_t columns, float* tile, std::int64_t stride) const
{
    const Biases biases(bias, firstRow, rows);
    storePieces({.stride = stride,
                 .rows = rows,
                 .columns = columns,
                 .place = base,
                 .placeStride = target.rowStride,
                 .addends = biases.numbers(),
                 .addendRows = biases.single ? 0 : 1},
                tile);
}

void MatrixSink::storeTurned(std::int64_t firstRow, std::int64_t rows, std::int64_t base,
                             std::int64_t columns, const float* tile, std::int64_t stride) const
{
    constexpr std::int64_t group = 16;
    alignas(64) float piece[group * mostRows];
    const Biases biases(bias, firstRow, rows);
    for (std::int64_t j = 0; j < columns; j += group) {
        const std::int64_t together = std::min(group, columns - j);
        // NOLINTNEXTLINE(readability-suspicious-call-argument)
        transposeFloats(tile + j, stride, rows, together, piece, mostRows);
        storePieces({.stride = mostRows,
                     .rows = together,
                     .columns = rows,
                     .place = base + j * target.columnStride,
                     .placeStride = target.columnStride,
                     .addends = biases.numbers(),
                     .addendColumns = biases.single ? 0 : 1},
                    piece);
    }
}

void MatrixSink::store(std::int64_t firstRow, std::int64_t rows, std::int64_t firstColumn,
                       std::int64_t columns, float* tile, std::int64_t stride) const
{
    for (std::int64_t i = 0; i < rows; i += mostRows) {
        const std::int64_t height = std::min(mostRows, rows - i);
        const std::int64_t base =
            target.base + (firstRow + i) * target.rowStride + firstColumn * target.columnStride;
        float* const part = tile + i * stride;
        if (target.columnStride == 1) {
            storeRows(firstRow + i, height, base, columns, part, stride);
        } else {
            storeTurned(firstRow + i, height, base, columns, part, stride);
        }
    }
}

} // namespace vorlin::mil
