#include "SettingsFixture.h"

#include <chrono>
#include <string>

namespace vorlin {
namespace {

using namespace std::chrono_literals;

/// What the settings say of a key that the person bound in the desktop.
class BoundKeyModeTest : public SettingsFixture {
protected:
    const FormRow& row() const { return SettingsFixture::row(SettingsTab::general, "recordMode"); }
};

TEST_F(BoundKeyModeTest, aDesktopThatWatchesNoKeysSaysThatPressesToggleUntilABoundReleaseIsTold)
{
    const std::string presses = "This desktop reports only presses: press to start, again to stop.";
    desktop.tap.watches = {{keyCodes::rightOption, KeyWatch::nothing}};
    desktop.tap.setConflict(KeyConflict::unwatched);
    open();
    EXPECT_EQ(row().caption, presses);
    EXPECT_EQ(model->recordMode(), RecordMode::toggle);
    EXPECT_EQ(model->preferences.recordMode(), RecordMode::hold) << "the choice stays";
    model->perform(DictationAction::press);
    EXPECT_EQ(row().caption, presses);
    model->perform(DictationAction::release);
    EXPECT_EQ(row().caption, "");
    EXPECT_EQ(model->recordMode(), RecordMode::hold);
    open(); // the next start
    desktop.tap.setConflict(KeyConflict::unwatched);
    EXPECT_EQ(row().caption, "");
    desktop.loop.advance(1s);
    model->perform(DictationAction::toggle);
    EXPECT_EQ(row().caption, presses) << "another action is bound now";
    desktop.tap.setConflict(KeyConflict::none);
    EXPECT_EQ(row().caption, "") << "the desktop watches keys";
}

TEST_F(BoundKeyModeTest, aKeyBoundToPressAloneIsSeenByItsSecondPress)
{
    desktop.tap.setConflict(KeyConflict::unwatched);
    open();
    model->perform(DictationAction::press);
    model->perform(DictationAction::release);
    EXPECT_EQ(row().caption, "");
    for (int presses = 0; presses < 2; ++presses) {
        desktop.loop.advance(1s);
        model->perform(DictationAction::press);
    }
    EXPECT_NE(row().caption, "");
}

} // namespace
} // namespace vorlin
