#pragma once

#include "Audio/PCMBuffer.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

namespace vorlin {

/// Cuts a stream of interleaved samples, as it comes, into buffers of equal length. Not
/// synchronised.
class CaptureBuffers {
public:
    /// Receives each full buffer, which is used again after the call.
    using Deliver = std::function<void(const PCMBuffer&)>;

    /// `format` is interleaved.
    CaptureBuffers(const AudioFormat& format, std::uint32_t frames, Deliver deliver);

    /// Adds samples; a frame may come in pieces.
    void append(std::span<const std::byte> samples);

    /// Adds `bytes` of zeros.
    void appendSilence(std::size_t bytes);

    /// Delivers the whole frames that do not fill a buffer, as a shorter one.
    void flush();

private:
    /// The memory that is still free, at most `wanted` bytes of it.
    std::span<std::byte> room(std::size_t wanted);
    void filled(std::size_t bytes);

    PCMBuffer buffer;
    std::size_t used = 0;
    Deliver deliver;
};

} // namespace vorlin
