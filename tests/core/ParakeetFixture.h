#pragma once

#include "Parakeet/ParakeetLoaded.h"
#include "Parakeet/ParakeetRuntime.h"
#include "fakes/FakeFolders.h"
#include "fakes/FakeParakeet.h"
#include "simulation/SimulatedLoop.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vorlin {

/// How an asynchronous step ended.
template <class T>
struct Outcome {
    std::optional<T> value;
    std::string error;
    bool done() const { return value || !error.empty(); }
};

/// Runs `task` on `executor`; the outcome fills in when it ends.
template <class T>
std::shared_ptr<Outcome<T>> outcomeOf(Executor& executor, Task<T> task)
{
    auto outcome = std::make_shared<Outcome<T>>();
    spawn(executor, [](Task<T> running, std::shared_ptr<Outcome<T>> into) -> Task<void> {
        try {
            into->value = co_await std::move(running);
        } catch (const std::exception& error) {
            into->error = error.what();
        }
    }(std::move(task), outcome));
    return outcome;
}

/// Folders A and B that hold the fake speech model, and a runtime over them.
class ParakeetFixture : public testing::Test {
protected:
    ParakeetFixture()
    {
        FakeParakeet::install(models);
        for (const auto& folder : {a, b}) {
            folders.files[folder / "parakeet_v3_vocab.json"] = FakeParakeet::vocabularyJson();
        }
        folders.onMain = [this] { return loop.onMain(); };
    }
    ~ParakeetFixture() override
    {
        models.answer();
        loop.runReady();
        EXPECT_EQ(folders.asksOnMain, 0);
    }

    /// Audio of one word: half a second of its amplitude.
    static std::vector<float> spoken(int word, std::size_t count = 8000)
    {
        return std::vector<float>(count, FakeParakeet::amplitude(word));
    }

    std::shared_ptr<Outcome<std::string>>
    transcribe(std::vector<float> samples, const std::filesystem::path& folder, StopToken stop = {})
    {
        return outcomeOf(
            runtime->executor(),
            runtime->transcribe(std::move(samples), folder, WorkPriority::normal, std::move(stop)));
    }

    const std::filesystem::path a = "/models/a";
    const std::filesystem::path b = "/models/b";
    // They outlive the loop, whose tasks may hold models to the end.
    FakeMLModels models{loop};
    const std::shared_ptr<FakeFolders> heldFolders = std::make_shared<FakeFolders>();
    FakeFolders& folders = *heldFolders;
    SimulatedLoop loop;
    std::shared_ptr<ParakeetRuntime> runtime =
        std::make_shared<ParakeetRuntime>(models, heldFolders, loop, loop);
};

} // namespace vorlin
