#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace vorlin {

enum class SampleType { float32, int16, int32 };

/// Bytes of one sample of one channel.
constexpr std::size_t bytesPerSample(SampleType type)
{
    return type == SampleType::int16 ? 2 : 4;
}

/// How PCM samples lie in memory: native byte order, linear.
struct AudioFormat {
    SampleType sampleType = SampleType::float32;
    /// Frames a second.
    double sampleRate = 0;
    std::uint32_t channels = 0;
    /// True: frame after frame. False: channel after channel. (With one channel the same bytes,
    /// yet two formats.)
    bool interleaved = false;

    bool operator==(const AudioFormat&) const = default;

    /// Bytes of one frame, all channels.
    std::size_t bytesPerFrame() const { return bytesPerSample(sampleType) * channels; }
};

/// A run of PCM frames with a fixed capacity. Not synchronised.
class PCMBuffer {
public:
    /// A buffer for at most `frameCapacity` frames, zeroed, with frame length 0.
    PCMBuffer(const AudioFormat& format, std::uint32_t frameCapacity);

    const AudioFormat& format() const { return layout; }
    std::uint32_t frameCapacity() const { return capacity; }
    std::uint32_t frameLength() const { return length; }

    /// Sets how many frames are valid: 0 to `frameCapacity`; anything else is a fatal fault.
    void setFrameLength(std::uint32_t frames);

    /// Non-interleaved: the memory of `channel`; interleaved: channel 0 holds all channels, frame
    /// after frame. The whole capacity, in bytes. An index out of range is a fatal fault.
    std::span<std::byte> plane(std::uint32_t channel);
    std::span<const std::byte> plane(std::uint32_t channel) const;

    /// The valid float32 samples of `channel`, `stride()` apart; empty when the format is not
    /// float32 or the buffer has no such channel.
    std::span<const float> floatChannel(std::uint32_t channel) const;

    /// Distance between two samples of one channel: the channel count when interleaved, else 1.
    std::uint32_t stride() const { return layout.interleaved ? layout.channels : 1; }

private:
    AudioFormat layout;
    std::uint32_t capacity = 0;
    std::uint32_t length = 0;
    std::vector<std::byte> bytes;
};

} // namespace vorlin
