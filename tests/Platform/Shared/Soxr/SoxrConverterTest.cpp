#include "Platform/Shared/Soxr/SoxrConverter.h"

#include "Platform/Contracts/AudioConvertersContract.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>
#include <random>
#include <vector>

namespace vorlin {
namespace {

const std::vector<double> rates = {8000,  11025, 16000, 22050,  32000,
                                   44100, 48000, 96000, 176400, 192000};
const AudioFormat recogniserFormat{SampleType::float32, 16000, 1, false};

template <class Sample>
void setSample(PCMBuffer& buffer, std::uint32_t frame, std::uint32_t channel, Sample value)
{
    const bool interleaved = buffer.format().interleaved;
    const std::size_t index = std::size_t{frame} * buffer.stride() + (interleaved ? channel : 0);
    std::memcpy(buffer.plane(interleaved ? 0 : channel).data() + index * sizeof value, &value,
                sizeof value);
}

template <class Sample>
Sample sampleAt(const PCMBuffer& buffer, std::uint32_t frame, std::uint32_t channel)
{
    const bool interleaved = buffer.format().interleaved;
    const std::size_t index = std::size_t{frame} * buffer.stride() + (interleaved ? channel : 0);
    Sample value;
    std::memcpy(&value, buffer.plane(interleaved ? 0 : channel).data() + index * sizeof value,
                sizeof value);
    return value;
}

void setReal(PCMBuffer& buffer, std::uint32_t frame, std::uint32_t channel, double value)
{
    switch (buffer.format().sampleType) {
    case SampleType::float32: setSample(buffer, frame, channel, static_cast<float>(value)); break;
    case SampleType::int16:
        setSample(buffer, frame, channel, static_cast<std::int16_t>(value * 32767));
        break;
    case SampleType::int32:
        setSample(buffer, frame, channel, static_cast<std::int32_t>(value * 2147483647));
        break;
    }
}

double realAt(const PCMBuffer& buffer, std::uint32_t frame, std::uint32_t channel)
{
    switch (buffer.format().sampleType) {
    case SampleType::float32: return sampleAt<float>(buffer, frame, channel);
    case SampleType::int16: return sampleAt<std::int16_t>(buffer, frame, channel) / 32768.0;
    case SampleType::int32: return sampleAt<std::int32_t>(buffer, frame, channel) / 2147483648.0;
    }
    return 0;
}

/// A mono float buffer of `samples`.
PCMBuffer monoBuffer(double rate, std::span<const float> samples)
{
    PCMBuffer buffer({SampleType::float32, rate, 1, false},
                     static_cast<std::uint32_t>(samples.size()));
    buffer.setFrameLength(static_cast<std::uint32_t>(samples.size()));
    std::memcpy(buffer.plane(0).data(), samples.data(), samples.size_bytes());
    return buffer;
}

/// `seconds` of a tone of `hertz`, sampled `rate` times a second.
std::vector<float> tone(double rate, double hertz, double seconds)
{
    std::vector<float> samples(static_cast<std::size_t>(rate * seconds));
    for (std::size_t i = 0; i < samples.size(); ++i) {
        samples[i] = static_cast<float>(
            0.5 * std::sin(2 * std::numbers::pi * hertz * static_cast<double>(i) / rate));
    }
    return samples;
}

/// Noise from -1 to 1.
std::vector<float> noise(std::size_t length)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<float> uniform(-1, 1);
    std::vector<float> samples(length);
    std::generate(samples.begin(), samples.end(), [&] { return uniform(random); });
    return samples;
}

/// Room for what the rates imply and 64 frames more.
std::uint32_t usualCapacity(double sourceRate, double targetRate, std::size_t frames)
{
    return static_cast<std::uint32_t>(targetRate / sourceRate * static_cast<double>(frames)) + 64;
}

/// Converts mono float `samples`, `step` at a time, and returns all that came out.
std::vector<float> convertInSteps(AudioConverter& converter, double sourceRate, double targetRate,
                                  std::span<const float> samples, std::size_t step,
                                  std::uint32_t capacity)
{
    std::vector<float> converted;
    for (std::size_t at = 0; at < samples.size(); at += step) {
        const auto piece = samples.subspan(at, std::min(step, samples.size() - at));
        PCMBuffer output({SampleType::float32, targetRate, 1, false}, capacity);
        EXPECT_TRUE(converter.convert(monoBuffer(sourceRate, piece), output));
        const auto given = output.floatChannel(0);
        converted.insert(converted.end(), given.begin(), given.end());
    }
    return converted;
}

std::unique_ptr<AudioConverter> monoConverter(double sourceRate, double targetRate)
{
    SoxrConverters converters;
    return converters.make({SampleType::float32, sourceRate, 1, false},
                           {SampleType::float32, targetRate, 1, false});
}

/// Power of the best-fitting tone of `hertz` over the power of all else, in decibels.
double purity(std::span<const float> samples, double rate, double hertz)
{
    const auto count = static_cast<double>(samples.size());
    const double step = 2 * std::numbers::pi * hertz / rate;
    double sine = 0;
    double cosine = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        sine += samples[i] * std::sin(step * static_cast<double>(i)) * 2 / count;
        cosine += samples[i] * std::cos(step * static_cast<double>(i)) * 2 / count;
    }
    double signal = 0;
    double rest = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double fitted = sine * std::sin(step * static_cast<double>(i)) +
                              cosine * std::cos(step * static_cast<double>(i));
        signal += fitted * fitted;
        rest += (samples[i] - fitted) * (samples[i] - fitted);
    }
    return 10 * std::log10(signal / rest);
}

