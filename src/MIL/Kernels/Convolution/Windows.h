#pragma once

#include "MIL/Graph/Call.h"

#include <array>

namespace vorlin::mil {

/// One spatial axis of a convolution or pool.
struct WindowAxis {
    std::int64_t in = 1;
    std::int64_t kernel = 1;
    std::int64_t stride = 1;
    std::int64_t dilation = 1;
    std::int64_t before = 0; // padding in front
    std::int64_t after = 0;
    std::int64_t out = 1;

    std::int64_t reach() const { return (kernel - 1) * dilation + 1; }
};

/// Up to three spatial axes; those a tensor of lower rank lacks come first and have extent 1.
using Windows = std::array<WindowAxis, 3>;

/// Reads strides, dilations, pad_type and pad of a call, and fills in paddings and output
/// extents. `valid` pads nothing, `custom` takes `pad`; `same` makes ceil(in / stride) and puts
/// an odd padding behind, `same_lower` in front. `ceilMode` counts a last window that starts
/// inside but does not fit. Throws Error.
Windows windowsOf(const Call& call, const Shape& x, const Extents& kernel, bool dilates,
                  bool ceilMode);

/// The output's shape, given its first two extents.
Shape windowedShape(std::int64_t batch, std::int64_t channels, const Windows& windows,
                    std::size_t spatial);

} // namespace vorlin::mil
