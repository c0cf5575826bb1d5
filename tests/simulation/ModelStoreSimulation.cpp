#include "core/ModelStoreFixture.h"
#include "simulation/Seeds.h"

#include <algorithm>
#include <map>
#include <optional>
#include <random>
#include <set>

namespace vorlin {
namespace {

/// What a store must show, worked out the plain way: every disk answers at once.
struct PlainStore {
    struct Entry {
        std::string id;
        /// "apple", "hub" or "local".
        std::string kind;
        /// The repository or the folder.
        std::string from;
        std::string name;
        bool custom = false;
        std::string state;
    };

    std::vector<Entry> list = {
        {"apple", "apple", "", "Apple Speech", false, "installed"},
        {"parakeetRedux", "hub", "FluidInference/parakeet-redux-coreml", "NVIDIA Parakeet Redux",
         false, "notInstalled"},
        {"parakeetUltra", "hub", "FluidInference/parakeet-ultra-coreml", "NVIDIA Parakeet Ultra",
         false, "notInstalled"},
    };
    std::string selected = "apple";
    std::string error = "(none)";

    Entry* find(const std::string& id)
    {
        const auto found = std::ranges::find(list, id, &Entry::id);
        return found == list.end() ? nullptr : &*found;
    }
};

/// A person who changes the catalog at random, and a disk and a network that do as they like.
class Changes : public ModelStoreFixture, public testing::WithParamInterface<std::uint64_t> {
protected:
    Changes() : ModelStoreFixture(GetParam()), chance(GetParam()) { random.next = 1; }

    std::size_t below(std::size_t count) { return chance() % count; }
    template <class List>
    auto& oneOf(List& list)
    {
        return list[below(list.size())];
    }
    PlainStore::Entry& anyEntry() { return oneOf(plain.list); }

    static bool downloading(const PlainStore::Entry& entry)
    {
        return entry.state.starts_with("downloading");
    }
    std::filesystem::path folderOf(const PlainStore::Entry& entry) const
    {
        return entry.kind == "hub" ? root(entry.id) : std::filesystem::path(entry.from);
    }
    std::string stateOnDisk(const PlainStore::Entry& entry) const
    {
        const bool there = entry.kind == "apple" || folders.contents.contains(folderOf(entry));
        return there ? "installed" : "notInstalled";
    }
    /// The download that runs for an engine and was not cancelled.
    FakeDownloads::Download* running(const PlainStore::Entry& entry)
    {
        for (const auto& each : downloads.all) {
            if (!each->ended && !each->stop.stopRequested() && each->folder == folderOf(entry)) {
                return each.get();
            }
        }
        return nullptr;
    }

    void select()
    {
        const auto& entry = anyEntry();
        store->select(entry.id);
        if (entry.state == "installed") {
            plain.selected = entry.id;
        }
    }

    void install()
    {
        auto& entry = anyEntry();
        store->install(engine(entry.id));
        if (entry.kind == "hub" && !downloading(entry)) {
            entry.state = "downloading 0.0";
            plain.error = "(none)";
        }
    }

    void remove()
    {
        const auto entry = anyEntry();
        store->remove(engine(entry.id));
        if (entry.kind == "apple") {
            return;
        }
        if (plain.selected == entry.id) {
            plain.selected = "apple";
        }
        if (entry.custom) {
            std::erase_if(plain.list, [&](const auto& each) { return each.id == entry.id; });
        } else {
            plain.find(entry.id)->state = "notInstalled";
        }
        if (entry.kind == "hub") {
            mustBeGone.insert(folderOf(entry));
        }
    }

    std::string newId()
    {
        std::array<char, 24> text = {};
        std::snprintf(text.data(), text.size(), "custom-%08x", static_cast<unsigned>(random.next));
        return text.data();
    }

    void addHub()
    {
        const std::string repository = "o/m" + std::to_string(below(4));
        const std::string id = newId();
        store->addHub(repository, "");
        for (const auto& entry : plain.list) {
            if (entry.from == repository) {
                plain.error = entry.name + " already uses that repository.";
                return;
            }
        }
        plain.list.push_back(
            {id, "hub", repository, repository.substr(2), true, "downloading 0.0"});
        plain.error = "(none)";
    }

    void addLocal()
    {
        const std::string folder = "/local/" + std::to_string(below(4));
        const std::string id = newId();
        store->addLocal(folder, "");
        loop.runReady();
        if (!folders.contents.contains(folder)) {
            plain.error = "That folder isn't a compatible model. Missing: Preprocessor.mlmodelc, "
                          "Encoder.mlmodelc, Decoder.mlmodelc, JointDecisionv3.mlmodelc, "
                          "parakeet_v3_vocab.json.";
            return;
        }
        plain.list.push_back({id, "local", folder, folder.substr(7), true, "installed"});
        plain.selected = id;
        plain.error = "(none)";
    }

