#pragma once

#include "HUDModel.h"
#include "Platform/macOS/MacAppearance.h"
#include "Platform/macOS/MacOverlayPanel.h"
#include "UI/Announcer.h"
#include "UI/OverlayScene.h"

#include <memory>

namespace vorlin {

/// The overlay's view over the system's glass in its panel, and its announcements. Main thread.
class MacOverlay {
public:
    /// All must outlive this object.
    MacOverlay(MacOverlayPanel& panel, MacAppearance& look, const HUDModel& model);
    MacOverlay(const MacOverlay&) = delete;
    MacOverlay& operator=(const MacOverlay&) = delete;
    ~MacOverlay();

private:
    void followAppearance();
    OverlayPicture draw(double width, double height, double scale);

    MacOverlayPanel& panel;
    MacAppearance& look;
    OverlayScene scene;
    Announcer announcer;
    Subscription announcements;
    Subscription lookChanges;
};

} // namespace vorlin
