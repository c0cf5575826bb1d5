#pragma once

#include "Async/MainLoop.h"

#include <memory>
#include <mutex>

namespace vorlin {

/// The way onto the main loop for callbacks of the platform's, which come on threads of its own and
/// may come when the adapter that asked for them is gone. Callbacks share it; the adapter closes
/// it.
class MainLoopDoor : public std::enable_shared_from_this<MainLoopDoor> {
public:
    explicit MainLoopDoor(MainLoop& loop) : loop(&loop) {}

    /// Runs `work` on the main loop, unless the door is closed by then. Any thread.
    void post(Work work);

    /// Nothing runs through this door any more once this returns. Main loop.
    void close();

private:
    bool isOpen();

    std::mutex lock;
    /// Nothing once the door is closed. The lock is held while the loop is posted to, so that the
    /// loop cannot go meanwhile.
    MainLoop* loop;
};

/// A door that closes with the adapter that holds it.
class OwnedDoor {
public:
    explicit OwnedDoor(MainLoop& loop) : door(std::make_shared<MainLoopDoor>(loop)) {}
    OwnedDoor(const OwnedDoor&) = delete;
    OwnedDoor& operator=(const OwnedDoor&) = delete;
    ~OwnedDoor() { door->close(); }

    /// For a callback to hold.
    std::shared_ptr<MainLoopDoor> shared() const { return door; }

private:
    std::shared_ptr<MainLoopDoor> door;
};

} // namespace vorlin
