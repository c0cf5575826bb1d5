#include "MIL/Kernels/Convolution/ImageColumns.h"

#include "MIL/Kernels/Elementwise/Elements.h"

#include <algorithm>

namespace vorlin::mil {

void ImageColumns::pack(std::int64_t firstRow, std::int64_t rows, std::int64_t firstColumn,
                        std::int64_t columns, float* out, std::int64_t stride) const
{
    for (std::int64_t k = 0; k < rows; ++k) {
        packRow(firstRow + k, firstColumn, columns, out + k * stride);
    }
}

void ImageColumns::packRow(std::int64_t row, std::int64_t firstColumn, std::int64_t columns,
                           float* out) const
{
    const auto& [a, b, c] = windows;
    const std::int64_t k2 = row % c.kernel;
    const std::int64_t k1 = row / c.kernel % b.kernel;
    const std::int64_t k0 = row / c.kernel / b.kernel % a.kernel;
    const std::int64_t channel = row / c.kernel / b.kernel / a.kernel;
    const std::int64_t plane = base + channel * a.in * b.in * c.in;
    for (std::int64_t done = 0; done < columns;) {
        const std::int64_t place = firstColumn + done;
        const std::int64_t first = place % c.out;
        const std::int64_t count = std::min(c.out - first, columns - done);
        const std::int64_t i1 = place / c.out % b.out * b.stride + k1 * b.dilation - b.before;
        const std::int64_t i0 = place / c.out / b.out * a.stride + k0 * a.dilation - a.before;
        float* const target = out + done;
        done += count;
        if (i0 < 0 || i0 >= a.in || i1 < 0 || i1 >= b.in) {
            std::fill_n(target, count, 0.0f);
            continue;
        }
        const std::int64_t line = plane + (i0 * b.in + i1) * c.in;
        const std::int64_t shift = first * c.stride + k2 * c.dilation - c.before;
        // Of these places, [start, to) meet the input.
        const std::int64_t start =
            shift >= 0 ? 0 : std::min((-shift + c.stride - 1) / c.stride, count);
        const std::int64_t room = c.in - shift;
        const std::int64_t to =
            room <= 0 ? start : std::clamp<std::int64_t>((room - 1) / c.stride + 1, start, count);
        std::fill_n(target, start, 0.0f);
        if (c.stride == 1) {
            loadFloats(image, line + shift + start, to - start, target + start);
        } else if (image.type.element == ElementType::fp16) {
            const Half* const in = image.as<Half>() + line + shift;
            for (std::int64_t i = start; i < to; ++i) {
                target[i] = widen(in[i * c.stride]);
            }
        } else {
            const float* const in = image.as<float>() + line + shift;
            for (std::int64_t i = start; i < to; ++i) {
                target[i] = in[i * c.stride];
            }
        }
        std::fill(target + to, target + count, 0.0f);
    }
}

} // namespace vorlin::mil
