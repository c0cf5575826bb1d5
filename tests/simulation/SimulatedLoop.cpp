#include "simulation/SimulatedLoop.h"

#include <algorithm>
#include <utility>

namespace vorlin {

SimulatedLoop::~SimulatedLoop()
{
    while (!mainQueue.empty() || !jobs.empty() || timers.next()) {
        std::exchange(mainQueue, {});
        std::exchange(jobs, {});
        timers.clear();
    }
}

Timer SimulatedLoop::startTimer(Duration delay, Work work)
{
    return timers.add(time + std::max(delay, Duration::zero()), std::move(work));
}

void SimulatedLoop::postAfter(Duration delay, Work work)
{
    ++worldEvents;
    const auto held = std::make_shared<Timer>(); // by its own work
    *held = startTimer(delay, [this, held, work = std::move(work)] {
        --worldEvents;
        work();
    });
}

bool SimulatedLoop::runOne()
{
    const auto due = timers.next();
    const bool mainReady = !mainQueue.empty() || (due && *due <= time);
    if (!mainReady && jobs.empty()) {
        return false;
    }
    const bool runMain = jobs.empty() || (mainReady && random() % 2 == 0);
    Work work;
    if (!runMain) {
        const auto chosen = jobs.begin() + static_cast<std::ptrdiff_t>(random() % jobs.size());
        work = std::move(*chosen);
        jobs.erase(chosen);
    } else if (!mainQueue.empty()) {
        work = std::move(mainQueue.front());
        mainQueue.pop_front();
    } else {
        work = timers.takeDue(time);
    }
    runningMain = runMain;
    work();
    runningMain = true;
    return true;
}

void SimulatedLoop::runReady()
{
    while (runOne()) {
    }
}

void SimulatedLoop::advance(Duration duration)
{
    const TimePoint until = time + duration;
    runReady();
    for (auto due = timers.next(); due && *due <= until; due = timers.next()) {
        time = *due;
        runReady();
    }
    time = until;
}

} // namespace vorlin
