#pragma once

#include "Async/Executor.h"

#include <atomic>
#include <utility>

namespace vorlin {

/// Counts what is posted to it, and runs it at once.
class CountingExecutor final : public Executor {
public:
    std::atomic<int> posted = 0;
    void post(Work work) override
    {
        work();
        ++posted;
        posted.notify_all();
    }
    void waitFor(int count) const
    {
        for (int seen = posted; seen < count; seen = posted) {
            posted.wait(seen);
        }
    }
};

} // namespace vorlin
