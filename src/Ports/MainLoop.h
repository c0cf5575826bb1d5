#pragma once

#include "Async/Executor.h"

#include <chrono>

namespace vorlin {

using Duration = std::chrono::nanoseconds;
/// A moment on the loop's own monotonic clock; only `MainLoop::now` reads a clock.
using TimePoint = std::chrono::time_point<std::chrono::steady_clock, Duration>;

/// The thread that owns everything observable: its queue, its clock, its timers.
class MainLoop : public Executor {
public:
    /// The current time. Any thread.
    virtual TimePoint now() const = 0;

    /// Runs `work` on the main thread once `delay` has passed, never inside the call. It cannot
    /// be taken back: what it does must check that it is still wanted. Any thread.
    virtual void postAfter(Duration delay, Work work) = 0;
};

} // namespace vorlin
