#include "Models/ByteCount.h"

#include <array>
#include <string_view>

namespace vorlin {

namespace {

struct Unit {
    std::string_view name;
    std::uint64_t bytes;
    /// Parts of a unit that are still shown: 1, 10 or 100.
    std::uint64_t parts;
};

constexpr std::array<Unit, 6> units = {{
    {"KB", 1'000, 1},
    {"MB", 1'000'000, 10},
    {"GB", 1'000'000'000, 100},
    {"TB", 1'000'000'000'000, 100},
    {"PB", 1'000'000'000'000'000, 100},
    {"EB", 1'000'000'000'000'000'000, 100},
}};

/// `bytes` in parts of the unit, rounded to the nearest. No sum of it overflows.
std::uint64_t roundedParts(std::uint64_t bytes, const Unit& unit)
{
    const std::uint64_t part = unit.bytes / unit.parts;
    return bytes / part + (bytes % part >= part / 2 ? 1 : 0);
}

/// parts / perUnit in decimals, without zeros at the end; `perUnit` is a power of ten.
std::string decimal(std::uint64_t parts, std::uint64_t perUnit)
{
    std::string text = std::to_string(parts / perUnit);
    std::uint64_t rest = parts % perUnit;
    if (rest != 0) {
        text += '.';
    }
    while (rest != 0) {
        perUnit /= 10;
        text += static_cast<char>('0' + rest / perUnit);
        rest %= perUnit;
    }
    return text;
}

} // namespace

std::string byteCount(std::uint64_t bytes)
{
    if (bytes == 0) {
        return "Zero KB";
    }
    if (bytes < 1'000) {
        return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
    }
    const Unit* unit = units.data();
    while (unit != &units.back() && roundedParts(bytes, *unit) >= 1'000 * unit->parts) {
        ++unit;
    }
    return decimal(roundedParts(bytes, *unit), unit->parts) + ' ' + std::string(unit->name);
}

} // namespace vorlin
