#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

#include <chrono>
#include <functional>

namespace vorlin {

/// Runs the Qt event loop until `condition` holds, and returns whether it came to hold. The limit
/// is generous: it only ends a test that has failed.
inline bool runUntil(const std::function<bool()>& condition,
                     std::chrono::milliseconds limit = std::chrono::seconds(30))
{
    const QDeadlineTimer deadline(limit);
    QTimer wake; // for conditions that no event of this loop tells of
    wake.start(std::chrono::milliseconds(10));
    while (!condition()) {
        if (deadline.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

} // namespace vorlin
