#pragma once

#include <functional>

namespace vorlin {

/// One piece of work handed to an executor.
using Work = std::function<void()>;

/// Where work runs.
class Executor {
public:
    virtual ~Executor() = default;

    /// Queues `work`; never runs it inside the call. Any thread. Work still queued when the
    /// executor is destroyed is destroyed unrun.
    virtual void post(Work work) = 0;
};

} // namespace vorlin
