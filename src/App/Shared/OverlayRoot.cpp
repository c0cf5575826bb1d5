#include "App/Shared/OverlayRoot.h"

#include <utility>

namespace vorlin {

OverlayRoot::OverlayRoot(const HUDModel& model, Desktop desktop)
    : scene(model), desktop(std::move(desktop))
{
    followAppearance();
    scene.draw(QSize(430, 76), 1);
    scene.onChanged = this->desktop.contentChanged;
    announcements = model.announcement.observe([this](const HUDAnnouncement& latest) {
        announcer.announce(QString::fromStdString(latest.text));
    });
}

void OverlayRoot::followAppearance()
{
    scene.setAppearance(desktop.isDark(), desktop.hasReducedMotion());
}

} // namespace vorlin
