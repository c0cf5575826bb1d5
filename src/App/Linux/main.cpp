#include "App/Linux/LinuxOverlay.h"
#include "App/Linux/LinuxServices.h"
#include "App/Linux/LinuxSettings.h"
#include "App/Linux/X11Desktop.h"
#include "App/Shared/QtSetUp.h"
#include "Platform/Linux/Desktop/DBusApplication.h"
#include "Platform/Shared/QuitDeadline.h"
#include "Platform/Shared/QuitSignals.h"
#include "VorlinApp.h"

#include <QGuiApplication>
#include <QTimer>

#include <xcb/xcb.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <optional>

namespace {

constexpr const char* noDisplay =
    "vorlin: no X11 display with XInput 2.2 and XTEST can be reached.\n";

/// The end takes two seconds at most, what follows the deadline included.
constexpr std::chrono::milliseconds quitLimit{1800};
static_assert(quitLimit < std::chrono::seconds(2));

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
    std::function<void()> openSettings = [] {}; // nothing to open yet
    if (!application.becomeOnlyInstance([&openSettings] { openSettings(); })) {
        return 0;
    }
    const QuitSignals quitSignals([&application] { application.quit(); });

    LinuxServices services(environment);
    X11Desktop desktop(services, environment);
    if (!desktop.hasDisplay().get()) {
        std::fputs(noDisplay, stderr);
        return 1;
    }
    const auto displayWatch =
        desktop.hasDisplay().observe([&application](bool) { application.quit(); });

    VorlinApp app(desktop.ports(), [&application] { application.quit(); });
    AppModel& model = app.model();
    openSettings = [&app] { app.settings.open(); };
    const LinuxSettings settings(app.settings, model, desktop.ports(), services.appearance,
                                 [&application] { application.quit(); });
    std::optional<LinuxOverlay> overlay;
    QTimer::singleShot(untilTheView, &qt, [&] {
        overlay.emplace(desktop.panel(), services.appearance, *model.hud.model());
    });
    const int status = QGuiApplication::exec();
    QuitDeadline::begin(); // whoever asked for the end
    return status;
}

} // namespace

int main(int /*argc*/, char* argv[])
{
    const int status = run(argv);
#if defined(__SANITIZE_ADDRESS__)
    return status; // its end looks for leaks
#else
    // All is tidied up, and nothing is buffered. The C library's end would wait for every file that
    // a thread which hangs is reading.
    std::_Exit(status);
#endif
}
