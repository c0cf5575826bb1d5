#pragma once

#include "MIL/Execution/FunctionRef.h"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace vorlin::mil {

/// The threads that all loaded models share for predictions of one urgency. They sleep while there
/// is nothing to do; there are never more than one less than the largest number of threads a model
/// was given.
class WorkerPool {
public:
    enum class Kind : std::uint8_t { foreground, background };

    /// The pool of its kind in this process; it goes with its last user.
    static std::shared_ptr<WorkerPool> shared(Kind kind);

    /// Sets what background workers started from now on call first. Any thread.
    static void onBackgroundStart(std::function<void()> hook);

    explicit WorkerPool(Kind kind = Kind::foreground) : kind(kind) {}
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;
    ~WorkerPool();

    /// While one of these lives, more work may follow soon: the threads look out for it for a
    /// moment before they sleep. Without one they sleep at once. Any thread.
    class Expectation {
    public:
        explicit Expectation(WorkerPool& pool) : pool(pool) { pool.expectations.fetch_add(1); }
        Expectation(const Expectation&) = delete;
        Expectation& operator=(const Expectation&) = delete;
        ~Expectation() { pool.expectations.fetch_sub(1); }

    private:
        WorkerPool& pool;
    };

    /// Calls `task(0)` to `task(tasks - 1)`, each once, on the calling thread and on at most
    /// `threads - 1` workers, and returns when all have returned. Tasks start in order. The first
    /// exception a task throws is thrown here; tasks not started by then are left out. Any
    /// thread, several at once; not from inside a task.
    void run(std::size_t tasks, std::size_t threads, FunctionRef<void(std::size_t)> task);

private:
    struct Job;

    void work();
    Job* openJob();
    static void help(Job& job);
    void addWorkers(std::size_t wanted);

    const Kind kind;
    std::mutex mutex;
    std::condition_variable wake;
    std::condition_variable done;
    std::vector<Job*> jobs;
    std::atomic<std::size_t> posted{0}; // jobs so far
    std::atomic<std::size_t> expectations{0};
    std::vector<std::thread> workers;
    bool closing = false;
};

} // namespace vorlin::mil
