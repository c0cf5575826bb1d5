#pragma once

#include <cstdint>

namespace vorlin::mil {

/// Functions of one number, with up to two constants alpha (a) and beta (b).
enum class UnaryFunction : std::uint8_t {
    absolute,     // |x|
    sign,         // -1, 0, 1
    square,       // x^2
    exponential,  // e^x
    exponential2, // 2^x
    squareRoot,   // not a number below zero
    sine,
    cosine,
    tangent,
    hyperbolicSine,
    hyperbolicCosine,
    hyperbolicTangent,
    arcSine,
    arcCosine,
    arcTangent,
    areaTangent,
    errorFunction,
    ceiling,
    floor,
    round,            // half to even
    logarithm,        // ln(x + a)
    reciprocalRoot,   // 1 / sqrt(x + a)
    inverse,          // 1 / (x + a)
    clip,             // min(max(x, a), b)
    threshold,        // max(x, a)
    relu,             // max(x, 0)
    relu6,            // min(max(x, 0), 6)
    sigmoid,          // 1 / (1 + e^-x)
    silu,             // x / (1 + e^-x)
    softplus,         // ln(1 + e^-|x|) + max(x, 0)
    softsign,         // x / (1 + |x|)
    gelu,             // x (1 + erf(x / sqrt 2)) / 2
    geluTanh,         // x (1 + tanh(sqrt(2 / pi) (x + 0.044715 x^3))) / 2
    geluSigmoid,      // x sigmoid(1.702 x)
    leakyRelu,        // x >= 0 ? x : a x
    elu,              // x > 0 ? x : a (e^x - 1)
    linearActivation, // a x + b
    scaledTanh,       // a tanh(b x)
    hardSigmoid,      // min(max(a x + b, 0), 1)
    clampedRelu,      // x >= 0 ? min(b, x) : min(b, a x)
    thresholdedRelu,  // x >= a ? x : 0
};

/// Applies `function` to `count` numbers, from `in` to `out`, within 4 units in the last place
/// of the reference.
void applyUnary(UnaryFunction function, double alpha, double beta, const float* in,
                std::int64_t count, float* out);

namespace reference {
/// The same in double precision, rounded once.
void applyUnary(UnaryFunction function, double alpha, double beta, const float* in,
                std::int64_t count, float* out);
/// One value.
double unary(UnaryFunction function, double x, double alpha, double beta);
} // namespace reference

} // namespace vorlin::mil
