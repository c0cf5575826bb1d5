#include "Platform/Shared/QtMainLoop.h"

#include <QTimer>

#include <algorithm>
#include <utility>

namespace vorlin {

QtMainLoop::~QtMainLoop()
{
    qDeleteAll(context.children()); // the timers, with their work
    while (true) {
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

void QtMainLoop::postAfter(Duration delay, Work work)
{
    // A timer belongs to the thread that starts it, so start it on the main thread.
    post([this, due = now() + delay, work = std::move(work)]() mutable {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(due - now());
        // A child of the context, so that the work goes with it.
        auto* timer = new QTimer(&context);
        timer->setSingleShot(true);
        timer->setTimerType(Qt::PreciseTimer);
        QObject::connect(timer, &QTimer::timeout, timer, [timer, work = std::move(work)]() mutable {
            const auto last = std::move(work);
            timer->deleteLater();
            last();
        });
        timer->start(std::max(left, std::chrono::milliseconds::zero()));
    });
}

} // namespace vorlin
