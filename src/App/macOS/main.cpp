#include "App/Shared/BuildFacts.h"
#include "App/Shared/QtSetUp.h"
#include "App/Shared/SettingsOpener.h"
#include "App/macOS/MacDesktop.h"
#include "App/macOS/MacOverlay.h"
#include "Platform/macOS/MacApplication.h"
#include "Platform/macOS/MacSettingsWindow.h"
#include "VorlinApp.h"

#include <QGuiApplication>
#include <QTimer>

#include <functional>
#include <optional>

int main(int /*argc*/, char* argv[])
{
    using namespace vorlin;

    // Qt would come to the front with each start, and take the keys from whoever is there.
    qputenv("QT_MAC_DISABLE_FOREGROUND_APPLICATION_TRANSFORM", "1");
    setUpQt();
    int onlyTheName = 1; // there are no command-line options
    const QGuiApplication qt(onlyTheName, argv);
    MacApplication application;
    std::function<void()> openSettings = [] {}; // nothing to open yet
    if (!application.becomeOnlyInstance([&openSettings] { openSettings(); })) {
        return 0;
    }
    const auto quit = [&application] { application.quit(); };

    MacDesktop desktop;
    VorlinApp app(desktop.ports(), quit);
    AppModel& model = app.model();
    openSettings = [&app] { app.settings.open(); };
    desktop.permissions.onMicrophoneAnswer = [&model] { model.refreshPermissions(); };
    SettingsOpener settings(
        app.settings, model, desktop.ports(), buildFacts(),
        {.isDark = [&desktop] { return desktop.appearance.isDark(); },
         .hasReducedMotion = [&desktop] { return desktop.appearance.hasReducedMotion(); },
         .opening = [&application] { application.activate(); },
         .made = nameSettingsWindow,
         .quit = quit});
    const auto lookChanges =
        desktop.appearance.observe([&settings] { settings.followAppearance(); });
    std::optional<MacOverlay> overlay;
    // The keys work first; the view is ready soon after.
    QTimer::singleShot(0, &qt, [&] {
        overlay.emplace(desktop.overlayPanel, desktop.appearance, *model.hud.model());
    });
    return QGuiApplication::exec();
}
