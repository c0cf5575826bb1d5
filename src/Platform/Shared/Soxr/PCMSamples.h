#pragma once

#include "Audio/PCMBuffer.h"

#include <cstdint>
#include <span>
#include <vector>

namespace vorlin {

/// Appends the valid frames of `buffer` to `samples`, frame after frame, full scale being 1.
/// `channels` is the buffer's own channel count, or 1, which gives the mean of its channels.
/// Exact for each sample type unless channels are mixed.
void appendSamples(const PCMBuffer& buffer, std::uint32_t channels, std::vector<double>& samples);

/// Writes `samples`, frames of `channels` channels with full scale 1, to the start of `buffer`
/// and sets its frame length. `channels` is the buffer's own channel count, or 1, which goes to
/// each of its channels. Whole-number formats are rounded to the nearest value and clipped.
/// There must be room for all frames.
void writeSamples(std::span<const double> samples, std::uint32_t channels, PCMBuffer& buffer);

} // namespace vorlin
