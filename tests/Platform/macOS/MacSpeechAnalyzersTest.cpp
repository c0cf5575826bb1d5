#include "Platform/macOS/Speech/MacSpeechAnalyzers.h"

#include "Platform/macOS/Speech/VorlinSpeechAnalyzer.h"
#include "Platform/macOS/Underway.h"
#include "simulation/SimulatedLoop.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

/// What the Swift side was asked, in order, and what it has still to answer.
struct Platform {
    std::vector<std::string> calls;
    std::function<void(const char* text, const char* failure)> answer;
    std::function<void(double rate, std::uint32_t channels, std::uint32_t format)> answerFormat;
    std::function<void(const char* text, bool isFinal)> hear;
    std::function<void()> end;
    std::vector<std::int16_t> samples;
    bool isOld = false;
};

Platform* platform = nullptr;

void ask(const std::string& call, void* context, VorlinSpeechAnswer answer)
{
    platform->calls.push_back(call);
    platform->answer = [context, answer](const char* text, const char* failure) {
        answer(context, text, failure);
    };
}

} // namespace

void vorlinSpeechSupportedLocale(const char* identifier, void* context, VorlinSpeechAnswer answer)
{
    ask(std::string("supported ") + identifier, context, answer);
}

void vorlinSpeechInstallAssets(const char* locale, void* context, VorlinSpeechAnswer answer)
{
    ask(std::string("install ") + locale, context, answer);
}

void vorlinSpeechBestFormat(const char* locale, void* context, VorlinSpeechFormat answer)
{
    platform->calls.push_back(std::string("format ") + locale);
    platform->answerFormat = [context, answer](double rate, std::uint32_t channels,
                                               std::uint32_t format) {
        answer(context, rate, channels, format, true);
    };
}

void* vorlinSpeechStart(const char* locale, void* context, VorlinSpeechResult result,
                        VorlinSpeechEnded ended)
{
    if (platform->isOld) {
        return nullptr;
    }
    platform->calls.push_back(std::string("start ") + locale);
    platform->hear = [context, result](const char* text, bool isFinal) {
        result(context, text, isFinal);
    };
    platform->end = [context, ended] { ended(context); };
    return platform;
}

void vorlinSpeechStarted(void* /*analysis*/, void* context, VorlinSpeechAnswer answer)
{
    ask("started", context, answer);
}

void vorlinSpeechInput(void* /*analysis*/, const void* const* planes, std::uint32_t frames,
                       double sampleRate, std::uint32_t channels, std::uint32_t commonFormat,
                       bool interleaved)
{
    platform->calls.push_back("input " + std::to_string(frames) + " " +
                              std::to_string(static_cast<int>(sampleRate)) + " " +
                              std::to_string(channels) + " " + std::to_string(commonFormat) +
                              (interleaved ? " interleaved" : ""));
    platform->samples.resize(frames);
    std::memcpy(platform->samples.data(), planes[0], frames * sizeof(std::int16_t));
}

void vorlinSpeechFinish(void* /*analysis*/, void* context, VorlinSpeechAnswer answer)
{
    ask("finish", context, answer);
}

void vorlinSpeechCancel(void* /*analysis*/)
{
    platform->calls.push_back("cancel");
}

void vorlinSpeechRelease(void* /*analysis*/)
{
    platform->calls.push_back("release");
}

namespace vorlin {
namespace {

class MacSpeechAnalyzersTest : public testing::Test {
protected:
    MacSpeechAnalyzersTest() { platform = &asked; }
    ~MacSpeechAnalyzersTest() override
    {
        if (asked.end) {
            asked.end();
        }
        platform = nullptr;
    }

    /// What became of an operation; nothing while it is under way.
    template <class T>
    struct Outcome {
        std::optional<T> value;
        std::optional<std::string> failure;
    };

    template <class T>
    std::shared_ptr<Outcome<T>> outcomeOf(Completion<T> completion)
    {
        auto outcome = std::make_shared<Outcome<T>>();
        spawn(loop, [](Completion<T> awaited, std::shared_ptr<Outcome<T>> into) -> Task<void> {
            try {
                into->value = co_await awaited;
            } catch (const std::exception& error) {
                into->failure = error.what();
            }
        }(std::move(completion), outcome));
        loop.runReady();
        return outcome;
    }

    std::unique_ptr<SpeechAnalyzer> start()
    {
        return analyzers.start("en-GB", [this](const std::string& text, bool isFinal) {
            heard.push_back(text + (isFinal ? "." : ""));
        });
    }

