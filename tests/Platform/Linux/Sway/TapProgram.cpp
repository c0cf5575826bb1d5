// A program that watches F9 and Escape in sway until something ends it, and says which one it
// was told.
//   TapProgram SOCKET GUARD LEDGER

#include "Platform/Linux/Keys/SwayEventTap.h"
#include "Platform/Shared/QtMainLoop.h"
#include "Platform/Shared/ThreadPool.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char* argv[])
{
    using namespace vorlin;
    QCoreApplication application(argc, argv);
    if (argc != 4) {
        return 2;
    }
    QtMainLoop loop;
    ThreadPool workers([] {});
    SwaySocket socket(argv[1], loop);
    SwayEventTap tap({socket, loop, workers, {}, {argv[2], argv[1], argv[3]}});
    const auto tell = [](KeyEventType, const KeyEvent& event) {
        std::printf("told %d\n", static_cast<int>(event.keyCode));
        std::fflush(stdout);
        return true;
    };
    if (!tap.start(tell)) {
        return 1;
    }
    tap.setInterest({Hotkey{101, 0, false}, true});
    return QCoreApplication::exec();
}
