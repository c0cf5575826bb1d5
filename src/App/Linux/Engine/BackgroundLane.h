#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace vorlin::engine {

/// Makes the calling thread give way to all ordinary work, for good: a thread of an ordinary user
/// cannot raise its priority again.
void lowerOwnPriority();

/// A thread of lower priority, started when it is first needed, that computes on behalf of
/// others. Lives as long as the process.
class BackgroundLane {
public:
    /// Calls `work` on the lane, one at a time, and returns when it has returned. It must not
    /// throw. Any thread.
    void run(const std::function<void()>& work);

private:
    void serve();

    std::mutex turn;
    std::mutex lock;
    std::condition_variable changed;
    const std::function<void()>* waiting = nullptr; // guarded by lock
    std::thread thread;
};

} // namespace vorlin::engine
