#include "MIL/Kernels/Convolution/ImageColumns.h"
#include "MIL/Kernels/Convolution/Windows.h"
#include "MIL/Kernels/Elementwise/Elements.h"
#include "MIL/Kernels/Operations.h"
#include "MIL/Kernels/Product/IntegerProduct.h"
#include "MIL/Kernels/Product/Operands.h"
#include "MIL/Kernels/Rows/AxisSplit.h"

#include <algorithm>

namespace vorlin::mil {

namespace {

/// x [N, C, *D] against weight [M, C / groups, *K].
struct Convolution {
    std::int64_t batch = 0;
    std::int64_t channels = 0; // C
    std::int64_t filters = 0;  // M
    std::int64_t groups = 1;
    std::int64_t taps = 1; // product of K
    Windows windows;
    std::size_t spatial = 0;

    explicit Convolution(const Call& call)
    {
        const TensorType& x = call.type("x").type;
        const TensorType& weight = call.type("weight").type;
        const std::size_t rank = x.shape.size();
        call.require(isComputed(x.element) && isComputed(weight.element) && rank >= 3 &&
                         rank <= 5 && weight.shape.size() == rank,
                     "takes floating x and weights of one rank from 3 to 5");
        spatial = rank - 2;
        batch = x.shape[0];
        channels = x.shape[1];
        filters = weight.shape[0];
        groups = call.integer("groups", 1);
        call.require(groups > 0 && channels % groups == 0 && filters % groups == 0 &&
                         weight.shape[1] == channels / groups,
                     "has weights and groups that do not fit x");
        Extents kernel;
        for (std::size_t i = 2; i < rank; ++i) {
            kernel.push(weight.shape[i]);
            taps *= weight.shape[i];
        }
        windows = windowsOf(call, x.shape, kernel, true, false);
        if (call.has("bias")) {
            const TensorType& bias = call.type("bias").type;
            call.require(isComputed(bias.element) && bias.shape == Shape{filters},
                         "needs one bias for each filter");
        }
    }

