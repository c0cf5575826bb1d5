#include "AppModelFixture.h"

#include "VorlinApp.h"
#include "fakes/FakeParakeet.h"

#include <gtest/gtest.h>

#include <vector>

namespace vorlin {
namespace {

using namespace std::chrono_literals;
using Phase = Dictation::Phase;
using Names = std::vector<std::string>;

class AppModelTest : public AppModelFixture {
protected:
    void startInToggleMode()
    {
        desktop.defaults.values["recordMode"] = "toggle";
        start();
    }
    bool escape()
    {
        const bool swallowed = desktop.tap.keyDown(keyCodes::escape);
        desktop.loop.runReady();
        return swallowed;
    }
    /// Somebody edits the settings file.
    void editHotkey(const Hotkey& hotkey)
    {
        const std::string json = hotkey.encoded();
        desktop.defaults.set("hotkey.v2", Bytes(json.begin(), json.end()));
    }
    Phase phase() const { return model->dictation.phase.get(); }
    std::string pasteboard() { return desktop.pasteboard.string(); }
    std::size_t pastes() const { return desktop.keys.posted.size() / 2; }
};

TEST_F(AppModelTest, holdSpeakReleasePastesTheText)
{
    start();
    press();
    EXPECT_EQ(phase(), Phase::listening);
    release();
    EXPECT_EQ(phase(), Phase::idle);
    EXPECT_EQ(pasteboard(), "hello world");
    EXPECT_EQ(pastes(), 1U);
    EXPECT_EQ(desktop.sounds.played, (Names{"Tink", "Pop"}));
}

TEST_F(AppModelTest, theTapKnowsTheKeyBeforeAnybodyAsksWhetherItIsGranted)
{
    desktop.permissions.trusted = false;
    std::optional<Hotkey> known;
    desktop.permissions.onIsTrusted = [&] { known = desktop.tap.chosen; };
    start();
    EXPECT_EQ(known, model->hotkey.get());
    const Hotkey next{101, 0, false};
    const auto changes = model->hotkey.observe([&](const Hotkey&) { known = desktop.tap.chosen; });
    editHotkey(next);
    EXPECT_EQ(known, next);
    EXPECT_FALSE(desktop.tap.handler) << "nothing is watched";
}

TEST_F(AppModelTest, inToggleModeTheSecondPressStops)
{
    startInToggleMode();
    press();
    release();
    EXPECT_EQ(phase(), Phase::listening);
    press();
    EXPECT_EQ(phase(), Phase::idle);
    release();
    EXPECT_EQ(pastes(), 1U);
    EXPECT_EQ(phase(), Phase::idle);
}

TEST_F(AppModelTest, inToggleModeAPressWhileFinishingStartsNothing)
{
    desktop.analyzers.finishesAtOnce = false;
    startInToggleMode();
    press();
    release();
    press();
    release();
    EXPECT_EQ(phase(), Phase::finishing);
    press();
    release();
    EXPECT_EQ(desktop.analyzers.streams.size(), 1U);
    desktop.analyzers.finish(*desktop.analyzers.streams.back());
    desktop.loop.runReady();
    EXPECT_EQ(phase(), Phase::idle);
    EXPECT_EQ(pastes(), 1U);
}

TEST_F(AppModelTest, inToggleModeTheSecondPressWhilePreparingEndsItWithoutAWord)
{
    desktop.analyzers.assetsInstalled = false;
    startInToggleMode();
    press();
    release();
    ASSERT_EQ(phase(), Phase::preparing);
    press();
    release();
    desktop.analyzers.completeInstallation();
    desktop.loop.runReady();
    EXPECT_EQ(phase(), Phase::idle);
    EXPECT_EQ(desktop.microphone.starts, 0);
    EXPECT_EQ(pastes(), 0U);
}

TEST_F(AppModelTest, inHoldModeAPressWhileListeningKeepsListening)
{
    start();
    press();
    model->monitor.onPress();
    desktop.loop.runReady();
    EXPECT_EQ(phase(), Phase::listening);
    EXPECT_EQ(desktop.analyzers.streams.size(), 1U);
}

TEST_F(AppModelTest, aPressDuringAPreviewEndsItAndStartsADictation)
{
    start();
    model->dictation.demo();
    desktop.loop.advance(1s);
    press();
    EXPECT_FALSE(model->dictation.isDemo.get());
    EXPECT_EQ(phase(), Phase::listening);
    EXPECT_TRUE(desktop.microphone.isCapturing());
    desktop.loop.advance(10s);
    EXPECT_EQ(phase(), Phase::listening);
}

TEST_F(AppModelTest, escapeCancelsADictationAndPassesWhenIdle)
{
    start();
    EXPECT_FALSE(escape());
    press();
    EXPECT_TRUE(desktop.tap.interest.escape);
    EXPECT_TRUE(escape());
    EXPECT_EQ(phase(), Phase::idle);
    EXPECT_FALSE(desktop.tap.interest.escape);
    release();
    desktop.loop.advance(10s);
    EXPECT_EQ(pastes(), 0U);
    EXPECT_EQ(model->dictation.notice.get(), "Cancelled");
    EXPECT_EQ(desktop.sounds.played, (Names{"Tink", "Funk"}));
    EXPECT_FALSE(escape());
}

TEST_F(AppModelTest, anEmptyResultIsNeitherPastedNorHeard)
{
    desktop.analyzers.spoken.clear();
    start();
    press();
    release();
    EXPECT_EQ(pastes(), 0U);
    EXPECT_EQ(desktop.sounds.played, (Names{"Tink"}));
}

TEST_F(AppModelTest, withoutSoundsNothingIsPlayed)
{
    desktop.defaults.values["sounds"] = false;
    start();
    press();
    escape();
    press();
    release();
    EXPECT_TRUE(desktop.sounds.played.empty());
}

TEST_F(AppModelTest, theOldPasteboardComesBack)
{
    desktop.pasteboard.copy(FakePasteboard::text("old"));
    start();
    press();
    desktop.loop.advance(1s);
    release();
    EXPECT_EQ(pasteboard(), "hello world");
    desktop.pasteboard.read();
    desktop.loop.advance(500ms);
    EXPECT_EQ(pasteboard(), "old");
    EXPECT_EQ(desktop.pasteboard.snapshots, 1);
}

TEST_F(AppModelTest, thePasteboardIsReadAheadNoMoreOnceThereIsNothingToPaste)
{
    desktop.analyzers.spoken.clear();
    start();
    for (const bool cancelled : {true, false}) {
        press();
        desktop.loop.advance(1s);
        cancelled ? static_cast<void>(escape()) : release();
        const int snapshots = desktop.pasteboard.snapshots;
        desktop.pasteboard.copy(FakePasteboard::text("copied since"));
        desktop.loop.advance(1s);
        EXPECT_EQ(desktop.pasteboard.snapshots, snapshots) << "cancelled: " << cancelled;
        release();
    }
}

TEST_F(AppModelTest, theStoredLanguageIsDictated)
{
    desktop.analyzers.locales = {{"de-DE", "de-DE"}};
    desktop.defaults.values["language"] = "de-DE";
    start();
    press();
    EXPECT_EQ(desktop.analyzers.streams.back()->locale, "de-DE");
}

TEST_F(AppModelTest, aLanguageWithoutAModelSaysSoAndStaysUsable)
{
    desktop.defaults.values["language"] = "fr-FR";
    start();
    press();
    EXPECT_EQ(model->dictation.notice.get(),
              "Speech recognition is unavailable for this language.");
    EXPECT_EQ(phase(), Phase::idle);
    release();
    desktop.defaults.values["language"] = "en-US";
    press();
    EXPECT_EQ(phase(), Phase::listening);
}

TEST_F(AppModelTest, missingPermissionsAreAskedForOnce)
{
    desktop.permissions.trusted = false;
    start();
    EXPECT_EQ(desktop.permissions.trustPrompts, 1);
    EXPECT_EQ(desktop.permissions.microphoneRequests, 1);
    EXPECT_FALSE(model->accessibilityGranted.get());
    EXPECT_FALSE(desktop.tap.isRunning());
    desktop.loop.advance(10s);
    EXPECT_EQ(desktop.permissions.trustPrompts, 1);
}

TEST_F(AppModelTest, theKeyWorksWithinOneAndAHalfSecondsOfTheGrant)
{
    desktop.permissions.trusted = false;
    start();
    desktop.permissions.trusted = true;
    desktop.loop.advance(1500ms);
    EXPECT_TRUE(desktop.tap.isRunning());
    EXPECT_TRUE(model->accessibilityGranted.get());
}

TEST_F(AppModelTest, revokingAccessStopsTheMonitorWithinOneAndAHalfSeconds)
{
    start();
    EXPECT_TRUE(desktop.tap.isRunning());
    desktop.permissions.trusted = false;
    desktop.permissions.microphone = false;
    desktop.loop.advance(1500ms);
    EXPECT_FALSE(desktop.tap.isRunning());
    EXPECT_FALSE(model->microphoneGranted.get());
}

TEST_F(AppModelTest, revokingAccessEndsTheDictationWhoseKeyIsHeld)
{
    start();
    press();
    ASSERT_EQ(phase(), Phase::listening);
    desktop.permissions.trusted = false;
    desktop.loop.advance(1500ms);
    EXPECT_EQ(phase(), Phase::idle) << "its release would not be heard";
    EXPECT_EQ(desktop.keys.posted.size(), 2U);
}

TEST_F(AppModelTest, whileANewKeyIsRecordedTheMonitorIsStopped)
{
    start();
    model->setRecordingHotkey(true);
    EXPECT_TRUE(model->recording.get());
    desktop.loop.advance(10s);
    EXPECT_FALSE(desktop.tap.isRunning());
    model->setRecordingHotkey(false);
    EXPECT_TRUE(desktop.tap.isRunning());
}

TEST_F(AppModelTest, aNewHotkeyIsStoredAndWorksAtOnce)
{
    start();
    const Hotkey f5{96, 0, false};
    const int starts = desktop.tap.starts;
    model->setHotkey(f5);
    EXPECT_EQ(desktop.tap.starts, starts + 1);
    EXPECT_EQ(desktop.tap.interest.hotkey, f5);
    press();
    EXPECT_EQ(phase(), Phase::idle);
    EXPECT_TRUE(desktop.tap.keyDown(96));
    EXPECT_NE(phase(), Phase::idle);
    EXPECT_EQ(model->preferences.hotkey(), f5);
    EXPECT_EQ(model->hotkey.get(), f5);
}

TEST_F(AppModelTest, aHotkeyEditedInTheSettingsWorksAtOnce)
{
    start();
    editHotkey({96, 0, false});
    EXPECT_EQ(model->hotkey.get(), (Hotkey{96, 0, false}));
    EXPECT_EQ(desktop.tap.interest.hotkey, (Hotkey{96, 0, false}));
    press();
    EXPECT_EQ(phase(), Phase::idle);
    EXPECT_TRUE(desktop.tap.keyDown(96));
    EXPECT_EQ(phase(), Phase::preparing);
    desktop.tap.keyUp(96);
    desktop.defaults.set("hotkey.v2", std::nullopt);
    EXPECT_EQ(desktop.tap.interest.hotkey, Hotkey()) << "without an entry it is the default";
}

TEST_F(AppModelTest, aHotkeyThatChangesWhileItIsHeldEndsTheDictationAsItsReleaseWould)
{
    start();
    press();
    ASSERT_EQ(phase(), Phase::listening);
    editHotkey({96, 0, false});
    desktop.loop.runReady();
    EXPECT_EQ(phase(), Phase::idle);
    EXPECT_EQ(pastes(), 1U);
    EXPECT_EQ(pasteboard(), "hello world");
    desktop.tap.keyDown(96);
    desktop.loop.runReady();
    ASSERT_EQ(phase(), Phase::listening);
    model->setHotkey({49, 0x80000, false});
    desktop.loop.runReady();
    EXPECT_EQ(phase(), Phase::idle) << "also when the program itself changes it";
}

TEST_F(AppModelTest, theHotkeyThatIsHeldSetOnceMoreStillEndsTheDictationByItsRelease)
{
    start();
    press();
    model->setHotkey(model->hotkey.get());
    desktop.loop.runReady();
    ASSERT_EQ(phase(), Phase::listening);
    release();
    desktop.loop.runReady();
    EXPECT_EQ(phase(), Phase::idle);
    EXPECT_EQ(pastes(), 1U);
}

TEST_F(AppModelTest, anEditOfAnotherSettingWhileTheKeyIsHeldEndsNothing)
{
    start();
    press();
    const int starts = desktop.tap.starts;
    desktop.defaults.set("sounds", false);
    editHotkey({61, 0, true}); // the same key, written out
    desktop.loop.runReady();
    EXPECT_EQ(phase(), Phase::listening);
    EXPECT_EQ(desktop.tap.starts, starts);
}

TEST_F(AppModelTest, inToggleModeAHotkeyThatChangesWhileItIsHeldLetsTheDictationGoOn)
{
    startInToggleMode();
    press();
    editHotkey({96, 0, false});
    desktop.loop.runReady();
    EXPECT_EQ(phase(), Phase::listening);
    desktop.tap.keyDown(96);
    desktop.loop.runReady();
    EXPECT_EQ(phase(), Phase::idle);
}

TEST_F(AppModelTest, aHotkeyEditedWhileTheMonitorIsStoppedIsWatchedOnceItRuns)
{
    start();
    model->setRecordingHotkey(true);
    editHotkey({96, 0, false});
    EXPECT_FALSE(desktop.tap.isRunning());
    model->setRecordingHotkey(false);
    EXPECT_EQ(desktop.tap.interest.hotkey, (Hotkey{96, 0, false}));
}

TEST_F(AppModelTest, aPreviewAskedForDuringADictationChangesNothing)
{
    desktop.analyzers.assetsInstalled = false;
    desktop.analyzers.finishesAtOnce = false;
    start();
    const auto preview = [&](Phase during) {
        ASSERT_EQ(phase(), during);
        const auto token = model->hud.hideToken();
        model->previewHUD();
        desktop.loop.advance(5s);
        EXPECT_EQ(phase(), during);
        EXPECT_FALSE(model->dictation.isDemo.get());
        EXPECT_EQ(model->hud.hideToken(), token);
    };
    press();
    preview(Phase::preparing);
    desktop.analyzers.completeInstallation();
    desktop.loop.runReady();
    preview(Phase::listening);
    release();
    preview(Phase::finishing);
}

TEST_F(AppModelTest, theStoredHotkeyIsWatchedFromTheStart)
{
    start();
    model->setHotkey({49, 0x80000, false});
    model.reset();
    start();
    EXPECT_EQ(desktop.tap.interest.hotkey, (Hotkey{49, 0x80000, false}));
}

TEST_F(AppModelTest, quittingDuringADictationLeavesNothingBehind)
{
    start();
    press();
    model.reset();
    EXPECT_FALSE(desktop.tap.isRunning());
    EXPECT_FALSE(desktop.microphone.isCapturing());
    desktop.loop.advance(10s);
    EXPECT_EQ(pastes(), 0U);
}

class AppModelWithLocalEngine : public AppModelTest {
protected:
    const std::filesystem::path folder = desktop.folders.root / "parakeetRedux";

