#include "PumpedLoop.h"

#include <exception>
#include <utility>

namespace vorlin {

namespace {

Task<void> settle(Completion<Done> completion, std::shared_ptr<Outcome> outcome)
{
    try {
        co_await completion;
    } catch (const std::exception& error) {
        outcome->failure = error.what();
    }
    outcome->settled = true;
}

} // namespace

void PumpedLoop::post(Work work)
{
    {
        const std::scoped_lock guard(lock);
        queue.push_back(std::move(work));
    }
    ready.notify_one();
}

TimePoint PumpedLoop::now() const
{
    return std::chrono::steady_clock::now();
}

Timer PumpedLoop::startTimer(Duration delay, Work work)
{
    return timers.add(now() + delay, std::move(work));
}

bool PumpedLoop::runUntil(const std::function<bool()>& condition, Duration limit)
{
    const TimePoint deadline = now() + limit;
    while (!condition()) {
        Work next;
        {
            std::unique_lock guard(lock);
            while (queue.empty()) {
                if (Work due = timers.takeDue(now())) {
                    queue.push_back(std::move(due));
                    break;
                }
                if (now() >= deadline) {
                    return false;
                }
                ready.wait_until(guard, std::min(deadline, timers.next().value_or(deadline)));
            }
            next = std::move(queue.front());
            queue.pop_front();
        }
        next();
    }
    return true;
}

void PumpedLoop::runFor(Duration span)
{
    bool over = false;
    const Timer timer = startTimer(span, [&over] { over = true; });
    runUntil([&over] { return over; });
}

std::shared_ptr<const Outcome> follow(MainLoop& loop, Completion<Done> completion)
{
    auto outcome = std::make_shared<Outcome>();
    spawn(loop, settle(std::move(completion), outcome));
    return outcome;
}

} // namespace vorlin
