// The local speech engine with a small trained model: recorded speech in, text out, through the
// real engine process, on virtual time.

#include "Parakeet/LengthProof.h"
#include "Parakeet/ParakeetDecoding.h"
#include "Parakeet/ParakeetTranscriber.h"
#include "Platform/Linux/Desktop/XDGFolders.h"
#include "Platform/Linux/Engine/EngineFixture.h"
#include "SpokenUtterances.h"
#include "fakes/FakeAudioConverters.h"
#include "simulation/SimulatedLoop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <span>

namespace vorlin::test {
namespace {

using std::chrono::milliseconds;

/// Loads before it returns, so that a simulated loop need not wait for another thread.
class LoadedAtOnce final : public MLModels {
public:
    explicit LoadedAtOnce(MLModels& models) : models(models) {}

    Completion<std::unique_ptr<MLModel>> load(const std::filesystem::path& bundle,
                                              const LoadOptions& options) override
    {
        Completion<std::unique_ptr<MLModel>> loaded;
        try {
            loaded.completer().complete(waitFor(models.load(bundle, options)));
        } catch (...) {
            loaded.completer().fail(std::current_exception());
        }
        return loaded;
    }

private:
    MLModels& models;
};

class TinySpeechTest : public testing::Test {
protected:
    void start()
    {
        transcriber = std::make_shared<ParakeetTranscriber>(tinyModel(), runtime, converters, loop);
        transcriber->setOnText([this](const std::string& text) { texts.push_back(text); });
        spawn(loop, transcriber->prepare());
        loop.runReady();
    }

    /// Plays audio at 16 kHz in buffers of 100 ms, while as much time passes.
    void play(std::span<const float> samples)
    {
        while (!samples.empty()) {
            const auto piece = samples.first(std::min<std::size_t>(1600, samples.size()));
            PCMBuffer buffer({SampleType::float32, 16000, 1, false},
                             static_cast<std::uint32_t>(piece.size()));
            buffer.setFrameLength(static_cast<std::uint32_t>(piece.size()));
            std::memcpy(buffer.plane(0).data(), piece.data(), piece.size_bytes());
            transcriber->feed(buffer);
            loop.advance(milliseconds(100));
            samples = samples.subspan(piece.size());
        }
    }
    void pause(std::size_t count) { play(std::vector<float>(count)); }

    std::string finish()
    {
        std::string text;
        spawn(loop, [](Transcriber& ending, std::string& into) -> Task<void> {
            into = co_await ending.finish();
        }(*transcriber, text));
        loop.runReady();
        EXPECT_EQ(transcriber->failure(), std::nullopt);
        return text;
    }

