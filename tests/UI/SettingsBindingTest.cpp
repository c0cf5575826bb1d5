#include "UI/SettingsWindowFixture.h"

namespace vorlin {
namespace {

class SettingsBinding : public SettingsWindowFixture {
protected:
    Preferences& stored() { return model->preferences; }
    static bool isChecked(QQuickItem* item) { return item->property("checked").toBool(); }
};

TEST_F(SettingsBinding, showsWhatIsChangedElsewhere)
{
    open(SettingsTab::popup);
    stored().setHUDPosition(HUDPosition::topLeft);
    stored().setHUDShowText(false);
    stored().setHUDMargin(100);
    settle();
    EXPECT_TRUE(isChecked(control("Top left")));
    EXPECT_FALSE(isChecked(control("Show live text while speaking")));
    EXPECT_EQ(control("Distance from edge")->property("value").toDouble(), 100);
    EXPECT_TRUE(has("100"));
}

TEST_F(SettingsBinding, changesWhatIsStoredAndShowsTheOverlay)
{
    open(SettingsTab::popup);
    click("Top right");
    EXPECT_EQ(stored().hudPosition(), HUDPosition::topRight);
    EXPECT_TRUE(desktop.panel.isVisible());
    click("Large");
    EXPECT_EQ(stored().hudScale(), 1.3);
}

TEST_F(SettingsBinding, showsWhatHoldsWhereAChangeIsRefused)
{
    desktop.loginItem.refusal = "The folder cannot be written.";
    open(SettingsTab::general);
    click("Open at login");
    EXPECT_FALSE(isChecked(control("Open at login")));
    EXPECT_TRUE(has("The folder cannot be written."));
    desktop.loginItem.refusal.reset();
    click("Open at login");
    EXPECT_TRUE(isChecked(control("Open at login")));
    EXPECT_FALSE(has("The folder cannot be written."));
}

TEST_F(SettingsBinding, isDrawnInTheAccentThatThePersonChose)
{
    open(SettingsTab::general);
    const QColor chosen("#aa3377");
    const auto isDrawn = [&] {
        const QImage drawn = picture();
        for (int y = 0; y < drawn.height(); ++y) {
            for (int x = 0; x < drawn.width(); ++x) {
                if (drawn.pixelColor(x, y) == chosen) {
                    return true;
                }
            }
        }
        return false;
    };
    EXPECT_FALSE(isDrawn());
    window->setAppearance(false, true, chosen);
    EXPECT_TRUE(isDrawn());
    window->setAppearance(false, true);
    EXPECT_FALSE(isDrawn());
}

TEST_F(SettingsBinding, selectsNoSizeThatIsNone)
{
    open(SettingsTab::popup);
    stored().setHUDScale(1.1);
    settle();
    for (const char* size : {"Small", "Medium", "Large"}) {
        EXPECT_FALSE(isChecked(control(size))) << size;
    }
}

TEST_F(SettingsBinding, recordsAKey)
{
    open(SettingsTab::general);
    click("Dictation key");
    ASSERT_TRUE(desktop.recorderKeys.isRunning());
    EXPECT_EQ(control("Dictation key")->property("text").toString(), "Press a key…");
    desktop.recorderKeys.keyDown(keyCodes::space);
    settle();
    EXPECT_TRUE(has("Add Super, Alt, Ctrl or Shift — or use a function key."));
    desktop.recorderKeys.keyDown(keyCodes::space, eventFlags::maskAlternate);
    settle();
    EXPECT_EQ(control("Dictation key")->property("text").toString(), "Alt+Space");
    EXPECT_FALSE(desktop.recorderKeys.isRunning());
    EXPECT_FALSE(has("Add Super, Alt, Ctrl or Shift — or use a function key."));
}

TEST_F(SettingsBinding, asksWhatTheDesktopStartsAtLoginWhenItGetsTheFocusBack)
{
    open(SettingsTab::general);
    desktop.loginItem.enabled = true;
    QWindow other;
    other.show();
    const auto activate = [](QWindow& wanted) {
        wanted.requestActivate();
        while (!wanted.isActive()) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    };
    activate(other);
    activate(window->quickWindow());
    settle();
    EXPECT_TRUE(isChecked(control("Open at login")));
}

TEST_F(SettingsBinding, stopsRecordingAtTheSecondClickAndWhenTheFocusGoes)
{
    open(SettingsTab::general);
    click("Dictation key");
    click("Dictation key");
    EXPECT_FALSE(desktop.recorderKeys.isRunning());
    click("Dictation key");
    ASSERT_TRUE(desktop.recorderKeys.isRunning());
    focus("Play sounds");
    EXPECT_FALSE(desktop.recorderKeys.isRunning());
    click("Dictation key");
    scene->showTab(SettingsTab::about);
    settle();
    EXPECT_FALSE(desktop.recorderKeys.isRunning());
    scene->showTab(SettingsTab::general);
    settle();
    click("Dictation key");
    close();
    view.reset();
    EXPECT_FALSE(desktop.recorderKeys.isRunning());
}

TEST_F(SettingsBinding, keepsTheFocusWhileOtherRowsChange)
{
    open(SettingsTab::general);
    focus("Open at login");
    stored().setSounds(false);
    model->setHotkey({keyCodes::rightControl, 0, true});
    settle();
    EXPECT_EQ(focused(), "Open at login");
}

TEST_F(SettingsBinding, showsTheTabThatTheCoreAsksFor)
{
    open(SettingsTab::general);
    scene->showTab(SettingsTab::permissions);
    settle();
    EXPECT_TRUE(isChecked(control("Permissions")));
    EXPECT_TRUE(has("To hear you while the key is held."));
    click("About");
    EXPECT_EQ(scene->tab.get(), SettingsTab::about);
    EXPECT_TRUE(has("Version 0.1.0"));
}

TEST_F(SettingsBinding, loadsAnewEachTimeItIsOpened)
{
    for (int i = 0; i < 3; ++i) {
        open(SettingsTab::popup);
        EXPECT_TRUE(has("Preview"));
        close();
    }
}

} // namespace
} // namespace vorlin
