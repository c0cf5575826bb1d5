#include "Platform/Linux/Workspace/X11WindowRaiser.h"

namespace vorlin {

namespace {

/// As a window manager takes the wish of a panel, which is a person's: an ordinary program's may
/// be refused.
constexpr std::uint32_t forThePerson = 2;
constexpr std::uint32_t allWorkspaces = 0xFFFFFFFF;

} // namespace

void X11WindowRaiser::raise(xcb_window_t window)
{
    if (!server.isAlive()) {
        return;
    }
    if (!cardinal(server.root(), "_NET_SUPPORTING_WM_CHECK", XCB_ATOM_WINDOW)) {
        const std::uint32_t above = XCB_STACK_MODE_ABOVE;
        xcb_configure_window(server.get(), window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
        xcb_set_input_focus(server.get(), XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
        server.flush();
        return;
    }
    const auto seen = cardinal(server.root(), "_NET_CURRENT_DESKTOP");
    const auto its = cardinal(window, "_NET_WM_DESKTOP");
    if (seen && its && *its != *seen && *its != allWorkspaces) {
        tellManager(window, "_NET_WM_DESKTOP", {*seen, forThePerson});
    }
    tellManager(window, "_NET_ACTIVE_WINDOW", {forThePerson, time()});
    server.flush();
}

std::optional<std::uint32_t> X11WindowRaiser::cardinal(xcb_window_t window, const char* name,
                                                       xcb_atom_t type)
{
    const auto reply = server.reply<xcb_get_property_reply_t>(
        xcb_get_property(server.get(), 0, window, atoms[name], type, 0, 1));
    if (!reply || xcb_get_property_value_length(reply.get()) != sizeof(std::uint32_t)) {
        return std::nullopt;
    }
    return *static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
}

/// The server's time, which a change of a property tells.
xcb_timestamp_t X11WindowRaiser::time()
{
    const auto window = xcb_generate_id(server.get());
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(server.get(), 0, window, server.root(), 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK,
                      &events);
    xcb_change_property(server.get(), XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME,
                        XCB_ATOM_STRING, 8, 0, nullptr);
    xcb_destroy_window(server.get(), window);
    server.sync();
    xcb_timestamp_t result = XCB_CURRENT_TIME;
    while (const auto event = server.nextEvent()) {
        if ((event->response_type & 0x7FU) == XCB_PROPERTY_NOTIFY) {
            result = reinterpret_cast<const xcb_property_notify_event_t&>(*event).time;
        }
    }
    return result;
}

void X11WindowRaiser::tellManager(xcb_window_t window, const char* what,
                                  const std::array<std::uint32_t, 2>& values)
{
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = atoms[what];
    message.data.data32[0] = values[0];
    message.data.data32[1] = values[1];
    xcb_send_event(server.get(), 0, server.root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&message));
}

void X11WindowRaiser::drop()
{
    while (server.nextEvent()) {
    }
}

} // namespace vorlin
