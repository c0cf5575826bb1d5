#include "App/macOS/MacOverlay.h"

#include "Platform/macOS/Plain/FlippedRect.h"

#include <cmath>

namespace vorlin {

MacOverlay::MacOverlay(MacOverlayPanel& panel, MacAppearance& look, const HUDModel& model)
    : panel(panel), look(look), scene(model),
      announcements(model.announcement.observe([this](const HUDAnnouncement& latest) {
          announcer.announce(QString::fromStdString(latest.text));
      })),
      lookChanges(look.observe([this] { followAppearance(); }))
{
    scene.setSystemGlass(true);
    followAppearance();
    scene.onChanged = [this] { this->panel.contentChanged(); };
    panel.setContent(
        [this](double width, double height, double scale) { return draw(width, height, scale); });
}

MacOverlay::~MacOverlay()
{
    panel.setContent({});
}

void MacOverlay::followAppearance()
{
    scene.setAppearance(look.isDark(), look.hasReducedMotion());
}

OverlayPicture MacOverlay::draw(double width, double height, double scale)
{
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
