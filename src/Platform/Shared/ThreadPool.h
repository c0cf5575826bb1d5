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
    /// Closes it.
    ~ThreadPool() override;

    /// Waits for the work that runs, but for what runs patiently only half a second; drops what is
    /// queued and whatever is posted from then on.
    void close();

    Executor& executor(WorkPriority priority) override;
    void runPatiently(WorkPriority priority, Work slow, Executor& to, Work done) override;

private:
    class Lane;
    class PatientThreads;
    std::unique_ptr<Lane> normal;
    std::unique_ptr<Lane> background;
    const std::shared_ptr<PatientThreads> patient;
};

} // namespace vorlin
