#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace vorlin {

class PasteboardStatus;
class SelectionClient;

/// The thread on which the selection client lives: no other program, and no display server, can
/// hold up the main loop. Signals are blocked on it.
class SelectionThread {
public:
    using Command = std::function<void(SelectionClient&)>;

    /// Starts the thread, which connects to `display`. Returns at once.
    SelectionThread(std::string display, std::shared_ptr<PasteboardStatus> status);
    SelectionThread(const SelectionThread&) = delete;
    SelectionThread& operator=(const SelectionThread&) = delete;

    /// Lets a clipboard manager take over what is offered, for at most half a second, and ends
    /// the thread. A display server that does not answer is cut off another half second later.
    ~SelectionThread();

    /// Queues `command`. Commands run in order. Any thread.
    void post(Command command);

    /// Queues `command` and waits until it has run, at most `patience`; it runs in any case.
    void run(Command command, std::chrono::milliseconds patience);

private:
    struct Shared;
    std::shared_ptr<Shared> shared;
    struct Handle;
    std::unique_ptr<Handle> handle;
};

} // namespace vorlin
