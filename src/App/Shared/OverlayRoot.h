#pragma once

#include "HUDModel.h"
#include "UI/Announcer.h"
#include "UI/OverlayScene.h"

#include <functional>

namespace vorlin {

/// The overlay's view and its announcements on any desktop. Create it ahead of the first
/// dictation: it loads the view and draws it once, so that later pictures are quick. Main thread.
class OverlayRoot {
public:
    /// What differs between desktops. Each is called on the main thread; none may be empty.
    struct Desktop {
        std::function<bool()> isDark;
        std::function<bool()> hasReducedMotion;
        /// The view has something new to show.
        std::function<void()> contentChanged;
    };

    /// `model` must outlive this object.
    OverlayRoot(const HUDModel& model, Desktop desktop);
    OverlayRoot(const OverlayRoot&) = delete;
    OverlayRoot& operator=(const OverlayRoot&) = delete;

    /// The desktop's look has changed.
    void followAppearance();

    /// What the desktop's panel shows.
    OverlayScene scene;

private:
    const Desktop desktop;
    Announcer announcer;
    Subscription announcements;
};

} // namespace vorlin
