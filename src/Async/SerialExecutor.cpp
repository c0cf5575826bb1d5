#include "Async/SerialExecutor.h"

#include <deque>
#include <mutex>
#include <utility>

namespace vorlin {

struct SerialExecutor::Queue : std::enable_shared_from_this<Queue> {
    explicit Queue(Executor& underlying) : underlying(underlying) {}

    void add(Work work)
    {
        {
            const std::scoped_lock guard(lock);
            waiting.push_back(std::move(work));
            if (std::exchange(scheduled, true)) {
                return;
            }
        }
        schedule();
    }

    void schedule()
    {
        underlying.post([self = shared_from_this()] { self->runOne(); });
    }

    void runOne()
    {
        Work next;
        {
            const std::scoped_lock guard(lock);
            next = std::move(waiting.front());
            waiting.pop_front();
        }
        next();
        next = nullptr; // what it captured goes before the next piece starts
        {
            const std::scoped_lock guard(lock);
            scheduled = !waiting.empty();
            if (!scheduled) {
                return;
            }
        }
        schedule();
    }

    Executor& underlying;
    std::mutex lock;
    std::deque<Work> waiting;
    bool scheduled = false;
};

SerialExecutor::SerialExecutor(Executor& underlying) : queue(std::make_shared<Queue>(underlying)) {}

SerialExecutor::~SerialExecutor() = default;

void SerialExecutor::post(Work work)
{
    queue->add(std::move(work));
}

} // namespace vorlin
