#pragma once

#include "Platform/Shared/Descriptor.h"

#include <array>
#include <csignal>
#include <functional>
#include <memory>

class QSocketNotifier;

namespace vorlin {

/// Turns the signals that ask a process to end (SIGTERM, SIGINT, SIGHUP) into a call on the main
/// loop, so that it can leave the keyboard and the clipboard in order. A second signal never cuts
/// that short: session managers and terminals send several; it begins the `QuitDeadline`. SIGINT
/// and SIGHUP stay ignored where the process was started with them ignored. SIGPIPE is ignored: a
/// terminal that went away must not end a dictation. One object at a time, on the main loop; the
/// destructor puts the signals back as they were.
class QuitSignals {
public:
    /// `onSignal` is called on the main loop after each signal; signals in a row may be one call.
    explicit QuitSignals(std::function<void()> onSignal);
    QuitSignals(const QuitSignals&) = delete;
    QuitSignals& operator=(const QuitSignals&) = delete;
    ~QuitSignals();

private:
    struct Saved {
        int signal = 0;
        struct sigaction action {};
    };

    void received();

    std::function<void()> onSignal;
    /// What the signal handler writes to, and what the main loop reads.
    Descriptor departures;
    Descriptor arrivals;
    std::unique_ptr<QSocketNotifier> notifier;
    std::array<Saved, 4> saved{};
};

} // namespace vorlin
