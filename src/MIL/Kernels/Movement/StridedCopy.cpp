#include "MIL/Kernels/Movement/StridedCopy.h"

#include "MIL/Kernels/Movement/Transpose.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace vorlin::mil {

namespace {

constexpr std::int64_t grain = 16384; // elements
constexpr std::int64_t tile = 32;

struct Axis {
    std::int64_t extent = 1;
    std::int64_t in = 0;
    std::int64_t out = 0;
};

/// The axes of a copy, outermost first, without those of extent 1 and merged where possible.
struct Axes {
    std::array<Axis, Extents::capacity> list{};
    std::size_t count = 0;

    explicit Axes(const StridedCopy& copy)
    {
        for (std::size_t i = 0; i < copy.extents.size(); ++i) {
            const Axis axis{copy.extents[i], copy.inStrides[i], copy.outStrides[i]};
            if (axis.extent == 1) {
                continue;
            }
            if (count > 0 && list[count - 1].in == axis.in * axis.extent &&
                list[count - 1].out == axis.out * axis.extent) {
                list[count - 1] = {list[count - 1].extent * axis.extent, axis.in, axis.out};
            } else {
                list[count++] = axis;
            }
        }
    }
};

template <class T>
void copyRow(const T* in, std::int64_t inStride, T* out, std::int64_t outStride, std::int64_t count)
{
    if (inStride == 1 && outStride == 1) {
        std::memcpy(out, in, static_cast<std::size_t>(count) * sizeof(T));
    } else if (inStride == 0 && outStride == 1) {
        std::fill_n(out, count, *in);
    } else {
        for (std::int64_t i = 0; i < count; ++i) {
            out[i * outStride] = in[i * inStride];
        }
    }
}

/// Rows along `row`, columns along `column`, in square tiles.
template <class T>
void copyTiles(const T* in, T* out, const Axis& row, const Axis& column)
{
    for (std::int64_t r = 0; r < row.extent; r += tile) {
        const std::int64_t rows = std::min(tile, row.extent - r);
        for (std::int64_t c = 0; c < column.extent; c += tile) {
            const std::int64_t columns = std::min(tile, column.extent - c);
            if constexpr (sizeof(T) == 2) {
                if (row.in == 1 && column.out == 1) {
                    transposeShorts(in + r + c * column.in, column.in, rows, columns,
                                    out + r * row.out + c, row.out);
                    continue;
                }
            }
            for (std::int64_t i = r; i < r + rows; ++i) {
                copyRow(in + i * row.in + c * column.in, column.in,
                        out + i * row.out + c * column.out, column.out, columns);
            }
        }
    }
}

template <class T>
void copyAll(const Call& call, const StridedCopy& copy, const Axes& axes)
{
    const auto* const in = reinterpret_cast<const T*>(copy.in);
    T* const out = reinterpret_cast<T*>(copy.out);
    // The innermost axes are copied together when reading jumps along the last one.
    const Axis last = axes.count == 0 ? Axis{} : axes.list[axes.count - 1];
    const bool tiled = axes.count >= 2 && last.in != 1 && last.in != 0;
    std::size_t partner = tiled ? axes.count - 2 : 0; // the axis that reading runs along
    for (std::size_t i = 0; tiled && i + 1 < axes.count; ++i) {
        partner = axes.list[i].in == 1 ? i : partner;
    }
    const Axis row = tiled ? axes.list[partner] : Axis{};
    std::int64_t outer = 1;
    for (std::size_t i = 0; i + 1 < axes.count; ++i) {
        outer *= tiled && i == partner ? 1 : axes.list[i].extent;
    }
    const std::int64_t inner = row.extent * last.extent;
    // One large block is cut along its rows.
    const std::int64_t cuts = outer == 1 && tiled ? (row.extent + tile - 1) / tile : 1;
    const std::int64_t perTask =
        std::max<std::int64_t>(1, grain * cuts / std::max<std::int64_t>(inner, 1));
    call.parallel(outer * cuts, perTask, [&](std::int64_t begin, std::int64_t end) {
        for (std::int64_t index = begin; index < end; ++index) {
            std::int64_t rest = index / cuts;
            std::int64_t from = 0;
            std::int64_t to = 0;
            for (std::size_t i = axes.count - std::min<std::size_t>(axes.count, 1); i-- > 0;) {
                if (tiled && i == partner) {
                    continue;
                }
                from += rest % axes.list[i].extent * axes.list[i].in;
                to += rest % axes.list[i].extent * axes.list[i].out;
                rest /= axes.list[i].extent;
            }
            if (!tiled) {
                copyRow(in + from, last.in, out + to, last.out, last.extent);
                continue;
            }
            Axis part = row;
            if (cuts > 1) {
                part.extent = std::min(tile, row.extent - index % cuts * tile);
                from += index % cuts * tile * row.in;
                to += index % cuts * tile * row.out;
            }
            copyTiles(in + from, out + to, part, last);
        }
    });
}

} // namespace

Extents denseStrides(const Shape& shape)
{
    Extents strides = Extents::filled(shape.size(), 1);
    for (std::size_t i = shape.size(); i-- > 1;) {
        strides[i - 1] = strides[i] * shape[i];
    }
    return strides;
}

void copyStrided(const Call& call, const StridedCopy& copy)
{
    if (std::find(copy.extents.begin(), copy.extents.end(), 0) != copy.extents.end()) {
        return;
    }
    if (call.referenceKernels()) {
        reference::copyStrided(copy);
        return;
    }
    const Axes axes(copy);
    switch (copy.elementBytes) {
    case 1: copyAll<std::uint8_t>(call, copy, axes); break;
    case 2: copyAll<std::uint16_t>(call, copy, axes); break;
    case 4: copyAll<std::uint32_t>(call, copy, axes); break;
    default: copyAll<std::uint64_t>(call, copy, axes); break;
    }
}

void reference::copyStrided(const StridedCopy& copy)
{
    const std::int64_t count = elementCount(copy.extents);
    for (std::int64_t index = 0; index < count; ++index) {
        std::int64_t rest = index;
        std::int64_t from = 0;
        std::int64_t to = 0;
        for (std::size_t i = copy.extents.size(); i-- > 0;) {
            from += rest % copy.extents[i] * copy.inStrides[i];
            to += rest % copy.extents[i] * copy.outStrides[i];
            rest /= copy.extents[i];
        }
        const auto bytes = static_cast<std::int64_t>(copy.elementBytes);
        std::memcpy(copy.out + to * bytes, copy.in + from * bytes, copy.elementBytes);
    }
}

} // namespace vorlin::mil
