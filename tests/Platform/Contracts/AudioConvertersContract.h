#pragma once

#include "Ports/AudioConverter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>

namespace vorlin {

/// What every conversion of sound does. `Desktop` has one such: `converters`.
template <class Desktop>
class AudioConvertersContract : public testing::Test {
protected:
    Desktop desktop;
};

TYPED_TEST_SUITE_P(AudioConvertersContract);

TYPED_TEST_P(AudioConvertersContract, theSameFormatGivesTheSameBytesInEveryLayout)
{
    constexpr std::uint32_t frames = 500;
    for (const auto type : {SampleType::float32, SampleType::int16, SampleType::int32}) {
        for (const std::uint32_t channels : {1U, 2U, 3U}) {
            for (const bool interleaved : {false, true}) {
                const AudioFormat format{type, 44100, channels, interleaved};
                const auto converter = this->desktop.converters.make(format, format);
                ASSERT_TRUE(converter);
                PCMBuffer input(format, frames);
                input.setFrameLength(frames);
                const std::uint32_t planes = interleaved ? 1 : channels;
                for (std::uint32_t plane = 0; plane < planes; ++plane) {
                    // No two neighbours are alike, and as floating-point numbers all are small.
                    std::size_t at = plane * 71;
                    for (std::byte& byte : input.plane(plane)) {
                        byte = static_cast<std::byte>(at++ % 61);
                    }
                }
                PCMBuffer output(format, frames + 64);
                ASSERT_TRUE(converter->convert(input, output));
                ASSERT_EQ(output.frameLength(), frames);
                const std::size_t bytes = frames * format.bytesPerFrame() / planes;
                for (std::uint32_t plane = 0; plane < planes; ++plane) {
                    EXPECT_TRUE(std::ranges::equal(input.plane(plane).first(bytes),
                                                   output.plane(plane).first(bytes)))
                        << channels << (interleaved ? " interleaved" : "") << ", plane " << plane;
                }
            }
        }
    }
}

TYPED_TEST_P(AudioConvertersContract, aBufferOfNothingGivesNothingAndTheStreamGoesOn)
{
    const AudioFormat format{SampleType::float32, 16000, 1, false};
    const auto converter = this->desktop.converters.make(format, format);
    PCMBuffer output(format, 64);
    EXPECT_TRUE(converter->convert(PCMBuffer(format, 0), output));
    EXPECT_EQ(output.frameLength(), 0U);
    PCMBuffer input(format, 10);
    input.setFrameLength(10);
    EXPECT_TRUE(converter->convert(input, output));
    EXPECT_EQ(output.frameLength(), 10U);
}

TYPED_TEST_P(AudioConvertersContract, aFormatWithoutARateOrChannelsCannotBeConverted)
{
    const AudioFormat good{SampleType::float32, 16000, 1, false};
    for (const AudioFormat& odd : {AudioFormat{SampleType::float32, 0, 1, false},
                                   AudioFormat{SampleType::float32, 16000, 0, false}}) {
        EXPECT_FALSE(this->desktop.converters.make(odd, good));
        EXPECT_FALSE(this->desktop.converters.make(good, odd));
    }
}

REGISTER_TYPED_TEST_SUITE_P(AudioConvertersContract, theSameFormatGivesTheSameBytesInEveryLayout,
                            aBufferOfNothingGivesNothingAndTheStreamGoesOn,
                            aFormatWithoutARateOrChannelsCannotBeConverted);

} // namespace vorlin
