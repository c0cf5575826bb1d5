#pragma once

#include "Platform/Linux/Keys/X11Keymap.h"
#include "Platform/Linux/X11/X11Connection.h"

#include <cstdint>
#include <deque>
#include <map>
#include <set>
#include <vector>

#include <xcb/xinput.h>

namespace vorlin {

/// Keys that the display server brings to us before any program, on a connection of its own.
///
/// The server stops the keyboard with each key it brings, and with each that follows until the
/// brought one is up: what is typed meanwhile waits, in order. Each `Grabbed` must therefore be
/// answered at once, with `swallow` or `pass`. Destroying the object ends every grab. Main loop.
class X11KeyGrabs {
public:
    struct Grabbed {
        HardwareKey key = 0;
        bool down = false;
        bool autorepeat = false;
        /// Those in effect, held, latched or locked.
        XModifiers modifiers = 0;
        /// The server's time stamp, ms; it wraps around.
        std::uint32_t time = 0;
    };
    /// By key: the exact modifier states wanted, or `anyState` alone.
    using Wanted = std::map<HardwareKey, std::vector<XModifiers>>;
    static constexpr XModifiers anyState = XCB_INPUT_MODIFIER_MASK_ANY;

    /// `callbacks` as for `X11Connection`; `keyboard` is the master keyboard.
    X11KeyGrabs(X11Connection::Callbacks callbacks, xcb_input_device_id_t keyboard);
    X11KeyGrabs(const X11KeyGrabs&) = delete;
    X11KeyGrabs& operator=(const X11KeyGrabs&) = delete;

    bool isAlive() const { return isReady && connection.isAlive(); }

    /// Whose keys are brought from now on.
    void setKeyboard(xcb_input_device_id_t next);

    /// Asks for exactly these keys; in force when it returns. A key is not brought in the states
    /// for which another program has asked already.
    void want(const Wanted& next);

    /// Asks once more for what was asked for last: of grabs in the classic way, which are refused
    /// to nobody for ours, and of ours the server looks at the latest first.
    void retake();

    bool wants(HardwareKey key) const { return granted.contains(key); }

    /// The keys of which another program has at least one of the wanted states, or, where any
    /// state is wanted, the one without modifiers; and those wanted in no state at all.
    const std::set<HardwareKey>& refused() const { return refusedKeys; }

    /// The oldest key not yet answered, of those that have arrived.
    const Grabbed* front();

    /// The same, of those that the server brought until this call.
    const Grabbed* frontAfterSync();

    /// Answers the front: no program sees it. A release of its key must be on its way already,
    /// for until it comes, later keys are brought too.
    void swallow();

    /// Answers the front: it goes on to the program it is meant for, as do later ones.
    void pass();

    /// Asks for nothing more, and passes on what is not answered.
    void end();

private:
    void answer(std::uint8_t mode);
    void ungrab(HardwareKey key);
    void grab(HardwareKey key, const std::vector<XModifiers>& states);
    std::vector<XModifiers> request(HardwareKey key, const std::vector<XModifiers>& states);
    void read();

    X11Connection connection;
    bool isReady = false;
    std::uint8_t inputOpcode = 0;
    xcb_input_device_id_t keyboard;
    Wanted granted;
    std::set<HardwareKey> refusedKeys;
    std::deque<Grabbed> arrived;
    /// The brought key that is not up yet: its release ends the grab and is not waited on. 0 for
    /// none.
    HardwareKey activating = 0;
};

} // namespace vorlin
