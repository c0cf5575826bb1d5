#pragma once

#include "Async/Executor.h"

#include <utility>

namespace vorlin {

enum class WorkPriority { normal, background };

/// Threads for work that must not hold up the main loop.
class Workers {
public:
    virtual ~Workers() = default;

    /// The executor of one priority; it lives as long as the workers. Work runs in parallel and
    /// in no promised order. Work of `background` priority yields the processor to all other.
    /// Any thread.
    virtual Executor& executor(WorkPriority priority) = 0;

    /// Runs `slow`, which may wait without end for a disk that does not answer, then posts `done`
    /// to `to`. Other work does not wait for it, and neither does the end of these workers: what
    /// hangs then is left behind and its `done` dropped. What `slow` uses must stand that: it
    /// looks at nothing that may be gone once its waiting is over. Any thread.
    virtual void runPatiently(WorkPriority priority, Work slow, Executor& to, Work done)
    {
        executor(priority).post([slow = std::move(slow), &to, done = std::move(done)]() mutable {
            slow();
            to.post(std::move(done));
        });
    }
};

} // namespace vorlin
