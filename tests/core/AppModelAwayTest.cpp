#include "AppModelFixture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vorlin {
namespace {

using namespace std::chrono_literals;
using Phase = Dictation::Phase;
using Names = std::vector<std::string>;

constexpr std::uint16_t f5 = 96;

/// The whole model while the person turns away from the machine and comes back.
class AppModelAwayTest : public AppModelFixture {
protected:
    void leave()
    {
        desktop.session.setAway(true);
        desktop.loop.runReady();
    }
    void comeBack()
    {
        desktop.session.setAway(false);
        desktop.loop.runReady();
    }
    Phase phase() const { return model->dictation.phase.get(); }
    std::size_t pastes() const { return desktop.keys.posted.size() / 2; }
    /// As Escape leaves it: said, heard, shown for 0.7 s, nothing inserted.
    void expectCancelled()
    {
        EXPECT_EQ(phase(), Phase::idle);
        EXPECT_EQ(model->dictation.notice.get(), "Cancelled");
        EXPECT_EQ(desktop.sounds.played, (Names{"Tink", "Funk"}));
        EXPECT_FALSE(desktop.microphone.isCapturing());
        desktop.loop.advance(699ms);
        EXPECT_TRUE(desktop.panel.isShown());
        desktop.loop.advance(1ms);
        EXPECT_FALSE(desktop.panel.isShown());
        desktop.loop.advance(10s);
        EXPECT_EQ(pastes(), 0U);
    }
};

TEST_F(AppModelAwayTest, leavingEndsADictationAsEscapeDoes)
{
    start();
    press();
    ASSERT_EQ(phase(), Phase::listening);
    desktop.session.setAway(true);
    EXPECT_EQ(phase(), Phase::idle) << "within the desktop's notice";
    expectCancelled();
}

TEST_F(AppModelAwayTest, leavingEndsADictationThatPrepares)
{
    desktop.analyzers.assetsInstalled = false;
    start();
    press();
    ASSERT_EQ(phase(), Phase::preparing);
    leave();
    expectCancelled();
}

TEST_F(AppModelAwayTest, leavingWhileTheTextIsFinishedInsertsNone)
{
    desktop.analyzers.finishesAtOnce = false;
    start();
    press();
    release();
    ASSERT_EQ(phase(), Phase::finishing);
    leave();
    desktop.analyzers.finish(*desktop.analyzers.streams.back());
    expectCancelled();
}

TEST_F(AppModelAwayTest, leavingEndsADictationByTwoPressesAndTheNextPressStartsOne)
{
    start();
    model->preferences.setRecordMode(RecordMode::toggle);
    press();
    release();
    ASSERT_EQ(phase(), Phase::listening);
    leave();
    expectCancelled();
    comeBack();
    press();
    release();
    EXPECT_EQ(phase(), Phase::listening);
    press();
    EXPECT_EQ(pastes(), 1U);
}

TEST_F(AppModelAwayTest, leavingEndsAPreviewAsEscapeDoes)
{
    start();
    model->previewHUD();
    desktop.loop.runReady();
    leave();
    EXPECT_EQ(phase(), Phase::idle);
    EXPECT_EQ(model->dictation.notice.get(), "Cancelled");
    EXPECT_EQ(desktop.sounds.played, (Names{"Funk"}));
    desktop.loop.advance(700ms);
    EXPECT_FALSE(desktop.panel.isShown());
    comeBack();
    press();
    release();
    EXPECT_EQ(pastes(), 1U);
}

TEST_F(AppModelAwayTest, aTextThatStillWaitsIsNotPastedIntoALocker)
{
    desktop.pasteboard.copy(FakePasteboard::text("old"));
    start();
    for (int i = 0; i < 2; ++i) { // a program that does not read
        press();
        release();
    }
    ASSERT_EQ(phase(), Phase::idle);
    ASSERT_EQ(pastes(), 1U);
    leave();
    EXPECT_EQ(desktop.sounds.played.back(), "Funk");
    desktop.loop.advance(10s);
    comeBack();
    desktop.loop.advance(10s);
    EXPECT_EQ(pastes(), 1U);
    EXPECT_EQ(desktop.pasteboard.string(), "old");
    press();
    release();
    EXPECT_EQ(pastes(), 2U);
}

TEST_F(AppModelAwayTest, theDesktopIsKeptFromGoingIdleForAsLongAsADictationRuns)
{
    desktop.analyzers.finishesAtOnce = false;
    start();
    EXPECT_FALSE(desktop.session.isKeptAwake);
    press();
    EXPECT_TRUE(desktop.session.isKeptAwake);
    desktop.loop.advance(9min);
    release();
    EXPECT_TRUE(desktop.session.isKeptAwake) << "the text is still to come";
    desktop.analyzers.finish(*desktop.analyzers.streams.back());
    desktop.loop.runReady();
    EXPECT_EQ(pastes(), 1U);
    EXPECT_FALSE(desktop.session.isKeptAwake);
    press();
    leave();
    EXPECT_FALSE(desktop.session.isKeptAwake);
    model->previewHUD();
    EXPECT_FALSE(desktop.session.isKeptAwake) << "nobody speaks";
}

TEST_F(AppModelAwayTest, aDictationThatWasForgottenDoesNotKeepTheDesktopAwake)
{
    start();
    press();
    desktop.loop.advance(9min);
    desktop.analyzers.streams.back()->onResult("still here", false);
    desktop.loop.advance(9min);
    EXPECT_TRUE(desktop.session.isKeptAwake);
    desktop.loop.advance(1min);
    EXPECT_FALSE(desktop.session.isKeptAwake);
    EXPECT_EQ(model->dictation.phase.get(), Dictation::Phase::listening);
    desktop.analyzers.streams.back()->onResult("and again", false);
    desktop.loop.runReady();
    EXPECT_TRUE(desktop.session.isKeptAwake);
    model->dictation.cancel();
    EXPECT_FALSE(desktop.session.isKeptAwake);
}

TEST_F(AppModelAwayTest, leavingAndComingBackWithoutADictationIsNoticedByNobody)
{
    start();
    leave();
    comeBack();
    EXPECT_TRUE(desktop.sounds.played.empty());
    EXPECT_FALSE(desktop.panel.isVisible());
    EXPECT_EQ(model->dictation.notice.get(), std::nullopt);
}

TEST_F(AppModelAwayTest, whileAwayTheKeyDoesNothing)
{
    start();
    leave();
    desktop.loop.advance(10s); // the permissions are read again meanwhile
    press();
    EXPECT_EQ(phase(), Phase::idle);
    release();
    EXPECT_FALSE(desktop.tap.isRunning()) << "it is whoever's is in front";
    EXPECT_TRUE(desktop.sounds.played.empty());
    comeBack();
    press();
    EXPECT_EQ(phase(), Phase::listening);
    release();
    EXPECT_EQ(pastes(), 1U);
}

TEST_F(AppModelAwayTest, aKeyHeldWhileOneComesBackStartsNothing)
{
    start();
    leave();
    press();
    comeBack();
    release();
    EXPECT_EQ(phase(), Phase::idle);
    press();
    EXPECT_EQ(phase(), Phase::listening);
}

TEST_F(AppModelAwayTest, theRepeatsOfAKeyHeldWhileOneComesBackStartNothing)
{
    start();
    model->setHotkey({f5, 0, false});
    leave();
    comeBack();
    desktop.tap.keyDown(f5, 0, true);
    desktop.loop.runReady();
    EXPECT_EQ(phase(), Phase::idle);
    EXPECT_FALSE(desktop.tap.keyUp(f5));
    EXPECT_TRUE(desktop.tap.keyDown(f5));
    desktop.loop.runReady();
    EXPECT_EQ(phase(), Phase::listening);
}

TEST_F(AppModelAwayTest, aKeyThatWasLetGoUnseenIsNotTakenForHeld)
{
    start();
    press();
    leave();
    comeBack();
    EXPECT_EQ(phase(), Phase::idle);
    press();
    EXPECT_EQ(phase(), Phase::listening);
    release();
    EXPECT_EQ(pastes(), 1U);
}

TEST_F(AppModelAwayTest, oneWhoIsAwayAtTheStartFindsTheKeyWatchedLater)
{
    desktop.session.setAway(true);
    start();
    EXPECT_FALSE(desktop.tap.isRunning());
    comeBack();
    EXPECT_TRUE(desktop.tap.isRunning());
}

TEST_F(AppModelAwayTest, aKeyChosenOrEditedMeanwhileIsWatchedFromTheReturnOn)
{
    start();
    model->setRecordingHotkey(true);
    leave();
    model->setHotkey({f5, 0, false});
    model->setRecordingHotkey(false);
    EXPECT_FALSE(desktop.tap.isRunning());
    comeBack();
    EXPECT_EQ(desktop.tap.interest.hotkey, (Hotkey{f5, 0, false}));
    EXPECT_TRUE(desktop.tap.isRunning());
}

TEST_F(AppModelAwayTest, comingBackToARecordingLeavesTheKeysToIt)
{
    start();
    model->setRecordingHotkey(true);
    leave();
    comeBack();
    EXPECT_FALSE(desktop.tap.isRunning());
}

TEST_F(AppModelAwayTest, comingBackWithoutPermissionWatchesNothing)
{
    start();
    leave();
    desktop.permissions.trusted = false;
    comeBack();
    EXPECT_FALSE(desktop.tap.isRunning());
    EXPECT_FALSE(model->accessibilityGranted.get());
}

} // namespace
} // namespace vorlin
