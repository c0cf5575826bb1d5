#include "App/Linux/LinuxSettings.h"

#include "UI/Settings/SettingsWindow.h"

#include <QTimer>

#include <malloc.h>

#include <utility>

namespace vorlin {

struct LinuxSettings::Opened {
    Opened(SettingsScene& scene, AppModel& model, const Ports& ports)
        : view(model, ports, {VORLIN_VERSION, VORLIN_MAKER, VORLIN_MAKER_LINK}), window(view, scene)
    {
    }

    SettingsView view;
    SettingsWindow window;
};

LinuxSettings::LinuxSettings(SettingsScene& scene, AppModel& model, const Ports& ports,
                             DesktopAppearance& look, std::function<void()> quit)
    : scene(scene), model(model), ports(ports), look(look), quit(std::move(quit))
{
    QObject::connect(&look, &DesktopAppearance::changed, &context, [this] { followAppearance(); });
    scene.setWindow({.open = [this] { open(); },
                     .number = [this]() -> std::optional<std::uintptr_t> {
                         return opened && opened->window.isShown()
                                    ? std::optional(opened->window.number())
                                    : std::nullopt;
                     }});
}

LinuxSettings::~LinuxSettings()
{
    scene.setWindow({});
}

void LinuxSettings::open()
{
    if (opened && opened->window.isShown()) {
        return;
    }
    opened = std::make_unique<Opened>(scene, model, ports);
    auto& window = opened->window;
    QObject::connect(&window, &SettingsWindow::closed, &context, [this] { dropLater(); });
    QObject::connect(&window, &SettingsWindow::quit, &context, [this] { quit(); });
    followAppearance();
    window.show();
}

void LinuxSettings::dropLater()
{
    QTimer::singleShot(0, &context, [this] {
        if (opened && !opened->window.isShown()) {
            opened.reset();
            malloc_trim(0); // what the window took is of no use to what runs without it
        }
    });
}

void LinuxSettings::followAppearance()
{
    if (opened) {
        opened->window.setAppearance(look.isDark(), look.hasReducedMotion(), look.accent());
    }
}

} // namespace vorlin
