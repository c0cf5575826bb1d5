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

void MatrixSink::addBias(std::int64_t firstRow, std::int64_t rows, std::int64_t columns,
                         float* tile, std::int64_t stride) const
{
    constexpr std::int64_t together = 64;
    const bool single = bias->elements() == 1;
    float values[together];
    for (std::int64_t first = 0; first < rows; first += together) {
        const std::int64_t count = std::min(together, rows - first);
        loadFloats(*bias, single ? 0 : firstRow + first, single ? 1 : count, values);
        for (std::int64_t i = 0; i < count; ++i) {
            float* const line = tile + (first + i) * stride;
            const float value = values[single ? 0 : i];
            for (std::int64_t j = 0; j < columns; ++j) {
                line[j] += value;
            }
        }
    }
}

void MatrixSink::store(std::int64_t firstRow, std::int64_t rows, std::int64_t firstColumn,
                       std::int64_t columns, float* tile, std::int64_t stride) const
{
    if (bias != nullptr) {
        addBias(firstRow, rows, columns, tile, stride);
    }
    const std::int64_t base =
        target.base + firstRow * target.rowStride + firstColumn * target.columnStride;
    if (target.columnStride == 1) {
        for (std::int64_t i = 0; i < rows; ++i) {
            storeFloats(target.tensor, base + i * target.rowStride, columns, tile + i * stride);
        }
        return;
    }
    constexpr std::int64_t group = 16;
    constexpr std::int64_t mostRows = 64;
    alignas(64) float piece[group * mostRows];
    for (std::int64_t i = 0; i < rows; i += mostRows) {
        const std::int64_t height = std::min(mostRows, rows - i);
        for (std::int64_t j = 0; j < columns; j += group) {
            const std::int64_t together = std::min(group, columns - j);
            // NOLINTNEXTLINE(readability-suspicious-call-argument)
            transposeFloats(tile + i * stride + j, stride, height, together, piece, mostRows);
            for (std::int64_t c = 0; c < together; ++c) {
                storeFloats(target.tensor,
                            base + i * target.rowStride + (j + c) * target.columnStride, height,
                            piece + c * mostRows);
            }
        }
    }
}

} // namespace vorlin::mil
