#include "Platform/Linux/Pasteboard/SelectionOwner.h"

#include "Platform/Linux/Pasteboard/SelectionTargets.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace vorlin {

namespace {

constexpr std::size_t mostAtOnce = 1024;

bool isBefore(std::uint32_t one, std::uint32_t other)
{
    return static_cast<std::int32_t>(one - other) < 0; // both go round
}

std::vector<std::uint8_t> bytesOf(std::span<const std::uint32_t> numbers)
{
    std::vector<std::uint8_t> bytes(numbers.size_bytes());
    if (!bytes.empty()) {
        std::memcpy(bytes.data(), numbers.data(), bytes.size());
    }
    return bytes;
}

} // namespace

SelectionOwner::SelectionOwner(const SelectionConnection& connection, xcb_window_t window,
                               xcb_atom_t selection, std::size_t index, PasteboardStatus& status,
                               PasteReaders& readers, IncrementalSenders& senders)
    : connection(connection), window(window), selection(selection), index(index), status(status),
      readers(readers), senders(senders), targetsAtom(connection.atom("TARGETS")),
      timestampAtom(connection.atom("TIMESTAMP")), multipleAtom(connection.atom("MULTIPLE")),
      pairAtom(connection.atom("ATOM_PAIR"))
{
}

std::shared_ptr<const SelectionOwner::Owned> SelectionOwner::prepare(Offering contents) const
{
    std::vector<std::string> names;
    for (const Offering::Entry& entry : contents.entries) {
        names.push_back(entry.form.target);
        names.push_back(entry.form.type);
    }
    const auto atoms = connection.atoms(names);
    auto prepared = std::make_shared<Owned>();
    for (std::size_t i = 0; i < contents.entries.size(); ++i) {
        const Offering::Entry& entry = contents.entries[i];
        if (atoms[2 * i] != XCB_ATOM_NONE && atoms[2 * i + 1] != XCB_ATOM_NONE) {
            prepared->content.push_back({atoms[2 * i], atoms[2 * i + 1], entry.form.format,
                                         entry.bytes, entry.form.target != secrecyHint});
        }
    }
    prepared->offering = std::move(contents);
    return prepared;
}

void SelectionOwner::write(Offering contents, std::uint64_t contentsNumber, Displace displace)
{
    number = contentsNumber;
    const bool ownOnly = displace == Displace::ownOnly;
    if (ownOnly && !written) {
        lost(); // since the writing was decided
        return;
    }
    // First of all the claim, which then is under way even if the server is slow: what it asks for
    // is answered when we are done here. The server ignores a claim older than the last change: so
    // one dated like our own displaces ours and no other.
    const bool any = !contents.entries.empty();
    const xcb_window_t owner = any ? window : xcb_window_t{XCB_NONE};
    const xcb_timestamp_t time = ownOnly ? officialTime : xcb_timestamp_t{XCB_CURRENT_TIME};
    writtenBy = xcb_set_selection_owner(connection.get(), owner, selection, time).sequence;
    xcb_flush(connection.get());
    written = true;
    readers.rememberFocus();
    owned = any ? prepare(std::move(contents)) : nullptr;
    const XcbPointer<xcb_get_selection_owner_reply_t> now(xcb_get_selection_owner_reply(
        connection.get(), xcb_get_selection_owner(connection.get(), selection), nullptr));
    if (!now) {
        owned = nullptr;
        status.became(index, number, PasteboardUse::untracked);
    } else if (now->owner != owner) {
        lost();
    } else {
        status.became(index, number, PasteboardUse::unread);
    }
}

void SelectionOwner::lost()
{
    owned = nullptr;
    written = false;
    status.became(index, number, PasteboardUse::replaced);
}

void SelectionOwner::ownerChanged(const xcb_xfixes_selection_notify_event_t& event,
                                  std::uint32_t sequence)
{
    status.changed(index);
    if (!written || isBefore(sequence, writtenBy)) {
        return;
    }
    const xcb_window_t expected = owned ? window : xcb_window_t{XCB_NONE};
    if (event.owner != expected) {
        lost();
        return;
    }
    officialTime = event.selection_timestamp;
    ownedSince = event.timestamp;
}

bool SelectionOwner::isStale(xcb_timestamp_t requested) const
{
    return requested != XCB_CURRENT_TIME && isBefore(requested, ownedSince);
}

