#include "Parakeet/Segmenter.h"

#include "simulation/Seeds.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>

namespace vorlin {
namespace {

using Samples = std::vector<float>;

Samples constant(float value, std::int64_t count)
{
    return Samples(static_cast<std::size_t>(count), value);
}

class SegmenterTest : public testing::Test {
protected:
    void feed(float value, std::int64_t count) { segmenter.append(constant(value, count)); }
    void silence(std::int64_t count) { feed(0, count); }
    void speech(std::int64_t count) { feed(0.5F, count); }
    std::size_t length(std::size_t i) const { return emitted.at(i).size(); }

    std::vector<Samples> emitted;
    Segmenter segmenter{[this](Samples utterance) { emitted.push_back(std::move(utterance)); }};
};

TEST_F(SegmenterTest, fewerSamplesThanAFrameWaitForTheRest)
{
    speech(319);
    EXPECT_FALSE(segmenter.draft());
    for (int i = 0; i < 20; ++i) {
        speech(319);
    }
    EXPECT_EQ(segmenter.draft()->samples.size(), 6400U); // of 6699
}

TEST_F(SegmenterTest, silenceAloneEmitsNothingAndCutsOnceAtTheFlush)
{
    silence(50000);
    EXPECT_EQ(segmenter.cuts(), 0);
    segmenter.flush();
    EXPECT_TRUE(emitted.empty());
    EXPECT_EQ(segmenter.cuts(), 1);
}

TEST_F(SegmenterTest, speechBetweenSilencesKeepsPreRollTailAndTheUnmeasuredRest)
{
    silence(9600);
    speech(32000);
    silence(16000 + 100);
    segmenter.flush();
    ASSERT_EQ(emitted.size(), 1U);
    EXPECT_EQ(length(0), 4800U + 32000 + 3200 + 100);
}

TEST_F(SegmenterTest, aClickAfterQuietIsAnUtteranceThroughItsPreRoll)
{
    silence(4800);
    speech(320);
    silence(16000);
    segmenter.flush();
    ASSERT_EQ(emitted.size(), 1U);
    EXPECT_EQ(length(0), 4800U + 320 + 3200);
}

TEST_F(SegmenterTest, aClickAtTheVeryStartIsDropped)
{
    speech(320);
    silence(16000);
    segmenter.flush();
    EXPECT_TRUE(emitted.empty());
}

TEST_F(SegmenterTest, continuousSpeechIsCutAtFourteenSeconds)
{
    speech(448000 + 320);
    ASSERT_EQ(emitted.size(), 2U);
    EXPECT_EQ(length(0), 224000U);
    EXPECT_EQ(length(1), 224000U);
    EXPECT_EQ(segmenter.cuts(), 2);
}

TEST_F(SegmenterTest, aPauseAfterEightSecondsEndsTheUtteranceWithATail)
{
    speech(144000);
    silence(6080);
    EXPECT_TRUE(emitted.empty());
    silence(320);
    ASSERT_EQ(emitted.size(), 1U);
    EXPECT_EQ(length(0), 144000U + 3200);
}

TEST_F(SegmenterTest, aPauseInAShortUtteranceDoesNotCut)
{
    speech(80000);
    silence(6400);
    speech(1600);
    EXPECT_TRUE(emitted.empty());
    EXPECT_EQ(segmenter.draft()->samples.size(), 88000U);
}

TEST_F(SegmenterTest, anUtteranceReachesTheSoftLimitWithinAPause)
{
    speech(124800);
    silence(6400); // a pause already, at 131200
    ASSERT_EQ(emitted.size(), 1U);
    EXPECT_EQ(length(0), 124800U + 3200);
}

TEST_F(SegmenterTest, theHardLimitWithinAShortSilenceKeepsIt)
{
    speech(222400);
    silence(1600);
    ASSERT_EQ(emitted.size(), 1U);
    EXPECT_EQ(length(0), 224000U);
}

TEST_F(SegmenterTest, theHardLimitWithinALongSilenceKeepsTheTailOnly)
{
    speech(218240);
    silence(5440); // longer than the tail, and no pause yet
    EXPECT_TRUE(emitted.empty());
    silence(320);
    ASSERT_EQ(emitted.size(), 1U);
    EXPECT_EQ(length(0), 218240U + 3200);
    EXPECT_EQ(segmenter.cuts(), 1);
    // What remains of the silence belongs to nothing: the next utterance begins anew.
    silence(9600);
    speech(4000);
    segmenter.flush();
    ASSERT_EQ(emitted.size(), 2U);
    EXPECT_EQ(length(1), 4800U + 4000);
}

/// The smallest amplitude whose frames are speech for a fresh segmenter, found by trying.
bool isSpeech(float amplitude)
{
    Segmenter segmenter([](Samples) {});
    segmenter.append(constant(amplitude, 320));
    for (int i = 0; i < 13; ++i) {
        segmenter.append(constant(0, 320));
    }
    return segmenter.draft().has_value();
}

TEST_F(SegmenterTest, aFrameExactlyAtTheThresholdIsNotSpeech)
{
    // The floor starts at 0.004, so that the threshold is 0.01.
    const float threshold = 0.004F * 2.5F;
    EXPECT_FALSE(isSpeech(threshold * 0.999F));
    EXPECT_TRUE(isSpeech(threshold * 1.001F));
    // Two samples, the second one chosen such that the RMS is the threshold to the last bit.
    Samples frame(320, 0);
    const float first = threshold * 17.8F;
    for (float second = 0; second < 0.1F && frame[0] == 0; second += 1e-7F) {
        if (std::sqrt((first * first + second * second) / 320.0F) == threshold) {
            frame[0] = first;
            frame[1] = second;
        }
    }
    ASSERT_EQ(frame[0], first);
    Segmenter segmenter([](Samples) {});
    segmenter.append(frame);
    segmenter.append(constant(0, 4800));
    EXPECT_FALSE(segmenter.draft());
    // It moved the floor to 0.0043 and so the threshold to 0.01075: silence is back at once.
    Segmenter next([](Samples) {});
    next.append(frame);
    next.append(constant(0.0105F, 4800));
    EXPECT_FALSE(next.draft());
}

TEST_F(SegmenterTest, aLowFloorLeavesTheAbsoluteThreshold)
{
    silence(320 * 40); // the floor sinks far below 0.0024
    feed(0.00599F, 4800);
    EXPECT_FALSE(segmenter.draft());
    Segmenter fresh([](Samples) {});
    fresh.append(constant(0, 320 * 40));
    fresh.append(constant(0.00601F, 4800));
    EXPECT_TRUE(fresh.draft());
}

TEST_F(SegmenterTest, speechNeverRaisesTheFloor)
{
    speech(160000);
    silence(6400);
    ASSERT_EQ(emitted.size(), 1U);
    feed(0.0101F, 4800); // would be below a floor that speech had raised
    EXPECT_TRUE(segmenter.draft());
}

TEST_F(SegmenterTest, samplesThatAreNoNumberAreSilenceAndDoNotDeafenIt)
{
    feed(std::numeric_limits<float>::quiet_NaN(), 3200);
    feed(std::numeric_limits<float>::infinity(), 3200);
    EXPECT_FALSE(segmenter.draft());
    speech(32000);
    segmenter.flush();
    ASSERT_EQ(emitted.size(), 1U);
    for (const float sample : emitted[0]) {
        ASSERT_TRUE(std::isfinite(sample));
    }
}

TEST_F(SegmenterTest, aDraftNeedsSpeechAndAQuarterOfASecond)
{
    speech(3840);
    EXPECT_FALSE(segmenter.draft());
    speech(320);
    EXPECT_EQ(segmenter.draft()->samples.size(), 4160U);
    EXPECT_EQ(segmenter.draft()->cuts, 0);
}

TEST_F(SegmenterTest, emittingMayCallBack)
{
    std::int64_t seen = -1;
    Segmenter* inner = nullptr;
    Segmenter reentrant([&](Samples) {
        seen = inner->cuts();
        inner->append(constant(0, 320));
    });
    inner = &reentrant;
    reentrant.append(constant(0.5F, 224000));
    EXPECT_EQ(seen, 1);
}

/// The rules once more, frame by frame over the whole signal, with nothing carried in place.
std::vector<Samples> reference(const Samples& signal)
{
    std::vector<Samples> out;
    Samples segment;
    bool heard = false;
    std::size_t silent = 0;
    float floor = 0.004F;
    const auto cut = [&] {
        if (heard && segment.size() - silent >= 4000) {
            const std::size_t trim = silent > 3200 ? silent - 3200 : 0;
            out.emplace_back(segment.begin(), segment.end() - static_cast<std::ptrdiff_t>(trim));
        }
        segment = {};
        heard = false;
        silent = 0;
    };
    std::size_t at = 0;
    for (; at + 320 <= signal.size(); at += 320) {
        float sum = 0;
        for (std::size_t i = at; i < at + 320; ++i) {
            sum += signal[i] * signal[i];
            segment.push_back(signal[i]);
        }
        const float rms = std::sqrt(sum / 320);
        if (rms > std::max(floor * 2.5F, 0.006F)) {
            heard = true;
            silent = 0;
        } else {
            floor = rms * 0.05F + floor * 0.95F;
            silent += 320;
            if (!heard && segment.size() > 4800) {
                segment = Samples(segment.end() - 4800, segment.end());
            }
        }
        if (heard && (segment.size() >= 224000 || (segment.size() >= 128000 && silent >= 6400))) {
            cut();
        }
    }
    segment.insert(segment.end(), signal.begin() + static_cast<std::ptrdiff_t>(at), signal.end());
    cut();
    return out;
}

class SegmenterSeeds : public testing::TestWithParam<std::uint64_t> {};

TEST_P(SegmenterSeeds, anySignalInAnyPiecesIsCutByTheRules)
{
    std::mt19937_64 random(GetParam());
    const auto upTo = [&](std::size_t most) {
        return std::uniform_int_distribution<std::size_t>(0, most)(random);
    };
    Samples signal;
    while (signal.size() < 1600000) {
        const float loud = std::array{0.0F, 0.003F, 0.008F, 0.02F, 0.3F}[upTo(4)];
        const auto count = upTo(upTo(3) == 0 ? 160000 : 12000);
        for (std::size_t i = 0; i < count; ++i) {
            signal.push_back(loud * static_cast<float>(upTo(2000)) / 1000 - loud);
        }
    }
    std::vector<Samples> emitted;
    Segmenter segmenter([&](Samples utterance) { emitted.push_back(std::move(utterance)); });
    for (std::size_t at = 0; at < signal.size();) {
        const auto count = std::min(upTo(upTo(9) == 0 ? 300000 : 2048), signal.size() - at);
        segmenter.append(std::span(signal).subspan(at, count));
        at += count;
    }
    segmenter.flush();
    EXPECT_EQ(emitted, reference(signal));
    EXPECT_GT(emitted.size(), 2U);
}

INSTANTIATE_TEST_SUITE_P(Seeds, SegmenterSeeds, testing::ValuesIn(simulationSeeds(0, 12)));

} // namespace
} // namespace vorlin
