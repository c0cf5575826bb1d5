#pragma once

#include "Async/Executor.h"

#include <chrono>
#include <memory>

namespace vorlin {

using Duration = std::chrono::nanoseconds;
/// A moment on a monotonic clock. The core asks `MainLoop::now` and reads no clock itself; an
/// adapter whose threads have clocks to read uses the one that the type names.
using TimePoint = std::chrono::time_point<std::chrono::steady_clock, Duration>;

/// Keeps a timer running; the timer is taken back when this is destroyed.
using Timer = std::shared_ptr<const void>;

/// The thread that owns everything observable: its queue, its clock, its timers.
class MainLoop : public Executor {
public:
    /// The current time. Any thread.
    virtual TimePoint now() const = 0;

    /// Runs `work` on the main thread once `delay` has passed, never inside the call, for as long
    /// as the result is kept; `work` itself may let go of it. Let go of on the main thread, a
    /// timer surely does not run any more; on another, it may just be running. Any thread.
    [[nodiscard]] virtual Timer startTimer(Duration delay, Work work) = 0;
};

} // namespace vorlin
