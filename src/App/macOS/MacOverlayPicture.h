#pragma once

#include "Platform/macOS/MacOverlayPanel.h"
#include "UI/OverlayScene.h"

namespace vorlin {

/// The scene as the panel shows it: `width` × `height` points at `scale` pixels to a point, and
/// where the system's glass lies in the panel. It is the scene's until it is drawn again. Main
/// thread.
OverlayPicture overlayPicture(OverlayScene& scene, double width, double height, double scale);

} // namespace vorlin