    ThreadPool workers{[] {}};
    EngineModels models{workers, builtEngine()};
    LoadedAtOnce loadedAtOnce{models};
    std::shared_ptr<XDGFolders> folders = std::make_shared<XDGFolders>("/nowhere");
    FakeAudioConverters converters;
    SimulatedLoop loop;
    std::shared_ptr<ParakeetRuntime> runtime =
        std::make_shared<ParakeetRuntime>(loadedAtOnce, folders, loop, loop);
    std::shared_ptr<ParakeetTranscriber> transcriber;
    std::vector<std::string> texts;
};

TEST_F(TinySpeechTest, everyUtteranceGivesItsTokens)
{
    std::shared_ptr<ParakeetLoaded> loaded;
    spawn(loop, [](ParakeetSource source, std::shared_ptr<ParakeetLoaded>& into) -> Task<void> {
        into = co_await loadParakeet(std::move(source));
    }({loadedAtOnce, folders, loop, loop, tinyModel(), WorkPriority::normal, [] {}, {}}, loaded));
    loop.runReady();
    const auto utterances = spokenUtterances();
    ASSERT_EQ(utterances.size(), 22U);
    for (const auto& utterance : utterances) {
        std::vector<std::int64_t> tokens;
        std::string text;
        spawn(loop,
              [](const SpokenUtterance& spoken, ParakeetLoaded& with,
                 std::vector<std::int64_t>& found, std::string& heard) -> Task<void> {
                  const auto samples = spoken.samples();
                  MLFeatures audio;
                  audio["audio_signal"] = MultiArray(MLElementType::float32, {1, 240000});
                  std::ranges::copy(samples, audio["audio_signal"].as<float>());
                  audio["audio_length"] = MultiArray(MLElementType::int32, {1});
                  *audio["audio_length"].as<std::int32_t>() =
                      static_cast<std::int32_t>(samples.size());
                  const auto mel =
                      co_await with.preprocessor->predict(audio, WorkPriority::normal, {});
                  const auto encoded =
                      co_await with.encoder->predict(mel, WorkPriority::normal, {});
                  const PredictOptions options;
                  found = co_await greedyTDT(
                      encoded.at("encoder"),
                      static_cast<std::int64_t>(encoded.at("encoder_length").number(0)), with,
                      options);
                  heard = co_await decode(samples, with, options);
              }(utterance, *loaded, tokens, text));
        loop.runReady();
        EXPECT_EQ(tokens, utterance.tokens) << utterance.file;
        EXPECT_EQ(text, utterance.text);
    }
}

TEST_F(TinySpeechTest, everyUtteranceGivesItsTextAtTheShortestLengthThatIsProved)
{
    std::shared_ptr<ParakeetLoaded> loaded;
    LengthProof proof;
    spawn(loop,
          [](SimulatedLoop& turns, ParakeetSource source, LengthProof& proving,
             std::shared_ptr<ParakeetLoaded>& into) -> Task<void> {
              into = co_await loadParakeet(std::move(source));
              const auto turn = [&turns] {
                  Completion<Done> come;
                  turns.post([completer = come.completer()] { completer.complete({}); });
                  return come;
              };
              while (!proving.isDone()) {
                  co_await proving.proveNext(*into, {}, turn);
              }
          }(loop, {loadedAtOnce, folders, loop, loop, tinyModel(), WorkPriority::normal, [] {}, {}},
                                                    proof, loaded));
    loop.runReady();
    EXPECT_EQ(proof.result(), everyShorterLength());
    loaded->lengths = proof.result();
    for (const auto& utterance : spokenUtterances()) {
        std::string text;
        spawn(loop,
              [](const SpokenUtterance& spoken, ParakeetLoaded& with,
                 std::string& heard) -> Task<void> {
                  const PredictOptions options;
                  const auto samples = spoken.samples();
                  heard = co_await decode(samples, with, options);
              }(utterance, *loaded, text));
        loop.runReady();
        EXPECT_EQ(text, utterance.text) << utterance.file;
    }
}

TEST_F(TinySpeechTest, whatIsSpokenIsTheTextAndDraftsGrowBeforeTheRelease)
{
    for (const auto& utterance : spokenUtterances()) {
        texts.clear();
        start();
        play(utterance.samples());
        EXPECT_GE(texts.size(), 2U) << "drafts";
        pause(3200);
        EXPECT_EQ(finish(), utterance.text);
    }
}

TEST_F(TinySpeechTest, aLongDictationIsCutAtPausesAndKeepsEveryWord)
{
    start();
    std::string expected;
    for (const auto& utterance : severalBy("slt")) { // each longer than 8 s
        play(utterance.samples());
        pause(8800); // more silence in front, and the small model mishears
        expected += (expected.empty() ? "" : " ") + utterance.text;
    }
    EXPECT_EQ(finish(), expected);
    // The final texts of several utterances, not one at the end.
    EXPECT_GT(
        std::ranges::count_if(texts, [](const std::string& text) { return text.ends_with('.'); }),
        3);
}

TEST_F(TinySpeechTest, whatHasNoPausesIsCutAtFourteenSecondsAndLosesWordsOnlyThere)
{
    start();
    std::vector<float> samples;
    std::string expected;
    for (const auto& utterance : severalBy("slt")) {
        for (const float sample : utterance.samples()) {
            samples.push_back(sample);
        }
        expected += (expected.empty() ? "" : " ") + utterance.text;
    }
    ASSERT_GT(samples.size(), 300000U);
    // A murmur below the words, above what counts as silence.
    for (std::size_t i = 0; i < samples.size(); ++i) {
        samples[i] += 0.012F * (i / 20 % 2 == 0 ? 1.0F : -1.0F);
    }
    play(samples);
    const std::string text = finish();
    EXPECT_EQ(text.substr(0, 60), expected.substr(0, 60));
    EXPECT_EQ(text.substr(text.size() - 20), expected.substr(expected.size() - 20));
}

TEST_F(TinySpeechTest, aCancelledDictationSaysNothingMoreAndTheNextIsWhole)
{
    const auto utterance = spokenUtterances().front();
    start();
    play(utterance.samples());
    transcriber->cancel();
    texts.clear();
    loop.advance(std::chrono::seconds(5));
    EXPECT_TRUE(texts.empty());
    start();
    play(utterance.samples());
    EXPECT_EQ(finish(), utterance.text);
}

TEST_F(TinySpeechTest, theEngineProcessGoesWithTheIdleUnloadAndComesBack)
{
    const auto utterance = spokenUtterances().front();
    start();
    play(utterance.samples());
    EXPECT_EQ(finish(), utterance.text);
    EXPECT_EQ(children().size(), 1U);
    transcriber.reset();
    loop.advance(std::chrono::seconds(601));
    EXPECT_TRUE(eventually([] { return children().empty(); }));
    start();
    play(utterance.samples());
    EXPECT_EQ(finish(), utterance.text);
}

} // namespace
} // namespace vorlin::test
