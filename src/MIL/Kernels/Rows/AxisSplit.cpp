#include "MIL/Kernels/Rows/AxisSplit.h"

#include "MIL/Kernels/Elementwise/Elements.h"
#include "MIL/Kernels/Movement/StridedCopy.h"

#include <algorithm>
#include <array>
#include <vector>

namespace vorlin::mil {

AxisSplit::AxisSplit(const Shape& shape, const Extents& axes)
{
    const Extents dense = denseStrides(shape);
    for (std::size_t i = 0; i < shape.size(); ++i) {
        const bool worked =
            std::find(axes.begin(), axes.end(), static_cast<std::int64_t>(i)) != axes.end();
        (worked ? extents : keptExtents).push(shape[i]);
        (worked ? strides : keptStrides).push(dense[i]);
        (worked ? rowWidth : rowCount) *= shape[i];
    }
    // Worked axes that follow one another are one axis.
    for (std::size_t i = extents.size(); i-- > 1;) {
        if (strides[i - 1] == strides[i] * extents[i]) {
            extents[i - 1] *= extents[i];
            strides[i - 1] = strides[i];
            extents.erase(i);
            strides.erase(i);
        }
    }
}

std::int64_t AxisSplit::start(std::int64_t row) const
{
    std::int64_t place = 0;
    for (std::size_t i = keptExtents.size(); i-- > 0;) {
        place += row % keptExtents[i] * keptStrides[i];
        row /= keptExtents[i];
    }
    return place;
}

std::int64_t AxisSplit::offset(std::int64_t i) const
{
    std::int64_t place = 0;
    for (std::size_t k = extents.size(); k-- > 0;) {
        place += i % extents[k] * strides[k];
        i /= extents[k];
    }
    return place;
}

template <class Body>
void AxisSplit::forEachPiece(std::int64_t row, Body&& body) const
{
    const std::int64_t first = start(row);
    if (extents.empty()) {
        body(first, 1, 1);
        return;
    }
    const std::int64_t length = extents.back();
    for (std::int64_t i = 0; i < rowWidth; i += length) {
        body(first + offset(i), length, strides.back());
    }
}

void AxisSplit::load(const TensorView& tensor, std::int64_t row, float* out) const
{
    forEachPiece(row, [&](std::int64_t at, std::int64_t count, std::int64_t stride) {
        if (stride == 1) {
            loadFloats(tensor, at, count, out);
        } else if (tensor.type.element == ElementType::fp16) {
            for (std::int64_t i = 0; i < count; ++i) {
                out[i] = widen(tensor.as<Half>()[at + i * stride]);
            }
        } else {
            for (std::int64_t i = 0; i < count; ++i) {
                out[i] = tensor.as<float>()[at + i * stride];
            }
        }
        out += count;
    });
}

void AxisSplit::store(const TensorBuffer& tensor, std::int64_t row, const float* values) const
{
    forEachPiece(row, [&](std::int64_t at, std::int64_t count, std::int64_t stride) {
        if (stride == 1) {
            storeFloats(tensor, at, count, values);
        } else if (tensor.type.element == ElementType::fp16) {
            for (std::int64_t i = 0; i < count; ++i) {
                tensor.as<Half>()[at + i * stride] = narrow(values[i]);
            }
        } else {
            for (std::int64_t i = 0; i < count; ++i) {
                tensor.as<float>()[at + i * stride] = values[i];
            }
        }
        values += count;
    });
}

float* rowBuffer(std::int64_t width, std::size_t slot)
{
    thread_local std::array<std::vector<float>, 4> buffers;
    std::vector<float>& buffer = buffers[slot];
    if (buffer.size() < static_cast<std::size_t>(width)) {
        buffer.resize(static_cast<std::size_t>(width));
    }
    return buffer.data();
}

std::int64_t rowGrain(std::int64_t width)
{
    return std::max<std::int64_t>(1, 8192 / std::max<std::int64_t>(width, 1));
}

} // namespace vorlin::mil
