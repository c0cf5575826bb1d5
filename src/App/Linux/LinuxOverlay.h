#pragma once

#include "App/Shared/OverlayRoot.h"
#include "Platform/Linux/Overlay/DesktopAppearance.h"
#include "Platform/Linux/Overlay/X11OverlayPanel.h"

namespace vorlin {

/// The overlay's root in the desktop's panel. Main thread.
class LinuxOverlay {
public:
    /// All must outlive this object.
    LinuxOverlay(X11OverlayPanel& panel, DesktopAppearance& look, const HUDModel& model);
    LinuxOverlay(const LinuxOverlay&) = delete;
    LinuxOverlay& operator=(const LinuxOverlay&) = delete;
    ~LinuxOverlay();

private:
    void followAppearance();

    X11OverlayPanel& panel;
    DesktopAppearance& look;
    OverlayRoot root;
    QMetaObject::Connection lookChanges;
};

} // namespace vorlin
