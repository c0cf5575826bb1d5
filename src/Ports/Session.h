#pragma once

#include "Async/Published.h"

namespace vorlin {

/// The person's session at this machine. Main loop.
class Session {
public:
    Session() = default;
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    virtual ~Session() = default;

    /// Asks the desktop not to go idle by itself, or no longer: what is not touched for a while
    /// would count as left. The person may still lock it. Does nothing where a desktop takes no
    /// such wish, and is not waited for.
    virtual void keepAwake(bool /*on*/) {}

    /// Nobody is at the keyboard: the machine sleeps, the screen is locked, another person's
    /// session is in front. As far as the desktop tells; one that tells nothing is never away. It
    /// changes within the desktop's own notice; of sleep that may come to us at the wake-up only.
    const Published<bool, Session>& isAway() const { return away; }

protected:
    void setAway(bool next) { away.set(next); }

private:
    Published<bool, Session> away{false};
};

} // namespace vorlin
