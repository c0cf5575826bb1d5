#include "MIL/Kernels/Elementwise/BinaryFunctions.h"

#include <cmath>

namespace vorlin::mil {

namespace {

double binary(BinaryFunction function, double x, double y)
{
    using enum BinaryFunction;
    switch (function) {
    case add: return x + y;
    case subtract: return x - y;
    case multiply: return x * y;
    case divide: return x / y;
    case floorDivide: return std::floor(x / y);
    case modulo: {
        const double rest = std::fmod(x, y);
        return rest != 0 && (rest < 0) != (y < 0) ? rest + y : rest;
    }
    case power: return std::pow(x, y);
    case maximum: return x < y || std::isnan(y) ? y : x;
    case minimum: return y < x || std::isnan(y) ? y : x;
    default: return 0;
    }
}

bool comparison(BinaryFunction function, auto x, auto y)
{
    using enum BinaryFunction;
    switch (function) {
    case equal: return x == y;
    case notEqual: return x != y;
    case less: return x < y;
    case lessEqual: return x <= y;
    case greater: return x > y;
    case greaterEqual: return x >= y;
    case logicalAnd: return x != 0 && y != 0;
    case logicalOr: return x != 0 || y != 0;
    case logicalXor: return (x != 0) != (y != 0);
    default: return false;
    }
}

std::int64_t wrapping(BinaryFunction function, std::int64_t x, std::int64_t y)
{
    const auto a = static_cast<std::uint64_t>(x);
    const auto b = static_cast<std::uint64_t>(y);
    using enum BinaryFunction;
    return static_cast<std::int64_t>(function == add        ? a + b
                                     : function == subtract ? a - b
                                                            : a * b);
}

std::int64_t integerPower(std::int64_t x, std::int64_t y)
{
    if (y < 0) {
        return x == 1 ? 1 : x == -1 ? (y % 2 == 0 ? 1 : -1) : 0;
    }
    auto base = static_cast<std::uint64_t>(x);
    std::uint64_t result = 1;
    for (; y > 0; y /= 2, base *= base) {
        result *= y % 2 != 0 ? base : 1;
    }
    return static_cast<std::int64_t>(result);
}

std::int64_t integerBinary(BinaryFunction function, std::int64_t x, std::int64_t y)
{
    using enum BinaryFunction;
    switch (function) {
    case add:
    case subtract:
    case multiply: return wrapping(function, x, y);
    case divide: return y == 0 ? 0 : x / y;
    case floorDivide: return y == 0 ? 0 : x / y - (x % y != 0 && (x % y < 0) != (y < 0) ? 1 : 0);
    case modulo: return y == 0 ? 0 : x % y + (x % y != 0 && (x % y < 0) != (y < 0) ? y : 0);
    case power: return integerPower(x, y);
    case maximum: return x < y ? y : x;
    case minimum: return y < x ? y : x;
    default: return comparison(function, x, y) ? 1 : 0;
    }
}

} // namespace

bool compares(BinaryFunction function)
{
    return function >= BinaryFunction::equal;
}

void compareFloats(BinaryFunction function, const float* x, const float* y, std::int64_t count,
                   std::uint8_t* out)
{
    for (std::int64_t i = 0; i < count; ++i) {
        out[i] = comparison(function, x[i], y[i]) ? 1 : 0;
    }
}

void applyIntegers(BinaryFunction function, const std::int64_t* x, const std::int64_t* y,
                   std::int64_t count, std::int64_t* out)
{
    for (std::int64_t i = 0; i < count; ++i) {
        out[i] = integerBinary(function, x[i], y[i]);
    }
}

void reference::applyBinary(BinaryFunction function, const float* x, const float* y,
                            std::int64_t count, float* out)
{
    for (std::int64_t i = 0; i < count; ++i) {
        out[i] = static_cast<float>(
            binary(function, static_cast<double>(x[i]), static_cast<double>(y[i])));
    }
}

} // namespace vorlin::mil
