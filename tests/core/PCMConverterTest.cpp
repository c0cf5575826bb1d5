#include "PCMConverter.h"
#include "fakes/FakeAudioConverters.h"

#include <gtest/gtest.h>

namespace vorlin {
namespace {

constexpr AudioFormat speech{SampleType::float32, 16000, 1, false};

PCMBuffer buffer(double rate, std::uint32_t channels, std::uint32_t frames)
{
    PCMBuffer made({SampleType::float32, rate, channels, true}, frames);
    made.setFrameLength(frames);
    return made;
}

TEST(PCMConverter, capacityIsTheRatioOfTheRatesPlusHeadroom)
{
    FakeAudioConverters converters;
    PCMConverter converter(converters, speech);
    const auto output = converter.convert(buffer(48000, 2, 4800));
    ASSERT_TRUE(output);
    EXPECT_EQ(converters.lastCapacity, 1664U);
    EXPECT_EQ(output->format(), speech);
    EXPECT_EQ(output->frameLength(), 1600U);
    converter.convert(buffer(44100, 1, 2048));
    EXPECT_EQ(converters.lastCapacity, 743U + 64U);
}

TEST(PCMConverter, inputAlreadyInTheTargetFormatIsConvertedToo)
{
    FakeAudioConverters converters;
    PCMConverter converter(converters, speech);
    PCMBuffer input(speech, 100);
    input.setFrameLength(100);
    EXPECT_TRUE(converter.convert(input));
    EXPECT_EQ(converters.made, 1);
}

TEST(PCMConverter, aNewInputFormatRebuildsTheConverterOnce)
{
    FakeAudioConverters converters;
    PCMConverter converter(converters, speech);
    converter.convert(buffer(48000, 1, 480));
    converter.convert(buffer(48000, 1, 480));
    EXPECT_EQ(converters.made, 1);
    converter.convert(buffer(44100, 1, 480));
    converter.convert(buffer(44100, 1, 480));
    EXPECT_EQ(converters.made, 2);
    converter.convert(buffer(48000, 1, 480));
    EXPECT_EQ(converters.made, 3);
}

TEST(PCMConverter, anUnconvertibleFormatIsTriedOnce)
{
    FakeAudioConverters converters;
    converters.canConvert = [](const AudioFormat& source) { return source.channels < 3; };
    PCMConverter converter(converters, speech);
    EXPECT_FALSE(converter.convert(buffer(48000, 3, 480)));
    EXPECT_FALSE(converter.convert(buffer(48000, 3, 480)));
    EXPECT_EQ(converters.made, 1);
    EXPECT_TRUE(converter.convert(buffer(48000, 2, 480)));
}

TEST(PCMConverter, aFailedConversionGivesNothingAndTheNextGoesOn)
{
    FakeAudioConverters converters;
    PCMConverter converter(converters, speech);
    converters.conversionFails = true;
    EXPECT_FALSE(converter.convert(buffer(48000, 1, 480)));
    converters.conversionFails = false;
    EXPECT_TRUE(converter.convert(buffer(48000, 1, 480)));
    EXPECT_EQ(converters.made, 1);
}

TEST(PCMConverter, anEmptyBufferConverts)
{
    FakeAudioConverters converters;
    PCMConverter converter(converters, speech);
    const auto output = converter.convert(buffer(48000, 1, 0));
    ASSERT_TRUE(output);
    EXPECT_EQ(output->frameLength(), 0U);
    EXPECT_EQ(converters.lastCapacity, 64U);
}

TEST(PCMConverter, aCapacityBeyondThirtyTwoBitsIsFatal)
{
    FakeAudioConverters converters;
    PCMConverter converter(converters, speech);
    EXPECT_DEATH(converter.convert(buffer(1e-6, 1, 4800)), "does not fit into one buffer");
}

TEST(PCMBuffer, planesAndChannelsLieAsTheFormatSays)
{
    PCMBuffer interleaved({SampleType::float32, 48000, 2, true}, 3);
    EXPECT_EQ(interleaved.plane(0).size(), 24U);
    EXPECT_EQ(interleaved.stride(), 2U);
    EXPECT_TRUE(interleaved.floatChannel(1).empty());
    interleaved.setFrameLength(3);
    EXPECT_EQ(interleaved.floatChannel(1).size(), 5U);
    EXPECT_TRUE(interleaved.floatChannel(2).empty());

    PCMBuffer planar({SampleType::int16, 48000, 2, false}, 3);
    EXPECT_EQ(planar.plane(1).size(), 6U);
    planar.setFrameLength(3);
    EXPECT_TRUE(planar.floatChannel(0).empty());
    EXPECT_DEATH(planar.setFrameLength(4), "more frames than it holds");
    EXPECT_DEATH(planar.plane(2), "a channel it does not have");
}

} // namespace
} // namespace vorlin
