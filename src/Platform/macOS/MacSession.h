#pragma once

#include <functional>
#include <memory>

namespace vorlin {

/// Tells when the person turns away from the machine: it goes to sleep, or their session gives way
/// to another person's. That the screen is locked is told by no documented means. Main thread.
class MacSession {
public:
    /// `onAway` is called within the system's notification, so that what it does is done before
    /// the machine sleeps.
    explicit MacSession(std::function<void()> onAway);
    MacSession(const MacSession&) = delete;
    MacSession& operator=(const MacSession&) = delete;
    ~MacSession();

private:
    struct Observers;
    std::unique_ptr<Observers> observers;
};

} // namespace vorlin
