#pragma once

#include "Platform/Linux/Keys/X11Keymap.h"
#include "Platform/Linux/X11/X11Connection.h"

#include <optional>

#include <xcb/xinput.h>

namespace vorlin {

/// The input devices that make up the keyboard we work with.
struct X11KeyboardDevices {
    /// What programs take their keys from: all real keyboards together.
    xcb_input_device_id_t master = 0;
    /// The server's own device behind the keys that programs post.
    xcb_input_device_id_t posting = 0;

    bool operator==(const X11KeyboardDevices&) const = default;
};

/// The keyboard that this connection's requests are about; nothing when the server does not say.
/// Needs an announced XInput2 version.
std::optional<X11KeyboardDevices> findKeyboardDevices(X11Connection& connection);

/// The present layout of a device; an empty one when the server does not tell. Takes some
/// milliseconds.
X11Keymap readKeymap(X11Connection& connection, xcb_input_device_id_t device);

} // namespace vorlin
