#include "HotkeyMonitor.h"
#include "fakes/FakeEventTap.h"

#include <gtest/gtest.h>

namespace vorlin {
namespace {

using namespace eventFlags;

constexpr Hotkey optionSpace{keyCodes::space, maskAlternate, false};

class HotkeyMonitorTest : public testing::Test {
protected:
    FakeEventTap tap;
    HotkeyMonitor monitor{tap};
    int presses = 0;
    int releases = 0;
    int repeats = 0;
    int agains = 0;
    int escapes = 0;
    bool dictating = false;

    HotkeyMonitorTest()
    {
        monitor.onPress = [this] { ++presses; };
        monitor.onRelease = [this] { ++releases; };
        monitor.onRepeat = [this] { ++repeats; };
        monitor.onAgain = [this] { ++agains; };
        monitor.onEscape = [this] { ++escapes; };
        monitor.escapeActive = [this] { return dictating; };
    }
};

TEST_F(HotkeyMonitorTest, optionSpaceFiresOnceAndIsSwallowedWithItsRepeats)
{
    ASSERT_TRUE(monitor.start(optionSpace));
    EXPECT_TRUE(tap.keyDown(49, maskAlternate));
    EXPECT_TRUE(tap.keyDown(49, maskAlternate, /*autorepeat=*/true));
    EXPECT_TRUE(tap.keyDown(49, maskAlternate, /*autorepeat=*/true));
    EXPECT_TRUE(tap.keyUp(49, maskAlternate));
    EXPECT_EQ(presses, 1);
    EXPECT_EQ(releases, 1);
}

TEST_F(HotkeyMonitorTest, extraOrMissingModifiersPassThrough)
{
    monitor.start(optionSpace);
    EXPECT_FALSE(tap.keyDown(49, maskAlternate | maskShift));
    EXPECT_FALSE(tap.keyDown(49, 0));
    EXPECT_FALSE(tap.keyUp(49, 0));
    EXPECT_FALSE(tap.keyDown(50, maskAlternate));
    EXPECT_EQ(presses, 0);
}

TEST_F(HotkeyMonitorTest, capsLockFnAndDeviceBitsAreIgnored)
{
    monitor.start(optionSpace);
    EXPECT_TRUE(tap.keyDown(49, maskAlternate | maskSecondaryFn | 0x10000 | 0x20));
    EXPECT_EQ(presses, 1);
}

TEST_F(HotkeyMonitorTest, releasingTheModifierFirstStillEndsThePress)
{
    monitor.start(optionSpace);
    tap.keyDown(49, maskAlternate);
    EXPECT_FALSE(tap.flagsChanged(58, 0));
    EXPECT_TRUE(tap.keyUp(49, 0));
    EXPECT_EQ(releases, 1);
}

TEST_F(HotkeyMonitorTest, twoKeyDownsWithoutAKeyUpFireOnce)
{
    monitor.start(optionSpace);
    EXPECT_TRUE(tap.keyDown(49, maskAlternate));
    EXPECT_TRUE(tap.keyDown(49, maskAlternate));
    EXPECT_EQ(presses, 1);
}

TEST_F(HotkeyMonitorTest, aPressOfAKeyThatIsDownAndItsRepeatsAreToldApart)
{
    monitor.start(optionSpace);
    tap.keyDown(49, maskAlternate, /*autorepeat=*/true);
    EXPECT_EQ(repeats, 0) << "it is not down";
    tap.keyDown(49, maskAlternate);
    tap.keyDown(49, maskAlternate, /*autorepeat=*/true);
    EXPECT_EQ(repeats, 1);
    EXPECT_EQ(agains, 0);
    EXPECT_TRUE(tap.keyDown(49, maskAlternate));
    EXPECT_EQ(agains, 1);
    EXPECT_EQ(presses, 1);
    tap.keyUp(49, maskAlternate);
    tap.keyDown(49, maskAlternate);
    EXPECT_EQ(presses, 2);
    EXPECT_EQ(agains, 1);
}

TEST_F(HotkeyMonitorTest, aLoneModifierThatGoesDownWhileItIsDownIsToldAgain)
{
    monitor.start(Hotkey{});
    tap.flagsChanged(61, 0);
    EXPECT_EQ(releases, 0);
    tap.flagsChanged(61, maskAlternate);
    tap.flagsChanged(61, maskAlternate);
    EXPECT_EQ(presses, 1);
    EXPECT_EQ(agains, 1);
    tap.flagsChanged(61, 0);
    EXPECT_EQ(releases, 1);
}

TEST_F(HotkeyMonitorTest, escapeIsHadWhileTheTapRunsAndNoOtherProgramHasIt)
{
    EXPECT_FALSE(monitor.hasEscape());
    monitor.start(Hotkey{});
    EXPECT_TRUE(monitor.hasEscape());
    tap.setConflict(KeyConflict::hotkeyTaken);
    EXPECT_TRUE(monitor.hasEscape());
    for (const auto without : {KeyConflict::escapeTaken, KeyConflict::escapeUnasked,
                               KeyConflict::escapeUnwatched, KeyConflict::unwatched}) {
        tap.setConflict(without);
        EXPECT_FALSE(monitor.hasEscape());
    }
}

TEST_F(HotkeyMonitorTest, aRepeatAloneIsSwallowedAndFiresNothing)
{
    monitor.start(optionSpace);
    EXPECT_TRUE(tap.keyDown(49, maskAlternate, /*autorepeat=*/true));
    EXPECT_EQ(presses, 0);
    EXPECT_FALSE(tap.keyUp(49, maskAlternate));
}

TEST_F(HotkeyMonitorTest, aLoneModifierIsSeenAndNeverSwallowed)
{
    monitor.start(Hotkey{});
    EXPECT_FALSE(tap.flagsChanged(61, maskAlternate));
    EXPECT_EQ(presses, 1);
    EXPECT_FALSE(tap.keyDown(0, maskAlternate));
    EXPECT_FALSE(tap.keyUp(0, maskAlternate));
    EXPECT_FALSE(tap.keyDown(61, maskAlternate));
    EXPECT_FALSE(tap.flagsChanged(61, 0));
    EXPECT_EQ(releases, 1);
}

TEST_F(HotkeyMonitorTest, theOtherSideOfTheModifierDoesNothing)
{
    monitor.start(Hotkey{});
    tap.flagsChanged(58, maskAlternate);
    tap.flagsChanged(58, 0);
    EXPECT_EQ(presses, 0);
    tap.flagsChanged(61, maskAlternate);
    tap.flagsChanged(58, maskAlternate);
    tap.flagsChanged(58, maskAlternate);
    EXPECT_EQ(presses, 1);
    EXPECT_EQ(releases, 0);
}

TEST_F(HotkeyMonitorTest, aModifierWithoutAFlagDoesNothing)
{
    monitor.start({57, 0, true});
    EXPECT_FALSE(tap.flagsChanged(57, 0x10000));
    EXPECT_EQ(presses, 0);
}

TEST_F(HotkeyMonitorTest, escapeIsSwallowedOnlyWhileItIsActive)
{
    monitor.start(Hotkey{});
    EXPECT_FALSE(tap.keyDown(53));
    EXPECT_EQ(escapes, 0);
    dictating = true;
    EXPECT_TRUE(tap.keyDown(53));
    EXPECT_TRUE(tap.keyDown(53, maskAlternate));
    EXPECT_EQ(escapes, 2);
    monitor.onEscape = nullptr;
    EXPECT_TRUE(tap.keyDown(53));
}

TEST_F(HotkeyMonitorTest, afterEscapeAPressIsANewOneWhereReleasesAreLost)
{
    for (const bool lost : {true, false}) {
        tap.canLoseReleases = lost;
        presses = agains = 0;
        dictating = true;
        monitor.start(optionSpace);
        tap.keyDown(49, maskAlternate);
        tap.keyDown(53, maskAlternate);
        EXPECT_EQ(monitor.isHeld(), !lost);
        tap.keyDown(49, maskAlternate);
        EXPECT_EQ(presses, lost ? 2 : 1);
        EXPECT_EQ(agains, lost ? 0 : 1);
    }
}

TEST_F(HotkeyMonitorTest, escapeAsTheHotkeyWorksWhileItIsNotActive)
{
    monitor.start({53, maskCommand, false});
    EXPECT_TRUE(tap.keyDown(53, maskCommand));
    EXPECT_EQ(presses, 1);
    dictating = true;
    EXPECT_TRUE(tap.keyDown(53, maskCommand));
    EXPECT_EQ(escapes, 1);
}

TEST_F(HotkeyMonitorTest, stoppingWhileHeldReportsNoRelease)
{
    monitor.start(optionSpace);
    tap.keyDown(49, maskAlternate);
    monitor.stop();
    EXPECT_FALSE(monitor.isRunning());
    EXPECT_EQ(releases, 0);
    EXPECT_FALSE(monitor.handle(KeyEventType::keyUp, {49, maskAlternate, false}));
    EXPECT_EQ(releases, 0);
    monitor.stop();
}

TEST_F(HotkeyMonitorTest, aTapThatIsNotAllowedLeavesItStopped)
{
    tap.allowed = false;
    EXPECT_FALSE(monitor.start(optionSpace));
    EXPECT_FALSE(monitor.isRunning());
    tap.allowed = true;
    EXPECT_TRUE(monitor.start(optionSpace));
}

TEST_F(HotkeyMonitorTest, aDisabledTapIsEnabledAgain)
{
    monitor.start(optionSpace);
    EXPECT_FALSE(tap.send(KeyEventType::tapDisabledByTimeout, {}));
    EXPECT_FALSE(tap.send(KeyEventType::tapDisabledByUserInput, {}));
    EXPECT_EQ(tap.enables, 2);
    EXPECT_EQ(presses, 0);
}

TEST_F(HotkeyMonitorTest, theTapKnowsBeforehandWhatMayBeSwallowed)
{
    monitor.start(optionSpace);
    EXPECT_EQ(tap.interest, (KeyInterest{optionSpace, false}));
    dictating = true;
    monitor.updateInterest();
    EXPECT_EQ(tap.interest, (KeyInterest{optionSpace, true}));
    const int changes = tap.interestChanges;
    monitor.updateInterest();
    EXPECT_EQ(tap.interestChanges, changes);
    monitor.stop();
    EXPECT_EQ(tap.interest, KeyInterest{});
    monitor.updateInterest();
    EXPECT_EQ(tap.interest, KeyInterest{});
    monitor.start(Hotkey{});
    EXPECT_EQ(tap.interest, (KeyInterest{Hotkey{}, true}));
}

TEST_F(HotkeyMonitorTest, otherEventTypesPassThrough)
{
    monitor.start(optionSpace);
    EXPECT_FALSE(tap.send(static_cast<KeyEventType>(1), {49, maskAlternate, false}));
}

TEST_F(HotkeyMonitorTest, aKeyCodeThatDoesNotExistIsFatal)
{
    monitor.start(optionSpace);
    EXPECT_DEATH(monitor.handle(KeyEventType::keyDown, {65536, 0, false}), "does not exist");
    EXPECT_DEATH(monitor.handle(KeyEventType::keyDown, {-1, 0, false}), "does not exist");
}

} // namespace
} // namespace vorlin
