#pragma once

#include "Audio/PCMBuffer.h"

#include <cstdint>
#include <optional>

namespace vorlin {

/// The numbers that the audio frameworks give to sample types.
namespace commonFormats {
inline constexpr std::uint32_t float32 = 1;
inline constexpr std::uint32_t int16 = 3;
inline constexpr std::uint32_t int32 = 4;
} // namespace commonFormats

/// A sample type by the number that the audio frameworks give it; nothing for one that
/// `PCMBuffer` does not have.
std::optional<SampleType> sampleType(std::uint64_t commonFormat);

/// The number of a sample type there.
std::uint32_t commonFormat(SampleType type);

/// How many pieces of memory a buffer of this format has: one a channel, or one for all.
std::uint32_t planesOf(const AudioFormat& format);

} // namespace vorlin
