#include "simulation/SimulatedLoop.h"

#include <algorithm>
#include <utility>

namespace vorlin {

SimulatedLoop::~SimulatedLoop()
{
    while (!mainQueue.empty() || !jobs.empty() || !timers.empty()) {
        std::exchange(mainQueue, {});
        std::exchange(jobs, {});
        std::exchange(timers, {});
    }
}

void SimulatedLoop::postAfter(Duration delay, Work work)
{
    timers.emplace(time + std::max(delay, Duration::zero()), std::move(work));
}

bool SimulatedLoop::runOne()
{
    if (mainQueue.empty() && jobs.empty()) {
        return false;
    }
    const bool runMain = jobs.empty() || (!mainQueue.empty() && random() % 2 == 0);
    Work work;
    if (runMain) {
        work = std::move(mainQueue.front());
        mainQueue.pop_front();
    } else {
        const auto chosen = jobs.begin() + static_cast<std::ptrdiff_t>(random() % jobs.size());
        work = std::move(*chosen);
        jobs.erase(chosen);
    }
    runningMain = runMain;
    work();
    runningMain = true;
    return true;
}

void SimulatedLoop::runReady()
{
    while (true) {
        while (!timers.empty() && timers.begin()->first <= time) {
            mainQueue.push_back(std::move(timers.begin()->second));
            timers.erase(timers.begin());
        }
        if (!runOne()) {
            return;
        }
    }
}

void SimulatedLoop::advance(Duration duration)
{
    const TimePoint until = time + duration;
    runReady();
    while (!timers.empty() && timers.begin()->first <= until) {
        time = timers.begin()->first;
        runReady();
    }
    time = until;
}

} // namespace vorlin
