#include "PulseAudioInputFixture.h"

#include "Platform/Shared/Soxr/SoxrConverter.h"
#include "SecondRecorder.h"

#include <algorithm>
#include <atomic>
#include <iostream>
#include <optional>
#include <utility>

namespace vorlin {
namespace {

using CaptureCompletenessTest = PulseAudioInputTest;

/// Frames of distinct, rising samples, none of them zero; channels differ in sign and size.
std::vector<float> ramp(std::size_t frames, std::uint32_t channels)
{
    std::vector<float> samples;
    samples.reserve(frames * channels);
    for (std::size_t i = 1; i <= frames; ++i) {
        for (std::uint32_t channel = 0; channel < channels; ++channel) {
            const float value = static_cast<float>(i) / 16777216.0F;
            samples.push_back(channel == 0 ? value : -value / 2);
        }
    }
    return samples;
}

/// On a busy machine a server loses audio itself; a take in which it did says nothing about us.
constexpr int mostTakes = 20;

/// The first of the samples played that is not where it should be among those heard, if any.
std::optional<std::size_t> firstLost(const std::vector<float>& played,
                                     const std::vector<float>& heard)
{
    const auto isSound = [](float sample) { return sample != 0; };
    const auto first = std::find_if(heard.begin(), heard.end(), isSound);
    const auto last = std::find_if(heard.rbegin(), heard.rend(), isSound).base();
    const auto [wrong, wanted] =
        std::mismatch(std::min(first, last), last, played.begin(), played.end());
    if (wrong == last && wanted == played.end()) {
        return std::nullopt;
    }
    return static_cast<std::size_t>(wanted - played.begin());
}

struct MicrophoneFormat {
    PrivateSoundServer::Kind server;
    std::uint32_t rate;
    std::uint32_t channels;
};

class CaptureCompleteness : public PulseAudioInputTest,
                            public testing::WithParamInterface<MicrophoneFormat> {
protected:
    struct Take {
        std::vector<float> ours;
        std::vector<float> second;
    };

    /// Plays `samples` while our capture runs from before the first to past the last, a second
    /// recorder beside it.
    void record(const std::vector<float>& samples, Take& take)
    {
        const auto [kind, rate, channels] = GetParam();
        Recorder ours(loop);
        const auto started = follow(loop, input->start(ours.tap(), [this](const auto& reason) {
            failures.push_back(reason);
        }));
        ASSERT_TRUE(loop.runUntil([&] { return started->settled && ours.buffers() > 0; }));
        ASSERT_TRUE(started->done());
        SecondRecorder second(rate, channels);
        {
            MicrophonePlayer player(samples, rate, channels);
            player.drain(); // returns when the last sample has been heard
        }
        ASSERT_TRUE(stop());
        EXPECT_TRUE(failures.empty());
        for (const auto& format : ours.formats()) {
            ASSERT_EQ(format, (AudioFormat{SampleType::float32, static_cast<double>(rate), channels,
                                           true}));
        }
        take = {ours.samples(), second.untilSilence()};
    }
};

TEST_P(CaptureCompleteness, everySampleFromTheFirstBufferToTheReleaseArrivesInOrder)
{
    const auto [kind, rate, channels] = GetParam();
    ASSERT_TRUE(PrivateSoundServer::isInstalled(kind)) << "scripts/install-packages brings it";
    begin({.kind = kind, .rate = rate, .channels = channels});
    const auto played = ramp(rate * 6 / 5, channels);
    for (int i = 0; i < mostTakes; ++i) {
        Take take;
        ASSERT_NO_FATAL_FAILURE(record(played, take));
        const auto lost = firstLost(played, take.ours);
        if (!lost) {
            return;
        }
        ASSERT_TRUE(firstLost(played, take.second))
            << "sample " << *lost << " of " << played.size() << " was lost, not by the server";
        std::cout << "the sound server lost a part of take " << i + 1 << '\n';
    }
    FAIL() << "the sound server loses audio every time";
}

TEST_P(CaptureCompleteness, theConverterGivesTheLengthThatTheRatesImply)
{
    const auto [kind, rate, channels] = GetParam();
    ASSERT_TRUE(PrivateSoundServer::isInstalled(kind)) << "scripts/install-packages brings it";
    begin({.kind = kind, .rate = rate, .channels = channels});
    SoxrConverters converters;
    const AudioFormat target{SampleType::float32, 16000, 1, false};
    const auto converter =
        converters.make({SampleType::float32, static_cast<double>(rate), channels, true}, target);
    ASSERT_TRUE(converter);
    // Called on the capture thread; read after the stop.
    std::size_t framesIn = 0;
    std::size_t framesOut = 0;
    auto tap = [&](const PCMBuffer& buffer) {
        framesIn += buffer.frameLength();
        PCMBuffer output(target, buffer.frameLength() * 16000 / rate + 64);
        EXPECT_TRUE(converter->convert(buffer, output));
        framesOut += output.frameLength();
        recorder.tap()(buffer);
    };
    const auto started = follow(loop, input->start(tap, nullptr));
    ASSERT_TRUE(runUntilBuffers(3));
    ASSERT_TRUE(stop());
    const double ratio = 16000.0 / rate;
    const auto spoken = static_cast<double>(framesIn) - rate / 5.0;
    EXPECT_GE(static_cast<double>(framesOut), spoken * ratio);
    EXPECT_LE(static_cast<double>(framesOut), static_cast<double>(framesIn) * ratio + 1);
}

TEST_P(CaptureCompleteness, buffersAreFullUntilTheStopWhichEndsInSilence)
{
    const auto [kind, rate, channels] = GetParam();
    ASSERT_TRUE(PrivateSoundServer::isInstalled(kind)) << "scripts/install-packages brings it";
    begin({.kind = kind, .rate = rate, .channels = channels});
    ASSERT_TRUE(startAndRun());
    MicrophonePlayer player(std::vector<float>(std::size_t{rate} * channels, 0.5F), rate, channels);
    ASSERT_TRUE(loop.runUntil([&] {
        const auto samples = recorder.samples();
        return !samples.empty() && samples.back() != 0;
    }));
    const std::size_t before = recorder.buffers();
    ASSERT_TRUE(stop());
    const auto lengths = recorder.lengths();
    for (std::size_t i = 0; i < before; ++i) {
        ASSERT_EQ(lengths[i], AudioInput::bufferFrames);
    }
    EXPECT_EQ(*std::max_element(lengths.begin(), lengths.end()), AudioInput::bufferFrames);
    const auto samples = recorder.samples();
    const auto silent =
        std::find_if(samples.rbegin(), samples.rend(), [](float s) { return s != 0; }) -
        samples.rbegin();
    EXPECT_GE(static_cast<std::uint32_t>(silent), rate / 5 * channels);
}

constexpr auto pulseAudio = PrivateSoundServer::Kind::pulseAudio;
constexpr auto pipeWire = PrivateSoundServer::Kind::pipeWire;

INSTANTIATE_TEST_SUITE_P(
    Microphones, CaptureCompleteness,
    testing::Values(MicrophoneFormat{pulseAudio, 8000, 1}, MicrophoneFormat{pulseAudio, 16000, 1},
                    MicrophoneFormat{pulseAudio, 44100, 2}, MicrophoneFormat{pulseAudio, 48000, 2},
                    MicrophoneFormat{pulseAudio, 48000, 1}, MicrophoneFormat{pulseAudio, 96000, 2},
                    MicrophoneFormat{pipeWire, 48000, 2}),
    [](const auto& each) {
        return (each.param.server == pulseAudio ? "PulseAudio" : "PipeWire") +
               std::to_string(each.param.rate) + "Hz" + std::to_string(each.param.channels) + "ch";
    });

class CaptureOfALateSource : public PulseAudioInputTest {
protected:
    /// Captures that each stop in the middle of a ramp, at several places within a fragment.
    void expectWhatIsPlayedAtTheStop(std::initializer_list<int> millisecondsIntoFragment)
    {
        for (const int milliseconds : millisecondsIntoFragment) {
            Recorder heard(loop);
            const auto started = follow(loop, input->start(heard.tap(), nullptr));
            ASSERT_TRUE(loop.runUntil([&] { return started->settled; }));
            MicrophonePlayer player(ramp(144000, 2), 48000, 2);
            ASSERT_TRUE(loop.runUntil([&] {
                const auto samples = heard.samples();
                return !samples.empty() && samples.back() != 0;
            }));
            loop.runFor(std::chrono::milliseconds(milliseconds));
            const std::uint64_t played = player.framesPlayed();
            ASSERT_GT(played, 0U);
            ASSERT_TRUE(stop());
            const auto samples = heard.samples();
            const auto last =
                std::find_if(samples.rbegin(), samples.rend(), [](float s) { return s != 0; });
            ASSERT_NE(last, samples.rend());
            // The second channel of a frame is minus half of the first.
            EXPECT_GE(-2 * *last * 16777216.0F, static_cast<float>(played)) << milliseconds;
        }
    }
};

TEST_F(CaptureOfALateSource, whatIsPlayedWhenTheKeyIsReleasedIsCaptured)
{
    begin();
    expectWhatIsPlayedAtTheStop({0, 11, 22, 33, 44});
}

TEST_F(CaptureOfALateSource, whatIsStillOnItsWayWhenTheKeyIsReleasedIsCaptured)
{
    begin({.hasMicrophone = false});
    // Whoever listens to a sink that may take back what it was given hears it late.
    server->control("load-module module-null-sink sink_name=vmic rate=48000 channels=2"
                    " format=float32le");
    server->control("load-module module-remap-source master=vmic.monitor source_name=mic");
    ASSERT_NE(server->control("info").find("Default Source: mic"), std::string::npos);
    input.reset();
    connect();
    expectWhatIsPlayedAtTheStop({10, 30});
}

TEST_F(CaptureCompletenessTest, digitalSilenceIsExactZeros)
{
    begin();
    ASSERT_TRUE(startAndRun());
    ASSERT_TRUE(runUntilBuffers(35));
    ASSERT_TRUE(stop());
    for (const float sample : recorder.samples()) {
        ASSERT_EQ(sample, 0.0F);
    }
}

class CaptureBehindABlockedTap : public PulseAudioInputTest {
protected:
    /// What our capture, whose tap is blocked until all of `samples` was played, has heard of
    /// them, and what a second recorder has.
    void record(const std::vector<float>& samples, std::vector<float>& ours,
                std::vector<float>& seconds)
    {
        std::atomic<bool> blocked = true;
        Recorder heard(loop);
        const auto started = follow(loop, input->start(
                                              [&, keep = heard.tap()](const PCMBuffer& buffer) {
                                                  blocked.wait(true);
                                                  keep(buffer);
                                              },
                                              nullptr));
        ASSERT_TRUE(loop.runUntil([&] { return started->settled; }));
        SecondRecorder second(48000, 2);
        {
            MicrophonePlayer player(samples, 48000, 2);
            player.drain();
        }
        blocked = false;
        blocked.notify_all();
        ASSERT_TRUE(stop());
        ours = heard.samples();
        seconds = second.untilSilence();
    }
};

TEST_F(CaptureBehindABlockedTap, losesNothing)
{
    begin();
    const auto played = ramp(120000, 2);
    for (int i = 0; i < mostTakes; ++i) {
        std::vector<float> ours;
        std::vector<float> second;
        ASSERT_NO_FATAL_FAILURE(record(played, ours, second));
        const auto lost = firstLost(played, ours);
        if (!lost) {
            return;
        }
        ASSERT_TRUE(firstLost(played, second))
            << "sample " << *lost << " of " << played.size() << " was lost, not by the server";
    }
    FAIL() << "the sound server loses audio every time";
}

} // namespace
} // namespace vorlin
