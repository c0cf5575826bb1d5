#include "MIL/Kernels/Elementwise/Elements.h"
#include "MIL/Kernels/Normalisation/RowFunctions.h"
#include "MIL/Kernels/Operations.h"
#include "MIL/Kernels/Rows/AxisSplit.h"

#include <algorithm>
#include <cmath>

namespace vorlin::mil {

namespace {

const TensorType& floating(const Call& call)
{
    const TensorType& x = call.type("x").type;
    if (!isComputed(x.element)) {
        call.fail("does not take " + describe(x));
    }
    return x;
}

/// Refuses an optional operand that is not floating numbers of the given shape.
void requireParameter(const Call& call, std::string_view name, const Shape& shape)
{
    if (!call.has(name)) {
        return;
    }
    const TensorType& type = call.type(name).type;
    if (!isComputed(type.element) || type.shape != shape) {
        call.fail("needs '" + std::string(name) + "' of shape " + describe(shape) + ", gets " +
                  describe(type));
    }
}

/// A parameter as single precision in memory of the calling thread, or null when absent.
const float* parameter(const Call& call, std::string_view name, std::size_t slot)
{
    if (!call.has(name)) {
        return nullptr;
    }
    const TensorView& tensor = call.input(name);
    if (tensor.type.element == ElementType::fp32) {
        return tensor.as<float>();
    }
    float* const values = rowBuffer(tensor.elements(), slot);
    loadFloats(tensor, 0, tensor.elements(), values);
    return values;
}

void inferSoftmax(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = floating(call);
    call.axis("axis", -1, x.shape.size());
    outputs.push_back(x);
}

void runSoftmax(const Call& call)
{
    const TensorView& x = call.input("x");
    const std::size_t axis = call.axis("axis", -1, x.rank());
    const AxisSplit split(x.shape(), {static_cast<std::int64_t>(axis)});
    if (split.width() == 0) {
        return;
    }
    const auto softmax = call.referenceKernels() ? reference::softmaxRow : softmaxRow;
    call.parallel(split.rows(), rowGrain(split.width()), [&](std::int64_t begin, std::int64_t end) {
        float* const row = rowBuffer(split.width());
        for (std::int64_t i = begin; i < end; ++i) {
            split.load(x, i, row);
            softmax(row, split.width());
            split.store(call.output(), i, row);
        }
    });
}

void inferLayerNorm(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = floating(call);
    Shape inner;
    for (std::int64_t axis : call.axes("axes", x.shape.size())) {
        inner.push(x.shape[static_cast<std::size_t>(axis)]);
    }
    requireParameter(call, "gamma", inner);
    requireParameter(call, "beta", inner);
    outputs.push_back(x);
}

void runLayerNorm(const Call& call)
{
    const TensorView& x = call.input("x");
    const AxisSplit split(x.shape(), call.axes("axes", x.rank()));
    const double epsilon = call.number("epsilon", 1e-5);
    const auto normalise = call.referenceKernels() ? reference::normaliseRow : normaliseRow;
    call.parallel(split.rows(), rowGrain(split.width()), [&](std::int64_t begin, std::int64_t end) {
        float* const row = rowBuffer(split.width());
        const float* const gamma = parameter(call, "gamma", 1);
        const float* const beta = parameter(call, "beta", 2);
        for (std::int64_t i = begin; i < end; ++i) {
            split.load(x, i, row);
            normalise(row, split.width(), epsilon, gamma, beta);
            split.store(call.output(), i, row);
        }
    });
}

void inferByChannel(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = floating(call);
    call.require(x.shape.size() >= 2, "takes x of rank 2 or more");
    const Shape channels{x.shape[1]};
    requireParameter(call, "gamma", channels);
    requireParameter(call, "beta", channels);
    if (call.operation() == "batch_norm") {
        requireParameter(call, "mean", channels);
        requireParameter(call, "variance", channels);
    }
    outputs.push_back(x);
}

/// Calls `body(row, width, c, gamma, beta)` for each channel c of each image: the row holds its
/// elements in single precision, and is then stored.
template <class Body>
void changeChannels(const Call& call, Body&& body)
{
    const TensorView& x = call.input("x");
    const std::int64_t channels = x.extent(1);
    const std::int64_t inner = product(x.shape(), 2, x.rank());
    call.parallel(x.extent(0) * channels, rowGrain(inner),
                  [&](std::int64_t begin, std::int64_t end) {
                      float* const row = rowBuffer(inner);
                      for (std::int64_t i = begin; i < end; ++i) {
                          const std::int64_t c = i % channels;
                          loadFloats(x, i * inner, inner, row);
                          body(row, inner, c, call.has("gamma") ? call.input("gamma").number(c) : 1,
                               call.has("beta") ? call.input("beta").number(c) : 0);
                          storeFloats(call.output(), i * inner, inner, row);
                      }
                  });
}

/// gamma (x - mean) / sqrt(variance + epsilon) + beta, one channel after the other.
void runBatchNorm(const Call& call)
{
    const TensorView& means = call.input("mean");
    const TensorView& variances = call.input("variance");
    const double epsilon = call.number("epsilon", 1e-5);
    changeChannels(
        call, [&](float* row, std::int64_t width, std::int64_t c, double gamma, double beta) {
            const double mean = means.number(c);
            const double scale = gamma / std::sqrt(variances.number(c) + epsilon);
            for (std::int64_t k = 0; k < width; ++k) {
                row[k] = static_cast<float>((static_cast<double>(row[k]) - mean) * scale + beta);
            }
        });
}

void runInstanceNorm(const Call& call)
{
    const double epsilon = call.number("epsilon", 1e-5);
    changeChannels(call,
                   [&](float* row, std::int64_t width, std::int64_t, double gamma, double beta) {
                       reference::normaliseRow(row, width, epsilon, nullptr, nullptr);
                       for (std::int64_t k = 0; k < width; ++k) {
                           row[k] = static_cast<float>(static_cast<double>(row[k]) * gamma + beta);
                       }
                   });
}

void inferL2Norm(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = floating(call);
    call.require(x.shape.size() >= 3, "takes x of rank 3 or more");
    outputs.push_back(x);
}

/// x / sqrt(sum of squares + epsilon) over the last three axes.
void runL2Norm(const Call& call)
{
    const TensorView& x = call.input("x");
    const std::int64_t inner = product(x.shape(), x.rank() - 3, x.rank());
    const double epsilon = call.number("epsilon", 1e-6);
    for (std::int64_t start = 0; start < x.elements(); start += inner) {
        call.checkStop();
        double squares = 0;
        for (std::int64_t i = start; i < start + inner; ++i) {
            squares += x.number(i) * x.number(i);
        }
        const double scale = 1 / std::sqrt(squares + epsilon);
        for (std::int64_t i = start; i < start + inner; ++i) {
            call.output().set(i, x.number(i) * scale);
        }
    }
}

} // namespace

std::vector<OperationKind> normalisationOperations()
{
    return {{"softmax", "x axis?", inferSoftmax, runSoftmax},
            {"layer_norm", "x axes? gamma? beta? epsilon?", inferLayerNorm, runLayerNorm},
            {"batch_norm", "x mean variance gamma? beta? epsilon?", inferByChannel, runBatchNorm},
            {"instance_norm", "x gamma? beta? epsilon?", inferByChannel, runInstanceNorm},
            {"l2_norm", "x epsilon?", inferL2Norm, runL2Norm}};
}

} // namespace vorlin::mil
