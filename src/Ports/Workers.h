#pragma once

#include "Async/Executor.h"

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
};

} // namespace vorlin
