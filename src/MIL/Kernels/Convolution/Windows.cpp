#include "MIL/Kernels/Convolution/Windows.h"

#include <algorithm>

namespace vorlin::mil {

namespace {

constexpr std::int64_t largest = std::int64_t{1} << 31;

void padSame(const Call& call, WindowAxis& axis, bool lower)
{
    axis.out = (axis.in + axis.stride - 1) / axis.stride;
    const std::int64_t total =
        std::max<std::int64_t>(0, (axis.out - 1) * axis.stride + axis.reach() - axis.in);
    axis.before = lower ? total - total / 2 : total / 2;
    axis.after = total - axis.before;
    call.require(axis.in > 0, "has an empty axis");
}

void countWindows(const Call& call, WindowAxis& axis, bool ceilMode)
{
    std::int64_t room = axis.in + axis.before + axis.after - axis.reach();
    room += ceilMode ? axis.stride - 1 : 0; // the last window may reach beyond the end
    call.require(room >= 0, "has a kernel larger than its padded input");
    axis.out = room / axis.stride + 1;
    if (ceilMode) {
        const bool padded = axis.before + axis.after > 0;
        if (padded && (axis.out - 1) * axis.stride >= axis.in + axis.before) {
            --axis.out;
        }
    }
}

} // namespace

Windows windowsOf(const Call& call, const Shape& x, const Extents& kernel, bool dilates,
                  bool ceilMode)
{
    const std::size_t spatial = x.size() - 2;
    const Extents ones = Extents::filled(spatial, 1);
    const Extents strides = call.integers("strides", ones);
    const Extents dilations = dilates ? call.integers("dilations", ones) : ones;
    const std::string padType = call.word("pad_type", "valid");
    const bool custom = padType == "custom";
    const bool same = padType == "same" || padType == "same_lower";
    call.require(custom || same || padType == "valid", "has an unknown pad_type");
    const Extents none = Extents::filled(2 * spatial, 0);
    const Extents pad = custom ? call.integers("pad", none) : none;
    call.require(kernel.size() == spatial && strides.size() == spatial &&
                     dilations.size() == spatial && pad.size() == 2 * spatial,
                 "needs one kernel, stride and dilation for each axis, and two paddings");
    Windows windows;
    for (std::size_t i = 0; i < spatial; ++i) {
        WindowAxis& axis = windows[3 - spatial + i];
        axis = {x[2 + i], kernel[i], strides[i], dilations[i], pad[2 * i], pad[2 * i + 1], 0};
        call.require(axis.kernel > 0 && axis.kernel < largest && axis.stride > 0 &&
                         axis.stride < largest && axis.dilation > 0 &&
                         axis.dilation < largest / axis.kernel && axis.before >= 0 &&
                         axis.before < largest && axis.after >= 0 && axis.after < largest,
                     "has a kernel, stride, dilation or padding out of range");
        if (same) {
            padSame(call, axis, padType == "same_lower");
        } else {
            countWindows(call, axis, ceilMode);
        }
    }
    return windows;
}

Shape windowedShape(std::int64_t batch, std::int64_t channels, const Windows& windows,
                    std::size_t spatial)
{
    Shape shape{batch, channels};
    for (std::size_t i = 3 - spatial; i < 3; ++i) {
        shape.push(windows[i].out);
    }
    return shape;
}

} // namespace vorlin::mil
