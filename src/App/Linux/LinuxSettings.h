#pragma once

#include "App/Shared/SettingsOpener.h"
#include "Platform/Linux/Overlay/DesktopAppearance.h"

#include <functional>

namespace vorlin {

/// The settings window of a Linux desktop. Main thread.
class LinuxSettings {
public:
    /// All must outlive this object. `quit` ends the program.
    LinuxSettings(SettingsScene& scene, AppModel& model, const Ports& ports,
                  DesktopAppearance& look, std::function<void()> quit);
    LinuxSettings(const LinuxSettings&) = delete;
    LinuxSettings& operator=(const LinuxSettings&) = delete;
    ~LinuxSettings();

private:
    SettingsOpener opener;
    QMetaObject::Connection lookChanges;
};

} // namespace vorlin
