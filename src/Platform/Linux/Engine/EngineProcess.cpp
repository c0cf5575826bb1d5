#include "Platform/Linux/Engine/EngineProcess.h"

#include "Platform/Linux/Engine/EnginePatience.h"
#include "Platform/Linux/Engine/EngineSpawn.h"
#include "Platform/Linux/Engine/Wire/Startup.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/wait.h>

#include <condition_variable>
#include <csignal>
#include <cstring>
#include <iterator>
#include <mutex>
#include <span>
#include <utility>
#include <vector>

namespace vorlin {

namespace {

/// Between the end of a process's channels and its own.
constexpr std::chrono::milliseconds dying{2000};

/// Between SIGKILL and the end. One that waits in the kernel for a disk takes longer; nobody waits
/// for that.
constexpr std::chrono::milliseconds killed{500};

constexpr const char* stoppedUnexpectedly = "The speech engine stopped unexpectedly";

std::string describe(const siginfo_t& status)
{
    if (status.si_code == CLD_EXITED && status.si_status == engine::exitUnconfined) {
        return "The speech engine cannot be confined on this system.";
    }
    const bool bySignal = status.si_code == CLD_KILLED || status.si_code == CLD_DUMPED;
    const char* const name = bySignal ? ::sigdescr_np(status.si_status) : nullptr;
    return stoppedUnexpectedly +
           (name != nullptr ? " (" + std::string(name) + ")." : std::string("."));
}

struct PendingLoad {
    Descriptor channel;
    EngineProcess::Loaded loaded;
    std::function<void()> onProgress;
    EnginePatience patience;
};

/// Tells those who wait for loads that the process ends.
void answerAll(std::vector<PendingLoad> loads)
{
    for (auto& load : loads) {
        if (load.loaded) {
            load.loaded(std::move(load.channel), std::nullopt);
        }
    }
}

} // namespace

/// What the thread works on; it may outlive the object.
struct EngineProcess::State {
    void watch(const std::filesystem::path& program, Descriptor folder, Descriptor engineEnd);
    void follow();
    bool wait(std::vector<PendingLoad>& loads);
    void collect(PendingLoad& load);
    void finish(const std::string& cause);
    void end(const std::string& why);

    Descriptor control;
    Descriptor wake;

    mutable std::mutex lock;
    mutable std::condition_variable changed;
    std::optional<SpawnedEngine> child; // guarded by lock; the thread alone changes it
    bool closing = false;               // guarded by lock
    bool gone = false;                  // guarded by lock; it has ended and is reaped
    std::string reason;                 // guarded by lock; why it ended, or shall end
    std::vector<PendingLoad> arriving;  // guarded by lock
};

void EngineProcess::State::watch(const std::filesystem::path& program, Descriptor folder,
                                 Descriptor engineEnd)
{
    auto spawned = spawnEngine(program, folder, engineEnd);
    folder.close();
    engineEnd.close();
    if (const auto* failure = std::get_if<std::string>(&spawned)) {
        finish("The speech engine could not be started: " + *failure + ".");
        return;
    }
    {
        const std::scoped_lock guard(lock);
        child = std::move(std::get<SpawnedEngine>(spawned));
        if (closing) {
            child->kill();
        }
    }
    follow();
}

/// Until the process has ended and is reaped.
void EngineProcess::State::follow()
{
    std::vector<PendingLoad> loads;
    while (wait(loads)) {
        std::unique_lock guard(lock);
        std::move(arriving.begin(), arriving.end(), std::back_inserter(loads));
        arriving.clear();
        const bool ends = closing;
        guard.unlock();
        if (ends) {
            answerAll(std::exchange(loads, {}));
        }
    }
    siginfo_t status{};
    std::string cause;
    {
        const std::scoped_lock guard(lock);
        const bool known =
            ::waitid(P_PIDFD, static_cast<id_t>(child->process.number()), &status, WEXITED) == 0;
        cause = known ? describe(status) : std::string(stoppedUnexpectedly) + ".";
        child.reset();
        std::move(loads.begin(), loads.end(), std::back_inserter(arriving));
    }
    finish(cause);
}

/// Waits for something to happen, and does what it takes. Returns whether the process goes on.
bool EngineProcess::State::wait(std::vector<PendingLoad>& loads)
{
    std::vector<pollfd> watched{{.fd = child->process.number(), .events = POLLIN, .revents = 0},
                                {.fd = wake.number(), .events = POLLIN, .revents = 0}};
    for (const auto& load : loads) {
        watched.push_back({.fd = load.channel.number(), .events = POLLIN, .revents = 0});
    }
    const int ready = ::poll(watched.data(), watched.size(),
                             loads.empty() ? -1 : static_cast<int>(engineTick.count()));
    if (watched[1].revents != 0) {
        eventfd_t ignored = 0;
        ::eventfd_read(wake.number(), &ignored);
    }
    for (std::size_t i = 0; i < loads.size(); ++i) {
        if (watched[i + 2].revents != 0) {
            collect(loads[i]);
        } else if (ready == 0 && loads[i].patience.endsAfterTick(child->processorTime())) {
            end("The speech engine stopped responding.");
        } else if (ready == 0 && loads[i].patience.sawWork()) {
            loads[i].onProgress();
        }
    }
    std::erase_if(loads, [](const PendingLoad& load) { return load.loaded == nullptr; });
    return watched[0].revents == 0;
}

/// Hands on a reply; ends a process that has none.
void EngineProcess::State::collect(PendingLoad& load)
{
    std::vector<std::byte> buffer(engine::largestMessage);
    const auto received = engine::receive(load.channel, buffer);
    auto reply = received.what == engine::Received::What::packet && received.size <= buffer.size()
                     ? engine::parseReply(std::span(buffer).first(received.size))
                     : std::nullopt;
    if (reply) {
        const auto loaded = std::exchange(load.loaded, nullptr);
        loaded(std::move(load.channel), std::move(reply));
    } else if (!child->endsWithin(dying)) { // else its end tells why, and is noticed next
        end("The speech engine answered nonsense.");
    }
}

void EngineProcess::State::finish(const std::string& cause)
{
    std::vector<PendingLoad> loads;
    {
        const std::scoped_lock guard(lock);
        gone = true;
        if (reason.empty()) {
            reason = cause;
        }
        loads = std::exchange(arriving, {});
    }
    changed.notify_all();
    answerAll(std::move(loads));
}

void EngineProcess::State::end(const std::string& why)
{
    const std::scoped_lock guard(lock);
    closing = true;
    if (reason.empty()) {
        reason = why;
    }
    if (child) {
        child->kill();
    }
    ::eventfd_write(wake.number(), 1); // for the loads under way
}

EngineProcess::EngineProcess(const std::filesystem::path& program, Descriptor folder,
                             const EngineLimits& limits)
    : limits(limits), state(std::make_shared<State>())
{
    auto [ours, theirs] = engine::channel();
    state->control = std::move(ours);
    state->wake = Descriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!state->control || !state->wake) {
        state->finish("The speech engine could not be started: no descriptors are left.");
        return;
    }
    watcher = std::thread(
        [state = state, program, folder = std::move(folder), theirs = std::move(theirs)]() mutable {
            state->watch(program, std::move(folder), std::move(theirs));
        });
}