TEST(SoxrConverter, formatsOutOfRangeCannotBeConverted)
{
    SoxrConverters converters;
    const double inf = std::numeric_limits<double>::infinity();
    for (const double rate : {0.0, -48000.0, 7999.0, 192001.0, inf, -inf, std::nan("")}) {
        const AudioFormat odd{SampleType::float32, rate, 1, false};
        EXPECT_FALSE(converters.make(odd, recogniserFormat)) << rate;
        EXPECT_FALSE(converters.make(recogniserFormat, odd)) << rate;
        EXPECT_FALSE(converters.make(odd, odd)) << rate;
    }
    for (const std::uint32_t channels : {0U, 33U, 0xFFFFFFFFU}) {
        const AudioFormat odd{SampleType::float32, 48000, channels, true};
        EXPECT_FALSE(converters.make(odd, recogniserFormat)) << channels;
        EXPECT_FALSE(converters.make(recogniserFormat, odd)) << channels;
        EXPECT_FALSE(converters.make(odd, odd)) << channels;
    }
}

TEST(SoxrConverter, channelCountsThatHaveNoRuleCannotBeConverted)
{
    SoxrConverters converters;
    EXPECT_FALSE(converters.make({SampleType::float32, 48000, 2, true},
                                 {SampleType::float32, 48000, 6, true}));
    EXPECT_FALSE(converters.make({SampleType::float32, 48000, 6, true},
                                 {SampleType::float32, 16000, 2, true}));
}

TEST(SoxrConverter, buffersOfAnotherFormatAreAFailure)
{
    const auto converter = monoConverter(48000, 16000);
    PCMBuffer output(recogniserFormat, 1000);
    EXPECT_FALSE(converter->convert(PCMBuffer({SampleType::float32, 44100, 1, false}, 10), output));
    PCMBuffer wrongOutput({SampleType::int16, 16000, 1, false}, 1000);
    const PCMBuffer input({SampleType::float32, 48000, 1, false}, 10);
    EXPECT_FALSE(converter->convert(input, wrongOutput));
    EXPECT_TRUE(converter->convert(input, output));
}

class SoxrConverterFormats : public testing::TestWithParam<std::tuple<SampleType, SampleType>> {};

TEST_P(SoxrConverterFormats, everyLayoutAndChannelPairKeepsATone)
{
    const auto [sourceType, targetType] = GetParam();
    SoxrConverters converters;
    using Pair = std::pair<std::uint32_t, std::uint32_t>;
    for (const auto& [from, to] : {Pair{1, 1}, {2, 1}, {2, 2}, {1, 3}, {32, 1}, {32, 32}}) {
        for (const bool fromInterleaved : {false, true}) {
            for (const bool toInterleaved : {false, true}) {
                const AudioFormat source{sourceType, 48000, from, fromInterleaved};
                const AudioFormat target{targetType, 16000, to, toInterleaved};
                const auto converter = converters.make(source, target);
                ASSERT_TRUE(converter);
                PCMBuffer input(source, 9600);
                input.setFrameLength(9600);
                const auto samples = tone(48000, 440, 0.2);
                for (std::uint32_t channel = 0; channel < from; ++channel) {
                    for (std::uint32_t frame = 0; frame < 9600; ++frame) {
                        setReal(input, frame, channel, samples[frame]);
                    }
                }
                PCMBuffer output(target, 3200);
                ASSERT_TRUE(converter->convert(input, output));
                ASSERT_GT(output.frameLength(), 2000U);
                const auto expected = tone(16000, 440, 0.2);
                for (std::uint32_t channel = 0; channel < to; ++channel) {
                    for (std::uint32_t frame = 200; frame < output.frameLength(); ++frame) {
                        ASSERT_NEAR(realAt(output, frame, channel), expected[frame], 1e-4)
                            << from << " to " << to << ", channel " << channel;
                    }
                }
            }
        }
    }
}

