#pragma once

#include <cstdint>

namespace vorlin::mil {

enum class BinaryFunction : std::uint8_t {
    add,
    subtract,
    multiply,
    divide,      // integers truncate
    floorDivide, // toward minus infinity, floating numbers too
    modulo,      // takes the sign of y
    power,
    maximum, // not-a-number wins
    minimum,
    equal,
    notEqual,
    less,
    lessEqual,
    greater,
    greaterEqual,
    logicalAnd,
    logicalOr,
    logicalXor,
};

/// Whether the result is a boolean.
bool compares(BinaryFunction function);

/// Arithmetic on `count` pairs; results equal the reference's, powers within 4 units in the last
/// place.
void applyBinary(BinaryFunction function, const float* x, const float* y, std::int64_t count,
                 float* out);
/// A comparison of `count` pairs, as booleans 0 and 1.
void compareFloats(BinaryFunction function, const float* x, const float* y, std::int64_t count,
                   std::uint8_t* out);
/// Any function of integers; comparisons give 0 and 1, division by zero 0, overflow wraps.
void applyIntegers(BinaryFunction function, const std::int64_t* x, const std::int64_t* y,
                   std::int64_t count, std::int64_t* out);

namespace reference {
/// In double precision, rounded once.
void applyBinary(BinaryFunction function, const float* x, const float* y, std::int64_t count,
                 float* out);
} // namespace reference

} // namespace vorlin::mil
