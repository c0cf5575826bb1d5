#include "Async/Stop.h"

#include <condition_variable>
#include <mutex>
#include <set>
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
        while (!callbacks.empty()) {
            running = callbacks.extract(callbacks.begin()).value();
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
        if (!requested) {
            callbacks.insert(&callback);
        }
        return !requested;
    }

    void remove(StopCallback& callback)
    {
        std::unique_lock guard(lock);
        callbacks.erase(&callback);
        if (runsOn != std::this_thread::get_id()) {
            ended.wait(guard, [&] { return running != &callback; });
        }
    }

private:
    mutable std::mutex lock;
    std::condition_variable ended;
    bool requested = false;
    std::thread::id runsOn;
    std::set<StopCallback*> callbacks; // that have yet to run
    StopCallback* running = nullptr;   // perhaps destroyed by its own work
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
