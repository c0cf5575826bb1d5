#include "App/Linux/LinuxOverlay.h"
#include "App/Linux/LinuxServices.h"
#include "App/Linux/LinuxSettings.h"
#include "App/Linux/X11Desktop.h"
#include "App/Shared/Program.h"
#include "App/Shared/QtSetUp.h"
#include "Platform/Linux/Desktop/DBusApplication.h"
#include "Platform/Shared/QuitDeadline.h"
#include "VorlinApp.h"

#include <QGuiApplication>

#include <xcb/xcb.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <optional>

namespace {

constexpr const char* noDisplay =
    "vorlin: no X11 display with XInput 2.2 and XTEST can be reached.\n";

/// The keys work and the tray has its symbol first; loading the overlay's view holds up the loop.
constexpr std::chrono::milliseconds untilTheView{100};

/// Qt ends the program by itself, with many words, when it finds no display.
bool reachesDisplay()
{
    auto* const connection = xcb_connect(nullptr, nullptr);
    const bool reached = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return reached;
}

/// Qt's part for the display may be missing or broken: one line then, and no crash report.
void endWithOneLine(QtMsgType type, const QMessageLogContext& /*context*/, const QString& message)
{
    if (type == QtFatalMsg) {
        const auto first = message.section('\n', 0, 0).toStdString();
        std::fprintf(stderr, "vorlin: the display cannot be used: %s\n", first.c_str());
        std::_Exit(1);
    }
}

int run(char* argv[])
{
    using namespace vorlin;

    if (!reachesDisplay()) {
        std::fputs(noDisplay, stderr);
        return 1;
    }
    const QuitDeadline deadline(quitLimit);
    setUpQt();
    int onlyTheName = 1; // there are no command-line options
    const auto usual = qInstallMessageHandler(endWithOneLine);
    const QGuiApplication qt(onlyTheName, argv);
    qInstallMessageHandler(usual);
    const Environment environment = processEnvironment();
    DBusApplication application(environment);
    Program program(application);
    if (!program.isOnly()) {
        return 0;
    }

    LinuxServices services(environment);
    X11Desktop desktop(services, environment);
    if (!desktop.hasDisplay().get()) {
        std::fputs(noDisplay, stderr);
        return 1;
    }
    const auto displayWatch =
        desktop.hasDisplay().observe([&application](bool) { application.quit(); });

    VorlinApp app(desktop.ports(), program.quit());
    AppModel& model = app.model();
    const LinuxSettings settings(app.settings, model, desktop.ports(), services.appearance,
                                 program.quit());
    std::optional<LinuxOverlay> overlay;
    return program.run(app.settings, untilTheView, [&] {
        overlay.emplace(desktop.panel(), services.appearance, *model.hud.model());
    });
}

} // namespace

int main(int /*argc*/, char* argv[])
{
    vorlin::endProcess(run(argv));
}
