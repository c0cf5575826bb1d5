#include "Platform/Linux/Audio/PulseSounds.h"

#include "Platform/Linux/Audio/PulseAudioInput.h"
#include "Platform/Linux/Audio/SoundData.h"
#include "PrivateSoundServer.h"
#include "PumpedLoop.h"
#include "Recorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>

namespace vorlin {
namespace {

using namespace std::chrono_literals;

const std::vector<std::string> names = {"Tink", "Pop", "Funk"};

std::vector<std::int16_t> samplesOf(const std::string& name)
{
    const auto bytes = soundSamples(name);
    std::vector<std::int16_t> samples(bytes.size() / 2);
    std::memcpy(samples.data(), bytes.data(), samples.size() * 2);
    return samples;
}

TEST(SoundData, soundsAreShortAndSoftAndEndQuietly)
{
    for (const auto& name : names) {
        const auto samples = samplesOf(name);
        const double seconds = static_cast<double>(samples.size()) / soundRate;
        EXPECT_GE(seconds, 0.08) << name;
        EXPECT_LE(seconds, 0.25) << name;
        int peak = 0;
        for (const int sample : samples) {
            peak = std::max(peak, std::abs(sample));
        }
        EXPECT_NEAR(20 * std::log10(peak / 32768.0), -12, 0.5) << name;
        EXPECT_EQ(samples.front(), 0) << name;
        EXPECT_EQ(samples.back(), 0) << name;
    }
    EXPECT_TRUE(soundSamples("Boing").empty());
    EXPECT_TRUE(soundSamples("").empty());
}

class PulseSoundsTest : public testing::Test {
protected:
    /// Makes what the loudspeakers play the default microphone, and listens to it.
    void listen()
    {
        server.emplace();
        server->start();
        server->control("load-module module-remap-source master=speakers.monitor source_name=ear");
        server->control("set-default-source ear");
        context.emplace();
        sounds.emplace(*context);
        input.emplace(*context, loop);
        const auto started = follow(loop, input->start(recorder.tap(), nullptr));
        ASSERT_TRUE(loop.runUntil([&] { return started->settled; }));
        ASSERT_TRUE(started->done());
        ASSERT_TRUE(loop.runUntil([&] { return recorder.buffers() > 0; }));
    }

    /// How long there has been sound, in seconds, and its peak.
    std::pair<double, float> heard() const
    {
        const auto samples = recorder.samples();
        const auto loud = [](float sample) { return std::abs(sample) > 1e-4F; };
        const auto first = std::find_if(samples.begin(), samples.end(), loud);
        const auto last = std::find_if(samples.rbegin(), samples.rend(), loud).base();
        if (first == samples.end()) {
            return {0, 0.0F};
        }
        const auto peak = *std::max_element(samples.begin(), samples.end());
        const auto rate =
            recorder.formats().front().sampleRate * recorder.formats().front().channels;
        return {static_cast<double>(last - first) / rate, peak};
    }

    PumpedLoop loop;
    Recorder recorder{loop};
    std::optional<PrivateSoundServer> server;
    std::optional<PulseContext> context;
    std::optional<PulseSounds> sounds;
    std::optional<PulseAudioInput> input;
};

class EachSound : public PulseSoundsTest, public testing::WithParamInterface<std::string> {};

TEST_P(EachSound, isHeardWholeAndLeavesNothingBehind)
{
    listen();
    sounds->play(GetParam());
    ASSERT_TRUE(loop.runUntil([&] { return heard().first > 0; }));
    ASSERT_TRUE(loop.runUntil([&] { return server->playingStreams() == 0; }));
    const std::size_t then = recorder.buffers();
    ASSERT_TRUE(loop.runUntil([&] { return recorder.buffers() > then + 5; }));
    const auto [seconds, peak] = heard();
    const double whole = static_cast<double>(samplesOf(GetParam()).size()) / soundRate;
    EXPECT_LE(seconds, whole + 0.01);
    EXPECT_GE(seconds, whole / 2); // its end is too quiet to be seen
    EXPECT_NEAR(peak, 0.25, 0.05);
    EXPECT_EQ(server->recordingStreams(), 1U); // ours
}

INSTANTIATE_TEST_SUITE_P(Sounds, EachSound, testing::ValuesIn(names),
                         [](const auto& each) { return each.param; });

TEST_F(PulseSoundsTest, soundsOverlap)
{
    listen();
    for (int i = 0; i < 3; ++i) {
        sounds->play("Funk");
    }
    ASSERT_TRUE(loop.runUntil([&] { return heard().second > 0.6F; }));
}

TEST_F(PulseSoundsTest, anUnknownNamePlaysNothing)
{
    listen();
    sounds->play("Boing");
    const std::size_t then = recorder.buffers();
    ASSERT_TRUE(loop.runUntil([&] { return recorder.buffers() > then + 10; }));
    EXPECT_EQ(heard().first, 0);
}

TEST_F(PulseSoundsTest, withoutAServerThereIsNoSoundAndNoError)
{
    server.emplace();
    context.emplace();
    sounds.emplace(*context);
    sounds->play("Tink");
    loop.runFor(200ms);
    server->start();
    loop.runFor(200ms);
    sounds->play("Tink");
    server->kill();
    loop.runFor(200ms);
}

TEST_F(PulseSoundsTest, aSoundWaitsForACaptureThatIsBeingStarted)
{
    std::shared_ptr<const void> hold; // of the sound thread
    server.emplace();
    server->start();
    context.emplace();
    sounds.emplace(*context);
    context->thread().post([&] { hold = context->holdOtherWork(); });
    sounds->play("Funk");
    loop.runFor(300ms);
    EXPECT_EQ(server->playingStreams(), 0U);
    context->thread().post([&] { hold.reset(); });
    EXPECT_TRUE(loop.runUntil([&] {
        loop.post([] {});
        return server->playingStreams() == 1;
    }));
    sounds.reset();
    context.reset();
}

TEST_F(PulseSoundsTest, itCanBeDestroyedAtAnyMoment)
{
    server.emplace();
    server->start();
    for (int round = 0; round < 20; ++round) {
        context.emplace();
        sounds.emplace(*context);
        loop.runFor(std::chrono::milliseconds(20));
        sounds->play("Funk");
        sounds->play("Tink");
        loop.runFor(std::chrono::milliseconds(8 * round));
        sounds.reset();
        context.reset();
    }
}

} // namespace
} // namespace vorlin
