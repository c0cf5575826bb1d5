#include "Platform/Shared/QtMainLoop.h"

#include <algorithm>
#include <utility>

namespace vorlin {

QtMainLoop::QtMainLoop()
    : timers([this] { QMetaObject::invokeMethod(&context, [this] { arm(); }); })
{
    alarm.setSingleShot(true);
    alarm.setTimerType(Qt::PreciseTimer);
    QObject::connect(&alarm, &QTimer::timeout, &context, [this] { runTimer(); });
}

QtMainLoop::~QtMainLoop()
{
    while (true) {
        timers.clear();
        std::deque<Work> dropped;
        {
            const std::scoped_lock guard(lock);
            dropped.swap(queue);
        }
        if (dropped.empty()) {
            return;
        }
    }
}

void QtMainLoop::post(Work work)
{
    {
        const std::scoped_lock guard(lock);
        queue.push_back(std::move(work));
    }
    QMetaObject::invokeMethod(
        &context, [this] { runNext(); }, Qt::QueuedConnection);
}

void QtMainLoop::runNext()
{
    Work next;
    {
        const std::scoped_lock guard(lock);
        next = std::move(queue.front());
        queue.pop_front();
    }
    next();
}

TimePoint QtMainLoop::now() const
{
    return std::chrono::steady_clock::now();
}

Timer QtMainLoop::startTimer(Duration delay, Work work)
{
    return timers.add(now() + delay, std::move(work));
}

void QtMainLoop::arm()
{
    const auto due = timers.next();
    if (!due) {
        alarm.stop();
        return;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*due - now());
    alarm.start(std::max(left, std::chrono::milliseconds::zero()));
}

void QtMainLoop::runTimer()
{
    const Work work = timers.takeDue(now());
    arm(); // first, for the work may run an event loop of its own
    if (work) {
        work();
    }
}

} // namespace vorlin
