#pragma once

#include <QAnimationDriver>
#include <QTimer>

namespace vorlin {

/// Moves every animation of the process at less than 60 frames a second, and sleeps while there
/// is none. Create one, on the main thread, after the Qt application.
class FrameClock final : public QAnimationDriver {
    Q_OBJECT

public:
    /// Between two frames; 60 a second would be 16.7.
    static constexpr int intervalMs = 17;

    FrameClock();
    ~FrameClock() override;

protected:
    void start() override;
    void stop() override;

private:
    QTimer timer;
};

} // namespace vorlin
