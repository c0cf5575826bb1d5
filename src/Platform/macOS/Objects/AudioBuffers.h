#pragma once

#include "Audio/PCMBuffer.h"
#include "Platform/macOS/Objects/Ref.h"
#include "Platform/macOS/Plain/SampleFormats.h"

#include <AVFAudio/AVFAudio.h>

#include <algorithm>
#include <cstddef>
#include <optional>

namespace vorlin {

/// Nothing for samples that `PCMBuffer` does not have.
inline std::optional<AudioFormat> formatOf(AVAudioFormat* format)
{
    const auto type = sampleType(format.commonFormat);
    if (!type) {
        return std::nullopt;
    }
    return AudioFormat{*type, format.sampleRate, format.channelCount, format.isInterleaved != NO};
}

/// Nil for one that the platform does not have.
inline AVAudioFormat* avFormat(const AudioFormat& format)
{
    const auto type = static_cast<AVAudioCommonFormat>(commonFormat(format.sampleType));
    constexpr std::uint32_t mostWithoutLayout = 2;
    if (format.channels <= mostWithoutLayout) {
        return autoreleased([[AVAudioFormat alloc] initWithCommonFormat:type
                                                             sampleRate:format.sampleRate
                                                               channels:format.channels
                                                            interleaved:format.interleaved]);
    }
    AVAudioChannelLayout* const layout = autoreleased([[AVAudioChannelLayout alloc]
        initWithLayoutTag:kAudioChannelLayoutTag_DiscreteInOrder | format.channels]);
    return autoreleased([[AVAudioFormat alloc] initWithCommonFormat:type
                                                         sampleRate:format.sampleRate
                                                        interleaved:format.interleaved
                                                      channelLayout:layout]);
}

/// The memory of one plane; nothing when the buffer has none.
inline std::byte* planeOf(AVAudioPCMBuffer* buffer, SampleType type, std::uint32_t plane)
{
    const auto at = [plane](auto* const* channels) {
        return channels != nullptr ? reinterpret_cast<std::byte*>(channels[plane]) : nullptr;
    };
    switch (type) {
    case SampleType::float32: return at(buffer.floatChannelData);
    case SampleType::int16: return at(buffer.int16ChannelData);
    case SampleType::int32: return at(buffer.int32ChannelData);
    }
    return nullptr;
}

/// Bytes that the valid frames of one plane take.
inline std::size_t planeBytes(const AudioFormat& format, std::uint32_t frames)
{
    return std::size_t{frames} * format.bytesPerFrame() / planesOf(format);
}

/// Copies the valid frames of `from`, of the format of `to`, as far as they fit, and says how many.
inline void copyFrames(AVAudioPCMBuffer* from, PCMBuffer& to)
{
    const std::uint32_t frames = std::min<std::uint32_t>(from.frameLength, to.frameCapacity());
    for (std::uint32_t plane = 0; plane < planesOf(to.format()); ++plane) {
        if (const auto* const memory = planeOf(from, to.format().sampleType, plane)) {
            std::copy_n(memory, planeBytes(to.format(), frames), to.plane(plane).begin());
        }
    }
    to.setFrameLength(frames);
}

/// A copy in the platform's memory; nil when it has none.
inline AVAudioPCMBuffer* avBuffer(const PCMBuffer& from, AVAudioFormat* format)
{
    AVAudioPCMBuffer* const made =
        autoreleased([[AVAudioPCMBuffer alloc] initWithPCMFormat:format
                                                   frameCapacity:from.frameLength()]);
    made.frameLength = from.frameLength();
    for (std::uint32_t plane = 0; plane < planesOf(from.format()); ++plane) {
        if (auto* const memory = planeOf(made, from.format().sampleType, plane)) {
            std::copy_n(from.plane(plane).begin(), planeBytes(from.format(), from.frameLength()),
                        memory);
        }
    }
    return made;
}

} // namespace vorlin
