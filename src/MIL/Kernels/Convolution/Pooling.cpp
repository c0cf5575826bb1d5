#include "MIL/Kernels/Convolution/Windows.h"
#include "MIL/Kernels/Elementwise/Elements.h"
#include "MIL/Kernels/Operations.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vorlin::mil {

namespace {

Windows poolWindows(const Call& call)
{
    const TensorType& x = call.type("x").type;
    call.require(isComputed(x.element) && x.shape.size() >= 3 && x.shape.size() <= 5,
                 "takes floating x of rank 3 to 5");
    return windowsOf(call, x.shape, call.integers("kernel_sizes"), false,
                     call.flag("ceil_mode", false));
}

void inferPool(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = call.type("x").type;
    outputs.push_back(
        {x.element, windowedShape(x.shape[0], x.shape[1], poolWindows(call), x.shape.size() - 2)});
}

/// Part of an axis that a window covers: inside the input, and inside the padded input.
struct Cover {
    std::int64_t begin = 0;
    std::int64_t end = 0;
    std::int64_t padded = 0;
};

Cover coverOf(const WindowAxis& w, std::int64_t out)
{
    const std::int64_t start = out * w.stride - w.before;
    const std::int64_t paddedEnd = std::min(start + w.kernel, w.in + w.after);
    return {std::clamp<std::int64_t>(start, 0, w.in),
            std::clamp<std::int64_t>(start + w.kernel, 0, w.in), paddedEnd - start};
}

enum class Pool : std::uint8_t { maximum, average, root };

double poolWindow(Pool pool, const TensorView& x, std::int64_t plane, const Windows& w,
                  std::int64_t place, bool excludePadding)
{
    const Cover c0 = coverOf(w[0], place / w[2].out / w[1].out);
    const Cover c1 = coverOf(w[1], place / w[2].out % w[1].out);
    const Cover c2 = coverOf(w[2], place % w[2].out);
    double most = -std::numeric_limits<double>::infinity();
    double sum = 0;
    for (std::int64_t i0 = c0.begin; i0 < c0.end; ++i0) {
        for (std::int64_t i1 = c1.begin; i1 < c1.end; ++i1) {
            for (std::int64_t i2 = c2.begin; i2 < c2.end; ++i2) {
                const double value =
                    x.number(((plane * w[0].in + i0) * w[1].in + i1) * w[2].in + i2);
                most = value > most || std::isnan(value) ? value : most;
                sum += pool == Pool::root ? value * value : value;
            }
        }
    }
    if (pool == Pool::maximum) {
        return most;
    }
    if (pool == Pool::root) {
        return std::sqrt(sum);
    }
    const std::int64_t inside = (c0.end - c0.begin) * (c1.end - c1.begin) * (c2.end - c2.begin);
    const std::int64_t count = excludePadding ? inside : c0.padded * c1.padded * c2.padded;
    return sum / static_cast<double>(count);
}

void runPool(const Call& call)
{
    const Windows windows = poolWindows(call);
    const TensorView& x = call.input("x");
    const Pool pool = call.operation() == "max_pool"   ? Pool::maximum
                      : call.operation() == "avg_pool" ? Pool::average
                                                       : Pool::root;
    const bool exclude = pool == Pool::average && call.flag("exclude_padding_from_average", false);
    const TensorBuffer& out = call.output();
    const std::int64_t plane = product(out.shape(), 2, out.rank());
    call.parallel(out.elements(), 256, [&](std::int64_t begin, std::int64_t end) {
        for (std::int64_t i = begin; i < end; ++i) {
            out.set(i, poolWindow(pool, x, i / plane, windows, i % plane, exclude));
        }
    });
}

} // namespace

std::vector<OperationKind> poolingOperations()
{
    constexpr std::string_view signature = "x kernel_sizes strides? pad_type? pad? ceil_mode?";
    constexpr auto laborious = OperationKind::Nature::laborious;
    return {{"max_pool", signature, inferPool, runPool, laborious},
            {"l2_pool", signature, inferPool, runPool, laborious},
            {"avg_pool",
             "x kernel_sizes strides? pad_type? pad? ceil_mode? exclude_padding_from_average?",
             inferPool, runPool, laborious}};
}

} // namespace vorlin::mil
