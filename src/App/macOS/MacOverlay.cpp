#include "App/macOS/MacOverlay.h"

#include "App/macOS/MacOverlayPicture.h"

namespace vorlin {

MacOverlay::MacOverlay(MacOverlayPanel& panel, MacAppearance& look, const HUDModel& model)
    : panel(panel), root(model, {.isDark = [&look] { return look.isDark(); },
                                 .hasReducedMotion = [&look] { return look.hasReducedMotion(); },
                                 .contentChanged = [&panel] { panel.contentChanged(); }}),
      lookChanges(look.observe([this] { root.followAppearance(); }))
{
    root.scene.setSystemGlass(true);
    panel.setContent([this](double width, double height, double scale) {
        return overlayPicture(root.scene, width, height, scale);
    });
}

MacOverlay::~MacOverlay()
{
    panel.setContent({});
}

} // namespace vorlin
