#include "VorlinApp.h"
#include "fakes/FakePorts.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vorlin {
namespace {

using namespace std::chrono_literals;
using Names = std::vector<std::string>;

/// The program with its two scenes; the settings window is the test's.
class ScenesTest : public testing::Test {
protected:
    void start()
    {
        app.emplace(desktop.ports(), [this] { ++quits; });
        app->model();
    }
    void giveWindow()
    {
        app->settings.setWindow({[this] { ++opened; }, [this] { return window; }});
    }
    const StatusContent& content() const { return desktop.statusItem.content; }
    /// The menu's texts, "-" for a separator.
    Names menu() const
    {
        Names texts;
        for (const auto& item : content().menu) {
            texts.push_back(item.kind == MenuItem::Kind::separator ? "-" : item.text);
        }
        return texts;
    }

    FakePorts desktop;
    int quits = 0;
    int opened = 0;
    std::optional<std::uintptr_t> window = 7;
    std::optional<VorlinApp> app;
};

class MenuContentTest : public ScenesTest {};

TEST_F(MenuContentTest, saysHowToDictateByHolding)
{
    start();
    EXPECT_EQ(menu(), (Names{"Hold Right ⌥ Option to dictate", "Esc, or press again, to cancel",
                             "-", "Settings…", "-", "Quit Vorlin"}));
    EXPECT_EQ(content().title, "Vorlin");
}

TEST_F(MenuContentTest, saysHowToDictateByTwoPresses)
{
    start();
    app->model().preferences.setRecordMode(RecordMode::toggle);
    EXPECT_EQ(menu().at(0), "Press Right ⌥ Option to start, again to stop");
    EXPECT_EQ(menu().at(1), "Esc to cancel");
}

TEST_F(MenuContentTest, saysWhatDictatesOnThisDesktopWhateverWasChosen)
{
    desktop.tap.watches = {{Hotkey{}.keyCode, KeyWatch::presses}};
    start();
    EXPECT_EQ(app->model().preferences.recordMode(), RecordMode::hold);
    EXPECT_EQ(menu().at(0), "Press Right ⌥ Option to start, again to stop");
    EXPECT_EQ(menu().at(1), "Esc to cancel");
    desktop.tap.setTrigger("Meta+D");
    EXPECT_EQ(menu().at(0), "Press Meta+D to start, again to stop");
}

TEST_F(MenuContentTest, saysThatItIsPausedForAsLongAsTheScreenCountsAsLocked)
{
    constexpr auto paused = "Paused: the system says that the screen is locked";
    desktop.session.setAway(true);
    start();
    EXPECT_EQ(menu().at(0), paused);
    EXPECT_EQ(content().menu.at(0).kind, MenuItem::Kind::text);
    EXPECT_EQ(menu().at(1), "Hold Right ⌥ Option to dictate");
    desktop.session.setAway(false);
    EXPECT_EQ(menu().at(0), "Hold Right ⌥ Option to dictate");
    desktop.session.setAway(true);
    EXPECT_EQ(menu().at(0), paused);
}

TEST_F(MenuContentTest, namesTheKeyAsThisDesktopDoesAndFollowsIt)
{
    desktop.wording = &linuxWording();
    start();
    EXPECT_EQ(menu().at(0), "Hold Right Alt to dictate");
    app->model().setHotkey({keyCodes::space, eventFlags::maskAlternate, false});
    EXPECT_EQ(menu().at(0), "Hold Alt+Space to dictate");
}

TEST_F(MenuContentTest, theFirstTwoLinesAreOnlyReadAndTheOthersHaveTheirShortcuts)
{
    start();
    const auto& items = content().menu;
    EXPECT_EQ(items.at(0).kind, MenuItem::Kind::text);
    EXPECT_EQ(items.at(1).kind, MenuItem::Kind::text);
    EXPECT_EQ(items.at(3).shortcut, ',');
    EXPECT_EQ(items.at(5).shortcut, 'q');
}

TEST_F(MenuContentTest, remindsOfTheSetupUntilBothPermissionsAreThere)
{
    desktop.permissions.microphone = false;
    desktop.permissions.trusted = false;
    start();
    giveWindow();
    EXPECT_EQ(menu().at(2), "Finish setup…");
    EXPECT_TRUE(desktop.statusItem.choose("Finish setup…"));
    EXPECT_EQ(opened, 1);
    desktop.permissions.microphone = true;
    desktop.loop.advance(1500ms);
    EXPECT_EQ(menu().at(2), "Finish setup…");
    desktop.permissions.trusted = true;
    desktop.loop.advance(1500ms);
    EXPECT_EQ(menu().at(2), "-");
}

TEST_F(MenuContentTest, remindsOfTheSetupWhileThePersonIsStillToBeAsked)
{
    desktop.permissions.unasked = true;
    start();
    EXPECT_EQ(menu().at(2), "Finish setup…");
    desktop.permissions.unasked = false;
    desktop.loop.advance(1500ms);
    EXPECT_EQ(menu().at(2), "-");
}

TEST_F(MenuContentTest, remindsOfTheSetupWhileOnlyTheMicrophoneIsMissing)
{
    desktop.permissions.microphone = false;
    start();
    EXPECT_EQ(menu().at(2), "Finish setup…");
    desktop.permissions.microphone = true;
    desktop.loop.advance(1500ms);
    EXPECT_EQ(menu().at(2), "-");
    desktop.permissions.microphone = false;
    desktop.loop.advance(1500ms);
    EXPECT_EQ(menu().at(2), "Finish setup…");
}

TEST_F(MenuContentTest, theSymbolIsActiveWhileADictationRuns)
{
    start();
    EXPECT_EQ(content().symbol, StatusSymbol::idle);
    desktop.tap.pressOption();
    desktop.loop.runReady();
    EXPECT_EQ(content().symbol, StatusSymbol::active);
    desktop.tap.releaseOption();
    desktop.loop.runReady();
    EXPECT_EQ(content().symbol, StatusSymbol::idle);
}

TEST_F(MenuContentTest, theItemIsToldOnlyWhatChanged)
{
    start();
    const int before = desktop.statusItem.shows;
    desktop.defaults.set("hud.margin", 20.0);
    desktop.loop.advance(10s);
    EXPECT_EQ(desktop.statusItem.shows, before);
}

TEST_F(MenuContentTest, quitEndsTheProgram)
{
    start();
    EXPECT_TRUE(desktop.statusItem.choose("Quit Vorlin"));
    EXPECT_EQ(quits, 1);
}

TEST_F(MenuContentTest, aClickOnTheItemOpensTheSettings)
{
    start();
    giveWindow();
    desktop.statusItem.handlers.activated();
    EXPECT_EQ(opened, 1);
}

TEST_F(MenuContentTest, itsEndLetsGoOfTheClicks)
{
    start();
    app.reset();
    EXPECT_FALSE(desktop.statusItem.handlers.chosen);
}

class SettingsSceneTest : public ScenesTest {
protected:
    SettingsSceneTest() { start(); }
};

TEST_F(SettingsSceneTest, opensTheWindowAndRaisesItInTheNextTurnAndAfter150Milliseconds)
{
    giveWindow();
    EXPECT_TRUE(desktop.statusItem.choose("Settings…"));
    EXPECT_EQ(opened, 1);
    EXPECT_TRUE(desktop.workspace.raised.empty()) << "not within the call";
    desktop.loop.advance(0ms);
    EXPECT_EQ(desktop.workspace.raised, (std::vector<std::uintptr_t>{7}));
    desktop.loop.advance(149ms);
    EXPECT_EQ(desktop.workspace.raised.size(), 1U);
    desktop.loop.advance(1ms);
    EXPECT_EQ(desktop.workspace.raised.size(), 2U);
    desktop.loop.advance(10s);
    EXPECT_EQ(desktop.workspace.raised.size(), 2U);
}

TEST_F(SettingsSceneTest, aWindowThatStandsOnlyLaterIsRaisedThen)
{
    window.reset();
    giveWindow();
    app->settings.open();
    desktop.loop.advance(100ms);
    EXPECT_TRUE(desktop.workspace.raised.empty());
    window = 9;
    desktop.loop.advance(50ms);
    EXPECT_EQ(desktop.workspace.raised, (std::vector<std::uintptr_t>{9}));
}

TEST_F(SettingsSceneTest, askedForBeforeThereIsAWindowItOpensAsSoonAsThereIsOne)
{
    app->settings.open();
    giveWindow();
    EXPECT_EQ(opened, 1);
}

class FirstRunTest : public ScenesTest {
protected:
    void firstStart()
    {
        desktop.defaults.absent = true;
        start();
        giveWindow();
    }
    SettingsTab tab() const { return app->settings.tab.get(); }
};

TEST_F(FirstRunTest, onceAllIsAllowedItGoesOnToTheKey)
{
    desktop.permissions.trusted = false;
    desktop.permissions.canAsk = true;
    firstStart();
    desktop.loop.advance(10s);
    EXPECT_EQ(tab(), SettingsTab::permissions);
    desktop.permissions.trusted = true;
    desktop.loop.advance(10s);
    EXPECT_EQ(tab(), SettingsTab::permissions) << "Escape is still to be asked for";
    desktop.permissions.canAsk = false;
    desktop.tap.setConflict(KeyConflict::escapeTaken);
    EXPECT_EQ(tab(), SettingsTab::general);
    app->settings.showTab(SettingsTab::permissions);
    desktop.tap.setConflict(KeyConflict::none);
    EXPECT_EQ(tab(), SettingsTab::permissions) << "the person came back to it";
    EXPECT_EQ(opened, 1);
}

TEST_F(FirstRunTest, whereThePersonIsStillToBeAskedItBeginsWithThat)
{
    desktop.permissions.unasked = true;
    desktop.permissions.canAsk = true;
    firstStart();
    desktop.loop.advance(10s);
    EXPECT_EQ(tab(), SettingsTab::permissions);
    desktop.permissions.unasked = false;
    desktop.permissions.canAsk = false;
    desktop.loop.advance(10s);
    EXPECT_EQ(tab(), SettingsTab::general);
}

TEST_F(FirstRunTest, whoHasGoneToAnotherTabIsLeftThere)
{
    desktop.permissions.trusted = false;
    firstStart();
    desktop.loop.advance(10s);
    app->settings.showTab(SettingsTab::models);
    app->settings.showTab(SettingsTab::permissions);
    desktop.permissions.trusted = true;
    desktop.loop.advance(10s);
    EXPECT_EQ(tab(), SettingsTab::permissions);
}

TEST_F(FirstRunTest, theVeryFirstStartOpensTheSettingsOnGeneral)
{
    firstStart();
    desktop.loop.advance(10s);
    EXPECT_EQ(opened, 1);
    EXPECT_EQ(tab(), SettingsTab::general);
}

TEST_F(FirstRunTest, noLaterStartOpensThemByItself)
{
    desktop.permissions.trusted = false;
    desktop.permissions.microphone = false;
    start();
    giveWindow();
    desktop.loop.advance(10s);
    EXPECT_EQ(opened, 0);
}

TEST_F(FirstRunTest, aKeyboardThatCannotBeWatchedOpensPermissions)
{
    desktop.permissions.trusted = false;
    desktop.permissions.answered = false;
    firstStart();
    desktop.loop.advance(500ms);
    EXPECT_EQ(opened, 0) << "it would say that there is no microphone";
    desktop.loop.advance(10s);
    EXPECT_EQ(opened, 1);
    EXPECT_EQ(tab(), SettingsTab::permissions);
}

TEST_F(FirstRunTest, theAnswerThatThereIsNoMicrophoneOpensPermissions)
{
    desktop.permissions.answered = false;
    desktop.permissions.microphone = false;
    firstStart();
    desktop.loop.advance(500ms);
    EXPECT_EQ(opened, 0) << "the server has not answered";
    desktop.permissions.answered = true;
    desktop.loop.advance(100ms);
    EXPECT_EQ(opened, 1);
    EXPECT_EQ(tab(), SettingsTab::permissions);
    desktop.loop.advance(10s);
    EXPECT_EQ(opened, 1);
}

TEST_F(FirstRunTest, settingsThatSomebodyHasOpenedMeanwhileAreLeftAlone)
{
    desktop.permissions.answered = false;
    firstStart();
    app->settings.open();
    app->settings.showTab(SettingsTab::popup);
    desktop.loop.advance(500ms);
    desktop.permissions.answered = true;
    desktop.permissions.microphone = false;
    desktop.loop.advance(10s);
    EXPECT_EQ(opened, 1) << "the window may be closed again by now";
    EXPECT_EQ(tab(), SettingsTab::popup);
}

TEST_F(FirstRunTest, aServerThatNeverAnswersOpensGeneral)
{
    desktop.permissions.answered = false;
    desktop.permissions.microphone = false;
    firstStart();
    desktop.loop.advance(10s);
    EXPECT_EQ(opened, 1);
    EXPECT_EQ(tab(), SettingsTab::general);
}

} // namespace
} // namespace vorlin
