#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace vorlin {

/// Frames a second of every sound.
inline constexpr std::uint32_t soundRate = 24000;

/// The samples of a sound, 16-bit little-endian mono; empty when there is none of that name.
std::span<const std::uint8_t> soundSamples(std::string_view name);

} // namespace vorlin
