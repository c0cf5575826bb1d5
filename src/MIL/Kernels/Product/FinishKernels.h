#pragma once

#include "MIL/Kernels/Elementwise/Link.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace vorlin::mil {

/// One function of what comes from the one before it.
struct FinishPass {
    Link link;
    /// Of a binary function: the elements of the other operand, of the type that is stored, which
    /// repeat after `period`. With a period of 1, that element.
    const std::byte* other = nullptr;
    std::int64_t period = 1;
    float value = 0;
    bool otherFirst = false;
};
constexpr std::size_t mostPasses = 8;

/// Rows of numbers on their way into a tensor. Where halves are stored, each pass reads what halves
/// keep of what the one before gives.
struct FinishedRows {
    const float* values = nullptr;
    std::int64_t stride = 0;
    std::int64_t rows = 0;
    std::int64_t columns = 0;
    /// The flat element that the first becomes, and the distance of rows there.
    std::int64_t place = 0;
    std::int64_t placeStride = 0;
    /// What is added first to the number (i, j) lies at i * addendRows + j * addendColumns, where
    /// the latter is 0 or 1; null for none.
    const float* addends = nullptr;
    std::int64_t addendRows = 0;
    std::int64_t addendColumns = 0;
    std::span<const FinishPass> passes{};
    /// The tensor, which may lie where an operand of the same size does.
    std::byte* out = nullptr;
    bool halves = false;
};

/// Whether the function is one that `finishRows` knows.
bool knowsPass(const Link& link);

/// Adds, applies the passes and stores, each number read and written once. Gives bit for bit what
/// these steps give one by one.
void finishRows(const FinishedRows& task);

} // namespace vorlin::mil
