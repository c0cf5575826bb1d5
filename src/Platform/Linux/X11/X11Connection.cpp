#include "Platform/Linux/X11/X11Connection.h"

#include <cstdlib>
#include <utility>

#include <poll.h>
#include <xcb/xcbext.h>

namespace vorlin {

X11Connection::X11Connection(Callbacks callbacks) : callbacks(std::move(callbacks))
{
    int screenNumber = 0;
    connection = xcb_connect(nullptr, &screenNumber);
    if (xcb_connection_has_error(connection) != 0) {
        return;
    }
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (; screenNumber > 0 && screens.rem > 1; --screenNumber) {
        xcb_screen_next(&screens);
    }
    rootWindow = screens.data->root;
    alive = true;
    notifier = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(connection),
                                                 QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, &context,
                     [this] { readSocket(); });
}

X11Connection::~X11Connection()
{
    notifier.reset();
    xcb_disconnect(connection);
}

std::optional<xcb_query_extension_reply_t> X11Connection::extension(xcb_extension_t& which) const
{
    if (!alive) {
        return std::nullopt;
    }
    const auto* data = xcb_get_extension_data(connection, &which);
    if (data == nullptr || data->present == 0) {
        return std::nullopt;
    }
    return *data;
}

void X11Connection::readSocket()
{
    while (auto* event = xcb_poll_for_event(connection)) {
        events.emplace_back(event);
    }
    noteLoss();
    if (!events.empty()) {
        callbacks.readable();
    }
}

void X11Connection::collectEvents()
{
    while (auto* event = xcb_poll_for_queued_event(connection)) {
        events.emplace_back(event);
    }
    noteLoss();
    if (!events.empty()) {
        scheduleReadable();
    }
}

XcbPointer<xcb_generic_event_t> X11Connection::nextEvent()
{
    if (events.empty()) {
        if (auto* event = alive ? xcb_poll_for_event(connection) : nullptr) {
            return XcbPointer<xcb_generic_event_t>(event);
        }
        noteLoss();
        return nullptr;
    }
    auto event = std::move(events.front());
    events.pop_front();
    return event;
}

void X11Connection::flush()
{
    xcb_flush(connection);
    // Sending may read as well, and the socket will then not announce what was read.
    collectEvents();
}

void X11Connection::flushSoon()
{
    if (!std::exchange(flushScheduled, true)) {
        QMetaObject::invokeMethod(
            &context,
            [this] {
                flushScheduled = false;
                flush();
            },
            Qt::QueuedConnection);
    }
}

void* X11Connection::awaitReply(unsigned int sequence, std::chrono::milliseconds limit)
{
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + limit;
    xcb_flush(connection);
    void* reply = nullptr;
    xcb_generic_error_t* error = nullptr;
    while (xcb_poll_for_reply(connection, sequence, &reply, &error) == 0) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) {
            xcb_discard_reply(connection, sequence);
            break;
        }
        pollfd waiting{xcb_get_file_descriptor(connection), POLLIN, 0};
        poll(&waiting, 1, static_cast<int>(left.count()));
    }
    std::free(error);
    collectEvents();
    return reply;
}

bool X11Connection::sync()
{
    return reply<xcb_get_input_focus_reply_t>(xcb_get_input_focus(connection)) != nullptr;
}

void X11Connection::scheduleReadable()
{
    if (!std::exchange(readableScheduled, true)) {
        QMetaObject::invokeMethod(
            &context,
            [this] {
                readableScheduled = false;
                if (!events.empty()) {
                    callbacks.readable();
                }
            },
            Qt::QueuedConnection);
    }
}

void X11Connection::noteLoss()
{
    if (!alive || xcb_connection_has_error(connection) == 0) {
        return;
    }
    alive = false;
    notifier->setEnabled(false);
    QMetaObject::invokeMethod(
        &context, [this] { callbacks.lost(); }, Qt::QueuedConnection);
}

} // namespace vorlin
