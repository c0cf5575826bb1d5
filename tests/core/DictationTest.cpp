#include "Dictation.h"
#include "PlayedSound.h"
#include "fakes/FakeAudioInput.h"
#include "fakes/FakeTranscriber.h"
#include "simulation/SimulatedLoop.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>
#include <vector>

namespace vorlin {
namespace {

using namespace std::chrono_literals;
using Phase = Dictation::Phase;

class DictationTest : public testing::Test {
protected:
    SimulatedLoop loop;
    FakeAudioInput microphone;
    std::vector<std::shared_ptr<FakeTranscriber>> transcribers;
    std::shared_ptr<FakeTranscriber> next = std::make_shared<FakeTranscriber>();
    std::vector<std::string> finished;
    int cancelled = 0;
    int demosEnded = 0;
    std::unique_ptr<Dictation> dictation = std::make_unique<Dictation>(loop, microphone);

    DictationTest()
    {
        dictation->onFinished = [this](const std::string& text) { finished.push_back(text); };
        dictation->onCancelled = [this] { ++cancelled; };
        dictation->onDemoEnded = [this] { ++demosEnded; };
    }

    void press()
    {
        dictation->keyDown([this] {
            transcribers.push_back(std::exchange(next, std::make_shared<FakeTranscriber>()));
            return transcribers.back();
        });
    }
    void pressAndListen()
    {
        press();
        loop.runReady();
        ASSERT_EQ(dictation->phase.get(), Phase::listening);
    }
    void deliverSilence(int buffers)
    {
        for (int i = 0; i < buffers; ++i) {
            microphone.deliver(0);
        }
        loop.runReady();
    }
    FakeTranscriber& engine() { return *transcribers.back(); }
};

TEST_F(DictationTest, pressSpeakReleaseGivesTheText)
{
    std::vector<Phase> phases;
    const auto watch = dictation->phase.observe([&](Phase phase) { phases.push_back(phase); });
    press();
    loop.runReady();
    microphone.deliver(0.1F);
    dictation->keyUp();
    loop.runReady();
    EXPECT_EQ(phases,
              (std::vector{Phase::preparing, Phase::listening, Phase::finishing, Phase::idle}));
    EXPECT_EQ(finished, (std::vector<std::string>{"hello world"}));
    EXPECT_EQ(engine().fedFrames, (std::vector<std::uint32_t>{2048}));
    EXPECT_FALSE(microphone.isCapturing());
    EXPECT_EQ(dictation->notice.get(), std::nullopt);
}

TEST_F(DictationTest, levelOfSilenceIsZeroAndOfSoundLiesBetweenItsBounds)
{
    const auto level = [](float value) {
        return Dictation::level(FakeAudioInput::buffer(value, 2048));
    };
    EXPECT_EQ(level(0), 0);
    EXPECT_EQ(level(1e-7F), 0);
    EXPECT_EQ(level(1.001e-7F), 0.03F);
    EXPECT_EQ(level(1), 1);
    EXPECT_EQ(level(0.001F), 0.03F);
    EXPECT_NEAR(level(0.1F), (20 * std::log10(0.1F) + 52) / 40, 1e-6);
    EXPECT_EQ(level(std::nanf("")), 0);
    EXPECT_EQ(Dictation::level(FakeAudioInput::buffer(1, 0)), 0);
}

TEST_F(DictationTest, levelTakesTheFirstChannelOnlyAndFloatDataOnly)
{
    PCMBuffer stereo({SampleType::float32, 48000, 2, true}, 64);
    stereo.setFrameLength(64);
    auto* samples = reinterpret_cast<float*>(stereo.plane(0).data());
    for (int i = 0; i < 64; ++i) {
        samples[2 * i + 1] = 1;
    }
    EXPECT_EQ(Dictation::level(stereo), 0);
    samples[0] = 1;
    EXPECT_GT(Dictation::level(stereo), 0);
    PCMBuffer integers({SampleType::int16, 48000, 1, false}, 1);
    integers.setFrameLength(1);
    integers.plane(0)[1] = std::byte{0x40};
    EXPECT_EQ(Dictation::level(integers), 0);
}

TEST_F(DictationTest, theHistoryRisesAtOnceAndFallsSmoothly)
{
    pressAndListen();
    const float loud = Dictation::level(FakeAudioInput::buffer(0.05F, 2048));
    const float soft = Dictation::level(FakeAudioInput::buffer(0.004F, 2048));
    microphone.deliver(0.05F);
    microphone.deliver(0.004F);
    loop.runReady();
    const auto& levels = dictation->levels.get();
    EXPECT_EQ(levels[26], loud);
    EXPECT_FLOAT_EQ(levels[27], loud * 0.72F + soft * 0.28F);
    EXPECT_EQ(levels[25], 0);
    for (int i = 0; i < 40; ++i) {
        microphone.deliver(0.05F);
    }
    loop.runReady();
    EXPECT_EQ(dictation->levels.get().front(), loud);
}

TEST_F(DictationTest, thirtyFiveSilentBuffersMeanASilentMicrophone)
{
    pressAndListen();
    deliverSilence(34);
    EXPECT_FALSE(dictation->micSilent.get());
    deliverSilence(1);
    EXPECT_TRUE(dictation->micSilent.get());
    microphone.deliver(0.01F);
    loop.runReady();
    EXPECT_FALSE(dictation->micSilent.get());
    deliverSilence(34);
    EXPECT_FALSE(dictation->micSilent.get());
}

TEST_F(DictationTest, silenceIsForgottenByTheNextDictation)
{
    pressAndListen();
    deliverSilence(35);
    dictation->keyUp();
    loop.runReady();
    pressAndListen();
    EXPECT_FALSE(dictation->micSilent.get());
    deliverSilence(34);
    EXPECT_FALSE(dictation->micSilent.get());
}

TEST_F(DictationTest, releaseBeforePreparedInsertsNothing)
{
    next->preparesAtOnce = false;
    press();
    loop.runReady();
    dictation->keyUp();
    loop.runReady();
    EXPECT_EQ(dictation->phase.get(), Phase::preparing);
    EXPECT_TRUE(finished.empty());
    engine().completePrepare();
    loop.runReady();
    EXPECT_EQ(finished, (std::vector<std::string>{""}));
    EXPECT_EQ(microphone.starts, 0);
    EXPECT_EQ(engine().cancels, 1);
    EXPECT_EQ(dictation->notice.get(), std::nullopt);
    EXPECT_EQ(dictation->phase.get(), Phase::idle);
}

TEST_F(DictationTest, releaseAndPressAgainWhilePreparingListens)
{
    next->preparesAtOnce = false;
    press();
    loop.runReady();
    dictation->keyUp();
    press();
    engine().completePrepare();
    loop.runReady();
    EXPECT_EQ(transcribers.size(), 1U);
    EXPECT_EQ(dictation->phase.get(), Phase::listening);
}

TEST_F(DictationTest, releaseWhileTheMicrophoneStartsEndsAtOnceAndGivesTheText)
{
    microphone.completesAtOnce = false;
    press();
    loop.runReady();
    dictation->keyUp();
    microphone.deliver(0.1F);
    microphone.completeStart();
    loop.runReady();
    EXPECT_EQ(dictation->phase.get(), Phase::finishing);
    microphone.completeStop();
    loop.runReady();
    EXPECT_EQ(finished, (std::vector<std::string>{"hello world"}));
}

TEST_F(DictationTest, theTailThatAStopDeliversReachesTheEngineBeforeItFinishes)
{
    microphone.completesAtOnce = false;
    microphone.tailOnStop = FakeAudioInput::buffer(0.1F, 700);
    press();
    loop.runReady();
    microphone.completeStart();
    loop.runReady();
    dictation->keyUp();
    loop.runReady();
    EXPECT_EQ(dictation->phase.get(), Phase::finishing);
    EXPECT_FALSE(engine().finishing);
    microphone.completeStop();
    EXPECT_EQ(engine().fedFrames, (std::vector<std::uint32_t>{700}));
    loop.runReady();
    EXPECT_TRUE(engine().finishing);
    EXPECT_EQ(finished.size(), 1U);
}

TEST_F(DictationTest, cancelWhileTheMicrophoneStopsDropsEverything)
{
    microphone.completesAtOnce = false;
    press();
    loop.runReady();
    microphone.completeStart();
    loop.runReady();
    dictation->keyUp();
    loop.runReady();
    dictation->cancel();
    loop.runReady();
    EXPECT_EQ(microphone.drops, 1);
    EXPECT_FALSE(engine().finishing);
    EXPECT_EQ(cancelled, 1);
    EXPECT_TRUE(finished.empty());
}

TEST_F(DictationTest, aFailedPreparationShowsItsText)
{
    next->preparesAtOnce = false;
    press();
    loop.runReady();
    engine().failPrepare("The model is broken.");
    loop.runReady();
    EXPECT_EQ(dictation->notice.get(), "The model is broken.");
    EXPECT_EQ(finished, (std::vector<std::string>{""}));
    EXPECT_EQ(dictation->phase.get(), Phase::idle);
    EXPECT_EQ(engine().cancels, 1);
}

TEST_F(DictationTest, aMicrophoneThatDoesNotStartShowsItsText)
{
    microphone.startFailure = "No microphone was found.";
    press();
    loop.runReady();
    EXPECT_EQ(dictation->notice.get(), "No microphone was found.");
    EXPECT_EQ(microphone.drops, 1);
    EXPECT_EQ(finished, (std::vector<std::string>{""}));
}

TEST_F(DictationTest, aMicrophoneThatBreaksKeepsTheWordsHeard)
{
    pressAndListen();
    microphone.fail("The microphone was disconnected.");
    loop.runReady();
    EXPECT_EQ(finished, (std::vector<std::string>{"hello world"}));
    EXPECT_EQ(dictation->notice.get(), "The microphone was disconnected.");
    EXPECT_EQ(dictation->phase.get(), Phase::idle);
    dictation->keyUp();
    loop.runReady();
    EXPECT_EQ(finished.size(), 1U);
}

TEST_F(DictationTest, aMicrophoneThatBreaksBeforeListeningShowsItsText)
{
    microphone.completesAtOnce = false;
    press();
    loop.runReady();
    microphone.completeStart();
    microphone.fail("The microphone was disconnected.");
    loop.runReady();
    EXPECT_EQ(dictation->phase.get(), Phase::idle);
    EXPECT_EQ(dictation->notice.get(), "The microphone was disconnected.");
}

TEST_F(DictationTest, aMicrophoneThatFailedIsForgottenByTheNextDictation)
{
    pressAndListen();
    microphone.fail("The microphone was disconnected.");
    loop.runReady();
    pressAndListen();
    EXPECT_EQ(dictation->notice.get(), std::nullopt);
    dictation->keyUp();
    loop.runReady();
    EXPECT_EQ(dictation->notice.get(), std::nullopt);
    EXPECT_EQ(finished.size(), 2U);
}

TEST_F(DictationTest, anEnginesFailureBecomesTheNotice)
{
    next->saysOfFailure = "Some words were lost.";
    pressAndListen();
    dictation->keyUp();
    loop.runReady();
    EXPECT_EQ(dictation->notice.get(), "Some words were lost.");
    EXPECT_EQ(finished, (std::vector<std::string>{"hello world"}));
}

TEST_F(DictationTest, pressingWhileFinishingStartsNothing)
{
    next->finishesAtOnceWith.reset();
    pressAndListen();
    dictation->keyUp();
    loop.runReady();
    press();
    loop.runReady();
    EXPECT_EQ(dictation->phase.get(), Phase::finishing);
    EXPECT_EQ(transcribers.size(), 1U);
    engine().completeFinish("done");
    loop.runReady();
    EXPECT_EQ(dictation->phase.get(), Phase::idle);
    press();
    EXPECT_EQ(transcribers.size(), 2U);
    EXPECT_EQ(dictation->phase.get(), Phase::preparing);
}

TEST_F(DictationTest, cancelWhileFinishingDropsTheLateText)
{
    next->finishesAtOnceWith.reset();
    pressAndListen();
    dictation->keyUp();
    loop.runReady();
    dictation->cancel();
    engine().completeFinish("too late");
    loop.runReady();
    EXPECT_EQ(cancelled, 1);
    EXPECT_TRUE(finished.empty());
    EXPECT_EQ(engine().cancels, 1);
    EXPECT_EQ(dictation->notice.get(), "Cancelled");
    EXPECT_EQ(dictation->transcript.get(), "");
}

TEST_F(DictationTest, cancelInEveryPhaseReturnsToIdleOnce)
{
    dictation->cancel();
    EXPECT_EQ(cancelled, 0);
    next->preparesAtOnce = false;
    press();
    loop.runReady();
    dictation->cancel();
    engine().completePrepare();
    loop.runReady();
    EXPECT_EQ(cancelled, 1);
    EXPECT_EQ(microphone.starts, 0);
    pressAndListen();
    dictation->cancel();
    loop.runReady();
    EXPECT_EQ(cancelled, 2);
    EXPECT_EQ(microphone.drops, 1);
    EXPECT_TRUE(finished.empty());
}

TEST_F(DictationTest, cancelAndPressAgainWhileTheMicrophoneStarts)
{
    microphone.completesAtOnce = false;
    press();
    loop.runReady();
    dictation->cancel();
    press();
    loop.runReady();
    microphone.completeStart();
    loop.runReady();
    EXPECT_EQ(dictation->phase.get(), Phase::listening);
    EXPECT_EQ(microphone.starts, 2);
    EXPECT_EQ(microphone.drops, 1);
    EXPECT_TRUE(finished.empty());
}

TEST_F(DictationTest, liveTextOfTheCurrentDictationOnlyIsShown)
{
    pressAndListen();
    engine().onText("hel");
    loop.runReady();
    EXPECT_EQ(dictation->transcript.get(), "hel");
    const auto stale = transcribers.back();
    dictation->cancel();
    pressAndListen();
    stale->onText("hello from before");
    loop.runReady();
    EXPECT_EQ(dictation->transcript.get(), "");
}

TEST_F(DictationTest, callbacksAfterItsEndDoNothing)
{
    pressAndListen();
    const auto orphan = transcribers.back();
    microphone.deliver(0.1F);
    dictation.reset();
    EXPECT_FALSE(microphone.isCapturing());
    EXPECT_EQ(orphan->cancels, 1);
    orphan->onText("nobody listens");
    loop.runReady();
    EXPECT_TRUE(finished.empty());
}

TEST_F(DictationTest, destroyedWhileFinishingNobodyIsCalled)
{
    next->finishesAtOnceWith.reset();
    pressAndListen();
    dictation->keyUp();
    loop.runReady();
    dictation.reset();
    engine().completeFinish("too late");
    loop.runReady();
    EXPECT_TRUE(finished.empty());
}

TEST_F(DictationTest, speechIsToldWhileItListens)
{
    int spoken = 0;
    dictation->onSpeech = [&] { ++spoken; };
    const auto buffers = captured(joined(silence(1, 48000), vowel(1, 48000)), 48000);
    const auto speak = [&] {
        for (const auto& buffer : buffers) {
            microphone.deliver(buffer);
        }
    };
    pressAndListen();
    deliverSilence(40);
    EXPECT_EQ(spoken, 0);
    speak();
    EXPECT_EQ(spoken, 0) << "not on the capture thread";
    loop.runReady();
    EXPECT_GT(spoken, 0);
    speak();
    dictation->cancel();
    spoken = 0;
    press();
    loop.runReady();
    EXPECT_EQ(spoken, 0) << "that of a dictation before";
}

TEST_F(DictationTest, aLineForThePersonIsShownUnlessADictationRuns)
{
    dictation->tell("Copied.");
    EXPECT_EQ(dictation->notice.get(), "Copied.");
    press();
    dictation->tell("Copied.");
    EXPECT_EQ(dictation->notice.get(), std::nullopt);
}

TEST_F(DictationTest, aPreviewEndsTwoAndAHalfSecondsAfterTheLatestCall)
{
    dictation->demo();
    EXPECT_EQ(dictation->phase.get(), Phase::listening);
    loop.advance(2s);
    dictation->demo();
    loop.advance(2400ms);
    EXPECT_TRUE(dictation->isDemo.get());
    EXPECT_EQ(demosEnded, 0);
    loop.advance(200ms);
    EXPECT_FALSE(dictation->isDemo.get());
    EXPECT_EQ(dictation->phase.get(), Phase::idle);
    EXPECT_EQ(demosEnded, 1);
    loop.advance(10s);
    EXPECT_EQ(demosEnded, 1);
}

TEST_F(DictationTest, aPreviewShowsLevelsWithinItsRange)
{
    dictation->demo();
    for (int i = 0; i < 40; ++i) {
        loop.advance(50ms);
        EXPECT_GE(dictation->levels.get().back(), 0.2F);
        EXPECT_LE(dictation->levels.get().back(), 0.8F + 1e-6F);
    }
    EXPECT_FALSE(dictation->micSilent.get());
}

TEST_F(DictationTest, endingAPreviewCallsNobody)
{
    dictation->demo();
    loop.advance(1s);
    dictation->endDemo();
    EXPECT_EQ(dictation->phase.get(), Phase::idle);
    loop.advance(10s);
    EXPECT_EQ(demosEnded, 0);
    dictation->endDemo();
    EXPECT_EQ(dictation->phase.get(), Phase::idle);
}

TEST_F(DictationTest, aPreviewDuringADictationIsIgnored)
{
    pressAndListen();
    dictation->demo();
    EXPECT_FALSE(dictation->isDemo.get());
    loop.advance(10s);
    EXPECT_EQ(dictation->phase.get(), Phase::listening);
}

TEST_F(DictationTest, cancellingAPreviewEndsItAndLeavesItReadyForTheNext)
{
    dictation->demo();
    loop.advance(1s);
    dictation->cancel();
    EXPECT_EQ(cancelled, 1);
    EXPECT_TRUE(dictation->isDemo.get());
    EXPECT_EQ(dictation->phase.get(), Phase::idle);
    loop.advance(10s);
    EXPECT_EQ(demosEnded, 0);
    dictation->demo();
    loop.advance(3s);
    EXPECT_EQ(demosEnded, 1);
}

TEST_F(DictationTest, releasingTheKeyDuringAPreviewDoesNothing)
{
    dictation->demo();
    dictation->keyUp();
    loop.runReady();
    EXPECT_EQ(dictation->phase.get(), Phase::listening);
    EXPECT_TRUE(finished.empty());
}

TEST_F(DictationTest, aMicrophoneThatDoesNotStopKeepsTheWordsAndShowsItsText)
{
    next->finishesAtOnceWith = "the words";
    pressAndListen();
    microphone.stopFailure = "The microphone was disconnected.";
    dictation->keyUp();
    loop.runReady();
    EXPECT_EQ(dictation->phase.get(), Phase::idle);
    EXPECT_EQ(finished, (std::vector<std::string>{"the words"}));
    EXPECT_EQ(dictation->notice.get(), "The microphone was disconnected.");
    microphone.stopFailure.clear();
    pressAndListen();
    EXPECT_EQ(dictation->notice.get(), std::nullopt);
}

/// |sin 7t| · 0.6 · |sin 2.3t| + 0.2 every 50 ms, rising at once and falling by 28 in 100;
/// computed elsewhere.
TEST_F(DictationTest, aPreviewShowsTheseLevels)
{
    const std::array<float, 16> expected = {
        0.200000F, 0.223608F, 0.288120F, 0.376016F, 0.462493F, 0.521075F, 0.529679F, 0.514602F,
        0.471288F, 0.396542F, 0.395301F, 0.572265F, 0.713456F, 0.790406F, 0.790018F, 0.767402F};
    std::vector<float> shown;
    const auto watch = dictation->levels.observe(
        [&](const Dictation::Levels& levels) { shown.push_back(levels.back()); });
    dictation->demo();
    loop.advance(750ms);
    ASSERT_EQ(shown.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_NEAR(shown[i], expected.at(i), 1e-5F) << i;
    }
}

} // namespace
} // namespace vorlin
