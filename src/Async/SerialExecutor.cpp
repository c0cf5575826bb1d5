#include "Async/SerialExecutor.h"

#include <deque>
#include <memory>
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

    /// One piece's turn on the underlying executor.
    struct Turn {
        explicit Turn(std::shared_ptr<Queue> queue) : queue(std::move(queue)) {}
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;
        ~Turn()
        {
            if (queue) {
                queue->drop();
            }
        }
        std::shared_ptr<Queue> queue;
    };

    void schedule()
    {
        underlying.post([turn = std::make_shared<Turn>(shared_from_this())] {
            std::exchange(turn->queue, nullptr)->runOne();
        });
    }

    /// The underlying executor goes without having run the turn: nothing here will run any more,
    /// and what waits may hold the executor itself.
    void drop()
    {
        std::deque<Work> dropped;
        const std::scoped_lock guard(lock);
        scheduled = false;
        dropped.swap(waiting);
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
