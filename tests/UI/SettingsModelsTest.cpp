#include "UI/SettingsWindowFixture.h"

namespace vorlin {
namespace {

using Paths = std::vector<std::filesystem::path>;

class SettingsModels : public SettingsWindowFixture {
protected:
    /// Shows this engine alone, whatever the catalog holds.
    void showEngine(const EngineControl& control)
    {
        auto* form = window->bridge().form();
        auto* section = form->sections().constFirst().value<FormSectionBridge*>();
        section->show({"Speech engines", {}, {{"one", "One", control, {}}}, {}});
        settle();
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
