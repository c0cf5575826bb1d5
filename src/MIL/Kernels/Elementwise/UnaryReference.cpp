#include "MIL/Kernels/Elementwise/UnaryFunctions.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vorlin::mil::reference {

namespace {
double sigmoidOf(double x)
{
    return 1 / (1 + std::exp(-x));
}
} // namespace

double unary(UnaryFunction function, double x, double a, double b)
{
    using enum UnaryFunction;
    switch (function) {
    case absolute: return std::abs(x);
    case sign: return x > 0 ? 1 : x < 0 ? -1 : x;
    case square: return x * x;
    case exponential: return std::exp(x);
    case exponential2: return std::exp2(x);
    case squareRoot: return std::sqrt(x);
    case sine: return std::sin(x);
    case cosine: return std::cos(x);
    case tangent: return std::tan(x);
    case hyperbolicSine: return std::sinh(x);
    case hyperbolicCosine: return std::cosh(x);
    case hyperbolicTangent: return std::tanh(x);
    case arcSine: return std::asin(x);
    case arcCosine: return std::acos(x);
    case arcTangent: return std::atan(x);
    case areaTangent: return std::atanh(x);
    case errorFunction: return std::erf(x);
    case ceiling: return std::ceil(x);
    case floor: return std::floor(x);
    case round: return std::nearbyint(x);
    case logarithm: return std::log(x + a);
    case reciprocalRoot: return 1 / std::sqrt(x + a);
    case inverse: return 1 / (x + a);
    case clip: {
        const double raised = x < a ? a : x;
        return raised > b ? b : raised;
    }
    case threshold: return x < a ? a : x;
    case relu: return x < 0 ? 0 : x;
    case relu6: return x < 0 ? 0 : x > 6 ? 6 : x;
    case sigmoid: return sigmoidOf(x);
    case silu: return x * sigmoidOf(x);
    case softplus: return std::log1p(std::exp(-std::abs(x))) + std::max(x, 0.0);
    case softsign: return x / (1 + std::abs(x));
    case gelu: return 0.5 * x * (1 + std::erf(x / std::numbers::sqrt2));
    case geluTanh:
        return 0.5 * x *
               (1 + std::tanh(std::sqrt(2 / std::numbers::pi) * (x + 0.044715 * x * x * x)));
    case geluSigmoid: return x * sigmoidOf(1.702 * x);
    case leakyRelu: return x >= 0 ? x : a * x;
    case elu: return x > 0 ? x : a * std::expm1(x);
    case linearActivation: return a * x + b;
    case scaledTanh: return a * std::tanh(b * x);
    case hardSigmoid: return std::min(std::max(a * x + b, 0.0), 1.0);
    case clampedRelu: {
        const double bent = x >= 0 ? x : a * x;
        return bent > b ? b : bent;
    }
    case thresholdedRelu: return x >= a ? x : 0;
    }
    return x;
}

void applyUnary(UnaryFunction function, double alpha, double beta, const float* in,
                std::int64_t count, float* out)
{
    for (std::int64_t i = 0; i < count; ++i) {
        out[i] = static_cast<float>(unary(function, static_cast<double>(in[i]), alpha, beta));
    }
}

} // namespace vorlin::mil::reference
