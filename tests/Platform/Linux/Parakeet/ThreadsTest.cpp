// The local engine with every thread that it has in the program: a capture thread, the workers,
// the engine process's watcher, the main loop.

#include "Parakeet/ParakeetTranscriber.h"
#include "Platform/Linux/Desktop/XDGFolders.h"
#include "Platform/Linux/Engine/EngineFixture.h"
#include "Platform/RunUntil.h"
#include "Platform/Shared/QtMainLoop.h"
#include "SpokenUtterances.h"
#include "fakes/FakeAudioConverters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <random>
#include <thread>

namespace vorlin::test {
namespace {

/// Feeds samples at 16 kHz in buffers of 20 ms, as fast as they are taken.
void capture(Transcriber& transcriber, const std::vector<float>& samples)
{
    for (std::size_t at = 0; at < samples.size(); at += 320) {
        const auto count = std::min<std::size_t>(320, samples.size() - at);
        PCMBuffer buffer({SampleType::float32, 16000, 1, false}, 320);
        buffer.setFrameLength(static_cast<std::uint32_t>(count));
        std::memcpy(buffer.plane(0).data(), samples.data() + at, count * sizeof(float));
        transcriber.feed(buffer);
    }
}

TEST(ParakeetThreads, dictationsEndedAtAnyMomentAreWholeOrSilent)
{
    QtMainLoop loop;
    ThreadPool workers([] {});
    const auto folders = std::make_shared<XDGFolders>("/nowhere");
    EngineModels models(workers, builtEngine());
    auto runtime = std::make_shared<ParakeetRuntime>(models, folders, loop, workers);
    FakeAudioConverters converters;
    const auto utterances = spokenUtterances();
    std::mt19937 random(7);
    const auto upTo = [&](int most) { return std::uniform_int_distribution(0, most)(random); };

    for (int dictation = 0; dictation < 12; ++dictation) {
        const auto& utterance = utterances[static_cast<std::size_t>(upTo(15))];
        auto transcriber =
            std::make_shared<ParakeetTranscriber>(tinyModel(), runtime, converters, loop);
        transcriber->setOnText([](const std::string&) {});
        spawn(loop, transcriber->prepare());
        const auto samples = utterance.samples();
        {
            std::jthread microphone([&] { capture(*transcriber, samples); });
            if (dictation % 3 == 0) { // into the capture
                runUntil([&] { return upTo(20) == 0; });
                transcriber->cancel();
            }
        }
        if (dictation % 3 == 0) {
            continue;
        }
        if (dictation % 3 == 1) { // into a draft
            const auto moment = loop.now() + std::chrono::milliseconds(680 + upTo(60));
            runUntil([&] { return loop.now() > moment; });
        }
        std::optional<std::string> text;
        spawn(loop,
              [](std::shared_ptr<Transcriber> ending, std::optional<std::string>& into)
                  -> Task<void> { into = co_await ending->finish(); }(transcriber, text));
        ASSERT_TRUE(runUntil([&] { return text.has_value(); }));
        EXPECT_EQ(text, utterance.text);
        EXPECT_EQ(transcriber->failure(), std::nullopt);
        EXPECT_EQ(transcriber->queued(), 0);
    }
    runtime.reset();
    workers.close();
}

} // namespace
} // namespace vorlin::test
