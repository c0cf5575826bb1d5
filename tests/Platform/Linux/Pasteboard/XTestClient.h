#pragma once

#include "Platform/Linux/X11/XcbPointer.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <xcb/xcb.h>

namespace vorlin {

using Bytes = std::vector<std::uint8_t>;

/// Data as one program hands them to another: its property's type and format belong to it.
struct Typed {
    std::string type;
    std::uint8_t format = 8;
    Bytes bytes;

    bool operator==(const Typed&) const = default;
};

inline Bytes bytesOf(const std::string& text)
{
    return {text.begin(), text.end()};
}

inline std::string textOf(const Bytes& bytes)
{
    return {bytes.begin(), bytes.end()};
}

/// Bytes without a pattern that a mixed-up piece would fit.
Bytes noise(std::size_t size, std::uint32_t seed = 1);

/// No test waits longer for what must come.
inline constexpr std::chrono::seconds generously{20};

using XEvent = XcbPointer<xcb_generic_event_t>;

/// An X11 client of the test's own: another program, seen from the pasteboard.
class XTestClient {
public:
    XTestClient();
    XTestClient(const XTestClient&) = delete;
    XTestClient& operator=(const XTestClient&) = delete;
    ~XTestClient();

    xcb_atom_t atom(const std::string& name) const;
    std::string name(xcb_atom_t atom) const;
    xcb_window_t makeWindow() const;
    xcb_window_t owner(const std::string& selection) const;
    /// The server's clock.
    xcb_timestamp_t serverTime() const;
    /// Whatever has been sent has been handled by the server.
    void sync() const;
    /// Gives the keyboard focus to a window of this client's.
    void takeFocus() const;

    /// The next event for which `wanted` holds; others are kept for later. Null when `stopped`
    /// says so, or after `generously`.
    XEvent await(
        const std::function<bool(const xcb_generic_event_t&)>& wanted,
        const std::function<bool()>& stopped = [] { return false; });

    xcb_connection_t* const connection;
    xcb_window_t root;
    xcb_window_t window;

private:
    std::vector<XEvent> kept;
};

} // namespace vorlin
