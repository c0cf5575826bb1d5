#pragma once

#include "Async/Executor.h"

#include <memory>

namespace vorlin {

/// Runs work one piece at a time, in the order it was posted, on another executor's threads.
/// Work queued when it is destroyed still runs; its underlying executor must outlive that. Work
/// that the underlying executor drops unrun is destroyed.
class SerialExecutor : public Executor {
public:
    explicit SerialExecutor(Executor& underlying);
    SerialExecutor(const SerialExecutor&) = delete;
    SerialExecutor& operator=(const SerialExecutor&) = delete;
    ~SerialExecutor() override;

    void post(Work work) override;

private:
    struct Queue;
    std::shared_ptr<Queue> queue;
};

} // namespace vorlin
