#include "MIL/Kernels/Product/IntegerWeights.h"

#include "MIL/Kernels/Product/IntegerRounding.h"

#include <algorithm>
#include <numeric>

namespace vorlin::mil {

namespace {

/// Numbers that are rounded together.
constexpr std::int64_t chunk = 1024;

} // namespace

IntegerRows::IntegerRows(const Call& call, const ProductSize& size, const LeftRows& left)
    : scales(static_cast<std::size_t>(size.rows)), sums(static_cast<std::size_t>(size.rows))
{
    offsets.resize(scales.size());
    if (!findLying(size, left)) {
        inverses.resize(scales.size());
        offsets = {};
    }
    constexpr std::int64_t grain = 64;
    call.parallel(size.rows, grain, [&](std::int64_t begin, std::int64_t end) {
        for (std::int64_t row = begin; row < end; ++row) {
            prepare(left, row, size.inner);
        }
    });
}

bool IntegerRows::findLying(const ProductSize& size, const LeftRows& left)
{
    for (std::int64_t row = 0; row < size.rows; ++row) {
        const auto bytes = left.scaledBytes(row, size.inner);
        if (!bytes) {
            lying = nullptr;
            return false;
        }
        if (row == 0) {
            lying = bytes->integers;
        } else if (row == 1) {
            distance = bytes->integers - lying;
        }
        if (bytes->integers != lying + row * distance) {
            lying = nullptr;
            return false;
        }
        scales[static_cast<std::size_t>(row)] = bytes->scale;
        offsets[static_cast<std::size_t>(row)] = bytes->offset;
    }
    return true;
}

void IntegerRows::prepare(const LeftRows& left, std::int64_t row, std::int64_t inner)
{
    const auto index = static_cast<std::size_t>(row);
    if (lying != nullptr) {
        sums[index] = sumOfBytes(lying + row * distance, inner);
        return;
    }
    alignas(64) float numbers[chunk];
    float largest = 0;
    for (std::int64_t k = 0; k < inner; k += chunk) {
        const std::int64_t piece = std::min(chunk, inner - k);
        left.expand(row, k, piece, numbers);
        const float found = largestMagnitude(numbers, piece);
        largest = found > largest || found != found ? found : largest;
    }
    const StepSize step = stepSize(largest);
    scales[index] = step.scale;
    inverses[index] = step.inverse;
    alignas(64) std::int8_t rounded[chunk];
    for (std::int64_t k = 0; k < inner; k += chunk) {
        const std::int64_t piece = std::min(chunk, inner - k);
        left.round(row, k, piece, step.inverse, rounded);
        sums[index] += sumOfBytes(rounded, piece);
    }
}

IntegerRows::Block IntegerRows::expand(const LeftRows& left, const LeftPiece& piece,
                                       std::int8_t* room) const
{
    constexpr std::int64_t four = 4;
    if (lying != nullptr && piece.count % four == 0) {
        return {lying + piece.row * distance + piece.first, distance};
    }
    const std::int64_t stride = (piece.count + four - 1) / four * four;
    for (std::int64_t i = 0; i < piece.rows; ++i) {
        const std::int64_t row = piece.row + i;
        std::int8_t* const out = room + i * stride;
        if (lying != nullptr) {
            std::copy_n(lying + row * distance + piece.first, piece.count, out);
        } else {
            left.round(row, piece.first, piece.count, inverses[static_cast<std::size_t>(row)], out);
        }
        std::fill(out + piece.count, out + stride, std::int8_t{0});
    }
    return {room, stride};
}

const IntegerRows& IntegerWeights::rowsOf(const Place& place, const ProductSize& size,
                                          const Call& call, const LeftRows& left)
{
    const std::array<std::uintptr_t, 4> key{
        reinterpret_cast<std::uintptr_t>(place.weights), static_cast<std::uintptr_t>(place.first),
        static_cast<std::uintptr_t>(size.rows), static_cast<std::uintptr_t>(size.inner)};
    const auto found = known.find(key);
    if (found != known.end()) {
        return found->second;
    }
    return known.emplace(key, IntegerRows(call, size, left)).first->second;
}

std::size_t IntegerWeights::bytes() const
{
    return std::accumulate(
        known.begin(), known.end(), std::size_t{0},
        [](std::size_t sum, const auto& entry) { return sum + entry.second.bytes(); });
}

} // namespace vorlin::mil
