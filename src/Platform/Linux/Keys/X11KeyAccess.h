#pragma once

#include "Platform/Linux/Keys/X11Keyboard.h"

namespace vorlin {

/// Whether this process may watch and post keys. X11 asks nobody: it may when the server is
/// there and can do it. Known at once and kept by events. Main loop. `keyboard` must outlive this.
class X11KeyAccess {
public:
    explicit X11KeyAccess(X11Keyboard& keyboard);

    const Published<bool, X11KeyAccess>& granted() const { return isGranted; }

private:
    Published<bool, X11KeyAccess> isGranted;
    Subscription subscription;
};

} // namespace vorlin
