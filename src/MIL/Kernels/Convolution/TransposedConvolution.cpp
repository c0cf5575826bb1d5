#include "MIL/Kernels/Convolution/Windows.h"
#include "MIL/Kernels/Elementwise/Elements.h"
#include "MIL/Kernels/Operations.h"
#include "MIL/Kernels/Product/Operands.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace vorlin::mil {

namespace {

/// x [N, C, *D] spread by weight [C, M / groups, *K]: the reverse of a convolution, whose
/// paddings crop the result.
struct Spread {
    std::int64_t groups = 1;
    std::int64_t perGroup = 0; // M / groups
    Windows windows;           // `in` and `out` as of this operation
    std::size_t spatial = 0;

    explicit Spread(const Call& call)
    {
        const TensorType& x = call.type("x").type;
        const TensorType& weight = call.type("weight").type;
        const std::size_t rank = x.shape.size();
        call.require(isComputed(x.element) && isComputed(weight.element) && rank >= 3 &&
                         rank <= 5 && weight.shape.size() == rank,
                     "takes floating x and weights of one rank from 3 to 5");
        spatial = rank - 2;
        groups = call.integer("groups", 1);
        perGroup = weight.shape[1];
        call.require(groups > 0 && weight.shape[0] == x.shape[1] && x.shape[1] % groups == 0,
                     "has weights and groups that do not fit x");
        if (call.has("bias")) {
            call.require(call.type("bias").shape() == Shape{perGroup * groups},
                         "needs one bias for each filter");
        }
        placeWindows(call, x.shape, weight.shape);
    }

    /// How far the spread input reaches before anything is cropped.
    static std::int64_t reachOf(const WindowAxis& w) { return (w.in - 1) * w.stride + w.reach(); }

