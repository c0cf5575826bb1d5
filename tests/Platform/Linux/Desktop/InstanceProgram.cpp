// A program that only wants to be the only one: it tells on standard output how that goes.

#include "Platform/Linux/Desktop/DBusApplication.h"
#include "Platform/Shared/QuitSignals.h"

#include <QCoreApplication>

#include <cstdio>
#include <string>

namespace {

void say(const char* word)
{
    std::puts(word);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication qt(argc, argv);
    vorlin::DBusApplication application(vorlin::processEnvironment());
    application.setOnAction([](const std::string& name) { say(("action " + name).c_str()); });
    const vorlin::QuitSignals quitSignals([&] {
        say("quitting");
        application.quit();
    });
    if (!application.becomeOnlyInstance([] { say("activated"); })) {
        say("second");
        return 0;
    }
    if (argc > 1) {
        application.quit(); // before the loop runs
    }
    say("first");
    return QCoreApplication::exec();
}
