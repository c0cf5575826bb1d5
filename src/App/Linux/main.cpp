#include "App/Linux/LinuxDesktop.h"
#include "Platform/Linux/Desktop/DBusApplication.h"
#include "Platform/Linux/Desktop/QuitSignals.h"
#include "VorlinApp.h"

#include <QCoreApplication>

#include <cstdio>

int main(int /*argc*/, char* argv[])
{
    using namespace vorlin;

    int onlyTheName = 1; // there are no command-line options
    const QCoreApplication qt(onlyTheName, argv);
    const Environment environment = processEnvironment();
    DBusApplication application(environment);
    if (!application.becomeOnlyInstance([] {})) {
        return 0;
    }
    const QuitSignals quitSignals([&application] { application.quit(); });

    LinuxDesktop desktop(environment);
    if (!desktop.hasDisplay().get()) {
        std::fputs("vorlin: no X11 display with XInput 2.2 and XTEST can be reached.\n", stderr);
        return 1;
    }
    const auto displayWatch =
        desktop.hasDisplay().observe([&application](bool) { application.quit(); });

    VorlinApp app(desktop.ports());
    app.model();
    return QCoreApplication::exec();
}
