#include "Settings/HotkeyRecorder.h"

#include "fakes/FakePorts.h"

#include <gtest/gtest.h>

#include <chrono>

namespace vorlin {
namespace {

using namespace eventFlags;
using namespace std::chrono_literals;
using Phase = Dictation::Phase;

constexpr std::uint16_t leftShift = 56;
constexpr std::uint16_t leftOption = 58;
constexpr std::uint16_t capsLock = 57;
constexpr std::uint16_t f5 = 96;
constexpr auto askForMore = "Add ⌘, ⌥, ⌃ or ⇧ — or use a function key.";

class HotkeyRecorderTest : public testing::Test {
protected:
    HotkeyRecorderTest() { desktop.analyzers.spoken = "hello"; }

    void tapModifier(std::uint16_t keyCode, std::uint64_t flag)
    {
        keys.flagsChanged(keyCode, flag);
        keys.flagsChanged(keyCode, 0);
    }
    bool isRecording() const { return recorder.recording.get(); }

    FakePorts desktop;
    FakeLocalKeyMonitor& keys = desktop.recorderKeys;
    AppModel model{desktop.ports()};
    HotkeyRecorder recorder{model, keys, desktop.session};
    const Hotkey before = model.hotkey.get();
};

TEST_F(HotkeyRecorderTest, aModifierPressedAndReleasedAloneIsRecorded)
{
    recorder.start();
    keys.flagsChanged(62, maskControl);
    EXPECT_TRUE(isRecording()) << "only its release tells that it was alone";
    keys.flagsChanged(62, 0);
    EXPECT_FALSE(isRecording());
    EXPECT_EQ(model.hotkey.get(), (Hotkey{62, 0, true}));
    EXPECT_EQ(model.preferences.hotkey(), (Hotkey{62, 0, true}));
}

TEST_F(HotkeyRecorderTest, aChordOfModifiersRecordsNothingAndGoesOn)
{
    recorder.start();
    keys.flagsChanged(keyCodes::rightOption, maskAlternate);
    keys.flagsChanged(leftShift, maskAlternate | maskShift);
    keys.flagsChanged(leftShift, maskAlternate);
    keys.flagsChanged(keyCodes::rightOption, 0);
    EXPECT_TRUE(isRecording());
    EXPECT_EQ(model.hotkey.get(), before);
}

TEST_F(HotkeyRecorderTest, aModifierThatWasHeldAtTheStartIsNotRecordedByItsRelease)
{
    recorder.start();
    keys.flagsChanged(leftOption, 0);
    EXPECT_TRUE(isRecording());
    EXPECT_EQ(model.hotkey.get(), before);
}

TEST_F(HotkeyRecorderTest, whoLocksTheScreenGetsTheKeyboard)
{
    recorder.start();
    desktop.session.setAway(true);
    EXPECT_FALSE(isRecording());
    EXPECT_FALSE(keys.isRunning());
    EXPECT_EQ(model.hotkey.get(), before);
}

TEST_F(HotkeyRecorderTest, capsLockIsIgnored)
{
    recorder.start();
    tapModifier(capsLock, 0x10000);
    EXPECT_TRUE(isRecording());
    EXPECT_EQ(recorder.hint.get(), "");
}

TEST_F(HotkeyRecorderTest, aKeyWithAModifierIsRecordedWithTheFourModifiersAlone)
{
    recorder.start();
    keys.keyDown(keyCodes::space, maskAlternate | maskSecondaryFn | 0x10000 | 0x40);
    EXPECT_FALSE(isRecording());
    EXPECT_EQ(model.hotkey.get(), (Hotkey{keyCodes::space, maskAlternate, false}));
}

TEST_F(HotkeyRecorderTest, aFunctionKeyNeedsNoModifier)
{
    recorder.start();
    keys.keyDown(f5);
    EXPECT_FALSE(isRecording());
    EXPECT_EQ(model.hotkey.get(), (Hotkey{f5, 0, false}));
}

TEST_F(HotkeyRecorderTest, anotherKeyAloneShowsTheHintAndGoesOn)
{
    recorder.start();
    keys.keyDown(keyCodes::space);
    EXPECT_TRUE(isRecording());
    EXPECT_EQ(recorder.hint.get(), askForMore);
    EXPECT_EQ(model.hotkey.get(), before);
}

TEST_F(HotkeyRecorderTest, whatIsIgnoredOrOnlyHintsIsNotUsedUp)
{
    recorder.start();
    keys.flagsChanged(capsLock, 0x10000);
    EXPECT_FALSE(keys.isUsedUp);
    keys.flagsChanged(leftShift, maskShift);
    EXPECT_FALSE(keys.isUsedUp);
    keys.keyDown(keyCodes::space);
    EXPECT_FALSE(keys.isUsedUp);
}

TEST_F(HotkeyRecorderTest, whatIsRecordedOrEndsTheRecordingIsUsedUp)
{
    recorder.start();
    keys.keyDown(f5);
    EXPECT_TRUE(keys.isUsedUp);
    recorder.start();
    keys.flagsChanged(62, maskControl);
    EXPECT_FALSE(keys.isUsedUp);
    keys.flagsChanged(62, 0);
    EXPECT_TRUE(keys.isUsedUp);
    recorder.start();
    keys.keyDown(keyCodes::escape);
    EXPECT_TRUE(keys.isUsedUp);
}

TEST_F(HotkeyRecorderTest, theHintStandsUntilTheNextRecording)
{
    recorder.start();
    keys.keyDown(keyCodes::space);
    recorder.stop();
    EXPECT_EQ(recorder.hint.get(), askForMore);
    recorder.start();
    EXPECT_EQ(recorder.hint.get(), "");
}

TEST_F(HotkeyRecorderTest, aKeyThatIsTakenEndsTheHint)
{
    recorder.start();
    keys.keyDown(keyCodes::space);
    keys.keyDown(f5);
    EXPECT_EQ(recorder.hint.get(), "");
    recorder.start();
    keys.keyDown(keyCodes::space);
    tapModifier(keyCodes::rightControl, maskControl);
    EXPECT_EQ(recorder.hint.get(), "");
}

TEST_F(HotkeyRecorderTest, aKeyThatIsChosenEndsRecordingAndHint)
{
    recorder.start();
    keys.keyDown(keyCodes::space);
    recorder.choose({f5, 0, false});
    EXPECT_FALSE(isRecording());
    EXPECT_EQ(recorder.hint.get(), "");
    EXPECT_EQ(model.hotkey.get(), (Hotkey{f5, 0, false}));
    EXPECT_EQ(desktop.tap.interest.hotkey, (Hotkey{f5, 0, false}));
}

TEST_F(HotkeyRecorderTest, escapeEndsItWithoutAChangeAndIsNeverRecorded)
{
    recorder.start();
    keys.keyDown(keyCodes::escape, maskCommand);
    EXPECT_FALSE(isRecording());
    EXPECT_EQ(model.hotkey.get(), before);
    EXPECT_FALSE(keys.isRunning());
}

TEST_F(HotkeyRecorderTest, aSecondClickStopsIt)
{
    recorder.click();
    EXPECT_TRUE(isRecording());
    recorder.click();
    EXPECT_FALSE(isRecording());
    EXPECT_FALSE(keys.isRunning());
    EXPECT_EQ(model.hotkey.get(), before);
}

TEST_F(HotkeyRecorderTest, theEndOfTheMonitoringStopsIt)
{
    recorder.start();
    keys.endByItself();
    EXPECT_FALSE(isRecording());
    EXPECT_FALSE(model.recording.get());
    EXPECT_TRUE(desktop.tap.isRunning());
}

TEST_F(HotkeyRecorderTest, aKeyboardThatCannotBeHadIsSaidInALine)
{
    keys.refusal = "Another program has the keyboard.";
    recorder.click();
    EXPECT_FALSE(isRecording());
    EXPECT_EQ(recorder.hint.get(), "Another program has the keyboard.");
    EXPECT_TRUE(desktop.tap.isRunning()) << "the dictation key works as before";
    keys.refusal.reset();
    recorder.click();
    EXPECT_TRUE(isRecording());
    EXPECT_EQ(recorder.hint.get(), "");
}

TEST_F(HotkeyRecorderTest, theDictationKeyIsWatchedExactlyWhileNothingIsRecorded)
{
    EXPECT_TRUE(desktop.tap.isRunning());
    recorder.start();
    EXPECT_FALSE(desktop.tap.isRunning());
    desktop.loop.advance(10s);
    EXPECT_FALSE(desktop.tap.isRunning()) << "the look at the permissions does not start it";
    bool wasWatched = false;
    const auto hotkeyChanges =
        model.hotkey.observe([&](const Hotkey&) { wasWatched = desktop.tap.isRunning(); });
    const auto starts = desktop.tap.starts;
    keys.keyDown(f5);
    EXPECT_FALSE(wasWatched);
    EXPECT_EQ(desktop.tap.starts, starts + 1) << "once, when recording has ended";
    EXPECT_EQ(desktop.tap.interest.hotkey, (Hotkey{f5, 0, false}));
}

TEST_F(HotkeyRecorderTest, theRecordedKeyStartsNothingUntilItIsPressedAnew)
{
    recorder.start();
    keys.keyDown(f5);
    desktop.tap.keyDown(f5, 0, /*autorepeat=*/true);
    desktop.tap.keyUp(f5);
    desktop.loop.runReady();
    EXPECT_EQ(model.dictation.phase.get(), Phase::idle);
    desktop.tap.keyDown(f5);
    desktop.loop.runReady();
    EXPECT_EQ(model.dictation.phase.get(), Phase::listening);
}

TEST_F(HotkeyRecorderTest, startedWhileTheDictationKeyIsHeldItEndsThatDictationAsARelease)
{
    desktop.tap.pressOption();
    desktop.loop.runReady();
    ASSERT_EQ(model.dictation.phase.get(), Phase::listening);
    recorder.start();
    desktop.loop.runReady();
    EXPECT_EQ(model.dictation.phase.get(), Phase::idle);
    EXPECT_EQ(desktop.pasteboard.string(), "hello");
    EXPECT_TRUE(isRecording());
}

TEST_F(HotkeyRecorderTest, aDictationByTwoPressesGoesOnWhileAKeyIsRecorded)
{
    model.preferences.setRecordMode(RecordMode::toggle);
    desktop.tap.pressOption();
    desktop.loop.runReady();
    recorder.start();
    desktop.loop.runReady();
    EXPECT_EQ(model.dictation.phase.get(), Phase::listening);
}

TEST_F(HotkeyRecorderTest, theEndOfTheRecorderEndsTheRecording)
{
    {
        HotkeyRecorder another(model, keys, desktop.session);
        another.start();
        EXPECT_FALSE(desktop.tap.isRunning());
    }
    EXPECT_FALSE(keys.isRunning());
    EXPECT_TRUE(desktop.tap.isRunning());
}

} // namespace
} // namespace vorlin
