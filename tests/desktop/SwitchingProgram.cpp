// The program as its own main() puts it together, without the overlay's view, and a hand on its
// engine catalog: each line on standard input is the id of the engine to select, and what the
// catalog says of a failure goes to the log.
#include "App/Linux/LinuxServices.h"
#include "App/Linux/X11Desktop.h"
#include "Platform/Linux/Desktop/DBusApplication.h"
#include "Platform/Shared/QuitSignals.h"
#include "VorlinApp.h"

#include <QGuiApplication>
#include <QSocketNotifier>

#include <unistd.h>

#include <array>
#include <cstdio>
#include <optional>
#include <string>

namespace {

/// Takes what stands on standard input and selects what its whole lines say.
void selectFromInput(vorlin::ModelStore& models, std::string& line)
{
    std::array<char, 256> piece{};
    const auto count = ::read(STDIN_FILENO, piece.data(), piece.size());
    for (ssize_t i = 0; i < count; ++i) {
        const char character = piece.at(static_cast<std::size_t>(i));
        if (character != '\n') {
            line += character;
        } else {
            models.select(line);
            line.clear();
        }
    }
}

} // namespace

int main(int /*argc*/, char* argv[])
{
    using namespace vorlin;

    int onlyTheName = 1;
    const QGuiApplication qt(onlyTheName, argv);
    const Environment environment = processEnvironment();
    DBusApplication application(environment);
    if (!application.becomeOnlyInstance([] {})) {
        return 1;
    }
    const QuitSignals quitSignals([&application] { application.quit(); });
    LinuxServices services(environment);
    X11Desktop desktop(services, environment);
    VorlinApp app(desktop.ports(), [&application] { application.quit(); });
    ModelStore& models = app.model().models;

    const auto failures = models.lastError.observe([](const std::optional<std::string>& failure) {
        std::fprintf(stderr, "catalog: %s\n", failure.value_or("(no failure)").c_str());
    });
    std::string line;
    const QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &input,
                     [&] { selectFromInput(models, line); });
    return QGuiApplication::exec();
}
