#include "Platform/Linux/Pasteboard/XTestClient.h"

#include <algorithm>
#include <random>

#include <gtest/gtest.h>
#include <poll.h>

namespace vorlin {

Bytes noise(std::size_t size, std::uint32_t seed)
{
    std::mt19937 numbers(seed);
    Bytes bytes(size);
    std::generate(bytes.begin(), bytes.end(),
                  [&] { return static_cast<std::uint8_t>(numbers() & 0xffU); });
    return bytes;
}

XTestClient::XTestClient() : connection(xcb_connect(nullptr, nullptr))
{
    EXPECT_EQ(xcb_connection_has_error(connection), 0);
    root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    window = makeWindow();
    sync();
}

XTestClient::~XTestClient()
{
    xcb_disconnect(connection);
}

xcb_atom_t XTestClient::atom(const std::string& name) const
{
    const XcbPointer<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        connection,
        xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data()),
        nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

std::string XTestClient::name(xcb_atom_t atom) const
{
    const XcbPointer<xcb_get_atom_name_reply_t> reply(
        xcb_get_atom_name_reply(connection, xcb_get_atom_name(connection, atom), nullptr));
    if (!reply) {
        return {};
    }
    return {xcb_get_atom_name_name(reply.get()),
            static_cast<std::size_t>(xcb_get_atom_name_name_length(reply.get()))};
}

xcb_window_t XTestClient::makeWindow() const
{
    const xcb_window_t made = xcb_generate_id(connection);
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, made, root, 0, 0, 10, 10, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK,
                      &events);
    return made;
}

xcb_window_t XTestClient::owner(const std::string& selection) const
{
    const XcbPointer<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(
        connection, xcb_get_selection_owner(connection, atom(selection)), nullptr));
    return reply ? reply->owner : xcb_window_t{XCB_NONE};
}

xcb_timestamp_t XTestClient::serverTime() const
{
    XTestClient clock;
    const xcb_atom_t property = clock.atom("CLOCK");
    xcb_change_property(clock.connection, XCB_PROP_MODE_REPLACE, clock.window, property,
                        XCB_ATOM_STRING, 8, 0, nullptr);
    const XEvent event = clock.await(
        [](const auto& each) { return (each.response_type & 0x7f) == XCB_PROPERTY_NOTIFY; });
    return event ? reinterpret_cast<const xcb_property_notify_event_t&>(*event).time : 0;
}

void XTestClient::sync() const
{
    const XcbPointer<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
}

void XTestClient::takeFocus() const
{
    xcb_map_window(connection, window);
    sync();
    xcb_set_input_focus(connection, XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
    sync();
}

XEvent XTestClient::await(const std::function<bool(const xcb_generic_event_t&)>& wanted,
                          const std::function<bool()>& stopped)
{
    const auto end = std::chrono::steady_clock::now() + generously;
    const auto earlier =
        std::find_if(kept.begin(), kept.end(), [&](const XEvent& each) { return wanted(*each); });
    if (earlier != kept.end()) {
        XEvent event = std::move(*earlier);
        kept.erase(earlier);
        return event;
    }
    while (!stopped() && std::chrono::steady_clock::now() < end &&
           xcb_connection_has_error(connection) == 0) {
        xcb_flush(connection);
        while (XEvent event{xcb_poll_for_event(connection)}) {
            if (wanted(*event)) {
                return event;
            }
            kept.push_back(std::move(event));
        }
        pollfd source{xcb_get_file_descriptor(connection), POLLIN, 0};
        poll(&source, 1, 20);
    }
    return nullptr;
}

} // namespace vorlin
