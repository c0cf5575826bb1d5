#include "Platform/Linux/Pasteboard/SnapshotJob.h"

#include "Platform/Linux/Pasteboard/SelectionTargets.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace vorlin {

using namespace std::chrono_literals;

namespace {

/// How long an owner may keep silent before the next target is asked for beside.
constexpr auto patience = 100ms;
constexpr std::size_t mostUnderWay = 16;
constexpr std::size_t mostTargets = 4096;
constexpr std::size_t numberSize = 4;

} // namespace

SnapshotJob::SnapshotJob(const SelectionConnection& connection, RequestorWindows& windows,
                         xcb_atom_t selection, std::shared_ptr<SnapshotCollector> collector,
                         std::size_t mostBytes, Deadline deadline)
    : connection(connection), windows(windows), selection(selection),
      targetsAtom(connection.atom("TARGETS")), incremental(connection.atom("INCR")),
      collector(std::move(collector)), mostBytes(mostBytes), deadline(deadline)
{
    ask({targetsAtom, "TARGETS"}, std::chrono::steady_clock::now());
}

SnapshotJob::~SnapshotJob()
{
    finish(std::chrono::steady_clock::now());
}

SnapshotJob::Conversions::iterator SnapshotJob::find(xcb_window_t window)
{
    return std::find_if(underWay.begin(), underWay.end(),
                        [&](const Conversion& each) { return each.window == window; });
}

std::size_t SnapshotJob::room() const
{
    const std::size_t used = std::accumulate(
        underWay.begin(), underWay.end(), keptBytes,
        [](std::size_t sum, const Conversion& each) { return sum + each.pieces.size(); });
    return mostBytes - std::min(mostBytes, used);
}

void SnapshotJob::ask(Target target, Deadline now)
{
    const xcb_window_t window = windows.acquire(now);
    xcb_convert_selection(connection.get(), window, selection, target.atom, windows.property(),
                          XCB_CURRENT_TIME);
    underWay.push_back(
        {window, target.atom, std::move(target.name), Conversion::State::asked, now, {}});
}

bool SnapshotJob::answered(const xcb_selection_notify_event_t& answer, Deadline now)
{
    const auto conversion = find(answer.requestor);
    if (conversion == underWay.end()) {
        return false;
    }
    if (conversion->state != Conversion::State::asked || answer.target != conversion->target ||
        answer.selection != selection) {
        return true; // an answer to nothing that was asked
    }
    if (answer.property != windows.property()) {
        received(conversion, {}, now); // refused
    } else {
        PropertyValue value;
        const auto outcome = connection.readProperty(conversion->window, windows.property(), room(),
                                                     deadline, value);
        const bool whole = outcome == SelectionConnection::Outcome::read;
        if (whole && value.type == incremental) {
            beginIncremental(*conversion, value, now);
        } else {
            received(conversion, whole ? std::move(value) : PropertyValue{}, now);
        }
    }
    keepBusy(now);
    return true;
}

void SnapshotJob::beginIncremental(Conversion& conversion, const PropertyValue& announcement,
                                   Deadline now)
{
    conversion.lastProgress = now;
    const auto sizes = numbersIn(announcement.bytes, 1);
    if (!sizes.empty() && sizes.front() > room()) {
        conversion.state = Conversion::State::postponed;
        return;
    }
    conversion.state = Conversion::State::receiving;
    xcb_delete_property(connection.get(), conversion.window, windows.property());
}

bool SnapshotJob::arrived(xcb_window_t window, Deadline now)
{
    const auto conversion = find(window);
    if (conversion == underWay.end()) {
        return false;
    }
    if (conversion->state != Conversion::State::receiving) {
        return true;
    }
    PropertyValue piece;
    const auto outcome =
        connection.readProperty(window, windows.property(), room(), deadline, piece);
    if (outcome == SelectionConnection::Outcome::absent) {
        return true; // it was read together with the piece before
    }
    auto state = PropertyPieces::State::rejected;
    if (outcome == SelectionConnection::Outcome::read) {
        state = conversion->pieces.add(piece.type, piece.format, piece.bytes, mostBytes);
    }
    if (state == PropertyPieces::State::rejected) {
        giveUp(conversion, now);
    } else if (state == PropertyPieces::State::complete) {
        received(conversion, conversion->pieces.take(), now);
    } else {
        conversion->lastProgress = now;
        xcb_delete_property(connection.get(), window, windows.property());
    }
    keepBusy(now);
    return true;
}