void SelectionOwner::answer(const xcb_selection_request_event_t& request)
{
    xcb_atom_t property = request.property;
    if (property == XCB_ATOM_NONE && request.target != multipleAtom) {
        property = request.target; // clients from before the conventions
    }
    // To send to a window of our own would cost us its events; we never ask ourselves.
    const bool foreign = connection.clientOf(request.requestor) != connection.clientOf(window);
    const bool given = owned && foreign && !isStale(request.time) &&
                       convert(request.requestor, request.target, property);
    xcb_selection_notify_event_t answer{};
    answer.response_type = XCB_SELECTION_NOTIFY;
    answer.time = request.time;
    answer.requestor = request.requestor;
    answer.selection = request.selection;
    answer.target = request.target;
    answer.property = given ? property : xcb_atom_t{XCB_ATOM_NONE};
    std::array<char, 32> event{}; // every event is that long on the wire
    std::memcpy(event.data(), &answer, sizeof(answer));
    xcb_send_event(connection.get(), 0, request.requestor, XCB_EVENT_MASK_NO_EVENT, event.data());
    if (given && request.target == targetsAtom) {
        noteLook(request);
    }
}

/// The answer is on its way first, so that no key pressed then overtakes it.
void SelectionOwner::noteLook(const xcb_selection_request_event_t& request)
{
    if (owned->offering.forPasteOnly && !status.lookedAt(index) &&
        !readers.isBridge(request.requestor) && readers.mayRead(request.requestor)) {
        xcb_flush(connection.get());
        status.wasLookedAt(index, number);
    }
}

bool SelectionOwner::convert(xcb_window_t reader, xcb_atom_t target, xcb_atom_t property)
{
    if (target == targetsAtom) {
        std::vector<xcb_atom_t> targets = {targetsAtom, timestampAtom, multipleAtom};
        const auto saved = savedTargets();
        targets.insert(targets.end(), saved.begin(), saved.end());
        return connection.setProperty(reader, property, XCB_ATOM_ATOM, 32, bytesOf(targets));
    }
    if (target == timestampAtom) {
        return connection.setProperty(reader, property, XCB_ATOM_INTEGER, 32,
                                      bytesOf({&officialTime, 1}));
    }
    if (target == multipleAtom) {
        return convertSeveral(reader, property);
    }
    const auto content = std::find_if(owned->content.begin(), owned->content.end(),
                                      [&](const Content& each) { return each.target == target; });
    return content != owned->content.end() && give(reader, *content, property);
}

bool SelectionOwner::convertSeveral(xcb_window_t reader, xcb_atom_t property)
{
    PropertyValue wanted;
    const auto outcome =
        connection.readProperty(reader, property, 8 * mostAtOnce, Deadline::max(), wanted);
    if (outcome != SelectionConnection::Outcome::read || wanted.format != 32) {
        return false;
    }
    auto pairs = numbersIn(wanted.bytes, 2 * mostAtOnce);
    for (std::size_t i = 0; i + 1 < pairs.size(); i += 2) {
        const bool single = pairs[i] != multipleAtom && pairs[i + 1] != XCB_ATOM_NONE;
        if (!single || !convert(reader, pairs[i], pairs[i + 1])) {
            pairs[i + 1] = XCB_ATOM_NONE;
        }
    }
    return connection.setProperty(reader, property, pairAtom, 32, bytesOf(pairs));
}

bool SelectionOwner::give(xcb_window_t reader, const Content& content, xcb_atom_t property)
{
    if (owned->offering.forPasteOnly && content.tracked) {
        if (index == selectionIndex(PasteSource::clipboard) && readers.isForKeeping(reader)) {
            status.wasLookedAt(index, number); // what it asks for next is for who pastes
            return false;
        }
        if (!readers.mayRead(reader)) {
            return false;
        }
    }
    const bool counts = content.tracked && readers.counts(reader);
    const auto given = [this, counts, of = number] {
        if (counts) {
            status.became(index, of, PasteboardUse::read);
        }
    };
    if (senders.needed(content.bytes->size())) {
        return senders.start(reader, property, content.type, content.format, content.bytes, given);
    }
    if (!connection.setProperty(reader, property, content.type, content.format, *content.bytes)) {
        return false;
    }
    given();
    return true;
}

std::vector<xcb_atom_t> SelectionOwner::savedTargets() const
{
    std::vector<xcb_atom_t> targets;
    if (owned) {
        for (const Content& each : owned->content) {
            targets.push_back(each.target);
        }
    }
    return targets;
}

} // namespace vorlin
