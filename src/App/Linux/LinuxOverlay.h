#pragma once

#include "App/Linux/LinuxDesktop.h"
#include "HUDModel.h"
#include "UI/Announcer.h"
#include "UI/OverlayScene.h"

namespace vorlin {

/// The overlay's view in the desktop's panel, and its announcements. Create it ahead of the first
/// dictation: it loads the view and draws it once, so that later pictures are quick. Main thread.
class LinuxOverlay {
public:
    /// Both must outlive this object.
    LinuxOverlay(LinuxDesktop& desktop, const HUDModel& model);
    LinuxOverlay(const LinuxOverlay&) = delete;
    LinuxOverlay& operator=(const LinuxOverlay&) = delete;
    ~LinuxOverlay();

private:
    void followAppearance();

    LinuxDesktop& desktop;
    OverlayScene scene;
    Announcer announcer;
    Subscription announcements;
};

} // namespace vorlin
