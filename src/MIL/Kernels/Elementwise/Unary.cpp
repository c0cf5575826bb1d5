#include "MIL/Kernels/Elementwise/Elements.h"
#include "MIL/Kernels/Elementwise/UnaryFunctions.h"
#include "MIL/Kernels/Operations.h"

#include <cmath>

namespace vorlin::mil {

namespace {

struct Unary {
    std::string_view name;
    UnaryFunction function;
    std::string_view signature;
    std::string_view alpha{};
    double defaultAlpha = 0;
    std::string_view beta{};
    double defaultBeta = 0;
};

using enum UnaryFunction;

// The default epsilon of `log` is the smallest positive number of single precision.
constexpr Unary table[] = {
    {"abs", absolute, "x"},
    {"sign", sign, "x"},
    {"square", square, "x"},
    {"exp", exponential, "x"},
    {"exp2", exponential2, "x"},
    {"sqrt", squareRoot, "x"},
    {"sin", sine, "x"},
    {"cos", cosine, "x"},
    {"tan", tangent, "x"},
    {"sinh", hyperbolicSine, "x"},
    {"cosh", hyperbolicCosine, "x"},
    {"tanh", hyperbolicTangent, "x"},
    {"asin", arcSine, "x"},
    {"acos", arcCosine, "x"},
    {"atan", arcTangent, "x"},
    {"atanh", areaTangent, "x"},
    {"erf", errorFunction, "x"},
    {"ceil", ceiling, "x"},
    {"floor", floor, "x"},
    {"round", round, "x"},
    {"log", logarithm, "x epsilon?", "epsilon", 0x1p-149},
    {"rsqrt", reciprocalRoot, "x epsilon?", "epsilon", 1e-12},
    {"inverse", inverse, "x epsilon?", "epsilon", 1e-4},
    {"clip", clip, "x alpha beta", "alpha", 0, "beta", 0},
    {"threshold", threshold, "x alpha", "alpha"},
    {"relu", relu, "x"},
    {"relu6", relu6, "x"},
    {"sigmoid", sigmoid, "x"},
    {"silu", silu, "x"},
    {"softplus", softplus, "x"},
    {"softsign", softsign, "x"},
    {"gelu", gelu, "x mode?"},
    {"leaky_relu", leakyRelu, "x alpha?", "alpha", 0.01},
    {"elu", elu, "x alpha?", "alpha", 1},
    {"linear_activation", linearActivation, "x alpha beta?", "alpha", 1, "beta", 0},
    {"scaled_tanh", scaledTanh, "x alpha? beta?", "alpha", 1, "beta", 1},
    {"sigmoid_hard", hardSigmoid, "x alpha? beta?", "alpha", 0.2, "beta", 0.5},
    {"clamped_relu", clampedRelu, "x alpha beta", "alpha", 0, "beta", 0},
    {"thresholded_relu", thresholdedRelu, "x alpha?", "alpha", 1},
};

const Unary& entryOf(const Call& call)
{
    for (const Unary& entry : table) {
        if (entry.name == call.operation()) {
            return entry;
        }
    }
    return table[0];
}

bool takesIntegers(UnaryFunction function)
{
    switch (function) {
    case absolute:
    case sign:
    case square:
    case exponential2:
    case ceiling:
    case floor:
    case round:
    case clip:
    case threshold:
    case relu:
    case relu6: return true;
    default: return false;
    }
}

void inferUnary(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& type = call.type("x").type;
    const bool integer = isWhole(type.element) && type.element != ElementType::boolean;
    if (!isComputed(type.element) && !(integer && takesIntegers(entryOf(call).function))) {
        call.fail("does not take " + describe(type));
    }
    outputs.push_back(type);
}

UnaryFunction geluOf(const Call& call)
{
    const std::string_view mode = call.text("mode", "EXACT");
    if (mode == "EXACT") {
        return gelu;
    }
    if (mode == "TANH_APPROXIMATION") {
        return geluTanh;
    }
    call.require(mode == "SIGMOID_APPROXIMATION", "has an unknown mode");
    return geluSigmoid;
}

/// Exact: numbers of up to 32 bits fit the reference's double precision; squares wrap, fractions
/// are cut off.
void computeIntegers(const Call& call, UnaryFunction function, double alpha, double beta,
                     std::int64_t begin, std::int64_t end)
{
    const TensorView& x = call.input("x");
    IntegerChunk chunk;
    for (std::int64_t i = begin; i < end; i += chunkLength) {
        const std::int64_t count = std::min(chunkLength, end - i);
        const std::int64_t* const in = chunk.load(x, i, count, true);
        for (std::int64_t k = 0; k < count; ++k) {
            if (function == square) {
                const std::int64_t result = in[k] * in[k];
                storeIntegers(call.output(), i + k, 1, &result);
            } else {
                call.output().set(
                    i + k, reference::unary(function, static_cast<double>(in[k]), alpha, beta));
            }
        }
    }
}

/// The function with its constants.
UnaryLink functionOf(const Call& call)
{
    const Unary& entry = entryOf(call);
    const ElementType element = call.type("x").type.element;
    const auto constant = [&](std::string_view name, double otherwise) {
        // A default is a number of x's type: the epsilon of a logarithm of halves is zero.
        if (name.empty() || !call.has(name)) {
            const auto single = static_cast<float>(otherwise);
            const bool halves = element == ElementType::fp16;
            return static_cast<double>(halves ? widen(narrow(single)) : single);
        }
        return call.number(name, otherwise);
    };
    return {entry.function == gelu ? geluOf(call) : entry.function,
            constant(entry.alpha, entry.defaultAlpha), constant(entry.beta, entry.defaultBeta)};
}

bool linkUnary(const Call& call, Link& link)
{
    link = functionOf(call);
    return isComputed(call.type("x").type.element);
}

void computeUnary(const Call& call, std::int64_t begin, std::int64_t end)
{
    const TensorView& x = call.input("x");
    const auto [function, alpha, beta] = functionOf(call);
    if (!isComputed(x.type.element)) {
        computeIntegers(call, function, alpha, beta, begin, end);
        return;
    }
    const auto apply = call.referenceKernels() ? reference::applyUnary : applyUnary;
    FloatChunk chunk;
    alignas(64) float results[chunkLength];
    for (std::int64_t i = begin; i < end; i += chunkLength) {
        const std::int64_t count = std::min(chunkLength, end - i);
        apply(function, alpha, beta, chunk.load(x, i, count, true), count, results);
        storeFloats(call.output(), i, count, results);
    }
}

void inferSame(const Call& call, std::vector<TensorType>& outputs)
{
    outputs.push_back(call.type("x").type);
}

} // namespace

std::vector<OperationKind> unaryOperations()
{
    std::vector<OperationKind> kinds;
    for (const Unary& entry : table) {
        kinds.push_back({.name = entry.name,
                         .signature = entry.signature,
                         .infer = inferUnary,
                         .part = computeUnary,
                         .link = linkUnary});
    }
    kinds.push_back({"identity", "x", inferSame, nullptr, OperationKind::Nature::alias});
    return kinds;
}

} // namespace vorlin::mil
