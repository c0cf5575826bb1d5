#include "App/Shared/SettingsOpener.h"

#include "UI/Settings/SettingsWindow.h"

#include <QTimer>

#include <optional>
#include <utility>

namespace vorlin {

struct SettingsOpener::Opened {
    Opened(SettingsScene& scene, AppModel& model, const Ports& ports, const BuildFacts& build)
        : view(model, ports, build), window(view, scene)
    {
    }

    SettingsView view;
    SettingsWindow window;
};

SettingsOpener::SettingsOpener(SettingsScene& scene, AppModel& model, const Ports& ports,
                               BuildFacts build, Desktop desktop)
    : scene(scene), model(model), ports(ports), build(std::move(build)), desktop(std::move(desktop))
{
    scene.setWindow({.open = [this] { open(); },
                     .number = [this]() -> std::optional<std::uintptr_t> {
                         return opened && opened->window.isShown()
                                    ? std::optional(opened->window.number())
                                    : std::nullopt;
                     }});
}

SettingsOpener::~SettingsOpener()
{
    scene.setWindow({});
}

void SettingsOpener::open()
{
    desktop.opening();
    if (opened && opened->window.isShown()) {
        return;
    }
    opened = std::make_unique<Opened>(scene, model, ports, build);
    auto& window = opened->window;
    QObject::connect(&window, &SettingsWindow::closed, &context, [this] { dropLater(); });
    QObject::connect(&window, &SettingsWindow::quit, &context, [this] { desktop.quit(); });
    followAppearance();
    desktop.made(window.number());
    window.show();
}

void SettingsOpener::dropLater()
{
    QTimer::singleShot(0, &context, [this] {
        if (opened && !opened->window.isShown()) {
            opened.reset();
            desktop.gone();
        }
    });
}

void SettingsOpener::followAppearance()
{
    if (opened) {
        opened->window.setAppearance(desktop.isDark(), desktop.hasReducedMotion(),
                                     desktop.accent());
    }
}

} // namespace vorlin
