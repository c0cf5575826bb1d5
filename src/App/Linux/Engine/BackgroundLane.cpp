#include "BackgroundLane.h"

#include <sched.h>
#include <sys/resource.h>

#include <cerrno>
#include <system_error>

namespace vorlin::engine {

void lowerOwnPriority()
{
    constexpr int steps = 10;
    errno = 0;
    const int niceness = ::getpriority(PRIO_PROCESS, 0); // 0: this thread
    if (errno == 0) {
        ::setpriority(PRIO_PROCESS, 0, niceness + steps); // the kernel stops at 19
    }
    const sched_param unused{};
    ::sched_setscheduler(0, SCHED_BATCH, &unused);
}

void BackgroundLane::run(const std::function<void()>& work)
{
    const std::scoped_lock mine(turn);
    try {
        if (!thread.joinable()) {
            thread = std::thread([this] { serve(); });
        }
    } catch (const std::system_error&) {
        work(); // no thread is left: better too eager than not at all
        return;
    }
    std::unique_lock guard(lock);
    waiting = &work;
    changed.notify_all();
    changed.wait(guard, [this] { return waiting == nullptr; });
}

void BackgroundLane::serve()
{
    lowerOwnPriority();
    std::unique_lock guard(lock);
    while (true) {
        changed.wait(guard, [this] { return waiting != nullptr; });
        const auto* work = waiting;
        guard.unlock();
        (*work)();
        guard.lock();
        waiting = nullptr;
        changed.notify_all();
    }
}

} // namespace vorlin::engine
