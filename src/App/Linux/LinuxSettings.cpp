#include "App/Linux/LinuxSettings.h"

#include "App/Shared/BuildFacts.h"

#include <malloc.h>

#include <utility>

namespace vorlin {

LinuxSettings::LinuxSettings(SettingsScene& scene, AppModel& model, const Ports& ports,
                             DesktopAppearance& look, std::function<void()> quit)
    : opener(scene, model, ports, buildFacts(),
             {.isDark = [&look] { return look.isDark(); },
              .hasReducedMotion = [&look] { return look.hasReducedMotion(); },
              .accent = [&look] { return look.accent(); },
              // What the window took is of no use to what runs without it.
              .gone = [] { malloc_trim(0); },
              .quit = std::move(quit)}),
      lookChanges(QObject::connect(&look, &DesktopAppearance::changed,
                                   [this] { opener.followAppearance(); }))
{
}

LinuxSettings::~LinuxSettings()
{
    QObject::disconnect(lookChanges);
}

} // namespace vorlin
