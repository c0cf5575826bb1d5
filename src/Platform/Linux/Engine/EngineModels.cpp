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

namespace {

constexpr const char* programEnds = "The program ends.";

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

engine::Frames framesOf(const LoadOptions& options)
{
    if (!options.frames) {
        return {};
    }
    const MLFrames& frames = *options.frames;
    return {frames.data, static_cast<std::uint32_t>(frames.axis), frames.length, frames.lengths};
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

/// A model folder as it was found.
struct FoundFolder {
    Descriptor opened;
    FolderIdentity identity;
    std::string failure;
};

/// May wait without end for a disk that does not answer.
FoundFolder find(const std::filesystem::path& folder)
{
    const auto& place = folder.empty() ? std::filesystem::path(".") : folder;
    FoundFolder found{Descriptor(::open(place.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)), {}, {}};
    struct stat status = {};
    if (!found.opened || ::fstat(found.opened.number(), &status) != 0) {
        found.failure =
            "cannot read " + folder.string() + ": " + std::generic_category().message(errno);
    }
    found.identity = {status.st_dev, status.st_ino};
    return found;
}

} // namespace

struct EngineModels::State {
    State(std::filesystem::path program, const EngineLimits& limits, Products products)
        : program(std::move(program)), limits(limits), products(products)
    {
    }

    void load(FoundFolder folder, const std::string& bundle, const LoadOptions& options,
              const ModelCompleter& completer);
    std::shared_ptr<EngineProcess> processOf(FoundFolder folder);
    std::vector<std::shared_ptr<EngineProcess>> running();

    const std::filesystem::path program;
    const EngineLimits limits;
    const Products products;
    std::mutex lock;
    std::map<FolderIdentity, std::weak_ptr<EngineProcess>> processes; // guarded by lock
    bool closed = false;                                              // guarded by lock
    /// Shared by every load whose answer is still to come.
    const std::shared_ptr<const char> unanswered = std::make_shared<const char>();
};

void EngineModels::State::load(FoundFolder folder, const std::string& bundle,
                               const LoadOptions& options, const ModelCompleter& completer)
{
    if (!folder.failure.empty()) {
        completer.failWith(folder.failure);
        return;
    }
    const auto process = processOf(std::move(folder));
    const engine::LoadRequest request{.version = engine::protocolVersion,
                                      .model = process->nextModel(),
                                      .threads = threadsFor(options.units),
                                      .background = options.priority == WorkPriority::background,
                                      .integers = products == Products::integers,
                                      .bundle = bundle,
                                      .frames = framesOf(options)};
    process->load(
        request,
        [=, unanswered = unanswered](Descriptor channel,
                                     const std::optional<engine::Reply>& reply) {
            complete(completer, process, request, std::move(channel), reply);
        },
        options.onProgress);
}

/// The running process of a folder, or a new one.
std::shared_ptr<EngineProcess> EngineModels::State::processOf(FoundFolder folder)
{
    std::shared_ptr<EngineProcess> process; // let go of, if it has ended, without the lock
    const std::scoped_lock guard(lock);
    std::erase_if(processes, [](const auto& entry) { return entry.second.expired(); });
    auto& known = processes[folder.identity];
    process = known.lock();
    if (process && !process->ended()) {
        return process;
    }
    auto fresh = std::make_shared<EngineProcess>(program, std::move(folder.opened), limits);
    known = fresh;
    if (closed) {
        fresh->end(programEnds);
    }
    return fresh;
}

std::vector<std::shared_ptr<EngineProcess>> EngineModels::State::running()
{
    std::vector<std::shared_ptr<EngineProcess>> all;
    const std::scoped_lock guard(lock);
    for (const auto& [identity, weak] : processes) {
        if (auto process = weak.lock()) {
            all.push_back(std::move(process));
        }
    }
    return all;
}

EngineModels::EngineModels(Workers& workers, std::filesystem::path program,
                           const EngineLimits& limits, Products products)
    : workers(workers), state(std::make_shared<State>(std::move(program), limits, products))
{
}

EngineModels::~EngineModels()
{
    close();
    // Loads are answered from the processes' own threads, to executors that go after this.
    const auto patience = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    while (state->unanswered.use_count() > 1 && std::chrono::steady_clock::now() < patience) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void EngineModels::close()
{
    {
        const std::scoped_lock guard(state->lock);
        state->closed = true;
    }
    for (const auto& process : state->running()) {
        process->end(programEnds);
    }
}

Completion<std::unique_ptr<MLModel>> EngineModels::load(const std::filesystem::path& bundle,
                                                        const LoadOptions& options)
{
    Completion<std::unique_ptr<MLModel>> completion;
    const auto path = bundle.has_filename() ? bundle : bundle.parent_path();
    const auto found = std::make_shared<FoundFolder>();
    // At normal priority in any case: the process inherits it from the thread that starts it.
    workers.runPatiently(
        WorkPriority::normal, [found, folder = path.parent_path()] { *found = find(folder); },
        workers.executor(WorkPriority::normal),
        [state = state, found, name = path.filename().string(), options,
         completer = completion.completer()] {
            try {
                options.onProgress();
                state->load(std::move(*found), name, options, completer);
            } catch (...) {
                completer.fail(std::current_exception());
            }
        });
    return completion;
}

std::string EngineModels::engineIdentity() const
{
    struct stat status = {};
    if (::stat(state->program.c_str(), &status) != 0) {
        return {};
    }
    return std::to_string(status.st_size) + ' ' + std::to_string(status.st_mtim.tv_sec) + '.' +
           std::to_string(status.st_mtim.tv_nsec) +
           (state->products == Products::integers ? " integers" : "");
}

} // namespace vorlin
