#include "UI/SettingsWindowFixture.h"

#include <QColor>
#include <QGuiApplication>
#include <QPalette>

namespace vorlin {
namespace {

class SettingsBinding : public SettingsWindowFixture {
protected:
    Preferences& stored() { return model->preferences; }
    static bool isChecked(QQuickItem* item) { return item->property("checked").toBool(); }
    /// What is drawn at a point of an item.
    QColor colorAt(const QQuickItem& item, const QPointF& point)
    {
        const qreal ratio = window->quickWindow().effectiveDevicePixelRatio();
        return picture().pixelColor((item.mapToScene(point) * ratio).toPoint());
    }
    /// The person chooses another colour for what is selected.
    void setAccent(const QColor& color)
    {
        QPalette palette = QGuiApplication::palette();
        palette.setColor(QPalette::Highlight, color);
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
        palette.setColor(QPalette::Accent, color);
#endif
        QGuiApplication::setPalette(palette);
        settle();
    }
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

TEST_F(SettingsBinding, marksTheLanguagesThatHaveNoModelHere)
{
    open(SettingsTab::general);
    EXPECT_FALSE(has("English (US), Installed"));
    focus("Language (Built-in Speech)");
    press(Qt::Key_Space);
    EXPECT_TRUE(has("English (US), Installed"));
    EXPECT_TRUE(has("Français, Not installed"));
}

TEST_F(SettingsBinding, followsTheDesktopsAccent)
{
    open(SettingsTab::general);
    const auto* const toggle = control("Play sounds");
    const auto face = [&] { return colorAt(*toggle, {9, toggle->height() / 2}); };
    const auto ink = [&] {
        return control("Hold to talk")
            ->property("contentItem")
            .value<QQuickItem*>()
            ->property("color")
            .value<QColor>();
    };
    EXPECT_NE(face(), QColor("#d02030"));
    const QPalette before = QGuiApplication::palette();
    setAccent("#d02030");
    EXPECT_EQ(face(), QColor("#d02030"));
    EXPECT_GT(ink().lightnessF(), 0.9);
    setAccent("#f0e070");
    EXPECT_EQ(face(), QColor("#f0e070"));
    EXPECT_LT(ink().lightnessF(), 0.2);
    QGuiApplication::setPalette(before);
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
