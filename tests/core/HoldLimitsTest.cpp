#include "HoldLimitsFixture.h"

#include <utility>

namespace vorlin {
namespace {

using Names = std::vector<std::string>;

constexpr auto copied = "Copied. Paste it where you want it.";

class LossyHold : public HoldLimitsTest {
protected:
    LossyHold() { start(); }
};

TEST_F(LossyHold, aReleaseThatIsToldEndsItAsEver)
{
    press();
    release();
    EXPECT_EQ(pastes(), 1U);
    press();
    EXPECT_EQ(phase(), Phase::listening) << "also a press within the same second";
}

TEST_F(LossyHold, aPressASecondAfterTheOneBeforeEndsTheDictation)
{
    press();
    wait(1s);
    press();
    EXPECT_EQ(phase(), Phase::idle);
    EXPECT_EQ(pastes(), 1U);
    EXPECT_EQ(desktop.pasteboard.string(), "hello world");
    release();
    EXPECT_EQ(phase(), Phase::idle);
}

TEST_F(LossyHold, aPressWithinASecondIsABounce)
{
    press();
    wait(999ms);
    press();
    EXPECT_EQ(phase(), Phase::listening);
    wait(999ms);
    press();
    EXPECT_EQ(phase(), Phase::listening) << "a second after the latest one";
}

TEST_F(LossyHold, eventsThatComeLateCountByWhenTheyHappened)
{
    model->setHotkey({keyCodes::f9, 0, false});
    const auto keyDown = [&](Duration happened) {
        desktop.tap.send(KeyEventType::keyDown,
                         {.keyCode = keyCodes::f9,
                          .time = std::chrono::duration_cast<std::chrono::milliseconds>(happened)});
        desktop.loop.runReady();
    };
    keyDown(100s);
    EXPECT_EQ(phase(), Phase::listening);
    speak();
    wait(5s); // in which the program was too busy for the next one
    keyDown(100s + 999ms);
    EXPECT_EQ(phase(), Phase::listening) << "a bounce";
    keyDown(102s);
    EXPECT_NE(phase(), Phase::listening) << "the person, although it came at once";
}

TEST_F(LossyHold, aRepeatOfTheKeyCountsAsItsLastEvent)
{
    model->setHotkey({keyCodes::f9, 0, false});
    desktop.tap.keyDown(keyCodes::f9);
    desktop.loop.runReady();
    for (int i = 0; i < 3; ++i) {
        wait(600ms);
        desktop.tap.keyDown(keyCodes::f9, 0, /*autorepeat=*/true);
    }
    wait(999ms);
    desktop.tap.keyDown(keyCodes::f9);
    desktop.loop.runReady();
    EXPECT_EQ(phase(), Phase::listening);
    wait(1s);
    desktop.tap.keyDown(keyCodes::f9);
    desktop.loop.runReady();
    EXPECT_EQ(phase(), Phase::idle);
    EXPECT_EQ(pastes(), 1U);
}

TEST_F(LossyHold, aPressAfterOneThatEndedItStartsTheNext)
{
    press();
    wait(1s);
    press();
    ASSERT_EQ(phase(), Phase::idle);
    wait(1s);
    press(); // nor was that one's release told
    EXPECT_EQ(phase(), Phase::listening);
}

TEST_F(LossyHold, aPressWhilePreparingEndsItWithoutAWord)
{
    desktop.analyzers.assetsInstalled = false;
    press();
    ASSERT_EQ(phase(), Phase::preparing);
    wait(5s);
    press();
    desktop.analyzers.completeInstallation();
    desktop.loop.runReady();
    EXPECT_EQ(phase(), Phase::idle);
    EXPECT_EQ(desktop.microphone.starts, 0);
}

TEST_F(LossyHold, aPressWhileFinishingStartsNothing)
{
    desktop.analyzers.finishesAtOnce = false;
    press();
    wait(1s);
    press();
    ASSERT_EQ(phase(), Phase::finishing);
    wait(1s);
    press();
    EXPECT_EQ(phase(), Phase::finishing);
    EXPECT_EQ(desktop.analyzers.streams.size(), 1U);
}

TEST_F(LossyHold, aPressEndsAPreviewAndDictates)
{
    press();
    wait(1s);
    press();
    model->previewHUD();
    desktop.loop.runReady();
    wait(1s);
    press();
    EXPECT_EQ(phase(), Phase::listening);
    EXPECT_FALSE(model->dictation.isDemo.get());
}

TEST_F(LossyHold, halfAMinuteInWhichNobodyEverSpokeEndsIt)
{
    press();
    wait(30s - 1ms);
    EXPECT_EQ(phase(), Phase::listening);
    wait(1ms);
    EXPECT_EQ(phase(), Phase::idle);
}

TEST_F(LossyHold, halfAMinuteIsCountedFromTheLastSpeech)
{
    press();
    wait(20s);
    speak();
    wait(29s);
    speak();
    wait(30s - 1ms);
    EXPECT_EQ(phase(), Phase::listening);
    wait(1ms);
    EXPECT_EQ(phase(), Phase::idle);
}

TEST_F(LossyHold, typingAndAFanAreNoSpeech)
{
    press();
    const Sound room = mixed(typing(32, rate, 8, -15, 0.03), fan(32, rate, -50));
    for (const auto& buffer : captured(room, rate)) {
        desktop.microphone.deliver(buffer);
        wait(std::chrono::microseconds(2048 * 1000 / 48));
    }
    EXPECT_EQ(phase(), Phase::idle);
}

TEST_F(LossyHold, liveTextThatGrowsIsSpeechAndTheSameAgainIsNot)
{
    press();
    auto& stream = *desktop.analyzers.streams.back();
    wait(20s);
    stream.onResult("hello", false);
    wait(20s);
    stream.onResult("hello you", false);
    wait(20s);
    EXPECT_EQ(phase(), Phase::listening);
    stream.onResult("hello", false);
    wait(5s);
    stream.onResult("hello you", false);
    wait(5s);
    EXPECT_EQ(phase(), Phase::idle);
}

TEST_F(LossyHold, aLongPreparationIsNoSilence)
{
    desktop.analyzers.assetsInstalled = false;
    press();
    wait(60s);
    desktop.analyzers.completeInstallation();
    desktop.loop.runReady();
    ASSERT_EQ(phase(), Phase::listening);
    wait(30s - 1ms);
    EXPECT_EQ(phase(), Phase::listening);
}

TEST_F(LossyHold, theSilenceOfOneDictationIsNotTheNexts)
{
    press();
    wait(29s);
    release();
    press();
    wait(29s);
    EXPECT_EQ(phase(), Phase::listening);
    release();
    EXPECT_EQ(pastes(), 2U);
    EXPECT_EQ(desktop.pasteboard.string(), "hello world");
}

TEST_F(LossyHold, whatSilenceEndedAndHowLongItsTextWasIsForgottenByTheNext)
{
    press();
    desktop.analyzers.streams.back()->onResult("a long text", false);
    wait(30s);
    ASSERT_EQ(pastes(), 1U);
    release();
    press();
    wait(20s);
    desktop.analyzers.streams.back()->onResult("short", false);
    wait(20s);
    EXPECT_EQ(phase(), Phase::listening);
    desktop.focus.focused = 8;
    release();
    EXPECT_EQ(pastes(), 2U) << "the person ended it";
}

TEST_F(LossyHold, halfAMinuteThatPassesWhileItFinishesEndsNothing)
{
    desktop.analyzers.finishesAtOnce = false;
    press();
    wait(29s);
    release();
    desktop.focus.focused = 8;
    wait(2s);
    desktop.analyzers.finish(*desktop.analyzers.streams.back());
    desktop.loop.runReady();
    EXPECT_EQ(pastes(), 1U);
}

TEST_F(LossyHold, aTextEndedBySilenceGoesIntoTheWindowOfThePress)
{
    press();
    wait(30s);
    EXPECT_EQ(pastes(), 1U);
    EXPECT_EQ(desktop.sounds.played, (Names{"Tink", "Pop"}));
    desktop.pasteboard.read();
    wait(1s);
    EXPECT_EQ(desktop.pasteboard.string(), "copied before");
    EXPECT_EQ(notice(), "");
}

TEST_F(LossyHold, theWindowOfThePressIsWhatALookFindsThen)
{
    desktop.focus.focused.reset(); // what was known before is out of date
    desktop.focus.looksEndAtOnce = false;
    press();
    EXPECT_EQ(phase(), Phase::listening) << "it is not waited for";
    desktop.focus.focused = 7;
    desktop.focus.endLooks();
    desktop.focus.looksEndAtOnce = true;
    wait(30s);
    EXPECT_EQ(pastes(), 1U);
}

TEST_F(LossyHold, aLookThatEndsInTheNextDictationSaysNothingOfThatOne)
{
    desktop.focus.looksEndAtOnce = false;
    press();
    ASSERT_EQ(desktop.focus.looks.size(), 1U);
    const auto late = std::exchange(desktop.focus.looks, {}).front();
    desktop.focus.looksEndAtOnce = true;
    release();
    ASSERT_EQ(pastes(), 1U);
    desktop.focus.looksEndAtOnce = false;
    press();
    desktop.focus.looks.clear(); // its own never ends
    desktop.focus.looksEndAtOnce = true;
    late();
    wait(30s);
    EXPECT_EQ(phase(), Phase::idle);
    EXPECT_EQ(pastes(), 1U);
    EXPECT_EQ(notice(), copied);
}

TEST_F(LossyHold, aTextEndedBySilenceStaysOnTheClipboardWhereAnotherWindowHasTheFocus)
{
    press();
    desktop.focus.focused = 8;
    wait(30s);
    EXPECT_EQ(phase(), Phase::idle);
    EXPECT_EQ(pastes(), 0U);
    EXPECT_EQ(notice(), copied);
    EXPECT_EQ(desktop.sounds.played, Names{"Tink"});
    EXPECT_EQ(desktop.pasteboard.string(), "hello world");
    EXPECT_FALSE(desktop.pasteboard.boards[PasteSource::clipboard].isMarked);
    EXPECT_TRUE(desktop.panel.isVisible());
    wait(1599ms);
    EXPECT_TRUE(desktop.panel.isShown());
    wait(1s);
    EXPECT_FALSE(desktop.panel.isVisible());
    wait(1min);
    EXPECT_EQ(desktop.pasteboard.string(), "hello world") << "for good";
    model.reset();
    EXPECT_EQ(desktop.pasteboard.string(), "hello world");
}

TEST_F(LossyHold, aTextEndedBySilenceStaysOnTheClipboardWhereTheWindowIsNotKnown)
{
    for (const bool atThePress : {true, false}) {
        desktop.focus.focused = atThePress ? std::nullopt : std::optional<std::uint64_t>(7);
        press();
        desktop.focus.focused.reset();
        wait(30s);
        EXPECT_EQ(pastes(), 0U);
        EXPECT_EQ(notice(), copied);
        release();
    }
}

TEST_F(LossyHold, aTextEndedBySilenceStaysWhereTheFocusGoesBeforeItsChord)
{
    desktop.analyzers.finishesAtOnce = false;
    press();
    wait(30s);
    ASSERT_EQ(phase(), Phase::finishing);
    wait(50ms); // what was on the clipboard has just been read ahead
    desktop.pasteboard.snapshotsCompleteAtOnce = false;
    desktop.pasteboard.copy(FakePasteboard::text("copied meanwhile"));
    desktop.analyzers.finish(*desktop.analyzers.streams.back());
    desktop.loop.runReady();
    ASSERT_EQ(phase(), Phase::idle);
    EXPECT_EQ(pastes(), 0U) << "that is still read";
    desktop.focus.focused = 8;
    desktop.pasteboard.completeSnapshot();
    desktop.loop.runReady();
    EXPECT_EQ(pastes(), 0U);
    EXPECT_EQ(notice(), copied);
    EXPECT_EQ(desktop.pasteboard.string(), "hello world");
}

TEST_F(LossyHold, aPressEndsWhatAnActionBeganAtOnce)
{
    perform(DictationAction::toggle);
    press();
    EXPECT_EQ(phase(), Phase::idle);
    EXPECT_EQ(pastes(), 1U);
}

TEST_F(LossyHold, aTextThatThePersonEndedGoesWhereTheyAre)
{
    press();
    desktop.focus.focused = 8;
    wait(10s);
    release();
    EXPECT_EQ(pastes(), 1U);
    press();
    desktop.focus.focused.reset();
    wait(10s);
    press();
    EXPECT_EQ(pastes(), 2U);
    EXPECT_EQ(notice(), "");
}

TEST_F(LossyHold, thatItWasCopiedIsNotSaidIntoTheNextDictation)
{
    desktop.pasteboard.snapshotsCompleteAtOnce = true;
    desktop.analyzers.finishesAtOnce = false;
    press();
    desktop.focus.focused = 8;
    wait(30s);
    ASSERT_EQ(phase(), Phase::finishing);
    desktop.analyzers.finish(*desktop.analyzers.streams.back());
    desktop.loop.runReady();
    EXPECT_EQ(notice(), copied);
    press(); // more than a second later
    EXPECT_EQ(phase(), Phase::listening);
    EXPECT_EQ(notice(), "");
}

TEST_F(LossyHold, whatEndedBySilenceAndWasCancelledIsGone)
{
    desktop.analyzers.finishesAtOnce = false;
    press();
    desktop.focus.focused = 8;
    wait(30s);
    ASSERT_EQ(phase(), Phase::finishing);
    EXPECT_TRUE(desktop.tap.keyDown(keyCodes::escape));
    desktop.analyzers.finish(*desktop.analyzers.streams.back());
    wait(10s);
    EXPECT_EQ(desktop.pasteboard.string(), "copied before");
    EXPECT_EQ(pastes(), 0U);
}

TEST_F(HoldLimitsTest, toggleEndsBySilenceToo)
{
    desktop.defaults.values["recordMode"] = "toggle";
    start();
    press();
    release();
    wait(30s);
    EXPECT_EQ(phase(), Phase::idle);
    EXPECT_EQ(pastes(), 1U);
}

TEST_F(HoldLimitsTest, inToggleModeAPressWhoseReleaseWasLostDoesNotHinderTheNext)
{
    desktop.defaults.values["recordMode"] = "toggle";
    start();
    press();
    wait(2s);
    press();
    EXPECT_EQ(phase(), Phase::idle);
    EXPECT_EQ(pastes(), 1U);
}

TEST_F(HoldLimitsTest, whereReleasesAreToldAHoldMayBeSilentAndIsNotEndedByAPress)
{
    desktop.tap.canLoseReleases = false;
    start();
    press();
    wait(10s);
    press();
    wait(10min);
    EXPECT_EQ(phase(), Phase::listening);
    release();
    EXPECT_EQ(pastes(), 1U);
}

TEST_F(HoldLimitsTest, whereOnlyPressesAreToldTheKeyTogglesAndTheSettingStays)
{
    desktop.tap.canLoseReleases = false;
    desktop.tap.watches = {{keyCodes::rightOption, KeyWatch::presses}};
    desktop.defaults.values["recordMode"] = "hold";
    start();
    press();
    release();
    EXPECT_EQ(phase(), Phase::listening) << "what is told of a release counts for nothing";
    wait(5s);
    press();
    EXPECT_EQ(phase(), Phase::idle);
    EXPECT_EQ(pastes(), 1U);
    wait(5s);
    press(); // and no release is told
    EXPECT_EQ(phase(), Phase::listening);
    wait(30s);
    EXPECT_EQ(phase(), Phase::idle) << "and silence ends it";
    EXPECT_EQ(model->preferences.recordMode(), RecordMode::hold);
}

TEST_F(HoldLimitsTest, whetherOnlyPressesAreToldFollowsTheKeyAndTheStartOfTheTap)
{
    desktop.tap.watches = {{keyCodes::f9, KeyWatch::presses}};
    start();
    EXPECT_EQ(model->keyWatch.get(), KeyWatch::pressesAndReleases);
    model->setHotkey({keyCodes::f9, 0, false});
    EXPECT_EQ(model->keyWatch.get(), KeyWatch::presses);
    model->setHotkey(Hotkey{});
    EXPECT_EQ(model->keyWatch.get(), KeyWatch::pressesAndReleases);
    desktop.session.setAway(true);
    desktop.tap.watches = {{keyCodes::rightOption, KeyWatch::presses}};
    desktop.session.setAway(false);
    EXPECT_EQ(model->keyWatch.get(), KeyWatch::presses);
}

TEST_F(HoldLimitsTest, whatATapKnowsOnlyOnceItHasStartedCounts)
{
    const auto learns = [this](std::uint16_t keyCode) {
        desktop.tap.onStart = [this, keyCode] { desktop.tap.watches[keyCode] = KeyWatch::presses; };
    };
    learns(keyCodes::rightOption);
    start();
    EXPECT_EQ(model->keyWatch.get(), KeyWatch::presses);
    learns(keyCodes::f9);
    model->setHotkey({keyCodes::f9, 0, false});
    EXPECT_EQ(model->keyWatch.get(), KeyWatch::presses);
}

TEST_F(HoldLimitsTest, aKeyThatIsHeldWhenItBecomesOneOfPressesEndsAsItWasBegun)
{
    desktop.tap.watches = {{keyCodes::f9, KeyWatch::presses}};
    start();
    press();
    model->setHotkey({keyCodes::f9, 0, false});
    desktop.loop.runReady();
    EXPECT_EQ(phase(), Phase::idle);
    EXPECT_EQ(pastes(), 1U);
}

TEST_F(HoldLimitsTest, whereEscapeIsAnothersTheOverlayDoesNotOfferItAndAPressEndsAlsoAHold)
{
    desktop.tap.canLoseReleases = false;
    desktop.defaults.values["recordMode"] = "toggle";
    start();
    press();
    const auto& view = model->hud.model()->view;
    EXPECT_TRUE(view.get().showEsc);
    desktop.tap.setConflict(KeyConflict::escapeTaken);
    EXPECT_FALSE(view.get().showEsc);
    release();
    desktop.defaults.set("recordMode", "hold");
    press();
    EXPECT_EQ(phase(), Phase::idle);
    EXPECT_EQ(pastes(), 1U);
    desktop.tap.setConflict(KeyConflict::none);
    EXPECT_FALSE(view.get().showEsc) << "not while it fades";
    release();
    press();
    EXPECT_TRUE(view.get().showEsc);
    desktop.tap.setConflict(KeyConflict::escapeTaken);
    wait(1s);
    press();
    EXPECT_EQ(phase(), Phase::idle) << "its release was not told";
}

TEST_F(HoldLimitsTest, aPreviewShowsTheOverlayAsItUsuallyIs)
{
    desktop.permissions.trusted = false;
    start();
    model->previewHUD();
    desktop.loop.runReady();
    EXPECT_TRUE(model->hud.model()->view.get().showEsc);
}

} // namespace
} // namespace vorlin
