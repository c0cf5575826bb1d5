#pragma once

#include "Audio/PCMBuffer.h"

#include <memory>

namespace vorlin {

/// A stateful stream conversion from one PCM format to one other. Not synchronised.
class AudioConverter {
public:
    virtual ~AudioConverter() = default;

    /// Consumes all of `input`, whose format is the source format, and writes up to
    /// `output.frameCapacity()` frames of the target format, setting `output`'s frame length
    /// (possibly 0). What does not fit, and the resampler's tail, comes with later calls.
    /// Returns false when the conversion failed; `output` is then worthless.
    virtual bool convert(const PCMBuffer& input, PCMBuffer& output) = 0;
};

/// Makes converters.
class AudioConverters {
public:
    virtual ~AudioConverters() = default;

    /// A converter from `source` to `target`, or nothing when this pair cannot be converted.
    /// Any thread.
    virtual std::unique_ptr<AudioConverter> make(const AudioFormat& source,
                                                 const AudioFormat& target) = 0;
};

} // namespace vorlin
