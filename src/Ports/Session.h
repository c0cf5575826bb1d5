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

    /// Nobody is at the keyboard: the machine sleeps, the screen is locked, another person's
    /// session is in front. As far as the desktop tells; one that tells nothing is never away. It
    /// changes within the desktop's own notice, before the machine sleeps.
    const Published<bool, Session>& isAway() const { return away; }

protected:
    void setAway(bool next) { away.set(next); }

private:
    Published<bool, Session> away{false};
};

} // namespace vorlin
