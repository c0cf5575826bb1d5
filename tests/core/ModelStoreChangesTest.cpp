#include "ModelStoreFixture.h"

#include <gmock/gmock.h>

#include <limits>

namespace vorlin {
namespace {

using testing::ElementsAre;

constexpr auto ownerName =
    "Enter a repository as owner/name, for example FluidInference/parakeet-ultra-coreml.";

class ModelStoreInstall : public ModelStoreFixture {
protected:
    void SetUp() override { start(); }

    /// Starts the download of a built-in engine.
    FakeDownloads::Download& download(const std::string& id = "parakeetUltra")
    {
        store->install(engine(id));
        loop.runReady();
        return downloads.last();
    }
};

TEST_F(ModelStoreInstall, downloadsIntoTheEnginesFolder)
{
    const auto& running = download();
    EXPECT_EQ(running.repository, "FluidInference/parakeet-ultra-coreml");
    EXPECT_EQ(running.folder, root("parakeetUltra"));
    EXPECT_EQ(state("parakeetUltra"), "downloading 0.0");
    EXPECT_EQ(store->selected.get(), "apple");
}

TEST_F(ModelStoreInstall, showsProgress)
{
    auto& running = download();
    running.onProgress(0.25);
    EXPECT_EQ(state("parakeetUltra"), "downloading 0.0"); // not before the main loop has it
    loop.runReady();
    EXPECT_EQ(state("parakeetUltra"), "downloading 0.2");
    running.onProgress(0.5);
    running.onProgress(0.7);
    loop.runReady();
    EXPECT_EQ(state("parakeetUltra"), "downloading 0.7");
}

TEST_F(ModelStoreInstall, keepsStrangeProgressInBounds)
{
    auto& running = download();
    running.onProgress(1.5);
    loop.runReady();
    EXPECT_EQ(state("parakeetUltra"), "downloading 1.0");
    running.onProgress(-1);
    loop.runReady();
    EXPECT_EQ(state("parakeetUltra"), "downloading 0.0");
    running.onProgress(std::numeric_limits<double>::quiet_NaN());
    loop.runReady();
    EXPECT_EQ(state("parakeetUltra"), "downloading 0.0");
}

TEST_F(ModelStoreInstall, selectsMeasuresAndWarmsWhatIsComplete)
{
    auto& running = download();
    folders.putModel(running.folder, 630'000'000);
    FakeDownloads::complete(running);
    loop.runReady();
    EXPECT_EQ(state("parakeetUltra"), "installed");
    EXPECT_EQ(size("parakeetUltra"), "630 MB");
    EXPECT_EQ(store->selected.get(), "parakeetUltra");
    EXPECT_EQ(storedSelection(), "parakeetUltra");
    EXPECT_THAT(speech.asked, ElementsAre("warm " + root("parakeetUltra").string()));
}

TEST_F(ModelStoreInstall, aDownloadThatLeftAnIncompleteFolderIsNotSelectedAndSaysSo)
{
    auto& running = download();
    folders.putModel(running.folder);
    folders.contents[running.folder].erase("Encoder.mlmodelc");
    folders.contents[running.folder].erase("parakeet_v3_vocab.json");
    FakeDownloads::complete(running);
    loop.runReady();
    EXPECT_EQ(state("parakeetUltra"), "notInstalled");
    EXPECT_EQ(store->selected.get(), "apple");
    EXPECT_EQ(error(), "The downloaded model is not complete. Missing: Encoder.mlmodelc, "
                       "parakeet_v3_vocab.json.");
    download();
    EXPECT_EQ(downloads.all.size(), 2U); // it can be tried again
    EXPECT_EQ(error(), "(none)");
}

TEST_F(ModelStoreInstall, aFailureIsShownAndTheNextInstallClearsIt)
{
    FakeDownloads::fail(download(), "The network is down.");
    loop.runReady();
    EXPECT_EQ(state("parakeetUltra"), "notInstalled");
    EXPECT_EQ(error(), "The network is down.");
    EXPECT_EQ(store->selected.get(), "apple");
    download("parakeetRedux");
    EXPECT_EQ(error(), "(none)");
}

TEST_F(ModelStoreInstall, aFailedDownloadLeavesThePreviousModelInstalled)
{
    folders.putModel(root("parakeetUltra"), 630'000'000);
    start();
    store->select("parakeetUltra");
    auto& running = download();
    workers.hanging = true;
    FakeDownloads::fail(running, "The network is down.");
    loop.runReady();
    EXPECT_EQ(state("parakeetUltra"), "notInstalled"); // until its folder was looked at
    workers.hanging = false;
    workers.answer();
    loop.runReady();
    EXPECT_EQ(state("parakeetUltra"), "installed");
    EXPECT_EQ(size("parakeetUltra"), "630 MB");
    EXPECT_EQ(error(), "The network is down.");
    EXPECT_EQ(dictates(), "local " + root("parakeetUltra").string());
}

TEST_F(ModelStoreInstall, theLookAfterAFailureDoesNotCountOnceSomethingElseBegan)
{
    folders.putModel(root("parakeetUltra"));
    auto& running = download();
    workers.hanging = true;
    FakeDownloads::fail(running, "no");
    loop.runReady();
    auto look = std::exchange(workers.hung, {});
    ASSERT_EQ(look.size(), 1U);
    store->remove(engine("parakeetUltra"));
    look.front()(); // before the removal got to the folder
    loop.runReady();
    EXPECT_EQ(state("parakeetUltra"), "notInstalled");
    workers.hanging = false;
    workers.answer();
}

TEST_F(ModelStoreInstall, aCancelledDownloadShowsNothing)
{
    FakeDownloads::endCancelled(download());
    loop.runReady();
    EXPECT_EQ(state("parakeetUltra"), "notInstalled");
    EXPECT_EQ(error(), "(none)");
}

TEST_F(ModelStoreInstall, lateProgressChangesNothing)
{
    auto& running = download();
    FakeDownloads::fail(running, "no");
    loop.runReady();
    running.onProgress(0.5);
    loop.runReady();
    EXPECT_EQ(state("parakeetUltra"), "notInstalled");
}

TEST_F(ModelStoreInstall, asTwiceDownloadsOnce)
{
    download();
    store->install(engine("parakeetUltra"));
    loop.runReady();
    EXPECT_EQ(downloads.all.size(), 1U);
}

TEST_F(ModelStoreInstall, twoEnginesDownloadSideBySide)
{
    auto& ultra = download();
    auto& redux = download("parakeetRedux");
    folders.putModel(ultra.folder);
    folders.putModel(redux.folder);
    FakeDownloads::complete(redux);
    loop.runReady();
    EXPECT_EQ(store->selected.get(), "parakeetRedux");
    EXPECT_EQ(state("parakeetUltra"), "downloading 0.0");
    FakeDownloads::complete(ultra);
    loop.runReady();
    EXPECT_EQ(store->selected.get(), "parakeetUltra");
}

TEST_F(ModelStoreInstall, onlyListedHubEnginesCanBeInstalled)
{
    store->install(engine("apple"));
    folders.putModel("/m");
    store->addLocal("/m", "");
    loop.runReady();
    store->install(newest());
    store->install(Engine::added("custom-gone", "N", "", Engine::Hub{"a/b"}));
    loop.runReady();
    EXPECT_TRUE(downloads.all.empty());
    EXPECT_EQ(state("apple"), "installed");
    EXPECT_EQ(state("custom-gone"), "(unknown)");
}

TEST_F(ModelStoreInstall, anEndOfTheProgramCancelsWhatRuns)
{
    const auto stop = download().stop;
    store.reset();
    EXPECT_TRUE(stop.stopRequested());
    FakeDownloads::endCancelled(downloads.last());
    loop.runReady();
}

TEST_F(ModelStoreInstall, aStoreThatIsGoneStartsNoDownload)
{
    store->install(engine("parakeetUltra"));
    store.reset();
    loop.runReady();
    EXPECT_TRUE(downloads.all.empty());
}

TEST_F(ModelStoreInstall, aStoredRepositoryThatIsNoneIsNotAskedFor)
{
    storeCustomEngines("[" + hubJson("custom-1", "owner/..") + "," +
                       hubJson("custom-2", "api/models/x") + "]");
    start();
    for (const auto* id : {"custom-1", "custom-2"}) {
        store->install(engine(id));
        loop.runReady();
        EXPECT_EQ(state(id), "notInstalled");
        EXPECT_EQ(error(), ownerName);
    }
    EXPECT_TRUE(downloads.all.empty());
}

class ModelStoreRemove : public ModelStoreInstall {};

TEST_F(ModelStoreRemove, theSelectedEngineWhileItDownloads)
{
    folders.putModel(root("parakeetUltra"));
    start();
    store->select("parakeetUltra");
    const auto stop = download().stop;
    store->remove(engine("parakeetUltra"));
    EXPECT_TRUE(stop.stopRequested());
    EXPECT_EQ(store->selected.get(), "apple");
    EXPECT_EQ(storedSelection(), "apple");
    EXPECT_EQ(state("parakeetUltra"), "notInstalled");
    FakeDownloads::endCancelled(downloads.last());
    loop.runReady();
    EXPECT_EQ(error(), "(none)");
    EXPECT_EQ(state("parakeetUltra"), "notInstalled");
    EXPECT_THAT(folders.removed, ElementsAre(root("parakeetUltra")));
}

TEST_F(ModelStoreRemove, aDownloadThatFailsWhileItIsCancelledSaysNothing)
{
    auto& running = download();
    store->remove(engine("parakeetUltra"));
    FakeDownloads::fail(running, "connection reset");
    loop.runReady();
    EXPECT_EQ(error(), "(none)");
}

TEST_F(ModelStoreRemove, aDownloadThatCompletesWhileItIsCancelledIsDeleted)
{
    auto& running = download();
    store->remove(engine("parakeetUltra"));
    folders.putModel(running.folder);
    FakeDownloads::complete(running);
    loop.runReady();
    EXPECT_EQ(state("parakeetUltra"), "notInstalled");
    EXPECT_EQ(store->selected.get(), "apple");
    EXPECT_FALSE(folders.contents.contains(root("parakeetUltra")));
}

TEST_F(ModelStoreRemove, duringTheLastLookAtADownloadedFolder)
{
    auto& running = download();
    folders.putModel(running.folder);
    workers.hanging = true;
    FakeDownloads::complete(running);
    loop.runReady();
    EXPECT_EQ(state("parakeetUltra"), "downloading 0.0");
    store->install(engine("parakeetUltra")); // still the same installation
    store->remove(engine("parakeetUltra"));
    workers.hanging = false;
    workers.answer();
    loop.runReady();
    EXPECT_EQ(downloads.all.size(), 1U);
    EXPECT_EQ(state("parakeetUltra"), "notInstalled");
    EXPECT_EQ(store->selected.get(), "apple");
    EXPECT_FALSE(folders.contents.contains(root("parakeetUltra")));
}

TEST_F(ModelStoreRemove, anInstallAfterACancelWaitsUntilTheFolderIsFree)
{
    auto& first = download();
    store->remove(engine("parakeetUltra"));
    workers.hanging = true;
    store->install(engine("parakeetUltra"));
    loop.runReady();
    EXPECT_EQ(state("parakeetUltra"), "downloading 0.0");
    EXPECT_EQ(downloads.all.size(), 1U);
    FakeDownloads::endCancelled(first);
    loop.runReady();
    EXPECT_EQ(downloads.all.size(), 1U); // the removal comes first
    workers.hanging = false;
    workers.answer();
    loop.runReady();
    ASSERT_EQ(downloads.all.size(), 2U);
    EXPECT_FALSE(downloads.collided);
    folders.putModel(root("parakeetUltra"));
    FakeDownloads::complete(downloads.last());
    loop.runReady();
    EXPECT_EQ(state("parakeetUltra"), "installed");
    EXPECT_EQ(folders.removed.size(), 1U);
}

TEST_F(ModelStoreRemove, anInstallCancelledBeforeItsTurnNeverDownloads)
{
    auto& first = download();
    for (int i = 0; i < 3; ++i) {
        store->remove(engine("parakeetUltra"));
        store->install(engine("parakeetUltra"));
    }
    store->remove(engine("parakeetUltra"));
    FakeDownloads::endCancelled(first);
    loop.runReady();
    EXPECT_EQ(downloads.all.size(), 1U);
    EXPECT_EQ(state("parakeetUltra"), "notInstalled");
    download();
    EXPECT_EQ(downloads.all.size(), 2U);
}

TEST_F(ModelStoreRemove, aBuiltInEngineStaysOnTheList)
{
    folders.putModel(root("parakeetRedux"));
    start();
    store->remove(engine("parakeetRedux"));
    EXPECT_EQ(store->engines.get(), Engine::builtIn());
    EXPECT_EQ(state("parakeetRedux"), "notInstalled");
    EXPECT_EQ(size("parakeetRedux"), "(none)");
    loop.runReady();
    EXPECT_FALSE(folders.contents.contains(root("parakeetRedux")));
    EXPECT_FALSE(defaults.value("customEngines"));
}

TEST_F(ModelStoreRemove, anyEngineButThePlatformsOwnUnloadsTheRuntime)
{
    store->remove(engine("apple"));
    EXPECT_TRUE(speech.asked.empty());
    EXPECT_EQ(state("apple"), "installed");
    store->remove(engine("parakeetRedux"));
    EXPECT_THAT(speech.asked, ElementsAre("unload"));
}

TEST_F(ModelStoreRemove, aLocalFolderIsLeftIntact)
{
    folders.putModel("/m");
    store->addLocal("/m", "");
    loop.runReady();
    ASSERT_EQ(store->selected.get(), newest().id);
    const std::string id = newest().id;
    store->remove(newest());
    loop.runReady();
    EXPECT_EQ(store->engines.get(), Engine::builtIn());
    EXPECT_EQ(store->selected.get(), "apple");
    EXPECT_TRUE(folders.removed.empty());
    EXPECT_TRUE(folders.contents.contains("/m"));
    EXPECT_EQ(state(id), "(unknown)");
    EXPECT_EQ(size(id), "(none)");
    EXPECT_TRUE(preferences.customEngines().empty());
    EXPECT_EQ(speech.asked.back(), "unload");
}

TEST_F(ModelStoreRemove, aCustomHubEngineGoesWithItsFolder)
{
    store->addHub("owner/model", "");
    loop.runReady();
    const Engine added = newest();
    folders.putModel(root(added.id));
    FakeDownloads::complete(downloads.last());
    loop.runReady();
    store->remove(added);
    loop.runReady();
    EXPECT_EQ(store->engines.get(), Engine::builtIn());
    EXPECT_THAT(folders.removed, ElementsAre(root(added.id)));
    EXPECT_TRUE(preferences.customEngines().empty());
    store->remove(added); // a second press on a row that is going
    loop.runReady();
    EXPECT_EQ(folders.removed.size(), 1U);
}

TEST_F(ModelStoreRemove, aSizeMeasuredMeanwhileIsDropped)
{
    workers.hanging = true;
    folders.putModel(root("parakeetRedux"));
    start();
    auto checks = std::exchange(workers.hung, {});
    for (const auto& check : checks) {
        check();
    }
    loop.runReady();
    ASSERT_EQ(state("parakeetRedux"), "installed");
    ASSERT_EQ(workers.hung.size(), 1U); // the measurement
    store->remove(engine("parakeetRedux"));
    workers.hanging = false;
    workers.answer();
    loop.runReady();
    EXPECT_EQ(size("parakeetRedux"), "(none)");
}

TEST_F(ModelStoreRemove, anAnswerOfTheStartThatComesAfterwardsIsDropped)
{
    workers.hanging = true;
    folders.putModel(root("parakeetRedux"));
    start();
    store->remove(engine("parakeetRedux"));
    workers.hung.front()(); // the look at the folder, which is still complete
    loop.runReady();
    EXPECT_EQ(state("parakeetRedux"), "notInstalled");
}

class ModelStoreAdd : public ModelStoreInstall {};

TEST_F(ModelStoreAdd, aRepositoryIsTrimmedNamedAndDownloaded)
{
    store->addHub(" \n owner/model\t ", "");
    const Engine& added = newest();
    EXPECT_EQ(added, (Engine{"custom-00000001", "model", "owner/model", "Custom",
                             Engine::Hub{"owner/model"}, true, std::nullopt}));
    EXPECT_EQ(state(added.id), "downloading 0.0");
    EXPECT_EQ(preferences.customEngines(), std::vector<Engine>{added});
    loop.runReady();
    EXPECT_EQ(downloads.last().repository, "owner/model");
    EXPECT_EQ(downloads.last().folder, root("custom-00000001"));
    store->addHub("owner/other", "My own");
    EXPECT_EQ(newest().name, "My own");
    EXPECT_EQ(newest().id, "custom-00000002");
    EXPECT_EQ(preferences.customEngines().size(), 2U);
}

TEST_F(ModelStoreAdd, anIdIsEightLowercaseDigits)
{
    random.next = 0x12345678ABCDEF09;
    store->addHub("a/b", "");
    EXPECT_EQ(newest().id, "custom-abcdef09");
}

TEST_F(ModelStoreAdd, whatIsNoOwnerAndNameIsRejected)
{
    for (const auto* text :
         {"owner/name/extra", "owner", "/owner/", "owner/ name", "", "/", " ", "//", "a b/c",
          "owner/\xff", "owner/..", "./name", "owner/na\tme", "owner/na\x7Fme"}) {
        store->addHub("wrong", "");
        store->addHub("FluidInference/parakeet-ultra-coreml", "");
        store->addHub(text, "");
        EXPECT_EQ(error(), ownerName) << text;
    }
    EXPECT_EQ(store->engines.get(), Engine::builtIn());
    EXPECT_FALSE(defaults.value("customEngines"));
    EXPECT_TRUE(downloads.all.empty());
}

TEST_F(ModelStoreAdd, emptyPiecesOfARepositoryDoNotCount)
{
    store->addHub("/owner//name/", "");
    EXPECT_EQ(newest().name, "name");
    EXPECT_EQ(newest().source, Engine::Source(Engine::Hub{"/owner//name/"}));
}

TEST_F(ModelStoreAdd, aRepositoryOfTheListIsRejectedByName)
{
    store->addHub(" FluidInference/parakeet-ultra-coreml ", "Mine");
    EXPECT_EQ(error(), "NVIDIA Parakeet Ultra already uses that repository.");
    store->addHub("fluidinference/parakeet-ultra-coreml", "Small"); // case counts
    EXPECT_EQ(newest().name, "Small");
    EXPECT_EQ(error(), "(none)");
    store->addHub("fluidinference/parakeet-ultra-coreml", "");
    EXPECT_EQ(error(), "Small already uses that repository.");
}

TEST_F(ModelStoreAdd, aFolderIsSelectedMeasuredAndStored)
{
    folders.putModel("/home models/m ü", 2'000);
    store->addLocal("/home models/m ü", "");
    EXPECT_EQ(store->engines.get(), Engine::builtIn()); // not before the disk has answered
    loop.runReady();
    const Engine& added = newest();
    EXPECT_EQ(added, (Engine{"custom-00000001", "m ü", "/home models/m ü", "Custom",
                             Engine::Local{"/home models/m ü"}, true, std::nullopt}));
    EXPECT_EQ(state(added.id), "installed");
    EXPECT_EQ(size(added.id), "2 KB");
    EXPECT_EQ(store->selected.get(), added.id);
    EXPECT_EQ(storedSelection(), added.id);
    EXPECT_EQ(preferences.customEngines(), std::vector<Engine>{added});
    EXPECT_THAT(speech.asked, ElementsAre("warm /home models/m ü"));
}

TEST_F(ModelStoreAdd, aFolderMayBeAddedTwice)
{
    folders.putModel("/m");
    store->addLocal("/m", "One");
    store->addLocal("/m", "Two");
    loop.runReady();
    EXPECT_EQ(store->engines.get().size(), 5U);
    EXPECT_NE(store->engines.get()[3].id, store->engines.get()[4].id);
}

TEST_F(ModelStoreAdd, aSlashAtTheEndIsNoName)
{
    folders.putModel("/a/m/");
    store->addLocal("/a/m/", "");
    loop.runReady();
    EXPECT_EQ(newest().name, "m");
    EXPECT_EQ(newest().summary, "/a/m");
}

TEST_F(ModelStoreAdd, anIncompleteFolderIsRejectedWithWhatItLacks)
{
    folders.putModel("/m");
    folders.contents["/m"].erase("parakeet_v3_vocab.json");
    folders.contents["/m"].erase("Encoder.mlmodelc");
    store->addLocal("/m", "");
    loop.runReady();
    EXPECT_EQ(error(), "That folder isn't a compatible model. Missing: Encoder.mlmodelc, "
                       "parakeet_v3_vocab.json.");
    EXPECT_EQ(store->engines.get(), Engine::builtIn());
    EXPECT_FALSE(defaults.value("customEngines"));
    store->addLocal("/nowhere", "");
    loop.runReady();
    EXPECT_EQ(error(), "That folder isn't a compatible model. Missing: Preprocessor.mlmodelc, "
                       "Encoder.mlmodelc, Decoder.mlmodelc, JointDecisionv3.mlmodelc, "
                       "parakeet_v3_vocab.json.");
    store->addLocal("relative", "");
    loop.runReady();
    EXPECT_EQ(store->engines.get(), Engine::builtIn());
}

TEST_F(ModelStoreAdd, aFileThatCannotBeUsedIsNamedWithTheReason)
{
    folders.putModel("/m");
    folders.contents["/m"].erase("Decoder.mlmodelc");
    folders.unusable["/m/Encoder.mlmodelc"] = "weights/weight.bin leads to a device";
    store->addLocal("/m", "");
    loop.runReady();
    EXPECT_EQ(error(), "That folder isn't a compatible model. Missing: Encoder.mlmodelc "
                       "(weights/weight.bin leads to a device), Decoder.mlmodelc.");
    EXPECT_EQ(store->engines.get(), Engine::builtIn());
}

TEST_F(ModelStoreAdd, aFolderWhoseNameIsNoTextIsRejectedAndCostsNoOther)
{
    folders.putModel("/m");
    folders.putModel("/\xff");
    store->addLocal("/\xff", "");
    loop.runReady();
    EXPECT_EQ(error(), "That folder cannot be added: its name is not valid text. Rename it and "
                       "try again.");
    store->addLocal("/m", "");
    loop.runReady();
    EXPECT_EQ(error(), "(none)");
    EXPECT_EQ(preferences.customEngines().size(), 1U);
}

TEST_F(ModelStoreAdd, everyAddAndRemovalIsStored)
{
    store->addHub("a/one", "");
    store->addHub("a/two", "");
    store->addHub("a/three", "");
    store->remove(store->engines.get().at(4));
    EXPECT_EQ(preferences.customEngines(),
              (std::vector<Engine>{store->engines.get().at(3), store->engines.get().at(4)}));
    EXPECT_EQ(newest().name, "three");
}

TEST_F(ModelStoreAdd, observersHearOnlyOfRealChanges)
{
    folders.putModel(root("parakeetRedux"));
    start();
    int heard = 0;
    const auto count = [&heard](const auto&) { ++heard; };
    const std::vector<Subscription> watches = {
        store->engines.observe(count), store->states.observe(count), store->sizes.observe(count),
        store->lastError.observe(count), store->selected.observe(count)};
    store->remove(engine("apple"));
    store->remove(engine("parakeetUltra"));
    store->select("apple");
    store->warmSelected();
    loop.runReady();
    EXPECT_EQ(heard, 0);
    store->addHub("wrong", "");
    store->addHub("wrong", "");
    EXPECT_EQ(heard, 1);
    auto& running = download();
    heard = 0;
    running.onProgress(0.5);
    running.onProgress(0.5);
    loop.runReady();
    EXPECT_EQ(heard, 1);
}

} // namespace
} // namespace vorlin
