#include "Platform/Shared/ThreadPool.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <stop_token>
#include <thread>
#include <utility>
#include <vector>

namespace vorlin {

/// The queue and the threads of one priority.
class ThreadPool::Lane : public Executor {
public:
    Lane(unsigned threadCount, const std::function<void()>& prepareThread)
    {
        for (unsigned i = 0; i < threadCount; ++i) {
            threads.emplace_back([this, prepareThread](const std::stop_token& stop) {
                prepareThread();
                run(stop);
            });
        }
    }

    void post(Work work) override
    {
        {
            const std::scoped_lock guard(lock);
            queue.push_back(std::move(work));
        }
        ready.notify_one();
    }

private:
    void run(const std::stop_token& stop)
    {
        while (true) {
            Work next;
            {
                std::unique_lock guard(lock);
                ready.wait(guard, stop, [this] { return !queue.empty(); });
                if (stop.stop_requested()) {
                    return;
                }
                next = std::move(queue.front());
                queue.pop_front();
            }
            next();
        }
    }

    std::mutex lock;
    std::condition_variable_any ready;
    std::deque<Work> queue;
    std::vector<std::jthread> threads; // last: they stop before what they use goes
};

ThreadPool::ThreadPool(std::function<void()> lowerPriority)
    : normal(std::make_unique<Lane>(std::max(2U, std::thread::hardware_concurrency()), [] {})),
      background(std::make_unique<Lane>(1, std::move(lowerPriority)))
{
}

ThreadPool::~ThreadPool() = default;

Executor& ThreadPool::executor(WorkPriority priority)
{
    return priority == WorkPriority::normal ? *normal : *background;
}

} // namespace vorlin
