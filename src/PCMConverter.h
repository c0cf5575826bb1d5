#pragma once

#include "Audio/PCMBuffer.h"
#include "Ports/AudioConverter.h"

#include <memory>
#include <optional>

namespace vorlin {

/// Turns microphone buffers of whatever format into one target format, following a change of
/// the input format on the fly. The stream stays continuous from buffer to buffer of one format.
/// Not synchronised: one caller, one buffer at a time.
class PCMConverter {
public:
    /// `converters` must outlive this object.
    PCMConverter(AudioConverters& converters, const AudioFormat& target);

    /// The converted audio (possibly of length 0), or nothing when the buffer cannot be
    /// converted. Its capacity is ⌊target rate ÷ source rate × frames⌋ + 64 frames.
    std::shared_ptr<const PCMBuffer> convert(const PCMBuffer& buffer);

private:
    AudioConverters& converters;
    const AudioFormat target;
    std::unique_ptr<AudioConverter> converter;
    std::optional<AudioFormat> source;
};

} // namespace vorlin
