#include "UI/FrameClock.h"

namespace vorlin {

FrameClock::FrameClock()
{
    timer.setTimerType(Qt::PreciseTimer);
    timer.setInterval(intervalMs);
    connect(&timer, &QTimer::timeout, this, [this] { advance(); });
    install();
}

FrameClock::~FrameClock()
{
    uninstall();
}

void FrameClock::start()
{
    timer.start();
    QAnimationDriver::start();
}

void FrameClock::stop()
{
    timer.stop();
    QAnimationDriver::stop();
}

} // namespace vorlin
