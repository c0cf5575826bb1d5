#include "Platform/Linux/Pasteboard/SelectionThread.h"

#include "Platform/Linux/Pasteboard/PasteboardStatus.h"
#include "Platform/Linux/Pasteboard/SelectionClient.h"
#include "Platform/Shared/Descriptor.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdint>
#include <deque>
#include <mutex>
#include <semaphore>
#include <thread>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vorlin {

using namespace std::chrono_literals;

namespace {

constexpr auto handoverLimit = 500ms;

} // namespace

/// What the thread and its owner share; the thread may outlive the owner if the display server
/// never lets it go.
struct SelectionThread::Shared {
    Shared(std::string display, std::shared_ptr<PasteboardStatus> status)
        : display(std::move(display)), status(std::move(status)),
          wakeUp(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    {
    }
    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;

    void wake() const
    {
        const std::uint64_t one = 1;
        [[maybe_unused]] const auto written = write(wakeUp.number(), &one, sizeof(one));
    }

    void live();
    void wait(const SelectionClient& client);
    bool runCommands(SelectionClient& client);
    void setSocket(int descriptor);

    const std::string display;
    const std::shared_ptr<PasteboardStatus> status;
    const Descriptor wakeUp;
    std::binary_semaphore ended{0};
    Deadline handoverEnd{}; // the thread's own

    std::mutex lock;
    std::deque<Command> commands;
    bool stopping = false;
    /// The connection's socket while there is one.
    int socket = -1;
};

struct SelectionThread::Handle {
    std::thread thread;
};

void SelectionThread::Shared::setSocket(int descriptor)
{
    const std::scoped_lock guard(lock);
    socket = descriptor;
}

/// Runs what is queued; says whether the end has come.
bool SelectionThread::Shared::runCommands(SelectionClient& client)
{
    for (;;) {
        Command next;
        {
            const std::scoped_lock guard(lock);
            if (commands.empty()) {
                break;
            }
            next = std::move(commands.front());
            commands.pop_front();
        }
        next(client);
    }
    const auto now = std::chrono::steady_clock::now();
    {
        const std::scoped_lock guard(lock);
        if (!stopping) {
            return false;
        }
    }
    if (handoverEnd == Deadline{}) {
        handoverEnd = now + handoverLimit;
        client.beginHandover();
    }
    return client.handoverEnded() || now >= handoverEnd;
}

void SelectionThread::Shared::wait(const SelectionClient& client)
{
    const auto now = std::chrono::steady_clock::now();
    auto deadline = client.nextDeadline(now);
    if (handoverEnd != Deadline{}) {
        deadline = std::min(deadline.value_or(handoverEnd), handoverEnd);
    }
    int timeoutMs = -1;
    if (deadline) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - now);
        timeoutMs = static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, 60'000));
    }
    std::array<pollfd, 2> sources = {{{wakeUp.number(), POLLIN, 0}, {-1, POLLIN, 0}}};
    if (client.alive()) {
        sources[1].fd = client.fileDescriptor();
    }
    poll(sources.data(), sources.size(), timeoutMs);
    std::uint64_t count = 0;
    [[maybe_unused]] const auto taken = ::read(wakeUp.number(), &count, sizeof(count));
}

void SelectionThread::Shared::live()
{
    {
        SelectionClient client(display, *status);
        setSocket(client.alive() ? client.fileDescriptor() : -1);
        while (!runCommands(client)) {
            client.advance(std::chrono::steady_clock::now());
            // Last before the waiting: whatever asks the server something may receive events.
            if (!client.alive() || !client.handleEvents()) {
                wait(client);
            }
        }
        setSocket(-1);
    }
    ended.release();
}

SelectionThread::SelectionThread(std::string display, std::shared_ptr<PasteboardStatus> status)
    : shared(std::make_shared<Shared>(std::move(display), std::move(status))),
      handle(std::make_unique<Handle>())
{
    // A thread inherits what is blocked. Signals are the main thread's; that of a display server
    // gone away (SIGPIPE) would end the process.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    handle->thread = std::thread([shared = shared] { shared->live(); });
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

SelectionThread::~SelectionThread()
{
    {
        const std::scoped_lock guard(shared->lock);
        shared->stopping = true;
    }
    shared->wake();
    if (!shared->ended.try_acquire_for(2 * handoverLimit)) {
        const std::scoped_lock guard(shared->lock);
        if (shared->socket < 0) {
            handle->thread.detach(); // it is still connecting; it owns what it needs
            return;
        }
        shutdown(shared->socket, SHUT_RDWR);
    }
    handle->thread.join();
}

void SelectionThread::post(Command command)
{
    {
        const std::scoped_lock guard(shared->lock);
        shared->commands.push_back(std::move(command));
    }
    shared->wake();
}

void SelectionThread::run(Command command, std::chrono::milliseconds patience)
{
    auto done = std::make_shared<std::binary_semaphore>(0);
    post([command = std::move(command), done](SelectionClient& client) {
        command(client);
        done->release();
    });
    [[maybe_unused]] const bool inTime = done->try_acquire_for(patience);
}

} // namespace vorlin
