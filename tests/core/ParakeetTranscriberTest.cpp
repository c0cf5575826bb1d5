#include "Parakeet/ParakeetTranscriber.h"
#include "Parakeet/Segmenter.h"
#include "ParakeetFixture.h"
#include "fakes/FakeAudioConverters.h"
#include "fakes/FakeAudioInput.h"

namespace vorlin {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

class ParakeetTranscriberTest : public ParakeetFixture {
protected:
    void start(const std::filesystem::path& folder = "/models/a")
    {
        transcriber = std::make_shared<ParakeetTranscriber>(folder, runtime, converters, loop);
        transcriber->setOnText([this](const std::string& text) { texts.push_back(text); });
        prepare();
    }

    void prepare()
    {
        spawn(loop, transcriber->prepare());
        loop.runReady();
    }

    /// Audio at 16 kHz arrives in buffers of 100 ms, without time passing.
    void hear(float amplitude, int count)
    {
        for (; count > 0; count -= 1600) {
            transcriber->feed(FakeAudioInput::buffer(
                amplitude, static_cast<std::uint32_t>(std::min(count, 1600)), 16000));
        }
    }
    void speak(int word, int count = 8000) { hear(FakeParakeet::amplitude(word), count); }
    void pause(int count = 8000) { hear(0, count); }
    /// An utterance of its own: `word`, long enough for the pause behind it to end it.
    void utter(int word)
    {
        speak(word, 128000);
        pause();
    }

    std::shared_ptr<Outcome<std::string>> finish()
    {
        return outcomeOf(loop, transcriber->finish());
    }
    std::string finished()
    {
        const auto outcome = finish();
        loop.runReady();
        EXPECT_TRUE(outcome->done());
        return outcome->value.value_or("failed: " + outcome->error);
    }

    void everyPredictionTakes(Duration time)
    {
        for (auto& [name, script] : models.scripts) {
            script.takes = time;
        }
    }