    static std::shared_ptr<const PCMBuffer> buffer(std::vector<std::int16_t> samples)
    {
        const auto frames = static_cast<std::uint32_t>(samples.size());
        const AudioFormat format{SampleType::int16, 16000, 1, true};
        auto made = std::make_shared<PCMBuffer>(format, frames);
        std::memcpy(made->plane(0).data(), samples.data(), frames * sizeof(std::int16_t));
        made->setFrameLength(frames);
        return made;
    }

    Platform asked;
    SimulatedLoop loop;
    std::vector<std::string> heard;
    MacSpeechAnalyzers analyzers{loop};
};

TEST_F(MacSpeechAnalyzersTest, theAnalysersOwnLocaleComesOnTheMainLoop)
{
    const auto outcome = outcomeOf(analyzers.supportedLocale("en"));
    EXPECT_EQ(asked.calls, (std::vector<std::string>{"supported en"}));
    asked.answer("en-US", nullptr);
    EXPECT_FALSE(outcome->value);
    loop.runReady();
    EXPECT_EQ(outcome->value, std::optional<std::string>("en-US"));
}

TEST_F(MacSpeechAnalyzersTest, aLanguageThatIsNotThereHasNoLocaleAndNothingIsOffered)
{
    const auto outcome = outcomeOf(analyzers.supportedLocale("tlh"));
    asked.answer(nullptr, nullptr);
    loop.runReady();
    ASSERT_TRUE(outcome->value);
    EXPECT_FALSE(*outcome->value);
    const auto offered = outcomeOf(analyzers.localesToOffer());
    ASSERT_TRUE(offered->value);
    EXPECT_FALSE(*offered->value);
}

TEST_F(MacSpeechAnalyzersTest, aDownloadThatFailsSaysWhyInOneLine)
{
    const auto outcome = outcomeOf(analyzers.installAssets("en-GB"));
    asked.answer(nullptr, "No network.\nNSURLErrorDomain -1009");
    loop.runReady();
    EXPECT_EQ(outcome->failure, "No network.");
}

TEST_F(MacSpeechAnalyzersTest, theBestFormatIsOneOfOurs)
{
    const auto outcome = outcomeOf(analyzers.bestAudioFormat("en-GB"));
    asked.answerFormat(16000, 1, 3);
    loop.runReady();
    EXPECT_EQ(outcome->value, std::optional(AudioFormat{SampleType::int16, 16000, 1, true}));
}

TEST_F(MacSpeechAnalyzersTest, noFormatAndOneThatIsNoneOfOursAreNone)
{
    const auto none = outcomeOf(analyzers.bestAudioFormat("en-GB"));
    asked.answerFormat(0, 0, 0);
    const auto doubles = outcomeOf(analyzers.bestAudioFormat("en-GB"));
    asked.answerFormat(16000, 1, 2);
    loop.runReady();
    for (const auto& outcome : {none, doubles}) {
        ASSERT_TRUE(outcome->value);
        EXPECT_FALSE(*outcome->value);
    }
}

TEST_F(MacSpeechAnalyzersTest, aStartIsToldOnTheMainLoopOnceItIsDone)
{
    const auto analyzer = start();
    const auto outcome = outcomeOf(analyzer->started());
    EXPECT_EQ(asked.calls, (std::vector<std::string>{"start en-GB", "started"}));
    asked.answer(nullptr, nullptr);
    EXPECT_FALSE(outcome->value);
    loop.runReady();
    EXPECT_TRUE(outcome->value);
}

TEST_F(MacSpeechAnalyzersTest, aStartThatFailsSaysWhyAndTheAnalysisIsCancelledWhenItIsLetGoOf)
{
    auto analyzer = start();
    const auto outcome = outcomeOf(analyzer->started());
    asked.answer(nullptr, "No models.\nSFSpeechErrorDomain 2");
    loop.runReady();
    EXPECT_EQ(outcome->failure, "No models.");
    analyzer.reset();
    EXPECT_EQ(asked.calls,
              (std::vector<std::string>{"start en-GB", "started", "cancel", "release"}));
}

TEST_F(MacSpeechAnalyzersTest, anAnalyserThatGoesWhileItStartsIsToldNothing)
{
    auto analyzer = start();
    const auto outcome = outcomeOf(analyzer->started());
    analyzer.reset();
    asked.answer(nullptr, nullptr); // too late for anybody
    loop.runReady();
    EXPECT_FALSE(outcome->value);
}

TEST_F(MacSpeechAnalyzersTest, audioGoesInAsItIsUntilTheInputEnds)
{
    const auto analyzer = start();
    analyzer->input(buffer({1, -2, 3}));
    EXPECT_EQ(asked.calls.back(), "input 3 16000 1 3 interleaved");
    EXPECT_EQ(asked.samples, (std::vector<std::int16_t>{1, -2, 3}));
    outcomeOf(analyzer->finalizeAndFinishThroughEndOfInput());
    analyzer->input(buffer({4}));
    EXPECT_EQ(asked.calls.back(), "finish");
    asked.answer(nullptr, nullptr);
}

TEST_F(MacSpeechAnalyzersTest, resultsUntilTheEndAreHeardAndNoneAfterIt)
{
    const auto analyzer = start();
    asked.hear("hello", false);
    const auto outcome = outcomeOf(analyzer->finalizeAndFinishThroughEndOfInput());
    asked.hear("hello world", true);
    asked.answer(nullptr, nullptr);
    loop.runReady();
    EXPECT_TRUE(outcome->value);
    asked.hear("late", true);
    EXPECT_EQ(heard, (std::vector<std::string>{"hello", "hello world."}));
}

TEST_F(MacSpeechAnalyzersTest, nothingIsHeardOnceTheAnalysisIsCancelled)
{
    const auto analyzer = start();
    analyzer->cancelAndFinishNow();
    asked.hear("late", false);
    EXPECT_EQ(heard, std::vector<std::string>{});
    EXPECT_EQ(asked.calls, (std::vector<std::string>{"start en-GB", "cancel"}));
}

TEST_F(MacSpeechAnalyzersTest, aCancelWaitsForAResultThatIsBeingTold)
{
    Underway call;
    const auto analyzer =
        analyzers.start("en-GB", [&call](const std::string&, bool) { call.run(); });
    std::thread system([this] { asked.hear("hello", false); });
    call.awaitBegin();
    analyzer->cancelAndFinishNow();
    EXPECT_TRUE(call.isOver());
    system.join();
}

TEST_F(MacSpeechAnalyzersTest, theEndWaitsForAResultThatIsBeingTold)
{
    Underway call;
    const auto analyzer =
        analyzers.start("en-GB", [&call](const std::string&, bool) { call.run(); });
    const auto outcome = outcomeOf(analyzer->finalizeAndFinishThroughEndOfInput());
    std::thread system([this] { asked.hear("hello", true); });
    call.awaitBegin();
    asked.answer(nullptr, nullptr);
    loop.runReady();
    EXPECT_TRUE(outcome->value);
    EXPECT_TRUE(call.isOver());
    system.join();
}

TEST_F(MacSpeechAnalyzersTest, aCancelWhileFinishingCancelsTheAnalysis)
{
    auto analyzer = start();
    outcomeOf(analyzer->finalizeAndFinishThroughEndOfInput());
    analyzer->cancelAndFinishNow();
    analyzer.reset();
    EXPECT_EQ(asked.calls,
              (std::vector<std::string>{"start en-GB", "finish", "cancel", "release"}));
    asked.answer(nullptr, nullptr); // too late for anybody
    loop.runReady();
}

TEST_F(MacSpeechAnalyzersTest, anAnalysisThatHasEndedIsOnlyLetGoOf)
{
    auto analyzer = start();
    outcomeOf(analyzer->finalizeAndFinishThroughEndOfInput());
    asked.answer(nullptr, nullptr);
    loop.runReady();
    analyzer.reset();
    EXPECT_EQ(asked.calls, (std::vector<std::string>{"start en-GB", "finish", "release"}));
}

TEST_F(MacSpeechAnalyzersTest, anAnalysisThatFailedSaysWhyAtItsEndAndIsCancelled)
{
    auto analyzer = start();
    const auto outcome = outcomeOf(analyzer->finalizeAndFinishThroughEndOfInput());
    asked.answer(nullptr, "The analyser stopped.");
    loop.runReady();
    EXPECT_EQ(outcome->failure, "The analyser stopped.");
    analyzer.reset();
    EXPECT_EQ(asked.calls,
              (std::vector<std::string>{"start en-GB", "finish", "cancel", "release"}));
}

TEST_F(MacSpeechAnalyzersTest, anOlderSystemHasNoAnalysis)
{
    asked.isOld = true;
    try {
        start();
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "Speech recognition is unavailable for this language.");
    }
}

} // namespace
} // namespace vorlin
