#include "Async/Stop.h"

#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

namespace vorlin {

namespace detail {

class StopState {
public:
    bool isRequested() const
    {
        const std::scoped_lock guard(lock);
        return requested;
    }

    void request()
    {
        std::unique_lock guard(lock);
        if (requested) {
            return;
        }
        requested = true;
        runsOn = std::this_thread::get_id();
        while (first != nullptr) {
            running = first;
            takeOut(*first);
            Work work = std::move(running->work); // which may destroy the callback
            guard.unlock();
            work();
            work = nullptr;
            guard.lock();
            running = nullptr;
            ended.notify_all();
        }
    }

    /// Whether `callback` will run; not when it should have run already.
    bool add(StopCallback& callback)
    {
        const std::scoped_lock guard(lock);
        if (requested) {
            return false;
        }
        callback.behind = first;
        if (first != nullptr) {
            first->before = &callback;
        }
        first = &callback;
        return true;
    }

    void remove(StopCallback& callback)
    {
        std::unique_lock guard(lock);
        if (first == &callback || callback.before != nullptr) {
            takeOut(callback);
        }
        if (runsOn != std::this_thread::get_id()) {
            ended.wait(guard, [&] { return running != &callback; });
        }
    }

private:
    /// Of a callback that has yet to run. Under the lock.
    void takeOut(StopCallback& callback)
    {
        (callback.before != nullptr ? callback.before->behind : first) = callback.behind;
        if (callback.behind != nullptr) {
            callback.behind->before = callback.before;
        }
        callback.before = nullptr;
        callback.behind = nullptr;
    }

    mutable std::mutex lock;
    std::condition_variable ended;
    bool requested = false;
    std::thread::id runsOn;
    StopCallback* first = nullptr;   // of those that have yet to run: a list takes no memory
    StopCallback* running = nullptr; // perhaps destroyed by its own work
};

} // namespace detail

bool StopToken::stopRequested() const
{
    return state && state->isRequested();
}

StopSource::StopSource() : state(std::make_shared<detail::StopState>()) {}

void StopSource::requestStop() const noexcept
{
    const auto held = state; // a callback may destroy this object
    held->request();
}

StopCallback::StopCallback(const StopToken& token, Work work)
    : state(token.state), work(std::move(work))
{
    if (state && !state->add(*this)) {
        state.reset();
        this->work();
    }
}

StopCallback::~StopCallback()
{
    if (state) {
        state->remove(*this);
    }
}

} // namespace vorlin
