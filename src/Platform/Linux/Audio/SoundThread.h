#pragma once

#include "Async/Executor.h"
#include "Async/MainLoop.h"
#include "Async/TimerQueue.h"
#include "Platform/Shared/Descriptor.h"

#include <pulse/mainloop.h>

#include <deque>
#include <mutex>
#include <thread>

namespace vorlin {

/// The thread that talks to the sound server. It runs libpulse's event loop, and every libpulse
/// object lives on it: so none needs a lock. Idle, it sleeps.
class SoundThread final : public Executor {
public:
    SoundThread();
    SoundThread(const SoundThread&) = delete;
    SoundThread& operator=(const SoundThread&) = delete;
    /// Runs what was posted before, then ends the thread.
    ~SoundThread() override;

    /// Runs `work` on the sound thread. Any thread.
    void post(Work work) override;

    /// Runs `work` on the sound thread after `delay`, for as long as the result is kept and the
    /// thread runs; `work` itself may let go of it. Sound thread.
    [[nodiscard]] Timer startTimer(Duration delay, Work work);

    /// Where libpulse registers its events. Sound thread.
    pa_mainloop_api* events();

private:
    void run();
    /// Runs all that is posted, and the timers that are due.
    void runReady();
    /// How long libpulse may wait for events, in microseconds; -1: without limit.
    int waitLimit() const;

    pa_mainloop* loop;
    /// Readable while `posted` holds something new.
    Descriptor wakeUp;
    std::mutex lock;
    std::deque<Work> posted;
    TimerQueue timers;
    /// Sound thread only.
    bool ending = false;
    std::thread thread;
};

} // namespace vorlin
