#include "Platform/Linux/Engine/EngineModels.h"

#include "Platform/Linux/Engine/EngineModel.h"
#include "Platform/Linux/Engine/EngineProcess.h"
#include "Platform/Linux/Engine/EngineTensors.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <map>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace vorlin {

using engine::Descriptor;

namespace {

using ModelCompleter = Completer<std::unique_ptr<MLModel>>;

/// A folder as the file system knows it: another one put in its place is another one.
using FolderIdentity = std::pair<dev_t, ino_t>;

/// The model's failure with the bundle's name in it.
std::string named(const std::string& bundle, const std::string& failure)
{
    return failure.find(bundle) == std::string::npos ? bundle + ": " + failure : failure;
}

unsigned threadsFor(ComputeUnits units)
{
    return units == ComputeUnits::cpuAndGPU ? std::max(1U, std::thread::hardware_concurrency()) : 1;
}

/// Answers a load with what the engine said.
void complete(const ModelCompleter& completer, const std::shared_ptr<EngineProcess>& process,
              const engine::LoadRequest& request, Descriptor channel,
              const std::optional<engine::Reply>& reply)
{
    if (!reply) {
        completer.failWith<MLModelLost>(process->lastWords());
    } else if (const auto* loaded = std::get_if<engine::LoadedReply>(&*reply)) {
        completer.complete(std::make_unique<EngineModel>(process, request.model, std::move(channel),
                                                         signatureOf(*loaded)));
    } else if (const auto* failed = std::get_if<engine::FailedReply>(&*reply)) {
        completer.failWith(named(request.bundle, shown(failed->text)));
    } else {
        process->end("The speech engine answered nonsense.");
        completer.failWith<MLModelLost>(process->lastWords());
    }
}

} // namespace

struct EngineModels::State {
    State(std::filesystem::path program, const EngineLimits& limits)
        : program(std::move(program)), limits(limits)
    {
    }

    void load(const std::filesystem::path& bundle, ComputeUnits units,
              const ModelCompleter& completer);
    std::shared_ptr<EngineProcess> processOf(const std::filesystem::path& folder);

    const std::filesystem::path program;
    const EngineLimits limits;
    std::mutex lock;
    std::map<FolderIdentity, std::weak_ptr<EngineProcess>> processes; // guarded by lock
};

void EngineModels::State::load(const std::filesystem::path& bundle, ComputeUnits units,
                               const ModelCompleter& completer)
{
    const auto path = bundle.has_filename() ? bundle : bundle.parent_path();
    const auto process = processOf(path.parent_path());
    const engine::LoadRequest request{.version = engine::protocolVersion,
                                      .model = process->nextModel(),
                                      .threads = threadsFor(units),
                                      .bundle = path.filename().string()};
    process->load(request, [=](Descriptor channel, const std::optional<engine::Reply>& reply) {
        complete(completer, process, request, std::move(channel), reply);
    });
}

/// The running process of a folder, or a new one.
std::shared_ptr<EngineProcess> EngineModels::State::processOf(const std::filesystem::path& folder)
{
    const auto& place = folder.empty() ? std::filesystem::path(".") : folder;
    Descriptor opened(::open(place.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    struct stat status = {};
    if (!opened || ::fstat(opened.number(), &status) != 0) {
        throw std::runtime_error("cannot read " + folder.string() + ": " +
                                 std::generic_category().message(errno));
    }
    std::shared_ptr<EngineProcess> process; // let go of, if it has ended, without the lock
    const std::scoped_lock guard(lock);
    std::erase_if(processes, [](const auto& entry) { return entry.second.expired(); });
    auto& known = processes[{status.st_dev, status.st_ino}];
    process = known.lock();
    if (process && !process->ended()) {
        return process;
    }
    auto fresh = std::make_shared<EngineProcess>(program, std::move(opened), limits);
    known = fresh;
    return fresh;
}

EngineModels::EngineModels(Workers& workers, std::filesystem::path program,
                           const EngineLimits& limits)
    : workers(workers), state(std::make_shared<State>(std::move(program), limits))
{
}

EngineModels::~EngineModels()
{
    std::vector<std::weak_ptr<EngineProcess>> running;
    {
        const std::scoped_lock guard(state->lock);
        for (const auto& [identity, process] : state->processes) {
            running.push_back(process);
        }
    }
    for (const auto& each : running) {
        if (const auto process = each.lock()) {
            process->end("The program ends.");
        }
    }
    // Loads under way answer from the processes' own threads, to executors that go after this.
    const auto patience = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    while (!std::ranges::all_of(running, [](const auto& each) { return each.expired(); }) &&
           std::chrono::steady_clock::now() < patience) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

Completion<std::unique_ptr<MLModel>> EngineModels::load(const std::filesystem::path& bundle,
                                                        ComputeUnits units)
{
    Completion<std::unique_ptr<MLModel>> completion;
    workers.executor(WorkPriority::normal)
        .post([state = state, bundle, units, completer = completion.completer()] {
            try {
                state->load(bundle, units, completer);
            } catch (...) {
                completer.fail(std::current_exception());
            }
        });
    return completion;
}

} // namespace vorlin