    AppModelWithLocalEngine()
    {
        FakeParakeet::install(desktop.mlModels);
        desktop.folders.putModel(folder);
        desktop.folders.files[folder / "parakeet_v3_vocab.json"] = FakeParakeet::vocabularyJson();
        desktop.defaults.values["engine"] = "parakeetRedux";
    }
};

TEST_F(AppModelWithLocalEngine, theSelectedModelIsLoadedAtTheStart)
{
    start();
    desktop.loop.runReady();
    EXPECT_EQ(desktop.mlModels.loads.size(), 4U);
    EXPECT_EQ(desktop.mlModels.loads.front().parent_path(), folder);
}

TEST_F(AppModelWithLocalEngine, theSelectedModelIsLoadedInTheBackgroundUntilADictationWaitsForIt)
{
    for (auto& [name, script] : desktop.mlModels.scripts) {
        script.loadTakes = 5s;
    }
    start();
    desktop.loop.runReady();
    using enum WorkPriority;
    EXPECT_EQ(desktop.mlModels.priorities, std::vector(4, background));
    press();
    desktop.mlModels.priorities.erase(desktop.mlModels.priorities.begin(),
                                      desktop.mlModels.priorities.begin() + 4);
    EXPECT_EQ(desktop.mlModels.priorities, std::vector(4, normal));
}

TEST_F(AppModelWithLocalEngine, dictationUsesTheSelectedEngine)
{
    start();
    desktop.loop.runReady();
    press();
    EXPECT_EQ(phase(), Phase::listening);
    EXPECT_TRUE(desktop.analyzers.streams.empty());
    release();
    model->models.select("apple");
    press();
    EXPECT_EQ(desktop.analyzers.streams.size(), 1U);
    release();
    EXPECT_EQ(pasteboard(), "hello world");
}

TEST_F(AppModelWithLocalEngine, aDictationBeforeTheFolderAnsweredUsesThePlatformsOwn)
{
    start();
    model->dictation.keyDown([this] { return model->models.makeTranscriber(); });
    desktop.loop.runReady();
    EXPECT_EQ(desktop.analyzers.streams.size(), 1U);
    EXPECT_EQ(model->models.selected.get(), "parakeetRedux");
}

TEST_F(AppModelWithLocalEngine, howFastItWasIsKeptForTheEngineThatDictated)
{
    start();
    desktop.loop.runReady();
    press();
    ASSERT_EQ(phase(), Phase::listening);
    desktop.microphone.deliver(
        FakeAudioInput::buffer(FakeParakeet::amplitude(12), 16000, /*rate=*/16000));
    desktop.loop.advance(5s);
    release();
    ASSERT_EQ(pasteboard(), "w12");
    EXPECT_EQ(model->speeds.text("parakeetRedux"), "About 0.1 s after a sentence of 5 s");
    EXPECT_EQ(model->speeds.text("apple"), "");
}

TEST_F(AppModelWithLocalEngine, anEngineThatHasNotAnsweredIsNotTheOneThatWasFast)
{
    start();
    desktop.tap.pressOption(); // ahead of what the folder answers
    desktop.loop.advance(5s);
    release();
    ASSERT_EQ(pasteboard(), "hello world");
    EXPECT_EQ(model->models.selected.get(), "parakeetRedux");
    EXPECT_EQ(model->speeds.text("apple"), "About 0.1 s after a sentence of 5 s");
    EXPECT_EQ(model->speeds.text("parakeetRedux"), "");
}

TEST_F(AppModelWithLocalEngine, removingTheEngineUnloadsIt)
{
    start();
    desktop.loop.runReady();
    ASSERT_EQ(desktop.mlModels.alive(), 4U);
    model->models.remove(model->models.engines.get().at(2)); // whichever engine it is
    desktop.loop.runReady();
    EXPECT_EQ(desktop.mlModels.alive(), 0U);
}

TEST(VorlinApp, createsItsModelOnceWhenFirstAsked)
{
    FakePorts desktop;
    VorlinApp app(desktop.ports(), [] {});
    EXPECT_FALSE(desktop.tap.isRunning());
    AppModel& model = app.model();
    EXPECT_TRUE(desktop.tap.isRunning());
    EXPECT_EQ(&app.model(), &model);
}

} // namespace
} // namespace vorlin
