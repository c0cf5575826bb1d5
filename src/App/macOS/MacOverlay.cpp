#include "App/macOS/MacOverlay.h"

#include "Platform/macOS/Plain/FlippedRect.h"

#include <cmath>

namespace vorlin {

MacOverlay::MacOverlay(MacOverlayPanel& panel, MacAppearance& look, const HUDModel& model)
    : panel(panel), root(model, {.isDark = [&look] { return look.isDark(); },
                                 .hasReducedMotion = [&look] { return look.hasReducedMotion(); },
                                 .contentChanged = [&panel] { panel.contentChanged(); }}),
      lookChanges(look.observe([this] { root.followAppearance(); }))
{
    root.scene.setSystemGlass(true);
    panel.setContent(
        [this](double width, double height, double scale) { return draw(width, height, scale); });
}

MacOverlay::~MacOverlay()
{
    panel.setContent({});
}

OverlayPicture MacOverlay::draw(double width, double height, double scale)
{
    OverlayScene& scene = root.scene;
    const QSize pixels(static_cast<int>(std::lround(width * scale)),
                       static_cast<int>(std::lround(height * scale)));
    const QImage& picture = scene.draw(pixels, scale);
    const QRectF glass = scene.glass();
    return {.pixels = picture.constBits(),
            .width = static_cast<std::size_t>(picture.width()),
            .height = static_cast<std::size_t>(picture.height()),
            .bytesPerRow = static_cast<std::size_t>(picture.bytesPerLine()),
            .glass = flipped({glass.x(), glass.y(), glass.width(), glass.height()}, height),
            .cornerRadius = scene.glassRadius()};
}

} // namespace vorlin
