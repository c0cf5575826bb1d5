#pragma once

#include "HUDModel.h"
#include "Platform/Linux/Overlay/DesktopAppearance.h"
#include "Platform/Linux/Overlay/X11OverlayPanel.h"
#include "UI/Announcer.h"
#include "UI/OverlayScene.h"

namespace vorlin {

/// The overlay's view in the desktop's panel, and its announcements. Create it ahead of the first
/// dictation: it loads the view and draws it once, so that later pictures are quick. Main thread.
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
    QMetaObject::Connection lookChanges;
    OverlayScene scene;
    Announcer announcer;
    Subscription announcements;
};

} // namespace vorlin
