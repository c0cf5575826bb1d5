#include "Platform/Shared/QtMainLoop.h"

#include <QTimer>

#include <utility>

namespace vorlin
{

void QtMainLoop::post(Work work)
{
    QMetaObject::invokeMethod(&context, std::move(work), Qt::QueuedConnection);
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
        QTimer::singleShot(std::max(left, std::chrono::milliseconds::zero()), Qt::PreciseTimer,
                           &context, std::move(work));
    });
}

} // namespace vorlin
