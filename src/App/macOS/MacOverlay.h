#pragma once

#include "App/Shared/OverlayRoot.h"
#include "Platform/macOS/MacAppearance.h"
#include "Platform/macOS/MacOverlayPanel.h"

namespace vorlin {

/// The overlay's root over the system's glass in its panel. Main thread.
class MacOverlay {
public:
    /// All must outlive this object.
    MacOverlay(MacOverlayPanel& panel, MacAppearance& look, const HUDModel& model);
    MacOverlay(const MacOverlay&) = delete;
    MacOverlay& operator=(const MacOverlay&) = delete;
    ~MacOverlay();

private:
    MacOverlayPanel& panel;
    OverlayRoot root;
    Subscription lookChanges;
};

} // namespace vorlin
