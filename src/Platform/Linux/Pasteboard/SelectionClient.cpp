#include "Platform/Linux/Pasteboard/SelectionClient.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace vorlin {

namespace {

/// So many events are handled before the clock and the commands get their turn.
constexpr int eventsAtOnce = 64;

Deadline timeNow()
{
    return std::chrono::steady_clock::now();
}

/// Events of all kinds come in the same memory.
template <class Event>
const Event& as(const xcb_generic_event_t& event)
{
    return reinterpret_cast<const Event&>(event);
}

} // namespace

SelectionClient::SelectionClient(const std::string& display, PasteboardStatus& status)
    : connection(display), status(status)
{
    if (connection.alive()) {
        start();
        started = true;
    }
}

void SelectionClient::start()
{
    window = connection.createWindow();
    selections = {connection.atom("CLIPBOARD"), XCB_ATOM_PRIMARY};
    managerSelection = connection.atom("CLIPBOARD_MANAGER");
    requestors.emplace(connection);
    readers.emplace(connection);
    senders.emplace(connection);
    for (std::size_t i = 0; i < selectionCount; ++i) {
        owners[i] = std::make_unique<SelectionOwner>(connection, window, selections[i], i, status,
                                                     *readers, *senders);
        xcb_xfixes_select_selection_input(
            connection.get(), window, selections[i],
            XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
        status.changed(i); // whatever happened before nobody saw
    }
    xcb_flush(connection.get());
}

std::size_t SelectionClient::indexOf(xcb_atom_t selection) const
{
    return static_cast<std::size_t>(std::find(selections.begin(), selections.end(), selection) -
                                    selections.begin());
}

void SelectionClient::read(std::size_t selection, std::shared_ptr<SnapshotCollector> collector,
                           const Completer<PasteboardSnapshot>& waiter, std::size_t mostBytes,
                           Deadline deadline)
{
    if (!alive()) {
        collector->finish();
        return;
    }
    handleEvents(); // who owns it
    if (const Offering* own = owners[selection]->contents()) {
        for (auto& item : snapshotOf(*own)) {
            for (auto& [type, bytes] : item) {
                collector->add(type, std::move(bytes));
            }
        }
        collector->finish();
        return;
    }
    auto& job = jobs[selection];
    if (job && !job->finished()) {
        job->snapshot().addWaiter(waiter);
        return;
    }
    const XcbPointer<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
        connection.get(), xcb_get_selection_owner(connection.get(), selections[selection]),
        nullptr));
    if (!owner || owner->owner == XCB_NONE) {
        collector->finish();
        return;
    }
    job = std::make_unique<SnapshotJob>(connection, *requestors, selections[selection],
                                        std::move(collector), mostBytes, deadline);
}

void SelectionClient::write(std::size_t selection, Offering contents, std::uint64_t number,
                            Displace displace)
{
    if (!alive()) {
        status.became(selection, number, PasteboardUse::untracked);
        return;
    }
    handleEvents(); // requests made so far are for what was offered so far
    owners[selection]->write(std::move(contents), number, displace);
    settle();
}

void SelectionClient::settle()
{
    while (
        const XcbPointer<xcb_generic_event_t> event{xcb_poll_for_queued_event(connection.get())}) {
        handle(*event);
    }
}

void SelectionClient::beginHandover()
{
    if (!alive()) {
        return;
    }
    const Offering* own = owners[selectionIndex(PasteSource::clipboard)]->contents();
    const XcbPointer<xcb_get_selection_owner_reply_t> manager(xcb_get_selection_owner_reply(
        connection.get(), xcb_get_selection_owner(connection.get(), managerSelection), nullptr));
    if (own == nullptr || own->secret() || !manager || manager->owner == XCB_NONE) {
        return;
    }
    const auto targets = owners[selectionIndex(PasteSource::clipboard)]->savedTargets();
    std::vector<std::uint8_t> bytes(targets.size() * sizeof(xcb_atom_t));
    std::memcpy(bytes.data(), targets.data(), bytes.size());
    const xcb_atom_t property = connection.atom("VORLIN_SAVED_TARGETS");
    handingOver = connection.setProperty(window, property, XCB_ATOM_ATOM, 32, bytes);
    xcb_convert_selection(connection.get(), window, managerSelection,
                          connection.atom("SAVE_TARGETS"), property, XCB_CURRENT_TIME);
}

