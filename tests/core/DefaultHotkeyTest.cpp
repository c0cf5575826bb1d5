#include "AppModelFixture.h"

#include "DefaultHotkey.h"
#include "Wording.h"

namespace vorlin {
namespace {

constexpr Hotkey rightAlt{keyCodes::rightOption, 0, true};
constexpr Hotkey rightControl{keyCodes::rightControl, 0, true};
constexpr Hotkey f9{keyCodes::f9, 0, false};

/// The whole model at a Linux desktop where no key was ever stored.
class DefaultHotkeyTest : public AppModelFixture {
protected:
    DefaultHotkeyTest() { desktop.wording = &linuxWording(); }

    Hotkey key() const { return model->hotkey.get(); }
    bool isStored() const { return desktop.defaults.values.contains("hotkey.v2"); }
    void change()
    {
        desktop.tap.noteLayoutChange();
        desktop.loop.runReady();
    }
};

TEST_F(DefaultHotkeyTest, isRightAltWhereNoLayoutNeedsIt)
{
    start();
    EXPECT_EQ(key(), rightAlt);
    EXPECT_EQ(desktop.tap.interest.hotkey, rightAlt);
    EXPECT_FALSE(isStored());
}

TEST_F(DefaultHotkeyTest, isRightCtrlWhereALayoutHasRightAltForItsThirdLevel)
{
    desktop.tap.typing = {keyCodes::rightOption};
    start();
    EXPECT_EQ(key(), rightControl);
    EXPECT_EQ(desktop.tap.interest.hotkey, rightControl);
    press();
    EXPECT_EQ(model->dictation.phase.get(), Dictation::Phase::idle) << "typing starts nothing";
    EXPECT_FALSE(isStored());
}

TEST_F(DefaultHotkeyTest, isDecidedAgainWhenTheLayoutsChange)
{
    start();
    desktop.tap.typing = {keyCodes::rightOption};
    change();
    EXPECT_EQ(key(), rightControl);
    EXPECT_EQ(desktop.tap.interest.hotkey, rightControl);
    desktop.tap.typing = {};
    change();
    EXPECT_EQ(key(), rightAlt);
    EXPECT_FALSE(isStored());
}

TEST_F(DefaultHotkeyTest, isDecidedAgainWhenTheTapStarts)
{
    start();
    desktop.session.setAway(true);
    desktop.tap.typing = {keyCodes::rightOption}; // which a tap that is stopped does not tell
    desktop.session.setAway(false);
    EXPECT_EQ(desktop.tap.interest.hotkey, rightControl);
}

TEST_F(DefaultHotkeyTest, isTheFirstWhosePressAndReleaseCanBeWatched)
{
    desktop.tap.watches = {{keyCodes::rightOption, KeyWatch::nothing}};
    start();
    EXPECT_EQ(key(), rightControl);
    desktop.tap.watches[keyCodes::rightControl] = KeyWatch::presses;
    change();
    EXPECT_EQ(key(), f9);
}

TEST_F(DefaultHotkeyTest, whereNoneCanBeWatchedNoneIsAKeyThatTypes)
{
    using enum KeyWatch;
    desktop.tap.typing = {keyCodes::rightOption};
    desktop.tap.watches = {{keyCodes::rightOption, nothing},
                           {keyCodes::rightControl, nothing},
                           {keyCodes::f9, nothing}};
    start();
    EXPECT_EQ(key(), rightControl);
}

TEST_F(DefaultHotkeyTest, aKeyThatWasChosenStaysWhateverTheLayouts)
{
    start();
    model->setHotkey(rightAlt); // what it is anyway
    desktop.tap.typing = {keyCodes::rightOption};
    desktop.tap.watches = {{keyCodes::rightOption, KeyWatch::nothing}};
    change();
    EXPECT_EQ(key(), rightAlt);
}

TEST_F(DefaultHotkeyTest, aStoredKeyThatIsNoneCountsAsNone)
{
    desktop.defaults.values["hotkey.v2"] = Bytes{'{', '}'};
    desktop.tap.typing = {keyCodes::rightOption};
    start();
    EXPECT_EQ(key(), rightControl);
}

TEST_F(DefaultHotkeyTest, onAMacItStaysTheOneItWas)
{
    desktop.wording = &plainWording();
    desktop.tap.watches = {{keyCodes::rightOption, KeyWatch::presses}};
    start();
    EXPECT_EQ(key(), rightAlt);
}

TEST_F(DefaultHotkeyTest, ofNoCandidatesIsThePlainOne)
{
    EXPECT_EQ(defaultHotkey({}, desktop.tap), Hotkey{});
}

} // namespace
} // namespace vorlin
