#pragma once

#include "Async/MainLoop.h"
#include "Platform/Linux/Pasteboard/Offering.h"
#include "Platform/Shared/Descriptor.h"

#include <QSocketNotifier>

#include <functional>
#include <memory>
#include <vector>

namespace vorlin {

/// Gives data to those who read them from pipes, each as fast as it reads: a reader that takes
/// nothing for 10 s is given up, and of many at once the one that has waited longest. Main loop;
/// nothing waits. The process must ignore SIGPIPE, since readers may go at any time.
class PipeWriters {
public:
    /// `loop` must outlive it.
    explicit PipeWriters(MainLoop& loop) : loop(loop) {}
    PipeWriters(const PipeWriters&) = delete;
    PipeWriters& operator=(const PipeWriters&) = delete;
    ~PipeWriters() = default;

    /// Writes all of `data` into the pipe and closes it. `given` is called once the reader has
    /// been given everything; not when it was given up.
    void write(Descriptor end, SharedBytes data, std::function<void()> given);

private:
    struct Transfer {
        Descriptor end;
        SharedBytes data;
        std::function<void()> given;
        std::size_t written = 0;
        std::unique_ptr<QSocketNotifier> writable;
        Timer patience;
    };

    void go(Transfer& transfer);
    void forget(const Transfer& transfer);

    MainLoop& loop;
    /// The one that has waited longest first.
    std::vector<std::unique_ptr<Transfer>> transfers;
};

} // namespace vorlin