bool SelectionClient::handoverEnded() const
{
    return !handingOver || !alive() ||
           owners[selectionIndex(PasteSource::clipboard)]->contents() == nullptr;
}

bool SelectionClient::handleEvents()
{
    for (int i = 0; i < eventsAtOnce; ++i) {
        // Flushing may read; so nothing is done between looking for events and waiting for them.
        xcb_flush(connection.get());
        const XcbPointer<xcb_generic_event_t> event(xcb_poll_for_event(connection.get()));
        if (!event) {
            return false;
        }
        handle(*event);
    }
    return true;
}

void SelectionClient::handle(const xcb_generic_event_t& event)
{
    const auto type = static_cast<std::uint8_t>(event.response_type & 0x7fU); // sent or not
    if (type == connection.firstFixesEvent() + XCB_XFIXES_SELECTION_NOTIFY) {
        ownerChanged(as<xcb_xfixes_selection_notify_event_t>(event), event.full_sequence);
    } else if (type == XCB_SELECTION_NOTIFY) {
        answered(as<xcb_selection_notify_event_t>(event));
    } else if (type == XCB_PROPERTY_NOTIFY) {
        propertyChanged(as<xcb_property_notify_event_t>(event));
    } else if (type == XCB_DESTROY_NOTIFY) {
        senders->windowGone(as<xcb_destroy_notify_event_t>(event).window);
    } else if (type == XCB_SELECTION_REQUEST) {
        const auto& request = as<xcb_selection_request_event_t>(event);
        if (const std::size_t index = indexOf(request.selection); index < selectionCount) {
            owners[index]->answer(request);
        }
    }
}

void SelectionClient::ownerChanged(const xcb_xfixes_selection_notify_event_t& event,
                                   std::uint32_t sequence)
{
    const std::size_t index = indexOf(event.selection);
    if (index >= selectionCount) {
        return;
    }
    owners[index]->ownerChanged(event, sequence);
    if (event.owner == XCB_NONE || event.owner == window) {
        jobs[index].reset(); // what has been read is what there was
    } else if (jobs[index] && !jobs[index]->finished()) {
        jobs[index]->startAnew(timeNow());
    }
}

void SelectionClient::answered(const xcb_selection_notify_event_t& event)
{
    if (event.selection == managerSelection) {
        handingOver = false;
        return;
    }
    const Deadline now = timeNow();
    const bool known = std::any_of(jobs.begin(), jobs.end(), [&](const auto& job) {
        return job && job->answered(event, now);
    });
    if (!known) {
        requestors->arrivedOnAbandoned(event.requestor, now);
    }
}

void SelectionClient::propertyChanged(const xcb_property_notify_event_t& event)
{
    if (event.state == XCB_PROPERTY_DELETE) {
        senders->propertyTaken(event.window, event.atom);
        return;
    }
    if (event.atom != requestors->property()) {
        return;
    }
    const Deadline now = timeNow();
    const bool known = std::any_of(jobs.begin(), jobs.end(), [&](const auto& job) {
        return job && job->arrived(event.window, now);
    });
    if (!known) {
        requestors->arrivedOnAbandoned(event.window, now);
    }
}

void SelectionClient::advance(Deadline now)
{
    for (auto& job : jobs) {
        if (job && alive()) {
            job->advance(now);
        }
        if (job && (job->finished() || !alive())) {
            job.reset();
        }
    }
    if (alive()) {
        senders->advance(now);
        requestors->advance(now);
    }
}

std::optional<Deadline> SelectionClient::nextDeadline(Deadline now) const
{
    if (!alive()) {
        return std::nullopt;
    }
    auto next = requestors->nextDeadline();
    const auto sooner = [&](Deadline other) { next = std::min(next.value_or(other), other); };
    if (const auto sending = senders->nextDeadline()) {
        sooner(*sending);
    }
    for (const auto& job : jobs) {
        if (job) {
            sooner(job->nextDeadline(now));
        }
    }
    return next;
}

} // namespace vorlin
