#include "Async/TimerQueue.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <utility>

namespace vorlin {

struct TimerQueue::State {
    /// The moment, and a number that tells timers of one moment apart, in order.
    using Key = std::pair<TimePoint, std::uint64_t>;

    std::function<void()> earliestChanged;
    mutable std::mutex lock;
    std::map<Key, Work> timers;
    std::uint64_t lastNumber = 0;

    Key add(TimePoint due, Work work)
    {
        std::unique_lock guard(lock);
        const Key key{due, ++lastNumber};
        timers.emplace(key, std::move(work));
        const bool isEarliest = timers.begin()->first == key;
        guard.unlock();
        if (isEarliest) {
            earliestChanged();
        }
        return key;
    }

    void remove(const Key& key)
    {
        std::unique_lock guard(lock);
        const bool wasEarliest = !timers.empty() && timers.begin()->first == key;
        const auto removed = timers.extract(key);
        guard.unlock(); // what the work holds may end other timers
        if (wasEarliest) {
            earliestChanged();
        }
    }
};

TimerQueue::TimerQueue(std::function<void()> earliestChanged) : state(std::make_shared<State>())
{
    state->earliestChanged = std::move(earliestChanged);
}

TimerQueue::~TimerQueue()
{
    clear();
}

Timer TimerQueue::add(TimePoint due, Work work)
{
    struct Handle {
        Handle(std::weak_ptr<State> state, State::Key key) : state(std::move(state)), key(key) {}
        Handle(const Handle&) = delete;
        Handle& operator=(const Handle&) = delete;
        ~Handle()
        {
            if (const auto alive = state.lock()) {
                alive->remove(key);
            }
        }
        std::weak_ptr<State> state;
        State::Key key;
    };
    return std::make_shared<const Handle>(state, state->add(due, std::move(work)));
}

std::optional<TimePoint> TimerQueue::next() const
{
    const std::scoped_lock guard(state->lock);
    return state->timers.empty() ? std::nullopt : std::optional(state->timers.begin()->first.first);
}

Work TimerQueue::takeDue(TimePoint now)
{
    const std::scoped_lock guard(state->lock);
    if (state->timers.empty() || state->timers.begin()->first.first > now) {
        return nullptr;
    }
    return std::move(state->timers.extract(state->timers.begin()).mapped());
}

std::size_t TimerQueue::size() const
{
    const std::scoped_lock guard(state->lock);
    return state->timers.size();
}

void TimerQueue::clear()
{
    while (true) {
        std::map<State::Key, Work> dropped;
        const std::scoped_lock guard(state->lock);
        dropped.swap(state->timers);
        if (dropped.empty()) {
            return;
        }
    }
}

} // namespace vorlin
