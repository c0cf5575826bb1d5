#pragma once

#include "Async/MainLoop.h"
#include "Async/TimerQueue.h"

#include <QObject>
#include <QTimer>

#include <deque>
#include <mutex>

namespace vorlin {

/// The main loop on Qt's event loop. Create it on the main thread, after the Qt application, and
/// destroy it there, when no other thread posts any more.
class QtMainLoop final : public MainLoop {
public:
    QtMainLoop();
    QtMainLoop(const QtMainLoop&) = delete;
    QtMainLoop& operator=(const QtMainLoop&) = delete;
    ~QtMainLoop() override;

    void post(Work work) override;
    TimePoint now() const override;
    [[nodiscard]] Timer startTimer(Duration delay, Work work) override;

private:
    void runNext();
    void runTimer();
    /// Has Qt wake the loop when the next timer is due.
    void arm();

    std::mutex lock;
    /// Qt only says when to take the next one: work that is dropped may post more, which Qt's own
    /// queue does not stand.
    std::deque<Work> queue;
    /// Lives on the main thread.
    QObject context;
    QTimer alarm;
    TimerQueue timers;
};

} // namespace vorlin
