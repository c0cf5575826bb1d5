#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace vorlin::mil {

/// Where one call of `IntegerKernels::multiply` reads and writes.
struct IntegerPanel {
    /// Signed: a(i, k) = a[i * aStride + k]. Read in whole fours of k.
    const std::int8_t* a = nullptr;
    std::int64_t aStride = 0;
    /// b(k, j) = b[k / 4 * width * 4 + j * 4 + k % 4], with `zero` added to each number.
    const std::uint8_t* b = nullptr;
    std::int64_t fours = 0; // of k
    std::int64_t rows = 0;
    std::int64_t columns = 0;
    std::int32_t* c = nullptr;
    std::int64_t cStride = 0;
    bool accumulate = false;
    /// Cache lines that it asks for on the way, evenly.
    std::span<const std::byte* const> ahead{};
};

/// Products of 8-bit integers, summed in 32 bits, exactly: c(i, j) = [c(i, j)] + sum over k of
/// a(i, k) (b(k, j) + zero) for i < rows, j < columns. Every form gives the same sums of a(i, k)
/// b(k, j), whatever its `zero`.
struct IntegerKernels {
    std::string_view name;
    std::int64_t width; // columns of a packed panel; up to there those behind may be written, too
    std::int64_t rows;  // that one call takes at most, and best
    /// Processors that multiply signed by unsigned numbers want the columns above zero: 128, else
    /// 0.
    std::int32_t zero;
    void (*multiply)(const IntegerPanel& panel);
};

/// Number by number, on every processor.
const IntegerKernels& plainIntegerKernels();

/// The forms that this processor has, the best one first, the plain one last.
std::span<const IntegerKernels* const> integerKernels();

} // namespace vorlin::mil
