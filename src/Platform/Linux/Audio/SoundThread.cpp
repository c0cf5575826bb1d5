#include "Platform/Linux/Audio/SoundThread.h"

#include "Async/Fatal.h"

#include <pthread.h>
#include <pulse/mainloop-api.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <utility>

namespace vorlin {

namespace {

/// Takes back the wake-up; what was posted runs when libpulse has returned.
void clearWakeUp(pa_mainloop_api*, pa_io_event*, int fd, pa_io_event_flags_t, void*)
{
    eventfd_t count = 0;
    eventfd_read(fd, &count);
}

} // namespace

SoundThread::SoundThread() : loop(pa_mainloop_new()), wakeUp(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (loop == nullptr || !wakeUp) {
        fatal("the sound thread cannot be made");
    }
    auto* api = events();
    api->io_new(api, wakeUp.number(), PA_IO_EVENT_INPUT, clearWakeUp, nullptr);

    // Signals are the main thread's business.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    thread = std::thread([this] { run(); });
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    pthread_setname_np(thread.native_handle(), "sound");
}

SoundThread::~SoundThread()
{
    post([this] { ending = true; });
    thread.join();
    pa_mainloop_free(loop);
}

void SoundThread::post(Work work)
{
    {
        const std::scoped_lock guard(lock);
        posted.push_back(std::move(work));
    }
    eventfd_write(wakeUp.number(), 1);
}

Timer SoundThread::startTimer(Duration delay, Work work)
{
    return timers.add(std::chrono::steady_clock::now() + delay, std::move(work));
}

pa_mainloop_api* SoundThread::events()
{
    return pa_mainloop_get_api(loop);
}

void SoundThread::run()
{
    runReady();
    while (!ending) {
        // A failure here (an interrupted wait, say) is one that the next round does not have.
        if (pa_mainloop_prepare(loop, waitLimit()) >= 0 && pa_mainloop_poll(loop) >= 0) {
            pa_mainloop_dispatch(loop);
        }
        runReady();
    }
}

void SoundThread::runReady()
{
    std::deque<Work> ready;
    {
        const std::scoped_lock guard(lock);
        ready.swap(posted);
    }
    for (const Work& work : ready) {
        work();
    }
    const TimePoint now = std::chrono::steady_clock::now();
    while (const Work work = timers.takeDue(now)) {
        work();
    }
}

int SoundThread::waitLimit() const
{
    const auto due = timers.next();
    if (!due) {
        return -1;
    }
    constexpr std::chrono::microseconds longest = std::chrono::minutes(1);
    const auto left =
        std::chrono::ceil<std::chrono::microseconds>(*due - std::chrono::steady_clock::now());
    return static_cast<int>(std::clamp(left, std::chrono::microseconds(0), longest).count());
}

} // namespace vorlin
