#include "MIL/Execution/WorkerPool.h"

#include <hwy/cache_control.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <exception>
#include <utility>

namespace vorlin::mil {

namespace {

constexpr std::size_t mostWorkers = 255;

/// How long a thread looks out for what is about to happen before it sleeps: about what waking it
/// up again costs. Operations of a program follow each other within less; predictions do not, and
/// whoever waits for one may need the processor.
constexpr std::chrono::microseconds lookOut{50};

/// Waits, awake, until `happened` holds or the time is up.
template <class Condition>
void lookOutFor(const Condition& happened)
{
    const auto end = std::chrono::steady_clock::now() + lookOut;
    while (!happened() && std::chrono::steady_clock::now() < end) {
        hwy::Pause();
    }
}

/// What the pools of a process have in common.
struct Process {
    std::mutex lock;
    std::array<std::weak_ptr<WorkerPool>, 2> pools;
    std::function<void()> backgroundStart;
};

Process& process()
{
    static Process instance;
    return instance;
}

} // namespace

struct WorkerPool::Job {
    std::size_t tasks;
    std::size_t mostHelpers;
    FunctionRef<void(std::size_t)> task;
    std::atomic<std::size_t> next{0};
    std::atomic<std::size_t> helpers{0}; // changed under the pool's mutex
    std::exception_ptr failure{};        // guarded by failureLock
    std::mutex failureLock{};
};

std::shared_ptr<WorkerPool> WorkerPool::shared(Kind kind)
{
    Process& common = process();
    const std::lock_guard guard(common.lock);
    std::weak_ptr<WorkerPool>& current = common.pools.at(static_cast<std::size_t>(kind));
    std::shared_ptr<WorkerPool> pool = current.lock();
    if (!pool) {
        pool = std::make_shared<WorkerPool>(kind);
        current = pool;
    }
    return pool;
}

void WorkerPool::onBackgroundStart(std::function<void()> hook)
{
    Process& common = process();
    const std::lock_guard guard(common.lock);
    common.backgroundStart = std::move(hook);
}

WorkerPool::~WorkerPool()
{
    {
        const std::lock_guard guard(mutex);
        closing = true;
    }
    wake.notify_all();
    for (std::thread& worker : workers) {
        worker.join();
    }
}

void WorkerPool::run(std::size_t tasks, std::size_t threads, FunctionRef<void(std::size_t)> task)
{
    if (tasks <= 1 || threads <= 1) {
        for (std::size_t i = 0; i < tasks; ++i) {
            task(i);
        }
        return;
    }
    const std::size_t helpers = std::min({tasks, threads, mostWorkers + 1}) - 1;
    Job job{.tasks = tasks, .mostHelpers = helpers, .task = task};
    {
        const std::lock_guard guard(mutex);
        addWorkers(helpers);
        jobs.push_back(&job);
        posted.fetch_add(1);
    }
    for (std::size_t i = 0; i < helpers; ++i) {
        wake.notify_one();
    }
    help(job);
    std::unique_lock guard(mutex);
    jobs.erase(std::find(jobs.begin(), jobs.end(), &job));
    if (job.helpers != 0 && kind == Kind::foreground) {
        guard.unlock();
        lookOutFor([&] { return job.helpers == 0; });
        guard.lock();
    }
    done.wait(guard, [&] { return job.helpers == 0; });
    if (job.failure) {
        std::rethrow_exception(job.failure);
    }
}

void WorkerPool::addWorkers(std::size_t wanted)
{
    while (workers.size() < wanted) {
        workers.emplace_back([this] { work(); });
    }
}

WorkerPool::Job* WorkerPool::openJob()
{
    for (Job* job : jobs) {
        if (job->helpers < job->mostHelpers && job->next < job->tasks) {
            return job;
        }
    }
    return nullptr;
}

void WorkerPool::work()
{
    if (kind == Kind::background) {
        std::function<void()> hook;
        {
            const std::lock_guard guard(process().lock);
            hook = process().backgroundStart;
        }
        if (hook) {
            hook();
        }
    }
    std::unique_lock guard(mutex);
    while (true) {
        Job* job = openJob();
        if (job == nullptr && kind == Kind::foreground) {
            const std::size_t before = posted;
            guard.unlock();
            lookOutFor([&] { return posted != before || expectations == 0; });
            guard.lock();
        }
        wake.wait(guard, [&] { return closing || (job = openJob()) != nullptr; });
        if (job == nullptr) {
            return;
        }
        ++job->helpers;
        guard.unlock();
        help(*job);
        guard.lock();
        if (--job->helpers == 0) {
            done.notify_all();
        }
    }
}

void WorkerPool::help(Job& job)
{
    while (true) {
        const std::size_t index = job.next.fetch_add(1);
        if (index >= job.tasks) {
            return;
        }
        try {
            job.task(index);
        } catch (...) {
            const std::lock_guard guard(job.failureLock);
            if (!job.failure) {
                job.failure = std::current_exception();
            }
            job.next = job.tasks;
        }
    }
}

} // namespace vorlin::mil
