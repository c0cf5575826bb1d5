#pragma once

#include "Ports/Workers.h"

#include <functional>
#include <memory>

namespace vorlin {

/// Worker threads: some of normal priority, one that gives way to all other work.
class ThreadPool final : public Workers {
public:
    /// `lowerPriority` is called once on the background thread, to give it its lower priority.
    explicit ThreadPool(std::function<void()> lowerPriority);
    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;
    /// Waits for the work that runs; drops what is queued.
    ~ThreadPool() override;

    Executor& executor(WorkPriority priority) override;

private:
    class Lane;
    std::unique_ptr<Lane> normal;
    std::unique_ptr<Lane> background;
};

} // namespace vorlin
