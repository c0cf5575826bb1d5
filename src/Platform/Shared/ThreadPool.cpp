#include "Platform/Shared/ThreadPool.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace vorlin {

/// The queue and the threads of one priority.
class ThreadPool::Lane : public Executor {
public:
    Lane(unsigned threadCount, const std::function<void()>& prepareThread)
    {
        try {
            for (unsigned i = 0; i < threadCount; ++i) {
                threads.emplace_back([this, prepareThread] {
                    prepareThread();
                    run();
                });
            }
        } catch (...) { // one that cannot be made must not end the program by those that were
            stopThreads();
            throw;
        }
    }
    Lane(const Lane&) = delete;
    Lane& operator=(const Lane&) = delete;
    ~Lane() override { stopThreads(); }

    void post(Work work) override
    {
        {
            const std::scoped_lock guard(lock);
            if (!closed) {
                queue.push_back(std::move(work));
            }
        }
        ready.notify_one();
    }

    /// Waits for the work that runs and drops what is queued, which may post more.
    void close()
    {
        stopThreads();
        std::deque<Work> dropped;
        do {
            dropped.clear();
            const std::scoped_lock guard(lock);
            closed = queue.empty();
            dropped.swap(queue);
        } while (!dropped.empty());
    }

private:
    void stopThreads()
    {
        {
            const std::scoped_lock guard(lock);
            stopping = true;
        }
        ready.notify_all();
        for (auto& thread : threads) {
            thread.join();
        }
        threads.clear();
    }

    void run()
    {
        while (true) {
            Work next;
            {
                std::unique_lock guard(lock);
                ready.wait(guard, [this] { return stopping || !queue.empty(); });
                if (stopping) {
                    return;
                }
                next = std::move(queue.front());
                queue.pop_front();
            }
            next();
        }
    }

    std::mutex lock;
    std::condition_variable ready;
    std::deque<Work> queue;
    bool stopping = false;
    bool closed = false;
    std::vector<std::thread> threads;
};

/// A thread for each piece of work that may hang, so that it holds up nothing else. The threads
/// share this object: one that hangs outlives the pool.
class ThreadPool::PatientThreads : public std::enable_shared_from_this<PatientThreads> {
public:
    explicit PatientThreads(std::function<void()> lowerPriority)
        : lowerPriority(std::move(lowerPriority))
    {
    }

    void run(WorkPriority priority, Work slow, Executor& to, Work done)
    {
        const std::scoped_lock guard(lock);
        if (closed) {
            return;
        }
        queue.push_back({priority, std::move(slow), &to, std::move(done)});
        if (running.size() < mostThreads) {
            startNext();
        }
    }

    /// Drops what is queued, and what runs once it ends. From the beginning of this call on no
    /// `done` is posted, and what each holds is let go of here, on this thread: it may not stand to
    /// be let go of by a thread whose work ends later, when everything else is gone.
    void close()
    {
        std::deque<Job> dropped;
        std::vector<Work> left;
        std::unique_lock guard(lock);
        closed = true;
        dropped.swap(queue);
        for (const auto& job : running) {
            left.push_back(std::exchange(job->done, nullptr));
        }
        ended.wait_for(guard, atTheEnd, [this] { return running.empty(); });
        guard.unlock();
    }

private:
    struct Job {
        WorkPriority priority;
        Work slow;
        Executor* to;
        Work done;
    };

    /// Only where very many folders hang do others wait.
    static constexpr std::size_t mostThreads = 128;
    /// How long the end waits for what may hang.
    static constexpr std::chrono::milliseconds atTheEnd{500};

    /// With the lock held.
    void startNext()
    {
        const auto job = std::make_shared<Job>(std::move(queue.front()));
        queue.pop_front();
        running.push_back(job);
        std::thread([self = shared_from_this(), job] { self->run(job); }).detach();
    }

    void run(const std::shared_ptr<Job>& job)
    {
        if (job->priority == WorkPriority::background) {
            // On a thread of its own: this one starts the next, which inherits its priority.
            std::thread([this, &job] {
                lowerPriority();
                job->slow();
            }).join();
        } else {
            job->slow();
        }
        const std::scoped_lock guard(lock);
        if (!closed) {
            job->to->post(std::move(job->done)); // under the lock: `to` may be gone after `close`
        }
        std::erase(running, job);
        if (queue.empty()) {
            ended.notify_all();
        } else {
            startNext();
        }
    }

    const std::function<void()> lowerPriority;
    std::mutex lock;
    std::condition_variable ended;
    std::deque<Job> queue;
    std::vector<std::shared_ptr<Job>> running;
    bool closed = false;
};

ThreadPool::ThreadPool(std::function<void()> lowerPriority)
    : normal(std::make_unique<Lane>(std::max(2U, std::thread::hardware_concurrency()), [] {})),
      background(std::make_unique<Lane>(1, lowerPriority)),
      patient(std::make_shared<PatientThreads>(std::move(lowerPriority)))
{
}

ThreadPool::~ThreadPool()
{
    close();
}

void ThreadPool::close()
{
    patient->close();
    normal->close();
    background->close();
}

void ThreadPool::runPatiently(WorkPriority priority, Work slow, Executor& to, Work done)
{
    patient->run(priority, std::move(slow), to, std::move(done));
}

Executor& ThreadPool::executor(WorkPriority priority)
{
    return priority == WorkPriority::normal ? *normal : *background;
}

} // namespace vorlin
