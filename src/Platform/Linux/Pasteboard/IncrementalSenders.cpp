#include "Platform/Linux/Pasteboard/IncrementalSenders.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace vorlin {

using namespace std::chrono_literals;

namespace {

constexpr auto patience = 10s;
/// So many readers at once are none of good faith; the one that has waited longest goes.
constexpr std::size_t mostTransfers = 64;

} // namespace

IncrementalSenders::IncrementalSenders(const SelectionConnection& connection)
    : connection(connection), incremental(connection.atom("INCR"))
{
}

bool IncrementalSenders::start(xcb_window_t reader, xcb_atom_t property, xcb_atom_t type,
                               std::uint8_t format, SharedBytes data, std::function<void()> given)
{
    // A reader that asks again for the same property has given up the transfer before.
    const auto same = std::find_if(transfers.begin(), transfers.end(), [&](const Transfer& each) {
        return each.reader == reader && each.property == property;
    });
    if (same != transfers.end()) {
        forget(same);
    }
    if (transfers.size() >= mostTransfers) {
        forget(std::min_element(transfers.begin(), transfers.end(),
                                [](const Transfer& one, const Transfer& other) {
                                    return one.patientUntil < other.patientUntil;
                                }));
    }
    watch(reader, true);
    const auto size = static_cast<std::uint32_t>(data->size());
    std::vector<std::uint8_t> announcement(sizeof(size));
    std::memcpy(announcement.data(), &size, sizeof(size));
    if (!connection.setProperty(reader, property, incremental, 32, announcement)) {
        return false;
    }
    transfers.push_back({reader, property, type, format, std::move(data), std::move(given), 0,
                         false, std::chrono::steady_clock::now() + patience});
    return true;
}

void IncrementalSenders::propertyTaken(xcb_window_t reader, xcb_atom_t property)
{
    const auto transfer =
        std::find_if(transfers.begin(), transfers.end(), [&](const Transfer& each) {
            return each.reader == reader && each.property == property;
        });
    if (transfer == transfers.end()) {
        return;
    }
    if (transfer->endSent) {
        const auto given = std::move(transfer->given);
        forget(transfer);
        given();
        return;
    }
    const auto rest = std::span(*transfer->data).subspan(transfer->sent);
    const auto piece = rest.first(std::min(rest.size(), connection.largestPiece() & ~3UL));
    if (!connection.setProperty(reader, property, transfer->type, transfer->format, piece)) {
        forget(transfer);
        return;
    }
    transfer->sent += piece.size();
    transfer->endSent = piece.empty();
    transfer->patientUntil = std::chrono::steady_clock::now() + patience;
}

void IncrementalSenders::windowGone(xcb_window_t reader)
{
    std::erase_if(transfers, [&](const Transfer& each) { return each.reader == reader; });
}

void IncrementalSenders::advance(Deadline now)
{
    for (auto each = transfers.begin(); each != transfers.end();) {
        each = each->patientUntil <= now ? forget(each) : std::next(each);
    }
}

std::optional<Deadline> IncrementalSenders::nextDeadline() const
{
    std::optional<Deadline> next;
    for (const Transfer& each : transfers) {
        next = std::min(next.value_or(each.patientUntil), each.patientUntil);
    }
    return next;
}

void IncrementalSenders::watch(xcb_window_t reader, bool on) const
{
    const std::uint32_t events =
        on ? XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY
           : XCB_EVENT_MASK_NO_EVENT;
    xcb_change_window_attributes(connection.get(), reader, XCB_CW_EVENT_MASK, &events);
}

IncrementalSenders::Transfers::iterator IncrementalSenders::forget(Transfers::iterator transfer)
{
    const xcb_window_t reader = transfer->reader;
    const auto next = transfers.erase(transfer);
    const bool others = std::any_of(transfers.begin(), transfers.end(),
                                    [&](const Transfer& each) { return each.reader == reader; });
    if (!others) {
        watch(reader, false);
    }
    return next;
}

} // namespace vorlin
