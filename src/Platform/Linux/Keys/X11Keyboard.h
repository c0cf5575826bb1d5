#pragma once

#include "Async/Published.h"
#include "Platform/Linux/Keys/PostedKeys.h"
#include "Platform/Linux/Keys/X11KeyboardDevices.h"
#include "Platform/Linux/X11/X11Connection.h"

#include <bitset>
#include <deque>
#include <memory>
#include <optional>

namespace vorlin {

/// A set of keys.
using KeySet = std::bitset<256>;

/// One key of the whole keyboard went down or up. No autorepeat.
struct KeyChange {
    HardwareKey key = 0;
    bool down = false;
    /// This process posted it.
    bool posted = false;
    /// The server's time stamp, ms; it wraps around.
    std::uint32_t time = 0;
    /// Event flags of the modifier keys that the person holds after the change.
    std::uint64_t flags = 0;
};

/// The keyboard of an X11 desktop: what the person holds down, and keys posted on the person's
/// behalf, which are told apart. Watches through raw events on a connection that holds no grab
/// (the server keeps some from one that does). Shared by what taps and what posts. Main loop.
class X11Keyboard {
public:
    X11Keyboard();
    X11Keyboard(const X11Keyboard&) = delete;
    X11Keyboard& operator=(const X11Keyboard&) = delete;

    /// Whether keys can be watched and posted: the server is there with XInput 2.2 and XTEST.
    /// Turns false when the server goes, for good.
    const Published<bool, X11Keyboard>& available() const { return canBeUsed; }

    X11Connection& server() { return connection; }
    const X11KeyboardDevices& devices() const { return keyboard; }

    struct Watcher {
        /// There are changes to take. From the loop only.
        std::function<void()> changed;
        /// The layout, the device or the window manager may be another one. From the loop only.
        std::function<void()> replaced;
    };

    /// Collects changes for `watcher` from now on, for as long as the result is kept or until
    /// another one watches: there is one at a time.
    [[nodiscard]] std::shared_ptr<const void> watch(Watcher watcher);

    /// Takes in what the server has reported.
    void read();

    /// As `read`, including everything the server did until this call. False when it is gone.
    bool sync();

    /// The oldest change not yet taken; only while watched.
    const KeyChange* nextChange() const { return changes.empty() ? nullptr : &changes.front(); }
    void dropChange() { changes.pop_front(); }

    /// The keys that the person holds, as of the last reading.
    const KeySet& held() const { return heldKeys; }

    /// The keys that are down as programs see it; includes posted ones.
    KeySet pressed();

    struct LockState {
        unsigned group = 0;
        XModifiers latched = 0;
        XModifiers locked = 0;
    };
    LockState lockState();

    /// Drops every latched modifier, and locks exactly `locked` of `affected`.
    void setLocks(XModifiers affected, XModifiers locked);

    /// Posts a key event; sent with the next `server().flush()`, all in one piece.
    void post(HardwareKey key, bool down);

    /// Posts a press and release that mean nothing: after it, a lone Alt or Super key let go is
    /// no command to a program.
    void postSilentKey();

    /// Makes programs see a key released that the person holds.
    void lift(HardwareKey key);

    /// Undoes `lift` if the person still holds the key, as of the last reading; says so. When
    /// the person lets go, so do programs.
    bool putBack(HardwareKey key);

    /// What the keys do, as programs see the person's keys and posted ones.
    const X11Keymap& typedLayout();
    const X11Keymap& postedLayout();

private:
    bool initialize();
    void selectEvents();
    void watchManager();
    void lose();
    void handle(const xcb_generic_event_t& event);
    void handleRaw(const xcb_input_raw_key_press_event_t& event, bool down);
    void note(HardwareKey key, bool down, bool posted, std::uint32_t time);
    void findDevices();
    void releaseStaleKeys();
    void tellWatcher();

    X11Connection connection;
    Published<bool, X11Keyboard> canBeUsed{false};
    std::uint8_t inputOpcode = 0;
    std::uint8_t layoutEvent = 0;
    /// 0 where the server cannot tell of it.
    std::uint8_t managerEvent = 0;
    X11KeyboardDevices keyboard;
    PostedKeys ledger;
    KeySet heldKeys;
    /// Held keys that programs see released.
    KeySet lifted;
    /// Held keys that we pressed again; to be released again when the person lets go.
    KeySet pressedAgain;
    std::deque<KeyChange> changes;
    std::weak_ptr<const Watcher> watcher;
    bool wasReplaced = false;
    bool devicesChanged = false;
    std::uint32_t lastTime = 0;
    std::optional<X11Keymap> typed;
    std::optional<X11Keymap> posted;
};

} // namespace vorlin
