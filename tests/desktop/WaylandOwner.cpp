// A program of a Wayland session in which something was copied:
//
//     wayland_owner TYPE FILE [TYPE FILE]...
//
// says "owned" once the clipboard is its own, and ends when another program takes it.

#include "Platform/Linux/Pasteboard/DataControl.h"
#include "Platform/Linux/Pasteboard/PipeWriters.h"
#include "Platform/Shared/QtMainLoop.h"

#include <QCoreApplication>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <vector>

int main(int argc, char* argv[])
{
    using namespace vorlin;

    std::signal(SIGPIPE, SIG_IGN);
    std::map<std::string, SharedBytes> contents;
    std::vector<std::string> types;
    for (int i = 1; i + 1 < argc; i += 2) {
        std::ifstream file(argv[i + 1], std::ios::binary);
        contents[argv[i]] = std::make_shared<const std::vector<std::uint8_t>>(
            std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
        types.emplace_back(argv[i]);
    }
    const QCoreApplication application(argc, argv);
    QtMainLoop loop;
    WaylandConnection connection;
    PipeWriters writers(loop);
    const auto control = DataControl::over(connection, [](PasteSource /*source*/) {});
    if (!control) {
        std::fputs("wayland_owner: the compositor offers no clipboard\n", stderr);
        return 1;
    }
    control->offer(
        PasteSource::clipboard, types,
        {.read = [&](const std::string& type,
                     Descriptor end) { writers.write(std::move(end), contents.at(type), [] {}); },
         .displaced = [] { QCoreApplication::quit(); }});
    if (!connection.sync(std::chrono::seconds(30))) {
        return 1;
    }
    std::puts("owned");
    std::fflush(stdout);
    return QCoreApplication::exec();
}
