#include "SettingsFixture.h"

#include "Models/ModelFolder.h"

namespace vorlin {
namespace {

using namespace std::chrono_literals;
using Names = std::vector<std::string>;

class ModelsTabTest : public SettingsFixture {
protected:
    ModelsTabTest()
    {
        desktop.folders.putModel("/mine");
        desktop.analyzers.spoken = "hello";
        open();
    }

    const FormSection& section() const { return form(SettingsTab::models).at(0); }
    AddModelSheet& sheet() { return settings->models.sheet; }
    const FormRow& sheetRow(const std::string& id) { return rowIn(sheet().form.get(), id); }
    template <class Control>
    const Control& sheetControl(const std::string& id)
    {
        return std::get<Control>(sheetRow(id).control);
    }
    void chooseSource(std::size_t index) { sheetControl<PickerControl>("source").choose(index); }
    void enterRepository(const std::string& text)
    {
        sheetControl<FieldControl>("repository").edit(text);
    }
    void chooseFolder(const FakeWorkspace::Chosen& chosen)
    {
        sheetControl<FolderControl>("folder").choose.press();
        desktop.loop.runReady();
        desktop.workspace.chosen->complete(chosen);
        desktop.loop.runReady();
    }
};

TEST_F(ModelsTabTest, listsEveryEngineUnderItsHeaderAndAboveItsFooter)
{
    EXPECT_EQ(section().header, "Speech engines");
    EXPECT_EQ(rowIds(section()), (Names{"apple", "parakeetRedux", "parakeetUltra"}));
    ASSERT_EQ(section().commands.size(), 2U);
    EXPECT_EQ(section().commands[0].text, "Show in Finder");
    EXPECT_EQ(section().commands[0].symbol, "folder");
    EXPECT_EQ(section().commands[1].text, "Add model…");
    EXPECT_EQ(section().commands[1].symbol, "plus");
    EXPECT_EQ(section().footer,
              "Models run entirely on your Mac. Downloads come straight from Hugging Face when "
              "you ask for them, and can be removed at any time. Parakeet transcribes when you "
              "release the key, in seconds.");
}

TEST_F(ModelsTabTest, showInFinderMakesTheRootAndOpensIt)
{
    section().commands[0].press();
    EXPECT_TRUE(desktop.workspace.opened.empty());
    desktop.loop.runReady();
    EXPECT_TRUE(desktop.folders.madeRoot);
    EXPECT_EQ(desktop.workspace.opened.at(0), desktop.folders.root);
}

TEST_F(ModelsTabTest, aFolderThatCannotBeShownSaysWhy)
{
    desktop.workspace.refusal = "Nothing here opens it.";
    section().commands[0].press();
    desktop.loop.runReady();
    EXPECT_EQ(row(SettingsTab::models, "modelsRoot").problem, "Nothing here opens it.");
    model->models.addLocal("/mine", "Mine");
    desktop.loop.runReady();
    const auto id = model->models.selected.get();
    control<EngineControl>(SettingsTab::models, id).menu.at(0).at(0).press();
    desktop.loop.runReady();
    EXPECT_EQ(row(SettingsTab::models, id).problem, "Nothing here opens it.");
    desktop.workspace.refusal.reset();
    section().commands[0].press();
    desktop.loop.runReady();
    EXPECT_FALSE(hasRow(SettingsTab::models, "modelsRoot"));
}

TEST_F(ModelsTabTest, theLastErrorStandsAsLongAsItIsPresent)
{
    EXPECT_FALSE(hasRow(SettingsTab::models, "lastError"));
    model->models.addHub("owner", "");
    EXPECT_EQ(
        row(SettingsTab::models, "lastError").problem,
        "Enter a repository as owner/name, for example FluidInference/parakeet-ultra-coreml.");
    openWindow();
    EXPECT_TRUE(hasRow(SettingsTab::models, "lastError")) << "also when the window opens later";
    model->models.addLocal("/mine", "");
    desktop.loop.runReady();
    EXPECT_FALSE(hasRow(SettingsTab::models, "lastError"));
}

TEST_F(ModelsTabTest, aSelectionMadeElsewhereMovesTheCheckMark)
{
    model->models.addLocal("/mine", "Mine");
    desktop.loop.runReady();
    const auto id = model->models.selected.get();
    EXPECT_TRUE(control<EngineControl>(SettingsTab::models, id).selected);
    EXPECT_FALSE(control<EngineControl>(SettingsTab::models, "apple").selected);
    control<EngineControl>(SettingsTab::models, id).menu.back().back().press();
    EXPECT_FALSE(hasRow(SettingsTab::models, id));
    EXPECT_TRUE(control<EngineControl>(SettingsTab::models, "apple").selected);
}

TEST_F(ModelsTabTest, anEngineThatWasUsedHereSaysHowFastItWas)
{
    EXPECT_EQ(control<EngineControl>(SettingsTab::models, "apple").help, "");
    desktop.analyzers.finishesAtOnce = false;
    desktop.tap.pressOption();
    desktop.loop.advance(5s);
    desktop.tap.releaseOption();
    desktop.loop.advance(400ms);
    desktop.analyzers.finish(*desktop.analyzers.streams.back());
    desktop.loop.runReady();
    EXPECT_EQ(control<EngineControl>(SettingsTab::models, "apple").help,
              "About 0.4 s after a sentence of 5 s");
    openWindow();
    EXPECT_EQ(control<EngineControl>(SettingsTab::models, "apple").help,
              "About 0.4 s after a sentence of 5 s");
    open();
    EXPECT_EQ(control<EngineControl>(SettingsTab::models, "apple").help,
              "About 0.4 s after a sentence of 5 s")
        << "kept for the next start";
}

TEST_F(ModelsTabTest, aDictationWithoutATextOrOfLessThanASecondIsNotMeasured)
{
    desktop.tap.pressOption();
    desktop.loop.advance(900ms);
    desktop.tap.releaseOption();
    desktop.loop.runReady();
    desktop.analyzers.spoken = "";
    desktop.tap.pressOption();
    desktop.loop.advance(5s);
    desktop.tap.releaseOption();
    desktop.loop.runReady();
    EXPECT_EQ(control<EngineControl>(SettingsTab::models, "apple").help, "");
}

TEST_F(ModelsTabTest, aDictationOfLessThanASecondLeavesTheSpeedThatIsKnown)
{
    desktop.state.values["apple.sentence"] = 5.0;
    desktop.state.values["apple.wait"] = 0.4;
    desktop.tap.pressOption();
    desktop.loop.advance(900ms);
    desktop.tap.releaseOption();
    desktop.loop.runReady();
    EXPECT_EQ(desktop.pasteboard.string(), "hello") << "it was one, with a text";
    EXPECT_EQ(model->speeds.text("apple"), "About 0.4 s after a sentence of 5 s");
}

TEST_F(ModelsTabTest, aStoredSpeedThatIsNoSensibleNumberIsNotKnown)
{
    for (const DefaultsValue& bad :
         std::vector<DefaultsValue>{"0.4", true, -1.0, 1e9, std::nan("")}) {
        desktop.state.values["apple.sentence"] = 5.0;
        desktop.state.values["apple.wait"] = bad;
        EXPECT_EQ(model->speeds.text("apple"), "");
    }
    desktop.state.values["apple.wait"] = 0.01;
    EXPECT_EQ(model->speeds.text("apple"), "About 0.1 s after a sentence of 5 s");
    desktop.state.values["apple.sentence"] = 0.5;
    EXPECT_EQ(model->speeds.text("apple"), "");
}

TEST_F(ModelsTabTest, theSheetAsksForARepositoryFirst)
{
    EXPECT_FALSE(sheet().adding.get());
    section().commands[1].press();
    EXPECT_TRUE(sheet().adding.get());
    EXPECT_EQ(rowIds(sheet().form.get().at(0)), (Names{"source", "name", "repository"}));
    EXPECT_EQ(labels(sheetControl<PickerControl>("source")), (Names{"Hugging Face", "Folder"}));
    EXPECT_EQ(sheetRow("source").label, "Source");
    EXPECT_EQ(sheetRow("name").label, "Name (optional)");
    EXPECT_EQ(sheetRow("repository").label, "Repository");
    EXPECT_EQ(sheetControl<FieldControl>("repository").placeholder, "owner/repository");
    EXPECT_EQ(sheet().form.get().at(0).footer,
              "Works with Parakeet-TDT CoreML exports that contain Preprocessor, Encoder, Decoder "
              "and JointDecisionv3 (.mlmodelc) plus parakeet_v3_vocab.json, such as the "
              "FluidInference repositories. A folder is used in place and never copied or "
              "deleted.");
    EXPECT_EQ(sheet().cancel.get().text, "Cancel");
    EXPECT_EQ(sheet().confirm.get().text, "Add & Download");
    chooseSource(1);
    EXPECT_EQ(rowIds(sheet().form.get().at(0)), (Names{"source", "name", "folder"}));
    EXPECT_EQ(sheetRow("folder").label, "Folder on this Mac");
    EXPECT_EQ(sheetControl<FolderControl>("folder").choose.text, "Choose");
    EXPECT_EQ(sheet().confirm.get().text, "Add");
}

TEST_F(ModelsTabTest, aRepositoryNeedsAStrokeAndTheStoreSaysTheRest)
{
    sheet().open();
    EXPECT_FALSE(sheet().confirm.get().enabled);
    enterRepository("owner");
    EXPECT_FALSE(sheet().confirm.get().enabled);
    sheet().confirm.get().press();
    EXPECT_TRUE(sheet().adding.get());
    enterRepository("owner/name/extra");
    EXPECT_TRUE(sheet().confirm.get().enabled);
    sheet().confirm.get().press();
    EXPECT_FALSE(sheet().adding.get());
    EXPECT_EQ(
        row(SettingsTab::models, "lastError").problem,
        "Enter a repository as owner/name, for example FluidInference/parakeet-ultra-coreml.");
}

TEST_F(ModelsTabTest, aRepositoryIsAddedWithTheNameAsTyped)
{
    sheet().open();
    enterRepository(" owner/name ");
    sheetControl<FieldControl>("name").edit("Called so");
    sheet().confirm.get().press();
    const auto& added = model->models.engines.get().back();
    EXPECT_EQ(added.name, "Called so");
    EXPECT_EQ(added.source, Engine::Source(Engine::Hub{"owner/name"}));
}

TEST_F(ModelsTabTest, aFolderIsChosenInADialogAndAdded)
{
    sheet().open();
    chooseSource(1);
    EXPECT_FALSE(sheet().confirm.get().enabled);
    chooseFolder("/mine");
    ASSERT_EQ(desktop.workspace.dialogs.size(), 1U);
    EXPECT_EQ(desktop.workspace.dialogs[0],
              (std::pair<std::string, std::string>("Folder on this Mac", "Choose")));
    EXPECT_EQ(sheetControl<FolderControl>("folder").path, "/mine");
    EXPECT_TRUE(sheet().confirm.get().enabled);
    chooseFolder(std::nullopt);
    EXPECT_EQ(sheetControl<FolderControl>("folder").path, "/mine") << "cancelling changes nothing";
    sheet().confirm.get().press();
    desktop.loop.runReady();
    EXPECT_FALSE(sheet().adding.get());
    EXPECT_EQ(model->models.engines.get().back().source, Engine::Source(Engine::Local{"/mine"}));
}

TEST_F(ModelsTabTest, aDialogThatCannotBeShownSaysWhy)
{
    sheet().open();
    chooseSource(1);
    desktop.workspace.refusal = "No dialog here.";
    sheetControl<FolderControl>("folder").choose.press();
    desktop.loop.runReady();
    EXPECT_EQ(sheetRow("folder").problem, "No dialog here.");
}

TEST_F(ModelsTabTest, aDialogGoesWithItsSheetAndWithTheWindow)
{
    for (const auto& end : std::vector<std::function<void()>>{
             [this] { sheet().cancel.get().press(); },
             [this] { sheet().confirm.get().press(); },
             [this] { settings.reset(); },
         }) {
        sheet().open();
        chooseSource(1);
        chooseFolder("/mine");
        sheetControl<FolderControl>("folder").choose.press();
        desktop.loop.runReady();
        EXPECT_TRUE(desktop.workspace.isChoosing);
        end();
        EXPECT_FALSE(desktop.workspace.isChoosing);
    }
}

TEST_F(ModelsTabTest, aDialogThatAnswersAsItsSheetGoesChangesNothing)
{
    sheet().open();
    chooseSource(1);
    sheetControl<FolderControl>("folder").choose.press();
    desktop.loop.runReady();
    desktop.workspace.chosen->complete("/mine");
    sheet().cancel.get().press();
    EXPECT_FALSE(sheet().adding.get());
    sheet().open();
    chooseSource(1);
    desktop.loop.runReady();
    EXPECT_EQ(sheetControl<FolderControl>("folder").path, "");
}

TEST_F(ModelsTabTest, theSheetOpensEmptyEachTime)
{
    sheet().open();
    enterRepository("owner/name");
    sheetControl<FieldControl>("name").edit("Mine");
    chooseSource(1);
    sheet().dismiss();
    sheet().open();
    EXPECT_EQ(sheetControl<FieldControl>("repository").text, "");
    EXPECT_EQ(sheetControl<FieldControl>("name").text, "");
    EXPECT_FALSE(sheet().confirm.get().enabled);
}

} // namespace
} // namespace vorlin
