#include "Audio/PCMBuffer.h"

#include "Async/Fatal.h"

namespace vorlin {

PCMBuffer::PCMBuffer(const AudioFormat& format, std::uint32_t frameCapacity)
    : layout(format), capacity(frameCapacity), bytes(format.bytesPerFrame() * frameCapacity)
{
}

void PCMBuffer::setFrameLength(std::uint32_t frames)
{
    if (frames > capacity) {
        fatal("an audio buffer was given more frames than it holds");
    }
    length = frames;
}

std::span<std::byte> PCMBuffer::plane(std::uint32_t channel)
{
    const auto readable = static_cast<const PCMBuffer*>(this)->plane(channel);
    return {bytes.data() + (readable.data() - bytes.data()), readable.size()};
}

std::span<const std::byte> PCMBuffer::plane(std::uint32_t channel) const
{
    const std::uint32_t planes = layout.interleaved ? 1 : layout.channels;
    if (channel >= planes) {
        fatal("an audio buffer was asked for a channel it does not have");
    }
    const std::size_t planeBytes = bytes.size() / planes;
    return {bytes.data() + channel * planeBytes, planeBytes};
}

std::span<const float> PCMBuffer::floatChannel(std::uint32_t channel) const
{
    if (layout.sampleType != SampleType::float32 || channel >= layout.channels || length == 0) {
        return {};
    }
    const auto memory = plane(layout.interleaved ? 0 : channel);
    const auto* samples = reinterpret_cast<const float*>(memory.data());
    if (!layout.interleaved) {
        return {samples, length};
    }
    return {samples + channel, std::size_t{length} * layout.channels - channel};
}

} // namespace vorlin
