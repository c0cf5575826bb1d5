#include "Models/ModelStore.h"
#include "core/DownloadFixture.h"
#include "fakes/FakeDesktop.h"
#include "fakes/FakeFolders.h"
#include "fakes/FakeRandom.h"
#include "fakes/FakeSpeechEngines.h"
#include "simulation/Seeds.h"

#include <random>

namespace vorlin {
namespace {

/// A person who presses and removes at any moment, a network that does as it likes, a disk that
/// refuses or hangs now and then.
class DownloadSimulation : public DownloadFixture,
                           public testing::WithParamInterface<std::uint64_t> {
protected:
    DownloadSimulation() : DownloadFixture(GetParam()), chance(GetParam())
    {
        catalogFolders->root = "/models";
        disk.folders = catalogFolders.get();
        http.otherwise = [this](const HTTPRequest& request) { return answer(request); };
        start();
    }
    ~DownloadSimulation() override
    {
        observing.reset();
        store.reset();
        downloads.reset();
        workers.hanging = false;
        workers.answer();
    }

    std::size_t below(std::size_t count) { return chance() % count; }

    void start()
    {
        store.reset();
        downloads.reset();
        workers.answer(); // what hangs ends with its program
        loop.runReady();
        downloads =
            std::make_unique<HubDownloads>(HubDownload::Needs{loop, workers, http, folders, hub});
        store = std::make_unique<ModelStore>(ModelStore::Needs{
            loop, workers, catalogFolders, random, preferences, speech, *downloads});
        observing = store->states.observe([this](const auto& states) { noteStates(states); });
        last.clear();
        loop.runReady();
    }

    /// Every share lies between none and all, and a model is installed only behind all its bytes.
    void noteStates(const std::map<std::string, ModelStore::State>& states)
    {
        for (const auto& [id, state] : states) {
            const auto before = last.find(id);
            const auto* was = before == last.end()
                                  ? nullptr
                                  : std::get_if<ModelStore::Downloading>(&before->second);
            if (was != nullptr && std::holds_alternative<ModelStore::Installed>(state)) {
                EXPECT_DOUBLE_EQ(was->fraction, 1.0) << id;
            }
            if (const auto* now = std::get_if<ModelStore::Downloading>(&state)) {
                EXPECT_GE(now->fraction, 0.0);
                EXPECT_LE(now->fraction, 1.0);
            }
        }
        last = states;
    }

    Answer answer(const HTTPRequest& request)
    {
        Answer result;
        result.delay = std::chrono::milliseconds(below(400));
        const auto listEnd = request.url.find("/tree/main");
        if (listEnd != std::string::npos) {
            publish(model);
            result.pieces = http.answers.at(listing()).front().pieces;
            http.answers.clear();
            result.status = !behaves && below(12) == 0 ? 404 : 200;
            return result;
        }
        const std::string marker = "/resolve/main/";
        const std::string path = request.url.substr(request.url.find(marker) + marker.size());
        std::string text = model.at(path);
        result.headers = {{"etag", "\"one\""}, {"accept-ranges", "bytes"}};
        if (request.rest && below(4) != 0) {
            const auto from = request.rest->from;
            text = text.substr(static_cast<std::size_t>(from));
            result.status = 206;
            result.headers["content-range"] = "bytes " + std::to_string(from) + "-2/3";
        }
        for (const char character : text) {
            result.pieces.emplace_back(1, character);
        }
        misbehave(result);
        return result;
    }

    void misbehave(Answer& result)
    {
        if (behaves) {
            return;
        }
        const std::size_t kept = below(result.pieces.size() + 1);
        switch (below(14)) {
        case 0: result.status = 404; break;
        case 1: result.status = 503; break;
        case 2: result.pieces.resize(kept); break;
        case 3:
        case 4:
            result.pieces.resize(kept);
            result.error = URLError::Code::connectionLost;
            break;
        case 5:
            result.pieces.resize(kept);
            result.stalls = true;
            break;
        case 6:
            result.headers.clear();
            result.pieces.resize(kept);
            result.error = URLError::Code::connectionLost;
            break;
        default: break;
        }
    }

    void step()
    {
        const auto& list = store->engines.get();
        const Engine engine = list[1 + below(2)];
        switch (below(10)) {
        case 0:
        case 1:
        case 2: store->install(engine); break;
        case 3:
            store->install(engine);
            store->install(engine);
            break;
        case 4: store->remove(engine); break;
        case 5:
            if (below(4) == 0) {
                start(); // the program ends and starts again
            }
            break;
        case 6: workers.hanging = below(3) == 0; break;
        case 7:
            disk.refusals.clear();
            if (below(4) == 0) {
                disk.refusals = {{below(2) == 0 ? "move" : "parakeet_v3_vocab.json", "no reason"}};
            }
            break;
        default: loop.advance(std::chrono::milliseconds(below(3000)));
        }
        if (!workers.hanging) {
            workers.answer();
        }
    }

    void check()
    {
        for (const auto& [folder, content] : disk.placed) {
            EXPECT_EQ(content, model) << folder;
        }
        EXPECT_LE(http.inFlight, 6U); // two downloads of three files
    }

    /// Everything comes to its end when nobody does anything any more.
    void settle()
    {
        workers.hanging = false;
        workers.answer();
        loop.advance(std::chrono::minutes(30));
        EXPECT_THAT(disk.partial, testing::IsEmpty());
        EXPECT_EQ(http.inFlight, 0U);
        EXPECT_EQ(loop.pendingTimers(), 0U);
        for (const auto& [id, state] : store->states.get()) {
            EXPECT_FALSE(std::holds_alternative<ModelStore::Downloading>(state)) << id;
            const bool there =
                id == appleEngineId || catalogFolders->contents.contains(catalogFolders->root / id);
            const bool says = std::holds_alternative<ModelStore::Installed>(state);
            EXPECT_TRUE(there || !says) << id;
        }
    }

    /// When network and disk do what they should, the next press brings the model.
    void pressOnce()
    {
        behaves = true;
        disk.refusals.clear();
        disk.placed.clear();
        const Engine engine = store->engines.get()[1];
        store->install(engine);
        settle();
        EXPECT_TRUE(store->states.get().at(engine.id) ==
                    ModelStore::State(ModelStore::Installed{}));
        EXPECT_EQ(disk.placed[catalogFolders->root / engine.id], model);
        behaves = false;
    }

    bool behaves = false;
    std::mt19937 chance;
    const std::shared_ptr<FakeFolders> catalogFolders = std::make_shared<FakeFolders>();
    FakeRandom random;
    FakeDefaults defaults;
    FakeLocale locale;
    Preferences preferences{defaults, locale};
    FakeSpeechEngines speech;
    std::unique_ptr<ModelStore> store;
    Subscription observing;
    std::map<std::string, ModelStore::State> last;
};

TEST_P(DownloadSimulation, neverLeavesAnythingHalfDone)
{
    for (int round = 0; round < 12 && !HasFailure(); ++round) {
        for (std::size_t i = 3 + below(25); i > 0 && !HasFailure(); --i) {
            step();
            check();
        }
        settle();
        pressOnce();
    }
    if (HasFailure()) {
        ADD_FAILURE() << replay(GetParam());
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, DownloadSimulation, testing::ValuesIn(simulationSeeds(0, 40)));

} // namespace
} // namespace vorlin
