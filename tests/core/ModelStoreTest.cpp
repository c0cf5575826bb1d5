#include "ModelStoreFixture.h"

#include <gmock/gmock.h>

namespace vorlin {
namespace {

using testing::ElementsAre;
using namespace std::string_literals;

class ModelStoreStart : public ModelStoreFixture {};

TEST_F(ModelStoreStart, anEmptyStoreHasTheBuiltInEnginesAndSelectsThePlatformsOwn)
{
    start();
    EXPECT_EQ(store->engines.get(), Engine::builtIn());
    EXPECT_EQ(state("apple"), "installed");
    EXPECT_EQ(state("parakeetRedux"), "notInstalled");
    EXPECT_EQ(state("parakeetUltra"), "notInstalled");
    EXPECT_EQ(store->selected.get(), "apple");
    EXPECT_EQ(storedSelection(), "(none)");
    EXPECT_EQ(error(), "(none)");
    EXPECT_TRUE(store->sizes.get().empty());
    EXPECT_TRUE(speech.asked.empty());
}

TEST_F(ModelStoreStart, customEnginesFollowTheBuiltInOnesInTheirOrder)
{
    folders.putModel("/models/b");
    storeCustomEngines('[' + localJson("custom-b", "/models/b") + ',' + hubJson("custom-a", "o/a") +
                       ']');
    start();
    EXPECT_THAT(ids(),
                ElementsAre("apple", "parakeetRedux", "parakeetUltra", "custom-b", "custom-a"));
    EXPECT_EQ(state("custom-b"), "installed");
    EXPECT_EQ(state("custom-a"), "notInstalled");
}

TEST_F(ModelStoreStart, aDamagedListGivesNoCustomEnginesAndNoMessage)
{
    storeCustomEngines('[' + localJson("custom-b", "/models/b") + ",{}]");
    start();
    EXPECT_EQ(store->engines.get(), Engine::builtIn());
    EXPECT_EQ(error(), "(none)");
}

TEST_F(ModelStoreStart, anIdCountsOnce)
{
    storeCustomEngines('[' + localJson("apple", "/x") + ',' + localJson("custom-a", "/x") + ',' +
                       localJson("custom-a", "/y") + ']');
    start();
    EXPECT_THAT(ids(), ElementsAre("apple", "parakeetRedux", "parakeetUltra", "custom-a"));
    EXPECT_EQ(engine("custom-a").source, Engine::Source(Engine::Local{"/x"}));
    EXPECT_EQ(state("apple"), "installed");
}

TEST_F(ModelStoreStart, installedModelsAreMeasured)
{
    folders.putModel(root("parakeetUltra"), 623'400'000);
    start();
    EXPECT_EQ(state("parakeetUltra"), "installed");
    EXPECT_EQ(loop.jobsOf(WorkPriority::normal), 2U) << "a look at each folder";
    EXPECT_EQ(loop.jobsOf(WorkPriority::background), 1U) << "the size of the one there is";
    EXPECT_EQ(size("parakeetUltra"), "623.4 MB");
    EXPECT_EQ(size("parakeetRedux"), "(none)");
}

TEST_F(ModelStoreStart, aSelectedEngineThatLacksAFileGivesWayToThePlatformsOwn)
{
    folders.putModel(root("parakeetUltra"));
    folders.contents[root("parakeetUltra")].erase("Decoder.mlmodelc");
    defaults.values["engine"] = "parakeetUltra";
    start();
    EXPECT_EQ(store->selected.get(), "apple");
    EXPECT_EQ(storedSelection(), "apple");
    EXPECT_EQ(state("parakeetUltra"), "notInstalled");
    EXPECT_EQ(error(), "(none)"); // nobody wonders about what is not there
    EXPECT_TRUE(speech.asked.empty());
}

TEST_F(ModelStoreStart, aSelectedEngineWithAFileThatCannotBeUsedGivesWayWithTheFileAndTheReason)
{
    folders.putModel("/models/mine");
    folders.unusable["/models/mine/Decoder.mlmodelc"] = "weights leads to a device";
    storeCustomEngines('[' + localJson("custom-mine", "/models/mine") + ']');
    defaults.values["engine"] = "custom-mine";
    start();
    EXPECT_EQ(storedSelection(), "apple");
    EXPECT_EQ(error(), "N cannot be used. Missing: Decoder.mlmodelc (weights leads to a device).");
}

TEST_F(ModelStoreStart, theReasonIsSaidOfTheSelectedEngineOnly)
{
    folders.putModel("/models/mine");
    folders.unusable["/models/mine/Decoder.mlmodelc"] = "it leads to a device";
    storeCustomEngines('[' + localJson("custom-mine", "/models/mine") + ']');
    start();
    EXPECT_EQ(state("custom-mine"), "notInstalled");
    EXPECT_EQ(error(), "(none)");
}

TEST_F(ModelStoreStart, aSelectedEngineThatIsNotListedGivesWayAtOnce)
{
    workers.hanging = true;
    defaults.values["engine"] = "custom-gone";
    launch();
    EXPECT_EQ(store->selected.get(), "apple");
    EXPECT_EQ(storedSelection(), "apple");
}

TEST_F(ModelStoreStart, anInstalledSelectionIsKeptAndWarmed)
{
    folders.putModel(root("parakeetRedux"));
    defaults.values["engine"] = "parakeetRedux";
    start();
    EXPECT_EQ(store->selected.get(), "parakeetRedux");
    EXPECT_EQ(storedSelection(), "parakeetRedux");
    EXPECT_THAT(speech.asked, ElementsAre("warm " + root("parakeetRedux").string()));
}

TEST_F(ModelStoreStart, nothingIsWarmedUnasked)
{
    folders.putModel(root("parakeetRedux"));
    defaults.values["engine"] = "parakeetRedux";
    launch();
    loop.runReady();
    EXPECT_TRUE(speech.asked.empty());
    store->warmSelected();
    EXPECT_EQ(speech.asked.size(), 1U);
}

class ModelStoreOnASlowDisk : public ModelStoreFixture {
protected:
    void SetUp() override
    {
        folders.putModel(root("parakeetRedux"));
        defaults.values["engine"] = "parakeetRedux";
        workers.hanging = true;
    }
};

TEST_F(ModelStoreOnASlowDisk, theSelectionStandsAndThePlatformsOwnDictatesMeanwhile)
{
    start();
    EXPECT_EQ(state("parakeetRedux"), "(unknown)");
    EXPECT_EQ(store->selected.get(), "parakeetRedux");
    EXPECT_EQ(storedSelection(), "parakeetRedux");
    EXPECT_EQ(dictates(), "platform en-US");
    EXPECT_TRUE(speech.asked.empty());
}

TEST_F(ModelStoreOnASlowDisk, theSelectedModelIsWarmedWhenTheDiskAnswers)
{
    start();
    workers.hanging = false;
    workers.answer();
    loop.runReady();
    EXPECT_THAT(speech.asked, ElementsAre("warm " + root("parakeetRedux").string()));
    EXPECT_EQ(dictates(), "local " + root("parakeetRedux").string());
}

TEST_F(ModelStoreOnASlowDisk, aSelectionMadeMeanwhileIsNotOverwritten)
{
    folders.contents.clear();
    defaults.values["engine"] = "parakeetUltra";
    start();
    workers.hanging = false;
    folders.putModel("/m");
    store->addLocal("/m", "");
    loop.runReady();
    const std::string added = newest().id;
    ASSERT_EQ(store->selected.get(), added);
    workers.answer();
    loop.runReady();
    EXPECT_EQ(state("parakeetUltra"), "notInstalled");
    EXPECT_EQ(store->selected.get(), added);
    EXPECT_EQ(storedSelection(), added);
}

TEST_F(ModelStoreOnASlowDisk, anEngineThatIsNotSelectedAnyMoreIsNotWarmed)
{
    start();
    store->select("apple");
    workers.hanging = false;
    workers.answer();
    loop.runReady();
    EXPECT_EQ(state("parakeetRedux"), "installed");
    EXPECT_EQ(store->selected.get(), "apple");
    EXPECT_TRUE(speech.asked.empty());
}

TEST_F(ModelStoreOnASlowDisk, oneFolderThatDoesNotAnswerStopsNoOther)
{
    storeCustomEngines('[' + localJson("custom-net", "/net/m") + ']');
    launch();
    workers.hanging = false;
    auto last = std::move(workers.hung.back());
    workers.hung.pop_back();
    workers.answer();
    loop.runReady();
    EXPECT_EQ(state("custom-net"), "(unknown)");
    EXPECT_EQ(state("parakeetRedux"), "installed");
    EXPECT_EQ(state("parakeetUltra"), "notInstalled");
    last();
    loop.runReady();
    EXPECT_EQ(state("custom-net"), "notInstalled");
}

TEST_F(ModelStoreOnASlowDisk, theSelectedFolderIsLookedAtFirst)
{
    defaults.values["engine"] = "parakeetUltra";
    folders.putModel(root("parakeetUltra"));
    launch();
    workers.hanging = false;
    workers.hung.front()();
    loop.runReady();
    EXPECT_EQ(state("parakeetUltra"), "installed");
    EXPECT_EQ(state("parakeetRedux"), "(unknown)");
}

TEST_F(ModelStoreOnASlowDisk, anInstallBeforeTheAnswerSettlesTheSelection)
{
    start();
    store->install(engine("parakeetRedux"));
    EXPECT_EQ(store->selected.get(), "apple");
    EXPECT_EQ(storedSelection(), "apple");
    workers.hanging = false;
    workers.answer();
    loop.runReady();
    EXPECT_EQ(state("parakeetRedux"), "downloading 0.0");
    FakeDownloads::complete(downloads.last());
    loop.runReady();
    EXPECT_EQ(store->selected.get(), "parakeetRedux");
}

TEST_F(ModelStoreOnASlowDisk, aStoreThatIsGoneHearsNoAnswer)
{
    start();
    store.reset();
    workers.answer();
    loop.runReady();
    EXPECT_EQ(storedSelection(), "parakeetRedux");
}

class ModelStoreSelection : public ModelStoreFixture {
protected:
    void SetUp() override
    {
        folders.putModel(root("parakeetRedux"));
        folders.putModel("/models/mine");
        storeCustomEngines('[' + localJson("custom-mine", "/models/mine") + ']');
        start();
    }
};

TEST_F(ModelStoreSelection, isStoredAndWarmed)
{
    store->select("parakeetRedux");
    EXPECT_EQ(store->selected.get(), "parakeetRedux");
    EXPECT_EQ(storedSelection(), "parakeetRedux");
    EXPECT_THAT(speech.asked, ElementsAre("warm " + root("parakeetRedux").string()));
    store->select("custom-mine");
    EXPECT_EQ(storedSelection(), "custom-mine");
    EXPECT_EQ(speech.asked.back(), "warm /models/mine");
    store->select("apple");
    EXPECT_EQ(storedSelection(), "apple");
    EXPECT_EQ(speech.asked.size(), 2U);
}

TEST_F(ModelStoreSelection, selectingTheSelectedDoesNothing)
{
    store->select("parakeetRedux");
    defaults.values.erase("engine");
    int notified = 0;
    const auto watch = store->selected.observe([&](const auto&) { ++notified; });
    store->select("parakeetRedux");
    EXPECT_EQ(notified, 0);
    EXPECT_EQ(storedSelection(), "(none)");
    EXPECT_EQ(speech.asked.size(), 1U);
}

TEST_F(ModelStoreSelection, whatIsNotListedOrNotInstalledCannotBeSelected)
{
    store->select("parakeetUltra");
    store->select("nobody");
    store->select("");
    EXPECT_EQ(store->selected.get(), "apple");
    EXPECT_EQ(storedSelection(), "(none)");
}

TEST_F(ModelStoreSelection, anObserverWhoSelectsHasTheLastWord)
{
    const auto watch = store->selected.observe([&](const std::string& id) {
        if (id == "parakeetRedux") {
            store->select("custom-mine");
        }
    });
    store->select("parakeetRedux");
    EXPECT_EQ(store->selected.get(), "custom-mine");
    EXPECT_EQ(storedSelection(), "custom-mine");
    for (const auto& each : speech.asked) {
        EXPECT_EQ(each, "warm /models/mine");
    }
}

TEST_F(ModelStoreSelection, theSelectedEngineDictates)
{
    EXPECT_EQ(dictates(), "platform en-US");
    store->select("parakeetRedux");
    EXPECT_EQ(dictates(), "local " + root("parakeetRedux").string());
    store->select("custom-mine");
    EXPECT_EQ(dictates(), "local /models/mine");
    defaults.values["language"] = "de-DE";
    store->select("apple");
    EXPECT_EQ(dictates(), "platform de-DE");
}

TEST_F(ModelStoreSelection, anEngineThatIsNotReadyDictatesWithThePlatformsOwn)
{
    store->select("parakeetRedux");
    store->install(engine("parakeetRedux"));
    EXPECT_EQ(store->selected.get(), "parakeetRedux");
    EXPECT_EQ(dictates(), "platform en-US");
}

TEST_F(ModelStoreSelection, aFolderThatLosesFilesCountsAtTheNextStart)
{
    store->select("custom-mine");
    folders.contents["/models/mine"].erase("parakeet_v3_vocab.json");
    EXPECT_EQ(dictates(), "local /models/mine");
    start();
    EXPECT_EQ(state("custom-mine"), "notInstalled");
    EXPECT_EQ(store->selected.get(), "apple");
    EXPECT_EQ(storedSelection(), "apple");
    folders.putModel("/models/mine");
    start();
    EXPECT_EQ(state("custom-mine"), "installed");
    EXPECT_EQ(store->selected.get(), "apple");
}

class ModelStoreHostileIds : public ModelStoreFixture,
                             public testing::WithParamInterface<const char*> {};

TEST_P(ModelStoreHostileIds, neverLeadOutOfTheModelsFolder)
{
    folders.putModel(folders.modelsRoot());
    folders.putModel(folders.modelsRoot().parent_path());
    folders.putModel("/data/Vorlin/Models/");
    folders.putModel("/data/Vorlin/Models/a/b");
    folders.putModel("/etc");
    storeCustomEngines('[' + hubJson(GetParam(), "owner/model") + ']');
    start();
    ASSERT_EQ(store->engines.get().size(), 4U);
    const Engine hostile = newest();
    EXPECT_EQ(store->folder(hostile), std::nullopt);
    EXPECT_EQ(state(hostile.id), "notInstalled");
    store->select(hostile.id);
    EXPECT_EQ(store->selected.get(), "apple");
    store->install(hostile);
    loop.runReady();
    EXPECT_TRUE(downloads.all.empty());
    EXPECT_EQ(error(),
              "This entry of the list is damaged. Remove it from the list and add it again.");
    store->remove(hostile);
    loop.runReady();
    EXPECT_TRUE(folders.removed.empty());
    EXPECT_EQ(store->engines.get(), Engine::builtIn());
}

TEST_P(ModelStoreHostileIds, doNotStaySelected)
{
    storeCustomEngines('[' + hubJson(GetParam(), "owner/model") + ']');
    start();
    const std::string id = newest().id;
    defaults.values["engine"] = id;
    start();
    EXPECT_EQ(store->selected.get(), "apple");
    EXPECT_EQ(storedSelection(), "apple");
}

INSTANTIATE_TEST_SUITE_P(All, ModelStoreHostileIds,
                         testing::Values("", ".", "..", "/", "a/b", "../x", "/etc", "a/..",
                                         "a\\u0000b", "\\u0000"));

TEST_F(ModelStoreStart, anIdThatOnlyLooksStrangeNamesItsFolder)
{
    storeCustomEngines('[' + hubJson("...", "o/m") + ',' + hubJson("a b\\n\\\\", "o/n") + ']');
    start();
    EXPECT_EQ(store->folder(engine("...")), root("..."));
    EXPECT_EQ(store->folder(engine("a b\n\\")), root("a b\n\\"));
}

TEST_F(ModelStoreStart, aRelativeLocalFolderIsNeverInstalled)
{
    folders.putModel("models/mine");
    storeCustomEngines('[' + localJson("custom-mine", "models/mine") + ']');
    start();
    EXPECT_EQ(state("custom-mine"), "notInstalled");
}

} // namespace
} // namespace vorlin
