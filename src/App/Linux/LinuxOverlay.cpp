#include "App/Linux/LinuxOverlay.h"

namespace vorlin {

LinuxOverlay::LinuxOverlay(LinuxDesktop& desktop, const HUDModel& model)
    : desktop(desktop), scene(model)
{
    desktop.look().onChanged = [this] { followAppearance(); };
    followAppearance();
    scene.draw(QSize(430, 76), 1);
    scene.onChanged = [this] { this->desktop.panel().contentChanged(); };
    desktop.panel().setContent([this](const QSize& size, double scale) -> const QImage& {
        return scene.draw(size, scale);
    });
    announcements = model.announcement.observe([this](const HUDAnnouncement& latest) {
        announcer.announce(QString::fromStdString(latest.text));
    });
}

LinuxOverlay::~LinuxOverlay()
{
    desktop.panel().setContent({});
    desktop.look().onChanged = {};
}

void LinuxOverlay::followAppearance()
{
    const auto& look = desktop.look();
    scene.setAppearance(look.isDark(), look.hasReducedMotion());
    desktop.panel().setReducedMotion(look.hasReducedMotion());
}

} // namespace vorlin