    FakeAudioConverters converters;
    std::vector<std::string> texts;
    std::shared_ptr<ParakeetTranscriber> transcriber;
};

using Texts = std::vector<std::string>;

TEST_F(ParakeetTranscriberTest, aDictationWithoutSpeechIsEmptyAndSaysNothing)
{
    start();
    pause(160000);
    loop.advance(seconds(5));
    EXPECT_EQ(finished(), "");
    EXPECT_TRUE(texts.empty());
    EXPECT_EQ(transcriber->failure(), std::nullopt);
}

TEST_F(ParakeetTranscriberTest, preparingLoadsTheModelsBeforeAnybodySpeaks)
{
    start();
    EXPECT_EQ(models.alive(), 4U);
    EXPECT_TRUE(models.predictions.empty());
    utter(11);
    EXPECT_EQ(finished(), "w11");
    EXPECT_EQ(models.loads.size(), 4U);
}

TEST_F(ParakeetTranscriberTest, preparingWaitsForNoLoad)
{
    models.scripts["Encoder.mlmodelc"].loadTakes = seconds(8);
    transcriber = std::make_shared<ParakeetTranscriber>(a, runtime, converters, loop);
    const auto prepared = outcomeOf(loop, [](ParakeetTranscriber& engine) -> Task<bool> {
        co_await engine.prepare();
        co_return true;
    }(*transcriber));
    loop.runReady();
    EXPECT_TRUE(prepared->done());
    EXPECT_LT(models.alive(), 4U);
}

TEST_F(ParakeetTranscriberTest, draftsGiveWayToAllOtherWorkAndFinalTextsToNone)
{
    start();
    speak(21, 120000);
    loop.advance(milliseconds(700));
    EXPECT_EQ(models.predictionPriorities, std::set{WorkPriority::background});
    models.predictionPriorities.clear();
    speak(22);
    pause();
    loop.runReady();
    EXPECT_EQ(texts.back(), "w21 w22");
    EXPECT_EQ(models.predictionPriorities, std::set{WorkPriority::normal});
    models.predictionPriorities.clear();
    speak(23);
    EXPECT_EQ(finished(), "w21 w22 w23");
    EXPECT_EQ(models.predictionPriorities, std::set{WorkPriority::normal});
}

TEST_F(ParakeetTranscriberTest, utterancesFollowOneAnotherInTheRunningText)
{
    start();
    for (const int word : {11, 12, 13}) {
        utter(word);
        loop.runReady();
    }
    EXPECT_EQ(texts, (Texts{"w11", "w11 w12", "w11 w12 w13"}));
    EXPECT_EQ(finished(), "w11 w12 w13");
    EXPECT_EQ(texts.size(), 3U);
}

TEST_F(ParakeetTranscriberTest, theUtteranceAtTheReleaseIsFlushedAndTranscribed)
{
    start();
    utter(11);
    speak(12);
    EXPECT_EQ(finished(), "w11 w12");
}

TEST_F(ParakeetTranscriberTest, anUtteranceOfNoTextAddsNothing)
{
    start();
    utter(11);
    utter(5); // too quiet to be a word, loud enough to be speech
    utter(12);
    EXPECT_EQ(finished(), "w11 w12");
    EXPECT_EQ(texts, (Texts{"w11", "w11 w12"}));
}

TEST_F(ParakeetTranscriberTest, aDraftShowsTheUtteranceBehindTheFinishedText)
{
    start();
    speak(21);
    loop.advance(milliseconds(700));
    EXPECT_EQ(texts, Texts{"w21"});
    EXPECT_EQ(models.lastPriority, WorkPriority::background);
    speak(22);
    loop.advance(milliseconds(699));
    EXPECT_EQ(texts.size(), 1U);
    loop.advance(milliseconds(1));
    EXPECT_EQ(texts.back(), "w21 w22");
    speak(23, 120000);
    pause();
    loop.runReady();
    EXPECT_EQ(texts.back(), "w21 w22 w23");
    EXPECT_EQ(models.lastPriority, WorkPriority::normal);
    speak(24);
    loop.advance(milliseconds(700));
    EXPECT_EQ(texts.back(), "w21 w22 w23 w24");
}

TEST_F(ParakeetTranscriberTest, noDraftIsMadeOfTooLittleOrOfSilence)
{
    start();
    hear(0.3F, 3840);
    loop.advance(milliseconds(700));
    EXPECT_TRUE(models.predictions.empty());
    pause(160);
    hear(0, 160); // silence counts, once there was speech
    loop.advance(milliseconds(700));
    EXPECT_FALSE(models.predictions.empty());
}

TEST_F(ParakeetTranscriberTest, noDraftIsMadeWhileAnUtteranceWaits)
{
    start();
    everyPredictionTakes(seconds(1));
    utter(11);
    speak(12);
    loop.advance(milliseconds(2500)); // three moments for drafts
    const std::vector<std::string> one{"Preprocessor.mlmodelc", "Encoder.mlmodelc",
                                       "Decoder.mlmodelc"};
    EXPECT_EQ(models.predictions, one);
    EXPECT_EQ(transcriber->queued(), 1);
    loop.advance(seconds(10));
    EXPECT_EQ(transcriber->queued(), 0);
    EXPECT_EQ(texts, (Texts{"w11", "w11 w12"}));
}

TEST_F(ParakeetTranscriberTest, aDraftOfAnUtteranceThatWasCutMeanwhileIsDropped)
{
    start();
    speak(21, 127000);
    pause(3200);
    models.scripts["Encoder.mlmodelc"].takes = seconds(1);
    loop.advance(milliseconds(800)); // the draft is at its encoder
    EXPECT_EQ(models.predictions.back(), "Encoder.mlmodelc");
    pause(6400); // cut, and queued
    loop.advance(seconds(20));
    EXPECT_EQ(texts, Texts{"w21"}); // the final text alone
}

TEST_F(ParakeetTranscriberTest, aDraftIsDroppedAlsoWhenItsCutQueuedNothing)
{
    start();
    // A click, a long silence: at its end the cut finds too little speech to queue anything.
    hear(0.3F, 640);
    pause(126400);
    models.scripts["Encoder.mlmodelc"].takes = seconds(1);
    models.scripts["JointDecisionv3.mlmodelc"].compute = [](const MLFeatures&) {
        return MLFeatures{{"token_id", integer(33)}, {"duration", integer(1)}};
    };
    models.scripts["Preprocessor.mlmodelc"].compute = [](const MLFeatures&) {
        return MLFeatures{{"mel", arrayOf({1, 1, 1}, {33})}, {"mel_length", integer(1)}};
    };
    loop.advance(milliseconds(800));
    ASSERT_FALSE(models.predictions.empty());
    EXPECT_EQ(models.predictions.back(), "Encoder.mlmodelc");
    pause(1600); // 128640: long enough to end at this pause
    loop.advance(seconds(20));
    EXPECT_TRUE(texts.empty());
    EXPECT_EQ(models.stopped, 0);
}

TEST_F(ParakeetTranscriberTest, aFailedDraftIsNoFailure)
{
    start();
    models.scripts["Encoder.mlmodelc"].compute = [](const MLFeatures&) -> MLFeatures {
        throw std::runtime_error("no");
    };
    speak(21);
    loop.advance(milliseconds(800));
    EXPECT_TRUE(texts.empty());
    EXPECT_EQ(transcriber->failure(), std::nullopt);
    FakeParakeet::install(models);
    EXPECT_EQ(finished(), "w21");
    EXPECT_EQ(transcriber->failure(), std::nullopt);
}

TEST_F(ParakeetTranscriberTest, theReleaseStopsARunningDraftAtOnce)
{
    start();
    speak(21);
    models.scripts["Encoder.mlmodelc"].takes = seconds(5);
    loop.advance(milliseconds(800));
    models.scripts["Encoder.mlmodelc"].takes = Duration::zero();
    EXPECT_EQ(finished(), "w21"); // without time passing
    EXPECT_EQ(models.stopped, 1);
    EXPECT_TRUE(texts.size() == 1 && texts[0] == "w21");
}

TEST_F(ParakeetTranscriberTest, aQueuedUtteranceStopsARunningDraftAtOnce)
{
    start();
    speak(21, 128000);
    models.scripts["Encoder.mlmodelc"].takes = seconds(5);
    loop.advance(milliseconds(800));
    models.scripts["Encoder.mlmodelc"].takes = Duration::zero();
    pause();
    loop.runReady();
    EXPECT_EQ(models.stopped, 1);
    EXPECT_EQ(texts, Texts{"w21"});
}

TEST_F(ParakeetTranscriberTest, cancellingStopsDraftsAndFinalTranscriptionsAtOnce)
{
    start();
    speak(21);
    models.scripts["Encoder.mlmodelc"].takes = seconds(5);
    loop.advance(milliseconds(800));
    transcriber->cancel();
    loop.runReady();
    EXPECT_EQ(models.stopped, 1);

    start();
    utter(11);
    utter(12);
    loop.advance(milliseconds(100));
    transcriber->cancel();
    loop.runReady();
    EXPECT_EQ(models.stopped, 2);
    EXPECT_EQ(transcriber->queued(), 0);
    loop.advance(seconds(30));
    EXPECT_TRUE(texts.empty());
}

TEST_F(ParakeetTranscriberTest, audioAfterACancelIsForNobody)
{
    start();
    transcriber->cancel();
    utter(11);
    loop.advance(seconds(5));
    EXPECT_TRUE(models.predictions.empty());
    EXPECT_EQ(transcriber->queued(), 0);
}

TEST_F(ParakeetTranscriberTest, aFailedUtteranceLeavesItsGapAndItsMessage)
{
    start();
    utter(11);
    loop.runReady();
    const auto encode = models.scripts["Encoder.mlmodelc"].compute;
    models.scripts["Encoder.mlmodelc"].compute = [](const MLFeatures&) -> MLFeatures {
        throw std::runtime_error("The model could not be run.");
    };
    utter(12);
    loop.runReady();
    models.scripts["Encoder.mlmodelc"].compute = encode;
    utter(13);
    EXPECT_EQ(finished(), "w11 w13");
    EXPECT_EQ(transcriber->failure(), "The model could not be run.");
    EXPECT_EQ(texts, (Texts{"w11", "w11 w13"}));
}

TEST_F(ParakeetTranscriberTest, aFolderThatCannotBeLoadedIsTheFailureAndTheTextIsEmpty)
{
    start("/models/nothing");
    speak(21);
    EXPECT_EQ(finished(), "");
    EXPECT_EQ(transcriber->failure(), "parakeet_v3_vocab.json cannot be read.");
}

TEST_F(ParakeetTranscriberTest, aReleaseDuringTheFirstLoadWaitsForItAndLosesNothing)
{
    models.scripts["Encoder.mlmodelc"].loadTakes = seconds(8);
    start();
    speak(21);
    speak(22);
    const auto outcome = finish();
    loop.advance(milliseconds(7999));
    EXPECT_FALSE(outcome->done());
    loop.advance(milliseconds(1));
    EXPECT_EQ(outcome->value, "w21 w22");
}

TEST_F(ParakeetTranscriberTest, theEngineLostInTheMiddleCostsThatUtteranceOnly)
{
    start();
    utter(11);
    loop.runReady();
    models.scripts["Encoder.mlmodelc"].takes = seconds(1);
    utter(12);
    loop.advance(milliseconds(500));
    models.lose();
    loop.runReady();
    utter(13);
    const auto outcome = finish();
    loop.advance(seconds(5));
    EXPECT_EQ(outcome->value, "w11 w13");
    EXPECT_EQ(transcriber->failure(), "The speech engine stopped unexpectedly.");
}

TEST_F(ParakeetTranscriberTest, finishingWhatWasNeverPreparedIsEmpty)
{
    transcriber = std::make_shared<ParakeetTranscriber>(a, runtime, converters, loop);
    utter(11);
    speak(21);
    EXPECT_EQ(finished(), "");
    loop.advance(seconds(5));
    EXPECT_TRUE(models.loads.empty());
}

TEST_F(ParakeetTranscriberTest, aBufferThatCannotBeConvertedIsDropped)
{
    start();
    speak(21);
    converters.conversionFails = true;
    speak(22);
    converters.conversionFails = false;
    speak(23);
    EXPECT_EQ(finished(), "w21 w23");
}

TEST_F(ParakeetTranscriberTest, anEmptyDraftIsTheFinishedTextAndASpace)
{
    start();
    utter(11);
    loop.runReady();
    hear(0.05F, 8000);
    loop.advance(milliseconds(700));
    EXPECT_EQ(texts, (Texts{"w11", "w11 "}));
}

TEST_F(ParakeetTranscriberTest, twoDictationsOfTwoEnginesDoNotMix)
{
    start("/models/a");
    models.scripts["Encoder.mlmodelc"].takes = seconds(2);
    utter(11);
    const auto first = transcriber;
    const auto firstText = finish();
    loop.advance(milliseconds(100));
    start("/models/b");
    speak(12);
    const auto secondText = finish();
    loop.advance(seconds(10));
    EXPECT_EQ(firstText->value, "w11");
    EXPECT_EQ(secondText->value, "w12");
    EXPECT_EQ(models.mostAtOnce, 1);
}

TEST_F(ParakeetTranscriberTest, anHourOfSpeechArrivesWholeAndInOrder)
{
    start();
    std::string expected;
    for (int i = 0; i < 60 * 60 / 9; ++i) {
        const int word = 10 + i * 7 % 90;
        utter(word);
        expected += (expected.empty() ? "" : " ") + FakeParakeet::word(word);
        loop.advance(seconds(1));
        EXPECT_EQ(transcriber->queued(), 0);
    }
    EXPECT_EQ(finished(), expected);
    EXPECT_EQ(models.loads.size(), 4U);
    EXPECT_EQ(texts.back(), expected);
    for (std::size_t i = 1; i < texts.size(); ++i) {
        EXPECT_TRUE(expected.starts_with(texts[i]));
    }
}

TEST_F(ParakeetTranscriberTest, aTranscriberThatIsDroppedEndsItsTasks)
{
    start();
    speak(21);
    transcriber.reset();
    loop.advance(seconds(2));
    const std::weak_ptr<ParakeetRuntime> gone = runtime;
    runtime.reset();
    EXPECT_TRUE(gone.expired());
    EXPECT_TRUE(texts.empty());
}

} // namespace
} // namespace vorlin
