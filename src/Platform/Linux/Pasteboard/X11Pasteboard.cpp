#include "Platform/Linux/Pasteboard/X11Pasteboard.h"

#include "Platform/Linux/Environment.h"
#include "Platform/Linux/Pasteboard/Offering.h"
#include "Platform/Linux/Pasteboard/PasteboardStatus.h"
#include "Platform/Linux/Pasteboard/SelectionClient.h"
#include "Platform/Linux/Pasteboard/SelectionThread.h"
#include "Platform/Linux/Pasteboard/SnapshotCollector.h"

#include <utility>

namespace vorlin {

using namespace std::chrono_literals;

namespace {

constexpr auto writePatience = 500ms;

std::string displayName()
{
    return processEnvironment()("DISPLAY").value_or("");
}

} // namespace

X11Pasteboard::X11Pasteboard(MainLoop& loop) : X11Pasteboard(loop, Limits()) {}

X11Pasteboard::X11Pasteboard(MainLoop& loop, Limits limits)
    : loop(loop), limits(limits), status(std::make_shared<PasteboardStatus>()),
      thread(std::make_unique<SelectionThread>(displayName(), status))
{
}

X11Pasteboard::~X11Pasteboard() = default;

Completion<PasteboardSnapshot> X11Pasteboard::snapshot(PasteSource source)
{
    Completion<PasteboardSnapshot> read;
    const auto waiter = read.completer();
    const auto collector = std::make_shared<SnapshotCollector>();
    collector->addWaiter(waiter);
    latest[selectionIndex(source)] = collector;
    // The thread ends it a little before its time; the loop, should the thread be held up.
    const Deadline deadline = std::chrono::steady_clock::now() + limits.time * 9 / 10;
    collector->keepUntilFinished(
        loop.startTimer(limits.time, [collector] { collector->finish(); }));
    thread->post(
        [=, bytes = limits.bytes, selection = selectionIndex(source)](SelectionClient& client) {
            client.read(selection, collector, waiter, bytes, deadline);
        });
    return read;
}

std::vector<std::string> X11Pasteboard::targets(PasteSource source) const
{
    const auto& collector = latest[selectionIndex(source)];
    return collector ? collector->listed() : std::vector<std::string>{};
}

std::int64_t X11Pasteboard::changeCount(PasteSource source) const
{
    return status->changeCount(selectionIndex(source));
}

void X11Pasteboard::replace(PasteSource source, const PasteboardSnapshot& contents)
{
    put(source, restoredOffering(contents), Displace::whatever);
}

void X11Pasteboard::restore(PasteSource source, const PasteboardSnapshot& contents)
{
    put(source, restoredOffering(contents), Displace::ownOnly);
}

void X11Pasteboard::setString(PasteSource source, const std::string& text)
{
    put(source, secretOffering(text), Displace::whatever);
}

void X11Pasteboard::copyString(PasteSource source, const std::string& text)
{
    put(source, textOffering(text), Displace::whatever);
}

void X11Pasteboard::put(PasteSource source, Offering offering, Displace displace)
{
    const std::size_t selection = selectionIndex(source);
    const bool behindAnother = status->use(selection) == PasteboardUse::underway;
    const std::uint64_t number = status->writing(selection);
    thread->run(
        [=, offering = std::move(offering)](SelectionClient& client) {
            client.write(selection, offering, number, displace);
        },
        behindAnother ? 0ms : writePatience);
}

PasteboardUse X11Pasteboard::use(PasteSource source) const
{
    return status->use(selectionIndex(source));
}

bool X11Pasteboard::wasLookedAt(PasteSource source) const
{
    return status->lookedAt(selectionIndex(source));
}

} // namespace vorlin
