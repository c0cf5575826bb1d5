#include "App/macOS/MacOverlayPicture.h"

#include "Platform/macOS/Plain/FlippedRect.h"

#include <cmath>

namespace vorlin {

OverlayPicture overlayPicture(OverlayScene& scene, double width, double height, double scale)
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