    void placeWindows(const Call& call, const Shape& x, const Shape& weight)
    {
        const Extents ones = Extents::filled(spatial, 1);
        const Extents none = Extents::filled(2 * spatial, 0);
        const Extents strides = call.integers("strides", ones);
        const Extents dilations = call.integers("dilations", ones);
        const std::string_view padType = call.text("pad_type", "valid");
        const bool same = padType == "same" || padType == "same_lower";
        call.require(same || padType == "custom" || padType == "valid", "has an unknown pad_type");
        const Extents pad = padType == "custom" ? call.integers("pad", none) : none;
        call.require(strides.size() == spatial && dilations.size() == spatial &&
                         pad.size() == 2 * spatial,
                     "needs one stride and dilation for each axis, and two paddings");
        std::optional<Extents> given;
        if (call.has("output_shape")) {
            given = call.integers("output_shape");
            call.require(given->size() == spatial + 2, "has an output shape of another rank");
        }
        constexpr std::int64_t largest = std::int64_t{1} << 20;
        for (std::size_t i = 0; i < spatial; ++i) {
            WindowAxis& w = windows[3 - spatial + i];
            w = {x[2 + i], weight[2 + i], strides[i], dilations[i], pad[2 * i], pad[2 * i + 1], 0};
            call.require(w.kernel > 0 && w.kernel < largest && w.stride > 0 && w.stride < largest &&
                             w.dilation > 0 && w.dilation < largest && w.before >= 0 &&
                             w.before < largest && w.after >= 0 && w.after < largest &&
                             w.in < largest,
                         "has a kernel, stride, dilation or padding out of range");
            w.out =
                same ? w.in * w.stride : std::max<std::int64_t>(0, reachOf(w) - w.before - w.after);
            if (given) {
                const std::int64_t extent = (*given)[2 + i];
                call.require(extent >= 0 && extent <= reachOf(w) + w.stride,
                             "has an output shape it cannot make");
                w.out = extent;
            }
            if (same) { // what a convolution of the result would pad is cropped
                const std::int64_t total = std::max<std::int64_t>(0, reachOf(w) - w.out);
                w.before = padType == "same" ? total / 2 : total - total / 2;
                w.after = total - w.before;
            }
        }
    }
};

void inferSpread(const Call& call, std::vector<TensorType>& outputs)
{
    const Spread s(call);
    const TensorType& x = call.type("x").type;
    outputs.push_back(
        {x.element, windowedShape(x.shape[0], s.perGroup * s.groups, s.windows, s.spatial)});
}

/// The input place that tap k of an output place comes from, or -1.
std::int64_t sourceOf(const WindowAxis& w, std::int64_t out, std::int64_t k)
{
    const std::int64_t distance = out + w.before - k * w.dilation;
    const bool meets = distance >= 0 && distance % w.stride == 0 && distance / w.stride < w.in;
    return meets ? distance / w.stride : -1;
}

double gatherTaps(const Call& call, const Spread& s, std::int64_t plane, std::int64_t filter,
                  std::int64_t place)
{
    const TensorView& x = call.input("x");
    const TensorView& weight = call.input("weight");
    const auto& [a, b, c] = s.windows;
    const std::int64_t perInput = x.extent(1) / s.groups;
    const std::int64_t firstChannel = filter / s.perGroup * perInput;
    const std::int64_t taps = a.kernel * b.kernel * c.kernel;
    double sum = 0;
    for (std::int64_t tap = 0; tap < taps; ++tap) {
        const std::int64_t i0 = sourceOf(a, place / c.out / b.out, tap / c.kernel / b.kernel);
        const std::int64_t i1 = sourceOf(b, place / c.out % b.out, tap / c.kernel % b.kernel);
        const std::int64_t i2 = sourceOf(c, place % c.out, tap % c.kernel);
        if (i0 < 0 || i1 < 0 || i2 < 0) {
            continue;
        }
        for (std::int64_t k = 0; k < perInput; ++k) {
            const std::int64_t channel = firstChannel + k;
            const std::int64_t at =
                (((plane * x.extent(1) + channel) * a.in + i0) * b.in + i1) * c.in + i2;
            const std::int64_t w = (channel * s.perGroup + filter % s.perGroup) * taps + tap;
            sum += x.number(at) * weight.number(w);
        }
    }
    return sum;
}

/// Adds a row of products to a row of the output, along the last axis.
void addRow(const WindowAxis& w, std::int64_t tap, const float* products, float* out)
{
    const std::int64_t shift = tap * w.dilation - w.before;
    const std::int64_t first = shift >= 0 ? 0 : (-shift + w.stride - 1) / w.stride;
    const std::int64_t room = w.out - shift;
    const std::int64_t last = room <= 0 ? 0 : std::min(w.in, (room - 1) / w.stride + 1);
    for (std::int64_t i = first; i < last; ++i) {
        out[i * w.stride + shift] += products[i];
    }
}

/// Adds what one tap makes of every place of the input.
void addTap(const Windows& windows, std::int64_t tap, const float* products, float* out)
{
    const auto& [a, b, c] = windows;
    const std::int64_t shift0 = tap / c.kernel / b.kernel * a.dilation - a.before;
    const std::int64_t shift1 = tap / c.kernel % b.kernel * b.dilation - b.before;
    for (std::int64_t i0 = 0; i0 < a.in; ++i0) {
        const std::int64_t o0 = i0 * a.stride + shift0;
        for (std::int64_t i1 = 0; i1 < b.in; ++i1) {
            const std::int64_t o1 = i1 * b.stride + shift1;
            if (o0 >= 0 && o0 < a.out && o1 >= 0 && o1 < b.out) {
                addRow(c, tap % c.kernel, products + (i0 * b.in + i1) * c.in,
                       out + (o0 * b.out + o1) * c.out);
            }
        }
    }
}

/// Some filters of one group over one batch entry.
struct Piece {
    std::int64_t entry = 0;
    std::int64_t group = 0;
    std::int64_t first = 0; // filter of the group
    std::int64_t count = 0;
};

/// All taps of the filters as one product with the input, added up where they meet.
void spreadPiece(const Call& call, const Spread& s, const Piece& piece)
{
    const TensorView& x = call.input("x");
    const auto& [a, b, c] = s.windows;
    const std::int64_t taps = a.kernel * b.kernel * c.kernel;
    const std::int64_t inPlane = a.in * b.in * c.in;
    const std::int64_t outPlane = a.out * b.out * c.out;
    const std::int64_t perInput = x.extent(1) / s.groups;
    const std::int64_t firstChannel = piece.group * perInput;
    const std::int64_t rows = piece.count * taps;
    thread_local std::vector<float> products;
    thread_local std::vector<float> sums;
    call.checkScratch(static_cast<std::size_t>(rows * inPlane + outPlane) * sizeof(float));
    products.resize(static_cast<std::size_t>(rows * inPlane));
    sums.resize(static_cast<std::size_t>(outPlane));
    const TensorBuffer target{{ElementType::fp32, {rows, inPlane}},
                              reinterpret_cast<std::byte*>(products.data())};
    multiplyHere(
        call, {rows, perInput, inPlane},
        MatrixRows({call.input("weight"), nullptr, (firstChannel * s.perGroup + piece.first) * taps,
                    1, s.perGroup * taps}),
        MatrixColumns(
            {x, nullptr, (piece.entry * x.extent(1) + firstChannel) * inPlane, inPlane, 1}),
        MatrixSink({target, 0, inPlane, 1}, nullptr));
    for (std::int64_t i = 0; i < piece.count; ++i) {
        call.checkStop();
        const std::int64_t filter = piece.group * s.perGroup + piece.first + i;
        const double bias = call.has("bias") ? call.input("bias").number(filter) : 0;
        std::fill(sums.begin(), sums.end(), static_cast<float>(bias));
        for (std::int64_t tap = 0; tap < taps; ++tap) {
            addTap(s.windows, tap, products.data() + (i * taps + tap) * inPlane, sums.data());
        }
        storeFloats(call.output(), (piece.entry * s.perGroup * s.groups + filter) * outPlane,
                    outPlane, sums.data());
    }
}

void runSpread(const Call& call)
{
    const Spread s(call);
    const TensorBuffer& out = call.output();
    if (!call.referenceKernels() && out.elements() > 0) {
        constexpr std::int64_t mostFloats = std::int64_t{1} << 18; // of products at a time
        const std::int64_t perFilter = product(call.input("weight").shape(), 2, out.rank()) *
                                       product(call.input("x").shape(), 2, out.rank());
        const std::int64_t together = std::clamp<std::int64_t>(
            mostFloats / std::max<std::int64_t>(perFilter, 1), 1, s.perGroup);
        const std::int64_t pieces = (s.perGroup + together - 1) / together;
        call.parallel(out.extent(0) * s.groups * pieces, 1, [&](std::int64_t i, std::int64_t) {
            const std::int64_t first = i % pieces * together;
            spreadPiece(call, s,
                        {i / pieces / s.groups, i / pieces % s.groups, first,
                         std::min(together, s.perGroup - first)});
        });
        return;
    }
    const std::int64_t filters = s.perGroup * s.groups;
    const std::int64_t plane = product(out.shape(), 2, out.rank());
    call.parallel(out.elements(), 256, [&](std::int64_t begin, std::int64_t end) {
        for (std::int64_t i = begin; i < end; ++i) {
            const std::int64_t filter = i / plane % filters;
            const double bias = call.has("bias") ? call.input("bias").number(filter) : 0;
            out.set(i, gatherTaps(call, s, i / plane / filters, filter, i % plane) + bias);
        }
    });
}

} // namespace

OperationKind transposedConvolution()
{
    return {"conv_transpose",
            "x weight bias? strides? pad_type? pad? dilations? groups? output_shape?", inferSpread,
            runSpread, OperationKind::Nature::laborious};
}

} // namespace vorlin::mil
