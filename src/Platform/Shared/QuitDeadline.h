#pragma once

#include <chrono>
#include <csignal>

namespace vorlin {

/// Ends the process when its orderly end takes too long, for what hangs may be no part of it: a
/// display server that is halted, a disk. One object at a time; made before what may hang.
class QuitDeadline {
public:
    /// The process ends `limit` after the first `begin`, with status 1 and a line on standard
    /// error, unless this object is gone by then.
    explicit QuitDeadline(std::chrono::milliseconds limit);
    QuitDeadline(const QuitDeadline&) = delete;
    QuitDeadline& operator=(const QuitDeadline&) = delete;
    ~QuitDeadline();

    /// The end has begun; does nothing without an object. Any thread, any signal handler.
    static void begin();

private:
    struct sigaction before {};
};

} // namespace vorlin
