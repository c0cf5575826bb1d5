#include "Platform/Linux/Keys/X11KeyAccess.h"

namespace vorlin {

X11KeyAccess::X11KeyAccess(X11Keyboard& keyboard)
    : isGranted(keyboard.available().get()),
      subscription(
          keyboard.available().observe([this](bool available) { isGranted.set(available); }))
{
}

} // namespace vorlin
