#include "App/Linux/LinuxOverlay.h"

namespace vorlin {

LinuxOverlay::LinuxOverlay(X11OverlayPanel& panel, DesktopAppearance& look, const HUDModel& model)
    : panel(panel), look(look),
      root(model, {.isDark = [&look] { return look.isDark(); },
                   .hasReducedMotion = [&look] { return look.hasReducedMotion(); },
                   .contentChanged = [&panel] { panel.contentChanged(); }}),
      lookChanges(
          QObject::connect(&look, &DesktopAppearance::changed, [this] { followAppearance(); }))
{
    followAppearance();
    panel.setContent([this](const QSize& size, double scale) -> const QImage& {
        return root.scene.draw(size, scale);
    });
}

LinuxOverlay::~LinuxOverlay()
{
    panel.setContent({});
    QObject::disconnect(lookChanges);
}

void LinuxOverlay::followAppearance()
{
    root.followAppearance();
    panel.setReducedMotion(look.hasReducedMotion());
}

} // namespace vorlin
