// Offers the contents that stand on standard input (see `keptContents`) as a Wayland session's
// clipboard until another program takes it, or the session ends; not where a program has copied
// something since.

#include "Platform/Linux/Pasteboard/ContentsKeeper.h"
#include "Platform/Linux/Pasteboard/DataControl.h"
#include "Platform/Linux/Pasteboard/PipeWriters.h"
#include "Platform/Shared/QtMainLoop.h"

#include <QCoreApplication>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include <unistd.h>

namespace {

/// What is there now must be known before something is put in its place.
constexpr std::chrono::seconds patience{10};

/// Whether the types on the clipboard are others than those of the contents that stood there.
bool isNewer(std::vector<std::string> there, std::vector<std::string> kept)
{
    std::ranges::sort(there);
    std::ranges::sort(kept);
    return !there.empty() && there != kept;
}

} // namespace

int main(int argc, char* argv[])
{
    using namespace vorlin;

    const auto contents = keptContents(STDIN_FILENO);
    if (!contents) {
        std::fputs("vorlin-keeper: is started by vorlin.\n", stderr);
        return 1;
    }
    std::signal(SIGPIPE, SIG_IGN); // readers may go at any time
    const QCoreApplication application(argc, argv);
    QtMainLoop loop;
    WaylandConnection connection(patience);
    PipeWriters writers(loop);
    const auto control = DataControl::over(connection, [](PasteSource /*source*/) {});
    if (!control) {
        return 1;
    }
    std::vector<std::string> types;
    for (const Offering::Entry& entry : contents->entries) {
        types.push_back(entry.form.target);
    }
    connection.sync(patience);
    if (isNewer(control->types(PasteSource::clipboard), types)) {
        return 0;
    }
    const auto read = [&](const std::string& type, Descriptor end) {
        const auto entry = std::ranges::find(contents->entries, type,
                                             [](const auto& each) { return each.form.target; });
        if (entry != contents->entries.end()) {
            writers.write(std::move(end), entry->bytes, [] {});
        }
    };
    const bool offered =
        control->offer(PasteSource::clipboard, types,
                       {.read = read, .displaced = [] { QCoreApplication::quit(); }});
    const auto sessionEnd = connection.alive().observe([](bool) { QCoreApplication::quit(); });
    if (!offered || !connection.alive().get()) {
        return 1; // nothing would tell of its end
    }
    return QCoreApplication::exec();
}