constexpr auto sampleTypes = {SampleType::float32, SampleType::int16, SampleType::int32};
INSTANTIATE_TEST_SUITE_P(SampleTypes, SoxrConverterFormats,
                         testing::Combine(testing::ValuesIn(sampleTypes),
                                          testing::ValuesIn(sampleTypes)));

TEST(SoxrConverter, theSameFormatGivesTheSameBytes)
{
    SoxrConverters converters;
    std::mt19937 random(11);
    for (const auto type : sampleTypes) {
        for (const bool interleaved : {false, true}) {
            const AudioFormat format{type, 44100, 2, interleaved};
            const auto converter = converters.make(format, format);
            ASSERT_TRUE(converter);
            PCMBuffer input(format, 500);
            input.setFrameLength(500);
            for (std::uint32_t frame = 0; frame < 500; ++frame) {
                for (std::uint32_t channel = 0; channel < 2; ++channel) {
                    const auto bits = random();
                    switch (type) {
                    // Louder than full scale too; and a zero that is negative.
                    case SampleType::float32:
                        setSample(input, frame, channel,
                                  frame == 3 ? -0.0F : static_cast<float>(bits) / 1e9F - 2);
                        break;
                    case SampleType::int16:
                        setSample(input, frame, channel, static_cast<std::int16_t>(bits));
                        break;
                    case SampleType::int32:
                        setSample(input, frame, channel, static_cast<std::int32_t>(bits));
                        break;
                    }
                }
            }
            PCMBuffer output(format, 500);
            ASSERT_TRUE(converter->convert(input, output));
            ASSERT_EQ(output.frameLength(), 500U);
            for (std::uint32_t plane = 0; plane < (interleaved ? 1U : 2U); ++plane) {
                EXPECT_TRUE(std::ranges::equal(input.plane(plane), output.plane(plane)));
            }
        }
    }
}

TEST(SoxrConverter, monoIsTheMeanOfAllChannels)
{
    SoxrConverters converters;
    const AudioFormat source{SampleType::float32, 16000, 4, true};
    const auto converter = converters.make(source, recogniserFormat);
    PCMBuffer input(source, 2);
    input.setFrameLength(2);
    for (std::uint32_t channel = 0; channel < 4; ++channel) {
        setSample(input, 0, channel, static_cast<float>(channel) / 8);
        setSample(input, 1, channel, channel == 2 ? 1.0F : 0.0F);
    }
    PCMBuffer output(recogniserFormat, 2);
    ASSERT_TRUE(converter->convert(input, output));
    EXPECT_EQ(sampleAt<float>(output, 0, 0), 0.1875F);
    EXPECT_EQ(sampleAt<float>(output, 1, 0), 0.25F);
}

TEST(SoxrConverter, channelsStayApartAndInPlace)
{
    SoxrConverters converters;
    const AudioFormat source{SampleType::float32, 48000, 3, true};
    const AudioFormat target{SampleType::float32, 16000, 3, false};
    const auto converter = converters.make(source, target);
    PCMBuffer input(source, 9600);
    input.setFrameLength(9600);
    for (std::uint32_t frame = 0; frame < 9600; ++frame) {
        setSample(input, frame, 0, 0.25F);
        setSample(input, frame, 2, -0.5F);
    }
    PCMBuffer output(target, 3200);
    ASSERT_TRUE(converter->convert(input, output));
    ASSERT_GT(output.frameLength(), 2000U);
    EXPECT_NEAR(sampleAt<float>(output, 1500, 0), 0.25, 1e-5);
    EXPECT_EQ(sampleAt<float>(output, 1500, 1), 0);
    EXPECT_NEAR(sampleAt<float>(output, 1500, 2), -0.5, 1e-5);
}

TEST(SoxrConverter, wholeNumbersAreRoundedAndClipped)
{
    SoxrConverters converters;
    const AudioFormat target{SampleType::int16, 16000, 1, false};
    const auto converter = converters.make(recogniserFormat, target);
    const std::vector<float> samples = {1.0F,         -1.0F,         5.0F,         -5.0F,
                                        1.6F / 32768, -1.6F / 32768, 1.4F / 32768, std::nanf(""),
                                        HUGE_VALF,    -HUGE_VALF};
    const std::vector<int> expected = {32767, -32768, 32767, -32768, 2, -2, 1, 0, 32767, -32768};
    PCMBuffer output(target, 20);
    ASSERT_TRUE(converter->convert(monoBuffer(16000, samples), output));
    ASSERT_EQ(output.frameLength(), samples.size());
    for (std::uint32_t i = 0; i < samples.size(); ++i) {
        EXPECT_EQ(sampleAt<std::int16_t>(output, i, 0), expected[i]) << samples[i];
    }
}

