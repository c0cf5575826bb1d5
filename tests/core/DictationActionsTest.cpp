#include "HoldLimitsFixture.h"

namespace vorlin {
namespace {

/// What a key bound in the desktop asks for, at one that tells of every release.
class DictationActions : public HoldLimitsTest {
protected:
    DictationActions()
    {
        desktop.tap.canLoseReleases = false;
        start();
    }
};

TEST_F(DictationActions, pressAndReleaseAreAHoldAndTheOverlayShows)
{
    perform(DictationAction::press);
    EXPECT_EQ(phase(), Phase::listening);
    EXPECT_TRUE(desktop.panel.isVisible());
    perform(DictationAction::release);
    EXPECT_EQ(phase(), Phase::idle);
    EXPECT_EQ(pastes(), 1U);
}

TEST_F(DictationActions, aPressThatRepeatsCountsOnceAndOneASecondLaterEndsIt)
{
    perform(DictationAction::press);
    for (int i = 0; i < 50; ++i) {
        wait(40ms);
        perform(DictationAction::press);
    }
    EXPECT_EQ(phase(), Phase::listening);
    EXPECT_EQ(desktop.analyzers.streams.size(), 1U);
    wait(1s);
    perform(DictationAction::press);
    EXPECT_EQ(phase(), Phase::idle);
    EXPECT_EQ(pastes(), 1U);
    wait(1s);
    perform(DictationAction::press);
    EXPECT_EQ(phase(), Phase::listening);
}

TEST_F(DictationActions, aReleaseWithoutAPressEndsNothing)
{
    press();
    perform(DictationAction::release);
    EXPECT_EQ(phase(), Phase::listening);
}

TEST_F(DictationActions, aTapWhoseReleaseOvertookItsPressBeginsNoHold)
{
    perform(DictationAction::release);
    wait(249ms);
    perform(DictationAction::press);
    EXPECT_EQ(phase(), Phase::idle);
    perform(DictationAction::press);
    EXPECT_EQ(phase(), Phase::listening) << "the next one is a press as ever";
    perform(DictationAction::release);
    EXPECT_EQ(phase(), Phase::idle);
    perform(DictationAction::release);
    wait(250ms);
    perform(DictationAction::press);
    EXPECT_EQ(phase(), Phase::listening) << "that release belongs to none";
}

TEST_F(DictationActions, inToggleModeATapCountsWhicheverComesFirst)
{
    desktop.defaults.set("recordMode", "toggle");
    for (const auto then : {Phase::listening, Phase::idle}) {
        perform(DictationAction::release);
        perform(DictationAction::press);
        EXPECT_EQ(phase(), then);
        wait(1s);
    }
    EXPECT_EQ(pastes(), 1U);
}

TEST_F(DictationActions, inToggleModePressStartsAndEndsAndReleaseDoesNothing)
{
    desktop.defaults.set("recordMode", "toggle");
    perform(DictationAction::press);
    perform(DictationAction::release);
    EXPECT_EQ(phase(), Phase::listening);
    perform(DictationAction::press);
    EXPECT_EQ(phase(), Phase::idle);
}

TEST_F(DictationActions, pressAndReleaseAreAHoldAlsoWhereTheKeyIsOneOfPresses)
{
    desktop.tap.watches = {{keyCodes::f9, KeyWatch::presses}};
    model->setHotkey({keyCodes::f9, 0, false});
    perform(DictationAction::press);
    perform(DictationAction::release);
    EXPECT_EQ(phase(), Phase::idle);
}

TEST_F(DictationActions, toggleStartsAndEndsAndItsRepeatsDoNothing)
{
    perform(DictationAction::toggle);
    for (int i = 0; i < 50; ++i) {
        wait(40ms);
        perform(DictationAction::toggle);
        EXPECT_EQ(phase(), Phase::listening);
    }
    wait(1s);
    perform(DictationAction::toggle);
    EXPECT_EQ(phase(), Phase::idle);
    EXPECT_EQ(pastes(), 1U);
}

TEST_F(DictationActions, cancelAbandonsIt)
{
    perform(DictationAction::toggle);
    perform(DictationAction::cancel);
    EXPECT_EQ(phase(), Phase::idle);
    EXPECT_EQ(notice(), "Cancelled");
    perform(DictationAction::cancel);
    wait(10s);
    EXPECT_EQ(pastes(), 0U);
}

TEST_F(DictationActions, silenceEndsWhatTheyBegan)
{
    for (const auto action : {DictationAction::press, DictationAction::toggle}) {
        perform(action);
        ASSERT_EQ(phase(), Phase::listening);
        wait(30s);
        EXPECT_EQ(phase(), Phase::idle);
        perform(DictationAction::release);
    }
    EXPECT_EQ(pastes(), 2U);
}

TEST_F(DictationActions, theKeyEndsWhatTheyBegan)
{
    perform(DictationAction::toggle);
    press();
    release();
    EXPECT_EQ(phase(), Phase::idle);
    EXPECT_EQ(pastes(), 1U);
}

TEST_F(DictationActions, nothingIsDoneForOneWhoIsAwayOrRecordsAKey)
{
    perform(DictationAction::press);
    desktop.session.setAway(true);
    perform(DictationAction::press);
    perform(DictationAction::toggle);
    EXPECT_EQ(phase(), Phase::idle);
    desktop.session.setAway(false);
    perform(DictationAction::press);
    EXPECT_EQ(phase(), Phase::listening) << "no press is left over";
    model->setRecordingHotkey(true);
    desktop.loop.runReady();
    EXPECT_EQ(phase(), Phase::idle) << "its release would not be heard";
    EXPECT_EQ(pastes(), 1U);
    perform(DictationAction::toggle);
    EXPECT_EQ(phase(), Phase::idle);
}

} // namespace
} // namespace vorlin
