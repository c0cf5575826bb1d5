#include "Platform/Linux/Keys/ClassicGrabs.h"

#include <xcb/xproto.h>

namespace vorlin {

bool isGrabbedClassically(X11Connection& server, HardwareKey key, XModifiers state)
{
    if (!server.isAlive()) {
        return false;
    }
    // While the server is ours nobody else can want the key that we have for a moment.
    xcb_grab_server(server.get());
    const auto asked =
        xcb_grab_key_checked(server.get(), 0, server.root(), static_cast<std::uint16_t>(state), key,
                             XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    xcb_ungrab_key(server.get(), key, server.root(), static_cast<std::uint16_t>(state));
    xcb_ungrab_server(server.get());
    if (!server.sync()) {
        xcb_discard_reply(server.get(), asked.sequence);
        return false;
    }
    const XcbPointer<xcb_generic_error_t> refusal(xcb_request_check(server.get(), asked));
    server.collectEvents();
    return refusal && refusal->error_code == XCB_ACCESS;
}

} // namespace vorlin
