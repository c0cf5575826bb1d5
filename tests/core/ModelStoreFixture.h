#pragma once

#include "Models/ModelStore.h"
#include "fakes/FakeDesktop.h"
#include "fakes/FakeDownloads.h"
#include "fakes/FakeFolders.h"
#include "fakes/FakeRandom.h"
#include "fakes/FakeSpeechEngines.h"
#include "fakes/HangingWorkers.h"
#include "simulation/SimulatedLoop.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vorlin {

/// A model store among fakes.
class ModelStoreFixture : public testing::Test {
protected:
    explicit ModelStoreFixture(std::uint64_t seed = 1) : loop(seed)
    {
        folders.root = "/data/Vorlin/Models";
        folders.onMain = [this] { return loop.onMain(); };
    }
    ~ModelStoreFixture() override { EXPECT_EQ(folders.asksOnMain, 0); }

    /// Starts the store, as a start of the program does.
    void launch()
    {
        store.reset();
        store = std::make_unique<ModelStore>(
            ModelStore::Needs{loop, workers, heldFolders, random, preferences, speech, downloads});
    }
    void start()
    {
        launch();
        store->warmSelected();
        loop.runReady();
    }

    void storeCustomEngines(const std::string& json)
    {
        defaults.values["customEngines"] = Bytes(json.begin(), json.end());
    }
    static std::string localJson(const std::string& id, const std::string& folder)
    {
        return R"({"id":")" + id + R"(","name":"N","summary":"S","sizeLabel":"Custom",)" +
               R"("source":{"local":{"_0":")" + folder + R"("}},"custom":true})";
    }
    static std::string hubJson(const std::string& id, const std::string& repository)
    {
        return R"({"id":")" + id + R"(","name":"N","summary":"S","sizeLabel":"Custom",)" +
               R"("source":{"hub":{"_0":")" + repository + R"("}},"custom":true})";
    }

    std::filesystem::path root(const std::string& id) const { return folders.modelsRoot() / id; }
    std::string storedSelection() const
    {
        const auto value = defaults.value("engine");
        return value ? std::get<std::string>(*value) : "(none)";
    }
    std::vector<std::string> ids() const
    {
        std::vector<std::string> found;
        for (const auto& engine : store->engines.get()) {
            found.push_back(engine.id);
        }
        return found;
    }
    const Engine& engine(const std::string& id) const
    {
        for (const auto& each : store->engines.get()) {
            if (each.id == id) {
                return each;
            }
        }
        throw std::runtime_error("no engine " + id);
    }
    /// "installed", "notInstalled", "downloading 0.5", "(unknown)".
    std::string state(const std::string& id) const
    {
        const auto found = store->states.get().find(id);
        if (found == store->states.get().end()) {
            return "(unknown)";
        }
        if (const auto* running = std::get_if<ModelStore::Downloading>(&found->second)) {
            const std::string fraction = std::to_string(running->fraction);
            return "downloading " + fraction.substr(0, fraction.find('.') + 2);
        }
        const bool installed = std::holds_alternative<ModelStore::Installed>(found->second);
        return installed ? "installed" : "notInstalled";
    }
    std::string size(const std::string& id) const
    {
        const auto found = store->sizes.get().find(id);
        return found == store->sizes.get().end() ? "(none)" : found->second;
    }
    std::string error() const { return store->lastError.get().value_or("(none)"); }
    /// What a dictation would use now.
    std::string dictates()
    {
        store->makeTranscriber();
        const std::string last = speech.asked.back();
        speech.asked.pop_back();
        return last;
    }
    /// The last engine of the list.
    const Engine& newest() const { return store->engines.get().back(); }

    SimulatedLoop loop;
    HangingWorkers workers{loop};
    const std::shared_ptr<FakeFolders> heldFolders = std::make_shared<FakeFolders>();
    FakeFolders& folders = *heldFolders;
    FakeRandom random;
    FakeDefaults defaults;
    FakeLocale locale;
    Preferences preferences{defaults, locale};
    FakeSpeechEngines speech;
    FakeDownloads downloads;
    std::unique_ptr<ModelStore> store;
};

} // namespace vorlin
