#include "Parakeet/ParakeetRuntime.h"

#include "Async/Mutex.h"
#include "Async/SerialExecutor.h"
#include "Parakeet/LengthFinder.h"
#include "Parakeet/ParakeetDecoding.h"
#include "Parakeet/ParakeetLoad.h"
#include "Parakeet/ParakeetLoaded.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <utility>

namespace vorlin {

namespace {

constexpr auto idleTime = std::chrono::seconds(600);

} // namespace

/// All but the ports and the executor is touched on the executor only.
struct ParakeetRuntime::State : std::enable_shared_from_this<State> {
    State(MLModels& models, std::shared_ptr<Folders> heldFolders, MainLoop& loop, Workers& workers,
          Defaults* memory)
        : models(models), folders(std::move(heldFolders)), loop(loop), workers(workers),
          executor(workers.executor(WorkPriority::normal)),
          finder({models, folders, loop, workers, executor, oneAtATime, memory})
    {
    }

    /// The finder, with a share of all it works with.
    LengthFinder::Self heldFinder() { return {shared_from_this(), &finder}; }

    /// Somebody wants the models of `directory`. A load of them under way hurries for a
    /// dictation; one of another folder makes room, unless a dictation waits for it.
    void want(const std::filesystem::path& directory, WorkPriority priority, const StopToken& stop)
    {
        const auto load = loading.lock();
        if (!load) {
            return;
        }
        if (load->directory != directory) {
            giveUpUnwanted();
        } else if (priority == WorkPriority::normal) {
            load->addDictation(stop);
            begin(load, priority);
        }
    }

    void giveUpUnwanted()
    {
        const auto load = loading.lock();
        if (load && !load->hasDictation()) {
            load->giveUp(failure("Another model is wanted now."));
        }
    }

    /// The loaded models of `directory`. Under the hold of `oneAtATime`.
    Task<std::shared_ptr<Loaded>> modelsAt(std::filesystem::path directory, WorkPriority priority,
                                           StopToken stop)
    {
        if (loaded && loaded->directory == directory && !loaded->isLost()) {
            co_return loaded;
        }
        const Ended ended{*this};
        auto fresh = co_await arrivalAt(directory, priority, std::move(stop));
        loaded = std::move(fresh);
        co_return loaded;
    }

    /// Has the models of `directory` loaded, and looks after that.
    Completion<ParakeetLoad::Models> arrivalAt(const std::filesystem::path& directory,
                                               WorkPriority priority, StopToken stop)
    {
        const auto load = loadOf(directory);
        loading = load;
        auto arrival = load->await();
        if (priority == WorkPriority::normal) {
            load->addDictation(std::move(stop));
        }
        begin(load, priority);
        watch();
        return arrival;
    }

    /// A new load of `directory`, or one that was given up and may still come to an end: it knows
    /// when a disk that does not answer is asked again.
    std::shared_ptr<ParakeetLoad> loadOf(const std::filesystem::path& directory)
    {
        std::erase_if(loads, [](const auto& each) { return each.second.expired(); });
        auto& known = loads[directory];
        auto load = known.lock();
        if (!load) {
            load = std::make_shared<ParakeetLoad>(directory);
            known = load;
        }
        return load;
    }

    void begin(const std::shared_ptr<ParakeetLoad>& load, WorkPriority priority)
    {
        auto begun = load->attempt(priority, loop.now());
        if (!begun) {
            return;
        }
        spawn(executor,
              [](std::shared_ptr<State> held, std::shared_ptr<const ParakeetLoad::Attempt> attempt,
                 WorkPriority at) -> Task<void> {
                  const auto& into = attempt->load;
                  // Named, since GCC 12 destroys an aggregate twice that is made in an awaited
                  // call.
                  ParakeetSource source{.models = held->models,
                                        .folders = held->folders,
                                        .workers = held->workers,
                                        .executor = held->executor,
                                        .directory = into->directory,
                                        .priority = at,
                                        .onProgress = into->onProgress(),
                                        .held = attempt};
                  try {
                      into->arrive(*attempt, co_await loadParakeet(std::move(source)));
                  } catch (...) {
                      into->fail(*attempt, std::current_exception());
                  }
              }(shared_from_this(), std::move(begun), priority));
    }

    /// Looks after the load under way, tick by tick.
    void watch()
    {
        loadTimer =
            loop.startTimer(ParakeetLoad::tick, [weak = weak_from_this(), watched = loading] {
                if (const auto alive = weak.lock()) {
                    alive->executor.post([weak, watched] { look(weak, watched); });
                }
            });
    }