void SnapshotJob::received(Conversions::iterator conversion, PropertyValue value, Deadline now)
{
    const Conversion ended = std::move(*conversion);
    underWay.erase(conversion);
    windows.release(ended.window, now);
    if (ended.target == targetsAtom) {
        list(value);
    } else if (value.type != XCB_ATOM_NONE) {
        keep(ended, std::move(value));
    }
}

void SnapshotJob::giveUp(Conversions::iterator conversion, Deadline now)
{
    windows.abandon(conversion->window, now);
    underWay.erase(conversion);
}

void SnapshotJob::keep(const Conversion& conversion, PropertyValue value)
{
    const std::string typeName = value.type == conversion.target
                                     ? conversion.name
                                     : connection.names({{value.type}}).front();
    auto name = pasteboardType({conversion.name, typeName, value.format});
    if (name && isKeptType(typeName)) {
        keptBytes += value.bytes.size() + name->size();
        collector->add(std::move(*name), std::move(value.bytes));
    }
}

void SnapshotJob::list(const PropertyValue& targets)
{
    // Some owners give the list the type TARGETS; a list of anything but 32-bit numbers is none.
    if (targets.format != 8 * numberSize ||
        (targets.type != XCB_ATOM_ATOM && targets.type != targetsAtom)) {
        listUsualText();
        return;
    }
    std::vector<xcb_atom_t> atoms;
    for (const xcb_atom_t atom : numbersIn(targets.bytes, mostTargets)) {
        if (atom != XCB_ATOM_NONE && listed.insert(atom).second) {
            atoms.push_back(atom);
        }
    }
    const auto names = connection.names(atoms);
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (isKeptTarget(names[i])) {
            waiting.push_back({atoms[i], names[i]});
        }
    }
    std::stable_sort(waiting.begin(), waiting.end(), [](const Target& one, const Target& other) {
        return readingOrder(one.name) < readingOrder(other.name);
    });
    usualTextListed = true;
    collector->list(names);
}

void SnapshotJob::listUsualText()
{
    if (std::exchange(usualTextListed, true)) {
        return;
    }
    for (const char* name : {"UTF8_STRING", "STRING"}) {
        const xcb_atom_t atom = connection.atom(name);
        if (listed.insert(atom).second) {
            waiting.push_back({atom, name});
        }
    }
}

void SnapshotJob::keepBusy(Deadline now)
{
    if (now >= deadline || finished() || !connection.alive()) {
        finish(now);
        return;
    }
    const bool moving = std::any_of(underWay.begin(), underWay.end(), [&](const Conversion& each) {
        return each.state != Conversion::State::postponed && now - each.lastProgress < patience;
    });
    if (moving) {
        return;
    }
    if (waiting.empty() && !underWay.empty()) {
        listUsualText(); // the owner does not give its list
    }
    if (!waiting.empty()) {
        if (underWay.size() < mostUnderWay) {
            Target next = std::move(waiting.front());
            waiting.pop_front();
            ask(std::move(next), now);
        }
        return;
    }
    const auto postponed =
        std::find_if(underWay.begin(), underWay.end(), [](const Conversion& each) {
            return each.state == Conversion::State::postponed;
        });
    if (postponed != underWay.end()) {
        postponed->state = Conversion::State::receiving;
        postponed->lastProgress = now;
        xcb_delete_property(connection.get(), postponed->window, windows.property());
    }
    if (underWay.empty()) {
        finish(now);
    }
}

void SnapshotJob::startAnew(Deadline now)
{
    while (!underWay.empty()) {
        giveUp(std::prev(underWay.end()), now);
    }
    collector->startAnew();
    usualTextListed = false;
    keptBytes = 0;
    listed.clear();
    waiting.clear();
    ask({targetsAtom, "TARGETS"}, now);
}

void SnapshotJob::advance(Deadline now)
{
    keepBusy(now);
}

Deadline SnapshotJob::nextDeadline(Deadline now) const
{
    Deadline next = deadline;
    for (const Conversion& each : underWay) {
        if (each.lastProgress + patience > now) {
            next = std::min(next, each.lastProgress + patience);
        }
    }
    return next;
}

void SnapshotJob::finish(Deadline now)
{
    while (!underWay.empty()) {
        giveUp(std::prev(underWay.end()), now);
    }
    waiting.clear();
    collector->finish();
}

} // namespace vorlin