    bool depthwise() const { return groups == channels && channels > 1; }
    std::int64_t inPlane() const { return windows[0].in * windows[1].in * windows[2].in; }
    std::int64_t outPlane() const { return windows[0].out * windows[1].out * windows[2].out; }
    /// A filter of one tap that visits every place once.
    bool pointwise() const
    {
        return taps == 1 && std::all_of(windows.begin(), windows.end(), [](const WindowAxis& w) {
                   return w.stride == 1 && w.before == 0 && w.after == 0;
               });
    }
};

void inferConvolution(const Call& call, std::vector<TensorType>& outputs)
{
    const Convolution c(call);
    outputs.push_back(
        {call.type("x").type.element, windowedShape(c.batch, c.filters, c.windows, c.spatial)});
}

/// Adds weight * (a row of x) to a row of the output, along the last axis.
void addTap(const WindowAxis& axis, std::int64_t tap, float weight, const float* in, float* out)
{
    const std::int64_t shift = tap * axis.dilation - axis.before;
    // The first and the last window that meets the input at this tap.
    const std::int64_t first = shift >= 0 ? 0 : (-shift + axis.stride - 1) / axis.stride;
    const std::int64_t room = axis.in - shift;
    const std::int64_t last = room <= 0 ? 0 : std::min(axis.out, (room - 1) / axis.stride + 1);
    if (first < last) {
        addScaled(out + first, last - first, in + first * axis.stride + shift, axis.stride, weight);
    }
}

/// One filter over one channel.
void convolvePlane(const Call& call, const Windows& w, const float* in, const float* weights,
                   float bias, float* out)
{
    for (std::int64_t o0 = 0; o0 < w[0].out; ++o0) {
        for (std::int64_t o1 = 0; o1 < w[1].out; ++o1) {
            call.checkStop();
            float* const row = out + (o0 * w[1].out + o1) * w[2].out;
            std::fill_n(row, w[2].out, bias);
            for (std::int64_t tap = 0; tap < w[0].kernel * w[1].kernel; ++tap) {
                const std::int64_t i0 =
                    o0 * w[0].stride + tap / w[1].kernel * w[0].dilation - w[0].before;
                const std::int64_t i1 =
                    o1 * w[1].stride + tap % w[1].kernel * w[1].dilation - w[1].before;
                if (i0 < 0 || i0 >= w[0].in || i1 < 0 || i1 >= w[1].in) {
                    continue;
                }
                const float* const source = in + (i0 * w[1].in + i1) * w[2].in;
                for (std::int64_t k = 0; k < w[2].kernel; ++k) {
                    addTap(w[2], k, weights[tap * w[2].kernel + k], source, row);
                }
            }
        }
    }
}

/// Every channel has filters of its own.
void runDepthwise(const Call& call, const Convolution& c)
{
    const TensorView& x = call.input("x");
    const MatrixRows weights({call.type("weight"), call.stored("weight"), 0, c.taps, 1});
    const MatrixSink sink({call.output(), 0, c.outPlane(), 1}, nullptr, call.finish());
    const std::int64_t perChannel = c.filters / c.channels;
    call.parallel(c.batch * c.filters, rowGrain(c.outPlane() * c.taps / 4),
                  [&](std::int64_t begin, std::int64_t end) {
                      float* const in = rowBuffer(c.inPlane(), 0);
                      float* const out = rowBuffer(c.outPlane(), 1);
                      float* const taps = rowBuffer(c.taps, 2);
                      std::int64_t loaded = -1;
                      for (std::int64_t i = begin; i < end; ++i) {
                          const std::int64_t filter = i % c.filters;
                          const std::int64_t plane =
                              i / c.filters * c.channels + filter / perChannel;
                          if (plane != loaded) {
                              loadFloats(x, plane * c.inPlane(), c.inPlane(), in);
                              loaded = plane;
                          }
                          weights.expand(filter, 0, c.taps, taps);
                          const double bias =
                              call.has("bias") ? call.input("bias").number(filter) : 0;
                          convolvePlane(call, c.windows, in, taps, static_cast<float>(bias), out);
                          sink.store(i, 1, 0, c.outPlane(), out, c.outPlane());
                      }
                  });
}

/// One group of one batch entry as a product of filters and columns of the image.
void convolveGroup(const Call& call, const Convolution& c, std::int64_t index, bool alone)
{
    const TensorView& x = call.input("x");
    const std::int64_t n = index / c.groups;
    const std::int64_t group = index % c.groups;
    const std::int64_t inner = c.channels / c.groups * c.taps;
    const std::int64_t rows = c.filters / c.groups;
    const TensorView& weight = call.type("weight");
    const StoredValues* const stored = call.stored("weight");
    const std::int64_t base = group * rows * inner;
    const MatrixRows left({weight, stored, base, inner, 1});
    const std::int64_t firstPlane = n * c.channels + group * (c.channels / c.groups);
    TensorView bias;
    if (call.has("bias")) {
        bias = call.input("bias");
        bias.data += group * rows * static_cast<std::int64_t>(bitsOf(bias.type.element) / 8);
        bias.type.shape = {rows};
    }
    const MatrixSink sink(
        {call.output(), (n * c.filters + group * rows) * c.outPlane(), c.outPlane(), 1},
        call.has("bias") ? &bias : nullptr, call.finish());
    const ProductSize size{rows, inner, c.outPlane()};
    const void* const place = stored != nullptr ? static_cast<const void*>(stored) : weight.data;
    const auto compute = [&](const RightColumns& right) {
        if (!alone) {
            multiplyHere(call, size, left, right, sink);
        } else if (call.isConstant("weight")) {
            multiplyWeights(call, size, {place, base}, left, right, sink);
        } else {
            multiply(call, size, left, right, sink);
        }
    };
    if (c.pointwise()) {
        compute(MatrixColumns({x, nullptr, firstPlane * c.inPlane(), c.inPlane(), 1}));
    } else {
        compute(ImageColumns(x, firstPlane * c.inPlane(), c.windows));
    }
}

void runConvolution(const Call& call)
{
    const Convolution c(call);
    if (call.stored("weight") == nullptr) {
        call.input("weight"); // must be there
    }
    if (c.depthwise() && !call.referenceKernels()) {
        runDepthwise(call, c);
        return;
    }
    const std::int64_t products = c.batch * c.groups;
    if (products == 1) {
        convolveGroup(call, c, 0, true);
        return;
    }
    call.parallel(products, 1,
                  [&](std::int64_t index, std::int64_t) { convolveGroup(call, c, index, false); });
}

void prepareConvolution(const Call& call)
{
    const Convolution c(call);
    if (c.batch != 1 || c.groups != 1 || !call.isConstant("weight")) {
        return; // not multiplied as one product of constant weights
    }
    const StoredValues* const stored = call.stored("weight");
    const TensorView& weight = stored != nullptr ? call.type("weight") : call.input("weight");
    const ProductSize size{c.filters, c.channels * c.taps, c.outPlane()};
    prepareWeights(call, size,
                   {stored != nullptr ? static_cast<const void*>(stored) : weight.data, 0},
                   MatrixRows({weight, stored, 0, size.inner, 1}));
}

} // namespace

std::vector<OperationKind> convolutionOperations()
{
    return {{.name = "conv",
             .signature = "x weight~ bias? strides? pad_type? pad? dilations? groups?",
             .infer = inferConvolution,
             .run = runConvolution,
             .nature = OperationKind::Nature::laborious,
             .takesFinish = [](const Call&) { return true; },
             .prepare = prepareConvolution},
            transposedConvolution()};
}

} // namespace vorlin::mil
