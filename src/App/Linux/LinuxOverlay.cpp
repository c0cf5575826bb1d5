#include "App/Linux/LinuxOverlay.h"

namespace vorlin {

LinuxOverlay::LinuxOverlay(X11OverlayPanel& panel, DesktopAppearance& look, const HUDModel& model)
    : panel(panel), look(look), scene(model)
{
    lookChanges =
        QObject::connect(&look, &DesktopAppearance::changed, [this] { followAppearance(); });
    followAppearance();
    scene.draw(QSize(430, 76), 1);
    scene.onChanged = [this] { this->panel.contentChanged(); };
    panel.setContent([this](const QSize& size, double scale) -> const QImage& {
        return scene.draw(size, scale);
    });
    announcements = model.announcement.observe([this](const HUDAnnouncement& latest) {
        announcer.announce(QString::fromStdString(latest.text));
    });
}

LinuxOverlay::~LinuxOverlay()
{
    panel.setContent({});
    QObject::disconnect(lookChanges);
}

void LinuxOverlay::followAppearance()
{
    scene.setAppearance(look.isDark(), look.hasReducedMotion());
    panel.setReducedMotion(look.hasReducedMotion());
}

} // namespace vorlin
