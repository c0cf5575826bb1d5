#include "AppleTranscriber.h"
#include "fakes/FakeAudioConverters.h"
#include "fakes/FakeAudioInput.h"
#include "fakes/FakeSpeechAnalyzers.h"
#include "simulation/SimulatedLoop.h"

#include <gtest/gtest.h>

#include <vector>

namespace vorlin {
namespace {

class AppleTranscriberTest : public testing::Test {
protected:
    SimulatedLoop loop;
    FakeSpeechAnalyzers analyzers;
    FakeAudioConverters converters;
    std::shared_ptr<AppleTranscriber> transcriber =
        std::make_shared<AppleTranscriber>(analyzers, converters, "en-US");
    std::vector<std::string> texts;
    std::string error;
    bool prepared = false;
    std::optional<std::string> result;

    void prepare()
    {
        transcriber->setOnText([this](const std::string& text) { texts.push_back(text); });
        spawn(loop, prepareThen());
        loop.runReady();
    }
    void finish()
    {
        spawn(loop, finishThen());
        loop.runReady();
    }
    Task<void> prepareThen()
    {
        try {
            co_await transcriber->prepare();
            prepared = true;
        } catch (const std::exception& caught) {
            error = caught.what();
        }
    }
    Task<void> finishThen() { result = co_await transcriber->finish(); }
    FakeSpeechAnalyzers::Stream& stream() { return *analyzers.streams.back(); }
    void feed() { transcriber->feed(FakeAudioInput::buffer(0.1F, 4800)); }
};

TEST_F(AppleTranscriberTest, anUnsupportedLanguageFailsWithItsText)
{
    analyzers.locales.clear();
    prepare();
    EXPECT_EQ(error, "Speech recognition is unavailable for this language.");
    EXPECT_FALSE(prepared);
}

TEST_F(AppleTranscriberTest, aLanguageWithoutAModelIsToldWhichEngineKnowsIt)
{
    analyzers.locales.clear();
    analyzers.offered = {"en-US"};
    const auto told = [this](const std::string& language) {
        transcriber = std::make_shared<AppleTranscriber>(analyzers, converters, language);
        prepare();
        return error;
    };
    const std::string knows = ": NVIDIA Parakeet Redux (≈ 220 MB) knows it.";
    EXPECT_EQ(told("de-DE"), "Deutsch" + knows);
    EXPECT_EQ(told("en-GB"), "English (UK)" + knows);
    EXPECT_EQ(told("sv-SE"), "sv-SE" + knows);
    EXPECT_EQ(told("uk"), "uk" + knows);
    analyzers.offered->clear();
    EXPECT_EQ(told("it-IT"), "Italiano" + knows);
    EXPECT_FALSE(prepared);
}

TEST_F(AppleTranscriberTest, aLanguageThatNoEngineKnowsIsToldWhichOneThereIsInstead)
{
    analyzers.locales.clear();
    transcriber = std::make_shared<AppleTranscriber>(analyzers, converters, "ja-JP");
    const auto told = [this](std::vector<std::string> offered) {
        analyzers.offered = std::move(offered);
        prepare();
        return error;
    };
    const std::string none = "No engine knows this language. ";
    EXPECT_EQ(told({"en-US"}), none + "English (US) is available.");
    EXPECT_EQ(told({"fr-FR", "en-GB", "en-US"}), none + "English (US) is available.");
    EXPECT_EQ(told({"en"}), none + "English (US) is available.");
    EXPECT_EQ(told({"pt-PT", "en-GB"}), none + "English (UK) is available.");
    EXPECT_EQ(told({"de-DE", "fr-FR"}), none + "Français is available.");
    EXPECT_EQ(told({"ru-RU", "eng"}), "No engine knows this language.");
    EXPECT_FALSE(prepared);
}

TEST_F(AppleTranscriberTest, theLocaleFoundIsTheOneUsed)
{
    analyzers.locales = {{"en-US", "en-ZA"}};
    prepare();
    EXPECT_EQ(analyzers.used, (std::vector<std::string>(3, "en-ZA")));
    EXPECT_EQ(stream().locale, "en-ZA");
}

TEST_F(AppleTranscriberTest, aRecogniserThatStillLooksForTheLocaleIsAwaited)
{
    analyzers.looksAtOnce = false;
    prepare();
    EXPECT_FALSE(prepared);
    EXPECT_TRUE(analyzers.used.empty());
    analyzers.completeLookups();
    loop.runReady();
    EXPECT_TRUE(prepared);
    EXPECT_EQ(analyzers.streams.size(), 1U);
}

TEST_F(AppleTranscriberTest, finishingWithoutHavingBeenPreparedGivesNothing)
{
    finish();
    EXPECT_EQ(result, "");
    EXPECT_EQ(transcriber->failure(), std::nullopt);
}

TEST_F(AppleTranscriberTest, aLanguageWithoutAFormatFailsWithTheSameText)
{
    analyzers.format.reset();
    prepare();
    EXPECT_EQ(error, "Speech recognition is unavailable for this language.");
    EXPECT_TRUE(analyzers.streams.empty());
}

TEST_F(AppleTranscriberTest, missingAssetsAreInstalledBeforeItIsPrepared)
{
    analyzers.assetsInstalled = false;
    prepare();
    EXPECT_FALSE(prepared);
    EXPECT_TRUE(analyzers.streams.empty());
    analyzers.completeInstallation();
    loop.runReady();
    EXPECT_TRUE(prepared);
    EXPECT_EQ(analyzers.streams.size(), 1U);
}

TEST_F(AppleTranscriberTest, aFailedInstallationEndsThePreparation)
{
    analyzers.assetFailure = "The language could not be installed.";
    prepare();
    EXPECT_EQ(error, "The language could not be installed.");
}

TEST_F(AppleTranscriberTest, anAnalysisThatDoesNotStartEndsThePreparation)
{
    analyzers.startFailure = "The analyser has no room.";
    prepare();
    EXPECT_EQ(error, "The analyser has no room.");
    EXPECT_FALSE(prepared);
}

TEST_F(AppleTranscriberTest, whatIsSaidWhileTheAnalysisStartsIsHandedOn)
{
    analyzers.startsAtOnce = false;
    prepare();
    EXPECT_FALSE(prepared);
    feed();
    EXPECT_EQ(stream().inputFrames, (std::vector<std::uint32_t>{1600}));
    analyzers.start(stream());
    loop.runReady();
    EXPECT_TRUE(prepared);
}

TEST_F(AppleTranscriberTest, anAnalysisThatStillStartsCanBeCancelled)
{
    analyzers.startsAtOnce = false;
    prepare();
    transcriber->cancel();
    EXPECT_TRUE(stream().cancelled);
    EXPECT_FALSE(prepared);
}

TEST_F(AppleTranscriberTest, audioIsConvertedAndHandedOn)
{
    feed(); // before it is prepared: dropped
    prepare();
    feed();
    feed();
    EXPECT_EQ(stream().inputFrames, (std::vector<std::uint32_t>{1600, 1600}));
    converters.conversionFails = true;
    feed();
    EXPECT_EQ(stream().inputFrames.size(), 2U);
}

TEST_F(AppleTranscriberTest, resultsBecomeTheRunningText)
{
    prepare();
    stream().onResult("hello", false);
    stream().onResult("hello world", true);
    stream().onResult("and", false);
    EXPECT_EQ(texts, (std::vector<std::string>{"hello", "hello world ", "hello world and"}));
}

TEST_F(AppleTranscriberTest, speechStillVolatileIsFinalisedAndReturned)
{
    prepare();
    stream().onResult("hello", false);
    analyzers.spoken = "hello world";
    analyzers.finishesAtOnce = false;
    finish();
    EXPECT_EQ(result, std::nullopt);
    analyzers.finish(stream());
    loop.runReady();
    EXPECT_EQ(result, "hello world");
    EXPECT_EQ(transcriber->failure(), std::nullopt);
}

TEST_F(AppleTranscriberTest, aFailedAnalysisKeepsTheTextSoFarAndSaysSo)
{
    prepare();
    stream().onResult("hello", true);
    analyzers.finishFailure = "The recogniser failed.";
    finish();
    EXPECT_EQ(result, "hello");
    EXPECT_EQ(transcriber->failure(), "The recogniser failed.");
}

TEST_F(AppleTranscriberTest, cancellingEndsTheAnalysis)
{
    transcriber->cancel(); // before it is prepared: nothing to end
    prepare();
    transcriber->cancel();
    EXPECT_TRUE(stream().cancelled);
}

TEST_F(AppleTranscriberTest, resultsAfterItsEndAreHarmless)
{
    prepare();
    const auto orphan = analyzers.streams.back();
    transcriber.reset();
    orphan->onResult("nobody listens", true);
    EXPECT_EQ(texts.size(), 1U);
}

} // namespace
} // namespace vorlin