    static void look(const std::weak_ptr<State>& weak, const std::weak_ptr<ParakeetLoad>& watched)
    {
        const auto alive = weak.lock();
        const auto load = watched.lock();
        if (!alive || !load || alive->loading.lock() != load) {
            return;
        }
        if (load->hangsAfterTick()) {
            load->giveUp(failure("The model's folder does not answer."));
        } else {
            alive->watch();
        }
    }

    void cancelUnload()
    {
        ++idle;
        idleTimer.reset();
    }

    void scheduleUnload()
    {
        const auto scheduled = ++idle;
        idleTimer = loop.startTimer(idleTime, [weak = weak_from_this(), scheduled] {
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

    /// Nobody waits for the load any more.
    struct Ended {
        State& state;
        ~Ended()
        {
            state.loading.reset();
            state.loadTimer.reset();
        }
    };

    static std::exception_ptr failure(const char* message)
    {
        return std::make_exception_ptr(std::runtime_error(message));
    }

    MLModels& models;
    const std::shared_ptr<Folders> folders;
    MainLoop& loop;
    Workers& workers;
    SerialExecutor executor;
    /// Held while models load or an utterance is decoded, across all awaits in between.
    Mutex oneAtATime;
    std::shared_ptr<Loaded> loaded;
    LengthFinder finder;
    /// The load that somebody waits for. A load lives as long as one of the tasks that carry it
    /// out: where they go unfinished, so does the wait.
    std::weak_ptr<ParakeetLoad> loading;
    /// Until the next look after it.
    Timer loadTimer;
    /// Those that may still come to an end.
    std::map<std::filesystem::path, std::weak_ptr<ParakeetLoad>> loads;
    /// Counts the warm-ups asked for.
    std::int64_t warmUps = 0;
    Timer idleTimer;
    /// Names the idle timer that counts; an older one that has just run out does nothing.
    std::int64_t idle = 0;
};

ParakeetRuntime::ParakeetRuntime(MLModels& models, std::shared_ptr<Folders> folders, MainLoop& loop,
                                 Workers& workers, Defaults* memory)
    : state(std::make_shared<State>(models, std::move(folders), loop, workers, memory))
{
}

ParakeetRuntime::~ParakeetRuntime()
{
    hurry();
}

Executor& ParakeetRuntime::executor()
{
    return state->executor;
}

Task<std::string> ParakeetRuntime::transcribe(std::vector<float> utterance,
                                              std::filesystem::path directory,
                                              WorkPriority priority, StopToken stop)
{
    const auto held = state;
    LengthFinder::noteUse(held->heldFinder());
    held->want(directory, priority, stop);
    const auto hold = co_await held->oneAtATime.lock();
    if (stop.stopRequested()) {
        throw MLStopped();
    }
    const auto models = co_await held->modelsAt(std::move(directory), priority, stop);
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

void ParakeetRuntime::warm(const std::filesystem::path& directory, WorkPriority priority,
                           StopToken stop)
{
    hurry();
    spawn(state->executor,
          [](std::shared_ptr<State> held, std::filesystem::path at, WorkPriority wanted,
             StopToken until) -> Task<void> {
              const auto number = ++held->warmUps;
              held->want(at, wanted, until);
              const auto hold = co_await held->oneAtATime.lock();
              if (number != held->warmUps) {
                  co_return;
              }
              try {
                  co_await held->modelsAt(std::move(at), wanted, std::move(until));
                  held->scheduleUnload();
                  LengthFinder::find(held->heldFinder(), held->loaded);
              } catch (const std::exception&) { // NOLINT(bugprone-empty-catch): see the header
              }
          }(state, directory, priority, std::move(stop)));
}

void ParakeetRuntime::hurry()
{
    state->finder.giveWay();
}

std::shared_ptr<const void> ParakeetRuntime::dictation()
{
    return std::make_shared<const LengthFinder::Dictation>(state->heldFinder());
}

void ParakeetRuntime::unload()
{
    hurry();
    spawn(state->executor, [](std::shared_ptr<State> held) -> Task<void> {
        held->giveUpUnwanted();
        // After a load that is under way, so that it does not bring back what is to go.
        const auto hold = co_await held->oneAtATime.lock();
        held->cancelUnload();
        held->loaded.reset();
    }(state));
}

} // namespace vorlin
