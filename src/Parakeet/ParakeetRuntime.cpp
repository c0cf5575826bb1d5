#include "Parakeet/ParakeetRuntime.h"

#include "Async/Mutex.h"
#include "Async/SerialExecutor.h"
#include "Parakeet/ParakeetDecoding.h"
#include "Parakeet/ParakeetLoaded.h"

#include <cstdint>
#include <utility>

namespace vorlin {

namespace {

constexpr auto idleTime = std::chrono::seconds(600);

} // namespace

/// All but the ports and the executor is touched on the executor only.
struct ParakeetRuntime::State : std::enable_shared_from_this<State> {
    State(MLModels& models, Folders& folders, MainLoop& loop, Workers& workers)
        : models(models), folders(folders), loop(loop),
          executor(workers.executor(WorkPriority::normal))
    {
    }

    /// The loaded models of `directory`. Under the hold of `oneAtATime`.
    Task<std::shared_ptr<Loaded>> modelsAt(std::filesystem::path directory)
    {
        if (!loaded || loaded->directory != directory || loaded->isLost()) {
            auto fresh = co_await loadParakeet(models, folders, std::move(directory));
            loaded = std::move(fresh);
        }
        co_return loaded;
    }

    void cancelUnload() { ++idle; }

    void scheduleUnload()
    {
        const auto scheduled = ++idle;
        loop.postAfter(idleTime, [weak = weak_from_this(), scheduled] {
            if (const auto alive = weak.lock()) {
                alive->executor.post([weak, scheduled] {
                    const auto same = weak.lock();
                    if (same && same->idle == scheduled) {
                        same->loaded.reset();
                    }
                });
            }
        });
    }

    MLModels& models;
    Folders& folders;
    MainLoop& loop;
    SerialExecutor executor;
    /// Held while models load or an utterance is decoded, across all awaits in between.
    Mutex oneAtATime;
    std::shared_ptr<Loaded> loaded;
    /// Names the idle timer that counts; an older one does nothing.
    std::int64_t idle = 0;
};

ParakeetRuntime::ParakeetRuntime(MLModels& models, Folders& folders, MainLoop& loop,
                                 Workers& workers)
    : state(std::make_shared<State>(models, folders, loop, workers))
{
}

ParakeetRuntime::~ParakeetRuntime() = default;

Executor& ParakeetRuntime::executor()
{
    return state->executor;
}

Task<std::string> ParakeetRuntime::transcribe(std::vector<float> utterance,
                                              std::filesystem::path directory,
                                              WorkPriority priority, std::stop_token stop)
{
    const auto held = state;
    const auto hold = co_await held->oneAtATime.lock();
    if (stop.stop_requested()) {
        throw MLStopped();
    }
    const auto models = co_await held->modelsAt(std::move(directory));
    held->cancelUnload();
    // Named, since GCC 12 destroys an aggregate twice that is made inside an awaited call.
    const PredictOptions options{priority, stop};
    try {
        auto text = co_await decode(utterance, *models, options);
        held->scheduleUnload();
        co_return text;
    } catch (...) {
        held->scheduleUnload();
        throw;
    }
}

void ParakeetRuntime::warm(const std::filesystem::path& directory)
{
    spawn(state->executor, [](std::shared_ptr<State> held, std::filesystem::path at) -> Task<void> {
        const auto hold = co_await held->oneAtATime.lock();
        try {
            co_await held->modelsAt(std::move(at));
            held->scheduleUnload();
        } catch (const std::exception&) { // NOLINT(bugprone-empty-catch): see the header
        }
    }(state, directory));
}

void ParakeetRuntime::unload()
{
    spawn(state->executor, [](std::shared_ptr<State> held) -> Task<void> {
        // After a load that is under way, so that it does not bring back what is to go.
        const auto hold = co_await held->oneAtATime.lock();
        held->loaded.reset();
    }(state));
}

} // namespace vorlin
