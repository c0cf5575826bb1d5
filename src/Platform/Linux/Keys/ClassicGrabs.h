#pragma once

#include "Platform/Linux/Keys/X11Keymap.h"
#include "Platform/Linux/X11/X11Connection.h"

namespace vorlin {

/// Whether another program has asked the server for a key, in exactly this modifier state, in the
/// classic (core) way, as window managers do. Ours are of another kind and do not count. It asks
/// for the key itself and gives it back, unseen by anybody; false where the server does not answer.
/// Main loop.
bool isGrabbedClassically(X11Connection& server, HardwareKey key, XModifiers state);

} // namespace vorlin