    /// Something happens to a download, if one runs.
    void network()
    {
        auto& entry = anyEntry();
        auto* download = running(entry);
        if (download == nullptr) {
            return;
        }
        switch (below(4)) {
        case 0:
            download->onProgress(0.5);
            entry.state = "downloading 0.5";
            break;
        case 1:
            FakeDownloads::fail(*download, "The network is down.");
            entry.state = stateOnDisk(entry);
            plain.error = "The network is down.";
            break;
        case 2:
            FakeDownloads::endCancelled(*download);
            entry.state = stateOnDisk(entry);
            break;
        default:
            folders.putModel(download->folder);
            mustBeGone.erase(download->folder);
            FakeDownloads::complete(*download);
            entry.state = "installed";
            plain.selected = entry.id;
        }
    }

    /// Cancelled downloads end when they like, and in any way.
    void endOneCancelled()
    {
        for (const auto& each : downloads.all) {
            if (each->ended || !each->stop.stopRequested()) {
                continue;
            }
            switch (below(3)) {
            case 0: FakeDownloads::endCancelled(*each); break;
            case 1: FakeDownloads::fail(*each, "too late"); break;
            default: folders.putModel(each->folder); FakeDownloads::complete(*each);
            }
            return;
        }
    }
    void endAllCancelled()
    {
        for (std::size_t i = 0; i < 2 * downloads.all.size() + 1; ++i) {
            endOneCancelled();
            loop.runReady();
        }
    }

    /// A folder comes or goes behind the program's back.
    void disk()
    {
        const std::filesystem::path local = "/local/" + std::to_string(below(4));
        if (below(2) == 0) {
            folders.putModel(local);
            return;
        }
        auto& entry = anyEntry();
        if (entry.kind != "apple" && !downloading(entry)) {
            folders.contents.erase(folderOf(entry));
        }
    }

    void restart()
    {
        endAllCancelled();
        start();
        for (const auto& each : downloads.all) {
            if (!each->ended) {
                FakeDownloads::endCancelled(*each); // the old program is gone
            }
        }
        loop.runReady();
        plain.error = "(none)";
        for (auto& entry : plain.list) {
            entry.state = stateOnDisk(entry);
        }
        if (plain.find(plain.selected)->state != "installed") {
            plain.selected = "apple";
        }
    }

    void step()
    {
        switch (below(12)) {
        case 0: select(); break;
        case 1:
        case 2: install(); break;
        case 3: remove(); break;
        case 4: addHub(); break;
        case 5: addLocal(); break;
        case 6: disk(); break;
        case 7: endOneCancelled(); break;
        case 8:
            if (below(5) == 0) {
                restart();
            }
            break;
        default: network();
        }
        loop.runReady();
    }

    /// The store shows what the plain one does.
    void compare()
    {
        std::vector<std::string> expected;
        for (const auto& entry : plain.list) {
            expected.push_back(entry.id);
            EXPECT_EQ(state(entry.id), entry.state) << entry.id;
            EXPECT_EQ(engine(entry.id).name, entry.name);
            EXPECT_EQ(engine(entry.id).custom, entry.custom);
            EXPECT_EQ(dictatedFolder(entry), store->folder(engine(entry.id)));
        }
        EXPECT_EQ(ids(), expected);
        EXPECT_EQ(store->states.get().size(), expected.size());
        EXPECT_EQ(store->selected.get(), plain.selected);
        EXPECT_EQ(error(), plain.error);
    }
    std::optional<std::filesystem::path> dictatedFolder(const PlainStore::Entry& entry) const
    {
        return entry.kind == "apple" ? std::nullopt : std::optional(folderOf(entry));
    }

    /// What holds whenever nothing is under way but downloads.
    void checkInvariants()
    {
        const auto& list = store->engines.get();
        EXPECT_TRUE(std::ranges::equal(list.begin(), list.begin() + 3, Engine::builtIn().begin(),
                                       Engine::builtIn().end()));
        std::vector<Engine> custom(list.begin() + 3, list.end());
        EXPECT_TRUE(std::ranges::all_of(custom, &Engine::custom));
        EXPECT_EQ(preferences.customEngines(), custom);
        EXPECT_TRUE(std::ranges::count(ids(), store->selected.get()) == 1);
        EXPECT_EQ(preferences.engine().value_or("apple"), store->selected.get());
        EXPECT_FALSE(downloads.collided);
        for (const auto& [id, size] : store->sizes.get()) {
            EXPECT_EQ(state(id), "installed") << size;
        }
        for (const auto& entry : plain.list) {
            if (entry.state == "installed" && entry.kind != "apple") {
                EXPECT_NE(size(entry.id), "(none)");
            }
        }
        const auto* chosen = plain.find(store->selected.get());
        ASSERT_NE(chosen, nullptr);
        const bool local = chosen->kind != "apple" && chosen->state == "installed";
        EXPECT_EQ(dictates(), local ? "local " + folderOf(*chosen).string() : "platform en-US");
    }

