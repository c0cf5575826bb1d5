#include "App/Linux/DictationActions.h"
#include "App/Linux/LinuxDesktop.h"
#include "App/Linux/LinuxOverlay.h"
#include "App/Linux/LinuxServices.h"
#include "App/Linux/LinuxSettings.h"
#include "App/Shared/Program.h"
#include "App/Shared/QtSetUp.h"
#include "Platform/Linux/Desktop/DBusApplication.h"
#include "Platform/Linux/Desktop/RemovalNotice.h"
#include "Platform/Shared/QuitDeadline.h"
#include "VorlinApp.h"

#include <QGuiApplication>

#include <xcb/xcb.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include <sys/time.h>
#include <unistd.h>

namespace {

constexpr const char* noDisplay =
    "vorlin: no X11 display with XInput 2.2 and XTEST can be reached.\n";
constexpr const char* noXWayland =
    "vorlin: no XWayland can be reached, which shows its windows in a Wayland session. "
    "Install it (Debian's package is xwayland), and log in anew.\n";

/// The program's own, even where it has been replaced.
constexpr const char* ownFile = "/proc/self/exe";

constexpr const char* displayLost = "vorlin: the X11 display is gone.\n";

/// What this start follows, in seconds of the clock that goes on while the machine sleeps.
constexpr const char* restartVariable = "VORLIN_RESTARTED";
constexpr std::chrono::seconds restartPause{10};

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

/// The program's file, or that of the version which has been put in its place since it was started.
std::string programFile()
{
    constexpr std::string_view replaced = " (deleted)"; // as the kernel says it
    std::error_code error;
    std::string path = std::filesystem::read_symlink(ownFile, error).string();
    if (path.ends_with(replaced)) {
        path.resize(path.size() - replaced.size());
        if (std::filesystem::exists(path, error)) {
            return path;
        }
    }
    return ownFile;
}

/// Takes this process's place with a new start; returns where the one before was so short ago that
/// the next display would not last either.
void startAgain(char* argv[])
{
    const itimerval never{};
    ::setitimer(ITIMER_REAL, &never, nullptr); // the deadline of this start's end is no other's
    timespec now{};
    ::clock_gettime(CLOCK_BOOTTIME, &now);
    const auto before = vorlin::processEnvironment()(restartVariable);
    const auto passed = before ? now.tv_sec - std::atoll(before->c_str()) : -1;
    if (passed < 0 || passed > restartPause.count()) { // less than none: the machine was restarted
        qputenv(restartVariable, QByteArray::number(static_cast<qlonglong>(now.tv_sec)));
        ::execv(programFile().c_str(), argv);
        ::execv(ownFile, argv); // the later one may not be whole yet
    }
}

/// For when Qt notices the display's end first: it calls exit() then, out of the main loop or
/// while it is tidied up.
struct LastResort {
    char** argv = nullptr;
    /// While there are any.
    vorlin::LinuxDesktop* desktop = nullptr;
    vorlin::AppModel* model = nullptr;
    /// The program has noticed by itself.
    bool again = false;
};
LastResort lastResort;

/// Sees to it that the clipboard stays as it is to be.
void leaveInHaste()
{
    lastResort.model->leaveInHaste();
    lastResort.desktop->leaveInHaste();
}

void exitCalled()
{
    if (lastResort.desktop != nullptr && lastResort.desktop->outlivesDisplay()) {
        leaveInHaste();
        lastResort.again = true;
    }
    if (lastResort.again) {
        startAgain(lastResort.argv);
    }
}

/// For a program whose file is gone: it would hold the person's key until they log out. What is
/// being dictated is typed first.
std::function<void()> endAtRest(const vorlin::AppModel& model, std::function<void()> quit)
{
    return [&model, quit = std::move(quit), atRest = false]() mutable {
        const bool now = model.dictation.phase.get() == vorlin::Dictation::Phase::idle;
        if (std::exchange(atRest, now) && now) {
            quit();
        }
    };
}

struct End {
    int status = 0;
    /// The display is gone and the session is not: another display comes in its place.
    bool again = false;
};

End run(char* argv[])
{
    using namespace vorlin;

    const bool inWayland = processEnvironment()("WAYLAND_DISPLAY").has_value();
    if (!reachesDisplay()) {
        std::fputs(inWayland ? noXWayland : noDisplay, stderr);
        return {.status = 1};
    }
    if (inWayland) {
        qputenv("QT_QPA_PLATFORM", "xcb"); // a window of Qt's there would take the focus
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
        return {};
    }

    LinuxServices services(environment);
    const auto desktop = desktopOf(services, environment);
    if (!desktop->hasDisplay().get()) {
        std::fputs(noDisplay, stderr);
        return {.status = 1};
    }
    bool displayGone = false;
    const auto endWatch = desktop->watchEnd([&] {
        displayGone = true;
        application.quit();
    });

    VorlinApp app(desktop->ports(), program.quit());
    AppModel& model = app.model();
    lastResort.desktop = desktop.get();
    lastResort.model = &model;
    // What is registered last is called first: what Qt has made so far is still there then.
    std::atexit(exitCalled);
    followActions(application, model);
    const LinuxSettings settings(app.settings, model, desktop->ports(), services.appearance,
                                 program.quit());
    const RemovalNotice removal(QCoreApplication::applicationFilePath().toStdString(),
                                services.loop, endAtRest(model, program.quit()));
    std::optional<LinuxOverlay> overlay;
    const int status = program.run(app.settings, untilTheView, [&] {
        overlay.emplace(desktop->panel(), services.appearance, *model.hud.model());
    });
    lastResort.again = displayGone && desktop->outlivesDisplay();
    if (lastResort.again) {
        leaveInHaste(); // Qt may yet end the process while it is tidied up
    }
    lastResort.desktop = nullptr;
    lastResort.model = nullptr;
    if (displayGone && !inWayland) { // else Qt has noticed first, with a line of its own
        std::fputs(displayLost, stderr);
        return {.status = 1};
    }
    return {.status = status, .again = lastResort.again};
}

} // namespace

int main(int /*argc*/, char* argv[])
{
    lastResort.argv = argv;
    const End end = run(argv);
    if (end.again) {
        startAgain(argv);
    }
    vorlin::endProcess(end.status);
}