EngineProcess::~EngineProcess()
{
    if (!watcher.joinable()) {
        return;
    }
    state->end(stoppedUnexpectedly);
    std::unique_lock guard(state->lock);
    const bool gone = watcher.get_id() != std::this_thread::get_id() &&
                      state->changed.wait_for(guard, killed, [this] { return state->gone; });
    guard.unlock();
    if (gone) {
        watcher.join();
    } else {
        watcher.detach(); // it reaps the process when the kernel lets go of it
    }
}

void EngineProcess::load(const engine::LoadRequest& request, Loaded loaded,
                         std::function<void()> onProgress)
{
    auto [ours, theirs] = engine::channel();
    engine::setPatience(ours, engineTick);
    const auto packet = engine::encode(engine::ControlRequest(request));
    if (!ours || packet.empty() ||
        !engine::send(state->control, packet, theirs.number(), engine::Waiting::no)) {
        loaded({}, std::nullopt);
        return;
    }
    theirs.close();
    {
        const std::scoped_lock guard(state->lock);
        if (!state->gone && !state->closing) {
            state->arriving.push_back({std::move(ours), std::move(loaded), std::move(onProgress),
                                       EnginePatience(limits.loadSilence, limits.longestLoad)});
            ::eventfd_write(state->wake.number(), 1);
            return;
        }
    }
    loaded({}, std::nullopt);
}

void EngineProcess::stop(std::uint32_t model, std::uint64_t sequence)
{
    const engine::StopRequest request{.model = model, .sequence = sequence};
    engine::send(state->control, engine::encode(engine::ControlRequest(request)), -1,
                 engine::Waiting::no);
}

bool EngineProcess::ended() const
{
    const std::scoped_lock guard(state->lock);
    return state->gone || state->closing;
}

void EngineProcess::end(const std::string& reason)
{
    state->end(reason);
}

std::string EngineProcess::lastWords() const
{
    std::unique_lock guard(state->lock);
    state->changed.wait_for(guard, dying, [this] { return state->gone || !state->reason.empty(); });
    return state->reason.empty() ? std::string(stoppedUnexpectedly) + "." : state->reason;
}

std::optional<std::chrono::nanoseconds> EngineProcess::processorTime() const
{
    const std::scoped_lock guard(state->lock);
    return state->child ? state->child->processorTime() : std::nullopt;
}

} // namespace vorlin
