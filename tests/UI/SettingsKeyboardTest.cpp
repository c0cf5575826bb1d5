#include "UI/SettingsWindowFixture.h"

namespace vorlin {
namespace {

using Names = std::vector<std::string>;

class SettingsKeyboard : public SettingsWindowFixture {
protected:
    /// What the tab key reaches one after the other, until it comes around.
    Names stops()
    {
        Names found;
        press(Qt::Key_Tab);
        const auto* first = window->quickWindow().activeFocusItem();
        do {
            found.push_back(focused());
            press(Qt::Key_Tab);
        } while (window->quickWindow().activeFocusItem() != first && found.size() < 50);
        return found;
    }
    /// As `stops`, from the tab of the window on.
    Names stopsAfter(const std::string& tab)
    {
        focus(tab);
        Names found = stops();
        EXPECT_EQ(found.back(), tab);
        found.pop_back();
        return found;
    }
    const Preferences& stored() { return model->preferences; }
};

TEST_F(SettingsKeyboard, reachesEveryControlOfGeneral)
{
    open(SettingsTab::general);
    EXPECT_EQ(stopsAfter("General"),
              (Names{"Dictation key", "Presets", "Hold to talk", "Language (Built-in Speech)",
                     "Play sounds", "Open at login"}));
}

TEST_F(SettingsKeyboard, reachesEveryControlOfPopup)
{
    open(SettingsTab::popup);
    EXPECT_EQ(stopsAfter("Popup"), (Names{"Bottom center", "Distance from edge", "Display",
                                          "Medium", "Show live text while speaking", "Long text",
                                          "Show the “esc” cancel hint", "Preview"}));
}

TEST_F(SettingsKeyboard, reachesEveryControlOfModels)
{
    desktop.folders.putModel("/models/parakeetRedux");
    open(SettingsTab::models);
    EXPECT_EQ(stopsAfter("Models"),
              (Names{"Show in Files", "Add model…", "Use Built-in Speech",
                     "Use NVIDIA Parakeet Redux", "More for NVIDIA Parakeet Redux", "Download"}));
}

TEST_F(SettingsKeyboard, reachesEveryControlOfPermissions)
{
    desktop.permissions.microphone = false;
    open(SettingsTab::permissions);
    EXPECT_EQ(stopsAfter("Permissions"), Names{"Open Settings"});
}

TEST_F(SettingsKeyboard, reachesTheMakersPage)
{
    build.makerLink = "https://example.org";
    open(SettingsTab::about);
    EXPECT_EQ(stopsAfter("About"), Names{"The Vorlin makers"});
    focus("The Vorlin makers");
    press(Qt::Key_Return);
    EXPECT_EQ(desktop.workspace.links, Names{"https://example.org"});
}

TEST_F(SettingsKeyboard, goesThroughTheTabsByArrowsAndByControlPage)
{
    open(SettingsTab::general);
    focus("General");
    press(Qt::Key_Right);
    EXPECT_EQ(scene->tab.get(), SettingsTab::models);
    EXPECT_EQ(focused(), "Models");
    press(Qt::Key_Left);
    press(Qt::Key_Left); // there is none before the first
    EXPECT_EQ(scene->tab.get(), SettingsTab::general);
    press(Qt::Key_PageUp, Qt::ControlModifier);
    EXPECT_EQ(scene->tab.get(), SettingsTab::about);
    press(Qt::Key_Tab, Qt::ControlModifier);
    EXPECT_EQ(scene->tab.get(), SettingsTab::general);
}

TEST_F(SettingsKeyboard, movesInSegmentsByArrows)
{
    open(SettingsTab::general);
    focus("Hold to talk");
    press(Qt::Key_Right);
    EXPECT_EQ(stored().recordMode(), RecordMode::toggle);
    EXPECT_EQ(focused(), "Press to start & stop");
    press(Qt::Key_Left);
    EXPECT_EQ(stored().recordMode(), RecordMode::hold);
}

TEST_F(SettingsKeyboard, movesInTheGridByArrowsAndNotAroundItsEdges)
{
    open(SettingsTab::popup);
    focus("Bottom center");
    press(Qt::Key_Up);
    EXPECT_EQ(stored().hudPosition(), HUDPosition::middleCenter);
    press(Qt::Key_Right);
    press(Qt::Key_Right);
    EXPECT_EQ(stored().hudPosition(), HUDPosition::middleRight);
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    EXPECT_EQ(stored().hudPosition(), HUDPosition::bottomRight);
    EXPECT_EQ(focused(), "Bottom right");
}

TEST_F(SettingsKeyboard, movesTheSliderByItsStep)
{
    open(SettingsTab::popup);
    focus("Distance from edge");
    const double before = stored().hudMargin();
    press(Qt::Key_Right);
    EXPECT_EQ(stored().hudMargin(), before + 4);
}

TEST_F(SettingsKeyboard, turnsTogglesBySpaceAndByEnter)
{
    open(SettingsTab::general);
    focus("Play sounds");
    press(Qt::Key_Space);
    EXPECT_FALSE(stored().sounds());
    press(Qt::Key_Return);
    EXPECT_TRUE(stored().sounds());
}

TEST_F(SettingsKeyboard, aKeyThatReachesTheWindowWhileAKeyIsRecordedIsNoSecondClick)
{
    open(SettingsTab::general);
    focus("Dictation key");
    press(Qt::Key_Space);
    ASSERT_TRUE(desktop.recorderKeys.isRunning());
    for (const auto key : {Qt::Key_Space, Qt::Key_Return, Qt::Key_Enter}) {
        press(key);
        EXPECT_TRUE(desktop.recorderKeys.isRunning()) << key;
    }
    EXPECT_EQ(desktop.recorderKeys.starts, 1);
}

TEST_F(SettingsKeyboard, choosesFromAMenu)
{
    open(SettingsTab::popup);
    focus("Display");
    press(Qt::Key_Space);
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_EQ(stored().hudDisplay(), HUDDisplay::main);
    EXPECT_EQ(focused(), "Display");
}

TEST_F(SettingsKeyboard, aPointerThatRestsWhereAListOpensMarksNothing)
{
    open(SettingsTab::general);
    model->preferences.setLanguage("fr-FR");
    settle();
    focus("Language (Built-in Speech)");
    press(Qt::Key_Space);
    pointAt("Italiano, Not installed");
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_EQ(stored().language(), "en-US");
    // One that moves does.
    press(Qt::Key_Space);
    pointAt("Italiano, Not installed");
    pointAt("Deutsch, Not installed");
    pointAt("Español, Not installed");
    press(Qt::Key_Return);
    EXPECT_EQ(stored().language(), "es-ES");
    // Each time the list opens it rests anew.
    for (const auto* language : {"en-GB", "en-US"}) {
        press(Qt::Key_Space);
        pointAt("Español, Not installed");
        press(Qt::Key_Up);
        press(Qt::Key_Return);
        EXPECT_EQ(stored().language(), language);
    }
}

TEST_F(SettingsKeyboard, aHeldEnterTurnsAToggleOnceAndOpensALinkOnce)
{
    build.makerLink = "https://example.org";
    open(SettingsTab::general);
    focus("Play sounds");
    hold(Qt::Key_Return);
    EXPECT_FALSE(stored().sounds());
    scene->showTab(SettingsTab::about);
    settle();
    focus("The Vorlin makers");
    hold(Qt::Key_Return);
    EXPECT_EQ(desktop.workspace.links.size(), 1U);
}

TEST_F(SettingsKeyboard, choosesAPresetFromItsMenu)
{
    open(SettingsTab::general);
    focus("Presets");
    press(Qt::Key_Space);
    pointAt("Alt+Space"); // where it rests
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_EQ(model->hotkey.get(), (Hotkey{keyCodes::rightControl, 0, true}));
    // A pointer that moves marks.
    focus("Presets");
    press(Qt::Key_Space);
    pointAt("Right Ctrl");
    pointAt("Right Super");
    pointAt("Alt+Space");
    press(Qt::Key_Return);
    EXPECT_EQ(model->hotkey.get().keyCode, keyCodes::space);
}

TEST_F(SettingsKeyboard, opensAnEnginesMenuByTheMenuKey)
{
    desktop.folders.putModel("/models/parakeetRedux");
    open(SettingsTab::models);
    focus("Use NVIDIA Parakeet Redux");
    press(Qt::Key_F10, Qt::ShiftModifier);
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_EQ(desktop.workspace.revealed,
              std::vector<std::filesystem::path>{"/models/parakeetRedux"});
}

TEST_F(SettingsKeyboard, staysInTheSheetUntilEscapeClosesIt)
{
    open(SettingsTab::models);
    focus("Add model…");
    press(Qt::Key_Space);
    ASSERT_TRUE(view->models.sheet.adding.get());
    const Names all = stops();
    EXPECT_EQ(all.size(), 4U); // a source, two fields, a way out; nothing can be added yet
    EXPECT_EQ(std::ranges::count(all, "Cancel"), 1);
    press(Qt::Key_Escape);
    EXPECT_FALSE(view->models.sheet.adding.get());
    EXPECT_EQ(focused(), "Add model…");
    EXPECT_TRUE(window->quickWindow().isVisible());
}

TEST_F(SettingsKeyboard, scrollsToWhatHasTheFocus)
{
    open(SettingsTab::popup);
    focus("Preview");
    const auto* button = control("Preview");
    const double bottom = button->mapToScene({0, button->height()}).y();
    EXPECT_LE(bottom, window->quickWindow().height());
}

TEST_F(SettingsKeyboard, closesAndQuitsAsADesktopDoes)
{
    open(SettingsTab::general);
    int closed = 0;
    int quit = 0;
    QObject::connect(window.get(), &SettingsWindow::closed, [&] { ++closed; });
    QObject::connect(window.get(), &SettingsWindow::quit, [&] { ++quit; });
    press(Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(quit, 1);
    press(Qt::Key_W, Qt::ControlModifier);
    EXPECT_EQ(closed, 1);
}

} // namespace
} // namespace vorlin
