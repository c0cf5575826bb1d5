#include "Settings/EngineRow.h"

#include "ModelStoreFixture.h"
#include "Settings/ModelsTab.h"
#include "fakes/FakePorts.h"

#include <algorithm>

namespace vorlin {
namespace {

using Names = std::vector<std::string>;

class EngineRowTest : public ModelStoreFixture {
protected:
    FormRow row(const std::string& id)
    {
        return engineRow(engine(id), speed,
                         {*store, desktop.workspace, wishes, plainWording(), lifetime});
    }
    EngineControl control(const std::string& id)
    {
        return std::get<EngineControl>(row(id).control);
    }
    static Names texts(const std::vector<Command>& commands)
    {
        Names found;
        for (const auto& command : commands) {
            found.push_back(command.text.empty() ? command.help : command.text);
        }
        return found;
    }
    static Names texts(const CommandMenu& menu)
    {
        Names found;
        for (const auto& group : menu) {
            for (const auto& text : texts(group)) {
                found.push_back(text);
            }
            found.emplace_back("-");
        }
        return found;
    }
    void addCustomEngines()
    {
        storeCustomEngines("[" + localJson("custom-1", "/mine") + "," + hubJson("custom-2", "a/b") +
                           "]");
    }

    FakePorts desktop;
    std::string speed;
    WorkspaceWishes wishes{loop, [] {}};
    Lifetime lifetime;
};

TEST_F(EngineRowTest, anEngineIsShownWithEverythingItHas)
{
    start();
    const auto shown = row("parakeetUltra");
    const auto& ultra = std::get<EngineControl>(shown.control);
    EXPECT_EQ(shown.label, "NVIDIA Parakeet Ultra");
    EXPECT_EQ(ultra.sizeLabel, "≈ 630 MB");
    EXPECT_EQ(ultra.badge, "");
    EXPECT_EQ(ultra.summary, engine("parakeetUltra").summary);
    EXPECT_EQ(ultra.tags, (Names{"25 languages", "Auto-detects language", "Most accurate"}));
}

TEST_F(EngineRowTest, aCustomEngineHasABadgeInPlaceOfASize)
{
    addCustomEngines();
    start();
    EXPECT_EQ(control("custom-1").badge, "Custom");
    EXPECT_EQ(control("custom-1").sizeLabel, "");
    EXPECT_TRUE(control("custom-1").tags.empty());
}

TEST_F(EngineRowTest, onlyAnInstalledEngineCanBeSelected)
{
    folders.putModel(root("parakeetRedux"));
    start();
    EXPECT_TRUE(control("apple").selected);
    EXPECT_EQ(control("apple").select.symbol, "checkmark.circle.fill");
    EXPECT_EQ(control("parakeetRedux").select.symbol, "circle");
    EXPECT_EQ(control("parakeetRedux").select.help, "Use NVIDIA Parakeet Redux");
    EXPECT_TRUE(control("parakeetRedux").select.enabled);
    EXPECT_FALSE(control("parakeetUltra").select.enabled);
    control("parakeetUltra").select.press();
    EXPECT_TRUE(control("apple").selected);
    control("parakeetRedux").select.press();
    EXPECT_TRUE(control("parakeetRedux").selected);
    EXPECT_FALSE(control("apple").selected);
}

TEST_F(EngineRowTest, aFolderThatHasNotAnsweredLeavesNothingToDo)
{
    folders.putModel(root("parakeetRedux"));
    workers.hanging = true;
    start();
    const auto waiting = control("parakeetRedux");
    EXPECT_FALSE(waiting.select.enabled);
    EXPECT_TRUE(waiting.commands.empty());
    EXPECT_TRUE(waiting.menu.empty());
    EXPECT_EQ(waiting.progress, std::nullopt);
    workers.answer();
    loop.runReady();
    EXPECT_TRUE(control("parakeetRedux").select.enabled);
}

TEST_F(EngineRowTest, anEngineThatIsNotInstalledIsDownloadedAndCancelled)
{
    start();
    EXPECT_EQ(texts(control("parakeetRedux").commands), (Names{"Download"}));
    control("parakeetRedux").commands[0].press();
    loop.runReady();
    EXPECT_EQ(control("parakeetRedux").progress, 0.0);
    downloads.last().onProgress(0.428);
    loop.runReady();
    const auto loading = control("parakeetRedux");
    EXPECT_EQ(loading.progress, 0.428);
    EXPECT_EQ(loading.percentage, "42%");
    EXPECT_FALSE(loading.select.enabled);
    ASSERT_EQ(texts(loading.commands), (Names{"Cancel download"}));
    EXPECT_EQ(loading.commands[0].symbol, "xmark.circle.fill");
    loading.commands[0].press();
    EXPECT_TRUE(downloads.last().stop.stopRequested());
    EXPECT_EQ(texts(control("parakeetRedux").commands), (Names{"Download"}));
    EXPECT_EQ(store->lastError.get(), std::nullopt);
    FakeDownloads::endCancelled(downloads.last());
    loop.runReady();
}

TEST_F(EngineRowTest, anInstalledEngineShowsItsSizeAndAMenu)
{
    folders.putModel(root("parakeetRedux"), 623'400'000);
    start();
    const auto installed = control("parakeetRedux");
    EXPECT_EQ(installed.size, "623.4 MB");
    EXPECT_TRUE(installed.commands.empty());
    EXPECT_EQ(texts(installed.menu), (Names{"Show in Finder", "-", "Delete download", "-"}));
    EXPECT_EQ(installed.menu, installed.contextMenu);
    EXPECT_EQ(installed.menuButton.symbol, "ellipsis.circle");
    EXPECT_EQ(installed.menuButton.help, "More for NVIDIA Parakeet Redux");
    EXPECT_TRUE(installed.menu[1][0].destructive);
    installed.menu[0][0].press();
    EXPECT_EQ(desktop.workspace.revealed.at(0), root("parakeetRedux"));
    installed.menu[1][0].press();
    loop.runReady();
    EXPECT_EQ(folders.removed.at(0), root("parakeetRedux"));
}

TEST_F(EngineRowTest, removalIsCalledByWhatItDoes)
{
    addCustomEngines();
    start();
    EXPECT_TRUE(control("apple").contextMenu.empty());
    EXPECT_TRUE(control("apple").menu.empty());
    EXPECT_EQ(control("parakeetUltra").contextMenu.at(1).at(0).text, "Delete download");
    EXPECT_EQ(control("custom-1").contextMenu.at(1).at(0).text, "Remove from list");
    EXPECT_EQ(control("custom-2").contextMenu.at(1).at(0).text, "Delete model");
    EXPECT_EQ(texts(control("custom-2").commands), (Names{"Download", "Remove from list"}));
}

TEST_F(EngineRowTest, anIncompleteLocalFolderSaysWhatItLacksAndOffersNoDownload)
{
    addCustomEngines();
    folders.putModel("/mine");
    folders.contents["/mine"].erase("Encoder.mlmodelc");
    folders.contents["/mine"].erase("parakeet_v3_vocab.json");
    start();
    EXPECT_EQ(row("custom-1").problem, "Missing: Encoder.mlmodelc, parakeet_v3_vocab.json.");
    ASSERT_EQ(texts(control("custom-1").commands), (Names{"Remove from list"}));
    EXPECT_EQ(row("parakeetRedux").problem, "")
        << "a download lacks everything, as its button says";
    control("custom-1").commands[0].press();
    EXPECT_EQ(ids().size(), 4U);
    EXPECT_TRUE(store->lacking.get().count("custom-1") == 0);
}

TEST_F(EngineRowTest, aFolderThatCannotBeShownSaysWhyUntilItIsAskedForAgain)
{
    addCustomEngines();
    folders.putModel("/mine");
    start();
    const auto show = control("custom-1").contextMenu.at(0).at(0).press;
    desktop.workspace.refusal = "No file manager was found.";
    show();
    EXPECT_EQ(row("custom-1").problem, "");
    loop.runReady();
    EXPECT_EQ(row("custom-1").problem, "No file manager was found.");
    EXPECT_EQ(row("custom-2").problem, "");
    desktop.workspace.refusal.reset();
    show();
    EXPECT_EQ(row("custom-1").problem, "");
    loop.runReady();
    EXPECT_EQ(row("custom-1").problem, "");
}

TEST_F(EngineRowTest, anAnswerThatWasOvertakenSaysNothing)
{
    start();
    Completion<Done> first;
    const auto late = first.completer();
    wishes.follow("apple", std::move(first));
    Completion<Done> second;
    second.completer().complete({});
    wishes.follow("apple", std::move(second));
    loop.runReady();
    late.failWith("Too late.");
    loop.runReady();
    EXPECT_EQ(row("apple").problem, "");
}

TEST_F(EngineRowTest, whatIsKnownOfTheSpeedShowsWhenItIsAskedFor)
{
    start();
    speed = "About 0.4 s after a sentence of 5 s";
    EXPECT_EQ(control("apple").help, speed);
}

TEST_F(EngineRowTest, anEngineWhoseIdLeadsAstrayHasNoFolderToShow)
{
    storeCustomEngines("[" + hubJson("../x", "a/b") + "]");
    start();
    EXPECT_EQ(texts(control("../x").contextMenu), (Names{"Delete model", "-"}));
}

} // namespace
} // namespace vorlin
