#pragma once

#include "Platform/Linux/Keys/HardwareKeys.h"

#include <bitset>
#include <cstdint>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <xcb/xcb.h>

namespace vorlin {

/// X key codes that tests press.
namespace keys {
inline constexpr HardwareKey escape = 9, q = 24, e = 26, y = 29, a = 38, f = 41, insert = 118,
                             leftControl = 37, leftShift = 50, f4 = 70, z = 52, x = 53, v = 55,
                             b = 56, rightShift = 62, leftAlt = 64, space = 65, capsLock = 66,
                             f8 = 74, numLock = 77, rightControl = 105, rightAlt = 108,
                             leftSuper = 133, rightSuper = 134, silent = 248;
} // namespace keys

/// A key event as a program sees it.
struct SeenKey {
    HardwareKey key = 0;
    bool down = false;
    /// The modifiers before the event, as X modifier bits.
    unsigned state = 0;

    bool operator==(const SeenKey&) const = default;
};

inline SeenKey down(HardwareKey key, unsigned state = 0)
{
    return {key, true, state};
}

inline SeenKey up(HardwareKey key, unsigned state = 0)
{
    return {key, false, state};
}

std::ostream& operator<<(std::ostream& out, const SeenKey& seen);

/// Another client of the display server.
class TestClient {
public:
    TestClient();
    TestClient(const TestClient&) = delete;
    TestClient& operator=(const TestClient&) = delete;
    ~TestClient();

    xcb_connection_t* get() const { return connection; }
    xcb_window_t root() const { return rootWindow; }

    /// Waits until the server has done everything requested.
    void sync();

    /// Types through XTEST.
    void press(HardwareKey key);
    void release(HardwareKey key);
    void tap(HardwareKey key);

    /// Types without waiting for anything.
    void typeAtOnce(const std::vector<std::pair<HardwareKey, bool>>& strokes);

    /// Makes `press` and `release` come from the server's hardware keyboard, a device other than
    /// the one behind posted keys.
    void useHardwareKeyboard();

    /// The keys that are down, as programs see it.
    std::bitset<256> pressed();

    /// The effective modifiers, as X modifier bits.
    unsigned modifiers();

    /// Lets a modifier that is pressed and released count for the next key (Sticky Keys).
    void useStickyKeys();

    /// Whether nobody else has a grab on the key with these modifiers; takes none.
    bool couldGrabKey(HardwareKey key, std::uint32_t modifiers);
    /// Takes such a grab.
    bool grabKey(HardwareKey key, std::uint32_t modifiers);
    /// As `couldGrabKey`, for a grab as window managers take it.
    bool couldGrabCoreKey(HardwareKey key, std::uint16_t modifiers);
    /// Takes such a grab, also where it has it already.
    bool grabCoreKey(HardwareKey key, std::uint16_t modifiers);
    /// Takes the place of a screen's window manager, and does nothing there.
    void becomeManager();
    /// How many key presses such grabs have brought.
    int grabbedPresses();

    /// Whether nobody else has the keyboard to itself; takes nothing.
    bool couldGrabKeyboard();
    bool grabKeyboard();
    void ungrabKeyboard();

private:
    void fake(HardwareKey key, bool down);

    xcb_connection_t* connection;
    xcb_window_t rootWindow;
    std::uint16_t keyboard = 0;
    std::uint16_t hardware = 0;
    std::uint8_t firstDeviceEvent = 0;
    bool usesHardware = false;
    int presses = 0;
};

/// A program's window, which has the focus and notes the keys it sees.
class TestWindow {
public:
    /// WM_CLASS is set where a name is given.
    explicit TestWindow(const std::string& instanceName = {}, const std::string& className = {});

    xcb_window_t id() const { return window; }
    TestClient& client() { return program; }
    void setClass(const std::string& instanceName, const std::string& className);
    /// A window inside it.
    xcb_window_t addChild();
    void focus(xcb_window_t which);
    bool hasFocus();
    /// Whether a window manager has put a frame around it.
    bool isManaged();
    void unmap();
    /// Notes from now on when the window gets or loses the focus.
    void watchFocus();
    /// Whether it got the focus, for each time since then that it got or lost it.
    std::vector<bool> focusSeen();

    /// What was seen so far.
    const std::vector<SeenKey>& seen();

    /// What was seen, without `seen`'s entries for later calls, once a key of `marker` was typed
    /// by `typist` and has arrived: nothing typed before it can still be on its way.
    std::vector<SeenKey> takeSeen(TestClient& typist, HardwareKey marker = keys::z);

private:
    void read();

    TestClient program;
    xcb_window_t window;
    std::vector<SeenKey> keysSeen;
    std::vector<bool> focusChanges;
};

} // namespace vorlin