TEST(SoxrConverter, aNumberThatIsNotFiniteDoesNotSpoilTheStream)
{
    auto samples = tone(48000, 440, 1);
    const auto clean =
        convertInSteps(*monoConverter(48000, 16000), 48000, 16000, samples, 2048, 4096);
    samples[5000] = std::nanf("");
    samples[5001] = HUGE_VALF;
    const auto converted =
        convertInSteps(*monoConverter(48000, 16000), 48000, 16000, samples, 2048, 4096);
    ASSERT_EQ(clean.size(), converted.size());
    for (std::size_t i = 0; i < clean.size(); ++i) {
        ASSERT_NEAR(converted[i], clean[i], 0.5);
        ASSERT_TRUE(i < 5000 || std::abs(converted[i] - clean[i]) < 1e-6F) << i;
    }
}

class SoxrConverterRates : public testing::TestWithParam<double> {};

TEST_P(SoxrConverterRates, aStreamInPiecesEqualsTheStreamAtOnce)
{
    const double rate = GetParam();
    const auto samples = noise(static_cast<std::size_t>(rate / 4));
    const auto whole =
        convertInSteps(*monoConverter(rate, 16000), rate, 16000, samples, samples.size(), 5000);
    EXPECT_GT(whole.size(), 2000U);
    for (const std::size_t step : {7UL, 63UL, 441UL, 2048UL, 5000UL}) {
        const auto pieces =
            convertInSteps(*monoConverter(rate, 16000), rate, 16000, samples, step, 12000);
        // How much is withheld depends on the pieces.
        ASSERT_GT(pieces.size(), 2000U) << step;
        for (std::size_t i = 0; i < std::min(pieces.size(), whole.size()); ++i) {
            ASSERT_NEAR(pieces[i], whole[i], 1e-6) << step << ", sample " << i;
        }
    }
}

TEST_P(SoxrConverterRates, whatDoesNotFitComesLaterInOrder)
{
    const double rate = GetParam();
    const auto samples = noise(static_cast<std::size_t>(rate / 2));
    const auto whole =
        convertInSteps(*monoConverter(rate, 16000), rate, 16000, samples, samples.size(), 20000);
    const auto converter = monoConverter(rate, 16000);
    auto slow = convertInSteps(*converter, rate, 16000, samples, 2048, 10);
    EXPECT_LE(slow.size(), (samples.size() + 2047) / 2048 * 10);
    const PCMBuffer nothing({SampleType::float32, rate, 1, false}, 0);
    while (slow.size() < whole.size()) {
        PCMBuffer output(recogniserFormat, 1000);
        ASSERT_TRUE(converter->convert(nothing, output));
        ASSERT_GT(output.frameLength(), 0U);
        const auto given = output.floatChannel(0);
        slow.insert(slow.end(), given.begin(), given.end());
    }
    ASSERT_EQ(slow.size(), whole.size());
    for (std::size_t i = 0; i < whole.size(); ++i) {
        ASSERT_NEAR(slow[i], whole[i], 1e-6) << i;
    }
}

TEST_P(SoxrConverterRates, aTonePassesUnspoilt)
{
    for (const double target : {16000.0, 48000.0}) {
        const double rate = GetParam();
        const auto converted = convertInSteps(*monoConverter(rate, target), rate, target,
                                              tone(rate, 997, 3), 2048, 100000);
        const std::span middle(converted.data() + static_cast<std::size_t>(target / 2),
                               static_cast<std::size_t>(target * 2));
        EXPECT_GT(purity(middle, target, 997), 120) << rate << " to " << target;
    }
}

TEST_P(SoxrConverterRates, aFifthOfASecondOfSilencePushesOutEverySample)
{
    const double rate = GetParam();
    for (const double target : {8000.0, 16000.0, 44100.0, 48000.0, 192000.0}) {
        // Speech of any length, as captured: whole buffers, a shorter one, and the silence.
        for (const std::size_t length : {1UL, 700UL, 2048UL, 9999UL, 30000UL}) {
            std::vector<float> samples(length, 0.5F);
            samples.resize(length + static_cast<std::size_t>(rate / 5));
            const auto converted = convertInSteps(*monoConverter(rate, target), rate, target,
                                                  samples, 2048, usualCapacity(rate, target, 2048));
            const double implied = static_cast<double>(length) * target / rate;
            ASSERT_GE(static_cast<double>(converted.size()), implied) << target << " " << length;
            ASSERT_LE(static_cast<double>(converted.size()),
                      std::ceil(static_cast<double>(samples.size()) * target / rate) + 1);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Rates, SoxrConverterRates, testing::ValuesIn(rates));

struct SoxrConversion {
    SoxrConverters converters;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Soxr, AudioConvertersContract, SoxrConversion);

} // namespace
} // namespace vorlin
