#include "App/Shared/BuildFacts.h"
#include "App/Shared/Program.h"
#include "App/Shared/QtSetUp.h"
#include "App/Shared/SettingsOpener.h"
#include "App/macOS/MacDesktop.h"
#include "App/macOS/MacOverlay.h"
#include "Platform/Shared/QuitDeadline.h"
#include "Platform/macOS/MacApplication.h"
#include "Platform/macOS/MacSettingsWindow.h"
#include "VorlinApp.h"

#include <QAccessible>
#include <QGuiApplication>

#include <chrono>
#include <optional>

namespace {

int run(char* argv[])
{
    using namespace vorlin;

    const QuitDeadline deadline(quitLimit);
    // Qt would come to the front with each start, and take the keys from whoever is there.
    qputenv("QT_MAC_DISABLE_FOREGROUND_APPLICATION_TRANSFORM", "1");
    setUpQt();
    int onlyTheName = 1; // there are no command-line options
    const QGuiApplication qt(onlyTheName, argv);
    // Qt waits for a reader to look at one of its windows, and the overlay's is none.
    QAccessible::setActive(true);
    MacApplication application;
    Program program(application);
    if (!program.isOnly()) {
        return 0;
    }

    MacDesktop desktop;
    VorlinApp app(desktop.ports(), program.quit());
    AppModel& model = app.model();
    desktop.permissions.onMicrophoneAnswer = [&model] { model.refreshPermissions(); };
    SettingsOpener settings(
        app.settings, model, desktop.ports(), buildFacts(),
        {.isDark = [&desktop] { return desktop.appearance.isDark(); },
         .hasReducedMotion = [&desktop] { return desktop.appearance.hasReducedMotion(); },
         .opening = [&application] { application.activate(); },
         .made = nameSettingsWindow,
         .quit = program.quit()});
    const auto lookChanges =
        desktop.appearance.observe([&settings] { settings.followAppearance(); });
    std::optional<MacOverlay> overlay;
    return program.run(app.settings, std::chrono::milliseconds(0), [&] {
        overlay.emplace(desktop.overlayPanel, desktop.appearance, *model.hud.model());
    });
}

} // namespace

int main(int /*argc*/, char* argv[])
{
    vorlin::endProcess(run(argv));
}
