#include "App/Shared/Program.h"

#include "Platform/Shared/QuitDeadline.h"

#include <QGuiApplication>
#include <QTimer>

#include <cstdlib>

namespace vorlin {

Program::Program(Application& application)
    : application(application), only(application.becomeOnlyInstance([this] { openSettings(); }))
{
    if (only) {
        quitSignals.emplace(quit());
    }
}

std::function<void()> Program::quit()
{
    return [this] { application.quit(); };
}

int Program::run(SettingsScene& settings, std::chrono::milliseconds untilOverlay,
                 const std::function<void()>& loadOverlay)
{
    openSettings = [&settings] { settings.open(); };
    QTimer overlay;
    overlay.setSingleShot(true);
    QObject::connect(&overlay, &QTimer::timeout, &overlay, loadOverlay);
    overlay.start(untilOverlay);
    const int status = QGuiApplication::exec();
    QuitDeadline::begin(); // whoever asked for the end
    openSettings = [] {};
    return status;
}

void endProcess(int status)
{
#if defined(__SANITIZE_ADDRESS__)
    std::exit(status); // its end looks for leaks
#else
    // Nothing is buffered. The C library's end would wait for every file that a thread which hangs
    // is reading.
    std::_Exit(status);
#endif
}

} // namespace vorlin