    std::mt19937 chance;
    PlainStore plain;
    /// Folders whose engine was removed, until something is downloaded there again.
    std::set<std::filesystem::path> mustBeGone;
};

TEST_P(Changes, inAnyOrderShowWhatAPlainStoreWould)
{
    start();
    for (int i = 0; i < 300 && !HasFailure(); ++i) {
        step();
        compare();
        checkInvariants();
    }
    endAllCancelled();
    for (const auto& folder : mustBeGone) {
        EXPECT_FALSE(folders.contents.contains(folder)) << folder;
    }
    if (HasFailure()) {
        ADD_FAILURE() << replay(GetParam());
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, Changes, testing::ValuesIn(simulationSeeds(0, 60)));

/// The same person, in such a hurry that everything overlaps.
class HurriedChanges : public Changes {
protected:
    void hurry()
    {
        const auto list = store->engines.get();
        const Engine one = list[below(list.size())];
        switch (below(9)) {
        case 0: store->select(one.id); break;
        case 1:
        case 2: store->install(one); break;
        case 3: store->remove(one); break;
        case 4: store->addHub("o/m" + std::to_string(below(4)), ""); break;
        case 5: store->addLocal("/local/" + std::to_string(below(4)), ""); break;
        case 6: folders.putModel("/local/" + std::to_string(below(4))); break;
        case 7: endOneCancelled(); break;
        default: endOneRunning();
        }
    }

    void endOneRunning()
    {
        for (const auto& each : downloads.all) {
            if (!each->ended && !each->stop.stopRequested() && below(2) == 0) {
                each->onProgress(0.5);
                if (below(2) == 0) {
                    FakeDownloads::fail(*each, "The network is down.");
                } else {
                    folders.putModel(each->folder);
                    FakeDownloads::complete(*each);
                }
                return;
            }
        }
    }

    /// What holds when nothing is under way but downloads, whatever happened before.
    void checkSelf()
    {
        std::vector<Engine> custom;
        for (const auto& each : store->engines.get()) {
            const bool installed = state(each.id) == "installed";
            const auto modelFolder = store->folder(each);
            const bool there = !modelFolder || folders.contents.contains(*modelFolder);
            EXPECT_NE(state(each.id), "(unknown)") << each.id;
            EXPECT_TRUE(there || !installed) << each.id << " is " << state(each.id);
            const auto runs = std::ranges::count_if(downloads.all, [&](const auto& download) {
                return !download->ended && download->folder == modelFolder;
            });
            EXPECT_EQ(runs, state(each.id).starts_with("downloading") ? 1 : 0) << each.id;
            EXPECT_EQ(size(each.id) != "(none)", installed && each.id != "apple") << each.id;
            if (each.custom) {
                custom.push_back(each);
            }
        }
        EXPECT_EQ(store->states.get().size(), store->engines.get().size());
        EXPECT_EQ(preferences.customEngines(), custom);
        EXPECT_EQ(preferences.engine().value_or("apple"), store->selected.get());
        EXPECT_NE(state(store->selected.get()), "(unknown)");
        EXPECT_FALSE(downloads.collided);
        for (const auto& [folder, names] : folders.contents) {
            const bool known =
                folder.parent_path() == "/local" || state(folder.filename()) != "(unknown)";
            EXPECT_TRUE(known) << folder << " was left behind";
        }
    }
};

TEST_P(HurriedChanges, leaveACatalogThatFitsItself)
{
    start();
    for (int round = 0; round < 30 && !HasFailure(); ++round) {
        for (std::size_t i = below(12); i > 0; --i) {
            loop.post([this] { hurry(); });
            workers.hanging = below(4) == 0;
        }
        loop.runReady();
        workers.hanging = false;
        workers.answer();
        endAllCancelled();
        workers.answer();
        loop.runReady();
        checkSelf();
    }
    if (HasFailure()) {
        ADD_FAILURE() << replay(GetParam());
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, HurriedChanges, testing::ValuesIn(simulationSeeds(0, 100)));

} // namespace
} // namespace vorlin
