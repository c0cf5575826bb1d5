#include "UI/SettingsWindowFixture.h"

#include "Platform/RunUntil.h"

namespace vorlin {
namespace {

using Paths = std::vector<std::filesystem::path>;

class SettingsModels : public SettingsWindowFixture {
protected:
    /// Shows this engine alone, whatever the catalog holds.
    void showEngine(const EngineControl& control, const std::string& name = "One")
    {
        auto* form = window->bridge().form();
        auto* section = form->sections().constFirst().value<FormSectionBridge*>();
        section->show({"Speech engines", {}, {{"one", name, control, {}}}, {}});
        picture(); // by then it has found its place
    }
    /// Whether the whole of it is between the tabs and the window's lower edge.
    bool isInSight(const std::string& name)
    {
        const auto* item = control(name);
        const QRectF at = item->mapRectToScene(item->boundingRect());
        return at.top() >= 66 && at.bottom() <= window->quickWindow().height();
    }
    /// The form shows the catalog again once the catalog changes, not before.
    EngineControl engine() const
    {
        EngineControl control;
        control.summary = "Does it all.";
        control.select = {.symbol = "circle", .help = "Use One", .press = [] {}};
        return control;
    }
};

TEST_F(SettingsModels, selectsAnEngine)
{
    desktop.folders.putModel("/models/parakeetRedux");
    open(SettingsTab::models);
    click("Use NVIDIA Parakeet Redux");
    EXPECT_EQ(model->models.selected.get(), "parakeetRedux");
    EXPECT_FALSE(control("Use NVIDIA Parakeet Ultra")->isEnabled());
}

TEST_F(SettingsModels, showsADownloadAndCancelsIt)
{
    open(SettingsTab::models);
    int cancelled = 0;
    auto downloading = engine();
    downloading.progress = 0.42;
    downloading.percentage = "42%";
    downloading.commands = {{.symbol = "xmark.circle.fill",
                             .help = "Cancel download",
                             .press = [&cancelled] { ++cancelled; }}};
    showEngine(downloading);
    EXPECT_TRUE(has("42%"));
    EXPECT_EQ(accessibleRole(control("One, 42%")), QAccessible::ProgressBar);
    focus("Cancel download");
    downloading.progress = 0.43;
    downloading.percentage = "43%";
    showEngine(downloading);
    EXPECT_EQ(focused(), "Cancel download");
    press(Qt::Key_Space);
    EXPECT_EQ(cancelled, 1);
}

TEST_F(SettingsModels, aDoubleClickOrAHeldKeyBeginsADownloadAndDoesNotCancelIt)
{
    desktop.http.otherwise = [](const auto& /*request*/) { // a hub that falls silent
        return FakeHTTPClient::Answer{200, {}, {}, std::nullopt, true, {}};
    };
    open(SettingsTab::models);
    const auto isDownloading = [this](const std::string& id) {
        return std::holds_alternative<ModelStore::Downloading>(model->models.states.get().at(id));
    };
    doubleClick("Download");
    EXPECT_TRUE(isDownloading("parakeetRedux"));
    focus("Download");
    hold(Qt::Key_Return);
    EXPECT_TRUE(isDownloading("parakeetUltra"));
}

TEST_F(SettingsModels, showsWhatCanBeDoneInEachState)
{
    open(SettingsTab::models);
    auto absent = engine();
    absent.commands = {{.text = "Download", .symbol = "arrow.down.circle", .press = [] {}},
                       {.symbol = "xmark.circle.fill", .help = "Remove from list", .press = [] {}}};
    showEngine(absent);
    EXPECT_TRUE(has("Download"));
    EXPECT_TRUE(has("Remove from list"));
    auto installed = engine();
    installed.size = "641 MB";
    installed.menu = {{{.text = "Show in Files", .symbol = "folder", .press = [] {}}},
                      {{.text = "Delete download", .symbol = "trash", .destructive = true}}};
    showEngine(installed);
    EXPECT_FALSE(has("Download"));
    EXPECT_TRUE(has("641 MB"));
    EXPECT_TRUE(has("One"));
    auto unknown = engine(); // its folder has not answered yet
    unknown.select.enabled = false;
    showEngine(unknown);
    EXPECT_FALSE(control("Use One")->isEnabled());
    EXPECT_FALSE(has("641 MB"));
}

TEST_F(SettingsModels, nothingLongInARowRunsOverTheControlsBesideIt)
{
    open(SettingsTab::models);
    const std::string longest(90, 'M');
    auto wordy = engine();
    wordy.sizeLabel = wordy.badge = longest;
    wordy.tags = {longest, "short"};
    wordy.commands = {{.text = "Download", .symbol = "arrow.down.circle", .press = [] {}}};
    showEngine(wordy, longest);
    auto* const leading = control("Use One");
    int texts = 0;
    for (auto* each : controls()) {
        if (leading->isAncestorOf(each)) {
            ++texts;
            EXPECT_LE(each->mapRectToItem(leading, each->boundingRect()).right(), leading->width())
                << accessibleName(each);
        }
    }
    EXPECT_EQ(texts, 6); // name, size, badge, summary, two tags
}

TEST_F(SettingsModels, aNameOfSixtyLettersIsShownWhole)
{
    open(SettingsTab::models);
    auto absent = engine();
    absent.commands = {{.text = "Download", .symbol = "arrow.down.circle", .press = [] {}}};
    const std::string name = "Parakeet for long meetings, exported on a Sunday in November";
    ASSERT_EQ(name.size(), 60U);
    showEngine(absent, name);
    EXPECT_FALSE(control(name)->property("truncated").toBool());
}

TEST_F(SettingsModels, saysHowFastAnEngineWasWhereTheFocusRests)
{
    open(SettingsTab::models);
    auto used = engine();
    used.help = "About 0.4 s after a sentence of 5 s";
    showEngine(used);
    EXPECT_FALSE(has(used.help));
    focus("Use One");
    EXPECT_TRUE(runUntil([&] { return has(used.help); }));
    focus("Models");
    EXPECT_TRUE(runUntil([&] { return !has(used.help); }));
}

TEST_F(SettingsModels, saysHowFastAnEngineWasWhereThePointerRests)
{
    open(SettingsTab::models);
    auto used = engine();
    used.help = "About 0.4 s after a sentence of 5 s";
    showEngine(used);
    pointAt("Use One");
    EXPECT_TRUE(runUntil([&] { return has(used.help); }));
    pointAt("General");
    EXPECT_TRUE(runUntil([&] { return !has(used.help); }));
}

TEST_F(SettingsModels, opensTheContextMenuWithTheSecondButton)
{
    desktop.folders.putModel("/models/parakeetRedux");
    open(SettingsTab::models);
    EXPECT_FALSE(has("Delete download"));
    click("Use NVIDIA Parakeet Redux", Qt::RightButton);
    EXPECT_TRUE(has("Delete download"));
    click("Delete download");
    EXPECT_EQ(desktop.folders.removed, Paths{"/models/parakeetRedux"});
}

TEST_F(SettingsModels, saysWhatWentWrong)
{
    open(SettingsTab::models);
    model->models.addHub("a/b/c", "");
    settle();
    ASSERT_TRUE(model->models.lastError.get());
    EXPECT_TRUE(has(*model->models.lastError.get()));
}

TEST_F(SettingsModels, bringsIntoSightWhatWentWrongFarAbove)
{
    open(SettingsTab::models);
    for (const char* each : {"/disk/one", "/disk/two", "/disk/three"}) {
        desktop.folders.putModel(each);
        model->models.addLocal(each, "");
        settle();
    }
    focus("Use three");
    press(Qt::Key_PageDown);
    press(Qt::Key_PageDown);
    picture();
    model->models.addHub("a/b/c", "");
    settle();
    const auto line = *model->models.lastError.get();
    EXPECT_TRUE(runUntil([&] { return isInSight(line); }));
    press(Qt::Key_PageDown);
    press(Qt::Key_PageDown);
    picture();
    EXPECT_FALSE(isInSight(line)) << "the person has read it, and scrolls on";
}

TEST_F(SettingsModels, addsAFolderThroughTheSheet)
{
    desktop.folders.putModel("/disk/mine");
    open(SettingsTab::models);
    click("Add model…");
    EXPECT_FALSE(control("Add & Download")->isEnabled());
    click("Folder");
    EXPECT_FALSE(control("Add")->isEnabled());
    click("Choose");
    ASSERT_EQ(desktop.workspace.dialogs.size(), 1U);
    EXPECT_EQ(desktop.workspace.dialogs[0].first, "Folder on this computer");
    desktop.workspace.chosen->complete("/disk/mine");
    settle();
    EXPECT_TRUE(has("/disk/mine"));
    focus("Name (optional)");
    type("My own");
    click("Add");
    EXPECT_FALSE(view->models.sheet.adding.get());
    EXPECT_TRUE(has("Use My own"));
}

TEST_F(SettingsModels, entersARepositoryLetterByLetter)
{
    open(SettingsTab::models);
    click("Add model…");
    focus("Repository");
    type("me");
    EXPECT_FALSE(control("Add & Download")->isEnabled());
    type("/it");
    EXPECT_TRUE(control("Add & Download")->isEnabled());
    EXPECT_EQ(control("Repository")->property("text").toString(), "me/it");
    click("Cancel");
    EXPECT_FALSE(view->models.sheet.adding.get());
    click("Add model…");
    EXPECT_EQ(control("Repository")->property("text").toString(), "");
}

} // namespace
} // namespace vorlin
