#include "MIL/Kernels/Stored/Mask.h"

#include "MIL/Error.h"

#include <algorithm>
#include <bit>
#include <limits>

namespace vorlin::mil {

namespace {
constexpr std::int64_t blockBits = 512;
} // namespace

Mask::Mask(const std::byte* bits, std::int64_t count) : bits(bits), count(count)
{
    if (count > std::numeric_limits<std::uint32_t>::max()) {
        throw Error("a sparse tensor has more than 2^32 elements");
    }
    for (std::int64_t place = 0; place < count; ++place) {
        if (place % blockBits == 0) {
            before.push_back(total);
        }
        if (place % 8 == 0 && place + 8 <= count) {
            total += static_cast<std::uint32_t>(
                std::popcount(static_cast<std::uint8_t>(bits[place / 8])));
            place += 7;
            continue;
        }
        total += at(place) ? 1u : 0u;
    }
}

std::int64_t Mask::onesBefore(std::int64_t place) const
{
    if (place >= count) {
        return static_cast<std::int64_t>(total);
    }
    std::int64_t sum = before[static_cast<std::size_t>(place / blockBits)];
    std::int64_t at = place / blockBits * blockBits;
    for (; at + 8 <= place; at += 8) {
        sum += std::popcount(static_cast<std::uint8_t>(bits[at / 8]));
    }
    for (; at < place; ++at) {
        sum += this->at(at) ? 1 : 0;
    }
    return sum;
}

void Mask::places(std::int64_t first, std::int64_t wanted, std::int64_t* out) const
{
    if (wanted == 0) {
        return;
    }
    const auto block =
        std::upper_bound(before.begin(), before.end(), static_cast<std::uint32_t>(first)) -
        before.begin() - 1;
    std::int64_t place = block * blockBits;
    std::int64_t number = before[static_cast<std::size_t>(block)];
    std::int64_t written = 0;
    for (; place < count && written < wanted; ++place) {
        if (at(place) && number++ >= first) {
            out[written++] = place;
        }
    }
}

} // namespace vorlin::mil
