#include "Platform/Linux/Keys/X11Keyboard.h"

#include "Hotkey.h"
#include "Platform/Linux/Keys/XkbProtocol.h"
#include "Platform/Linux/X11/X11Atoms.h"

#include <utility>

#include <xcb/xfixes.h>
#include <xcb/xtest.h>
#include <xkbcommon/xkbcommon-x11.h>

namespace vorlin {

namespace {

/// More than anybody types while the loop is busy; bounds what is kept if nobody takes it.
constexpr std::size_t mostChanges = 4096;

std::uint64_t flagsOf(const KeySet& held)
{
    std::uint64_t flags = 0;
    for (std::uint16_t code = 54; code <= 63; ++code) {
        const auto key = hardwareKey(code);
        if (key && held[*key]) {
            flags |= Hotkey::flag(code).value_or(0);
        }
    }
    return flags;
}

} // namespace

X11Keyboard::X11Keyboard()
    : connection({.readable =
                      [this] {
                          read();
                          tellWatcher();
                      },
                  .lost = [this] { lose(); }})
{
    canBeUsed.set(connection.isAlive() && initialize());
}

bool X11Keyboard::initialize()
{
    const auto input = connection.extension(xcb_input_id);
    if (!input || !connection.extension(xcb_test_id)) {
        return false;
    }
    inputOpcode = input->major_opcode;
    const auto version = connection.reply<xcb_input_xi_query_version_reply_t>(
        xcb_input_xi_query_version(connection.get(), 2, 2));
    constexpr std::pair<std::uint16_t, std::uint16_t> needed{2, 2};
    if (!version || std::pair(version->major_version, version->minor_version) < needed) {
        return false;
    }
    if (xkb_x11_setup_xkb_extension(
            connection.get(), XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
            XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, &layoutEvent, nullptr) == 0) {
        return false;
    }
    const auto found = findKeyboardDevices(connection);
    if (!found) {
        return false;
    }
    keyboard = *found;
    selectEvents();
    watchManager();
    heldKeys = pressed();
    return connection.isAlive();
}

void X11Keyboard::selectEvents()
{
    // Slaves as well as masters: the ledger needs the posting device's own reports.
    struct {
        xcb_input_event_mask_t header;
        std::uint32_t mask;
    } selection{{XCB_INPUT_DEVICE_ALL, 1},
                XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE |
                    XCB_INPUT_XI_EVENT_MASK_HIERARCHY};
    xcb_input_xi_select_events(connection.get(), connection.root(), 1, &selection.header);
    constexpr std::uint16_t layoutEvents =
        XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
    xcb_xkb_select_events(connection.get(), XCB_XKB_ID_USE_CORE_KBD, layoutEvents, 0, layoutEvents,
                          0, 0, nullptr);
    connection.flush();
}

/// Whoever becomes the window manager owns this selection, and takes keys soon after.
void X11Keyboard::watchManager()
{
    const auto fixes = connection.extension(xcb_xfixes_id);
    if (!fixes || !connection.reply<xcb_xfixes_query_version_reply_t>(
                      xcb_xfixes_query_version(connection.get(), 2, 0))) {
        return;
    }
    managerEvent = fixes->first_event + XCB_XFIXES_SELECTION_NOTIFY;
    xcb_xfixes_select_selection_input(connection.get(), connection.root(),
                                      X11Atoms(connection)["WM_S0"],
                                      XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER);
    connection.flush();
}

void X11Keyboard::lose()
{
    canBeUsed.set(false);
}

std::shared_ptr<const void> X11Keyboard::watch(Watcher next)
{
    changes.clear();
    const auto entry = std::make_shared<const Watcher>(std::move(next));
    watcher = entry;
    return entry;
}

void X11Keyboard::read()
{
    while (const auto event = connection.nextEvent()) {
        handle(*event);
    }
    if (std::exchange(devicesChanged, false)) {
        findDevices();
        releaseStaleKeys();
    }
}

bool X11Keyboard::sync()
{
    const bool alive = connection.sync();
    read();
    return alive;
}

void X11Keyboard::tellWatcher()
{
    const bool replaced = std::exchange(wasReplaced, false);
    if (const auto current = watcher.lock(); current && replaced) {
        current->replaced();
    }
    if (const auto current = watcher.lock(); current && !changes.empty()) {
        current->changed();
    }
}

void X11Keyboard::handle(const xcb_generic_event_t& event)
{
    const auto type = event.response_type & 0x7FU;
    if (type == layoutEvent) {
        typed.reset();
        posted.reset();
        wasReplaced = true;
        return;
    }
    if (managerEvent != 0 && type == managerEvent) {
        wasReplaced = true;
        return;
    }
    const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
    if (type != XCB_GE_GENERIC || generic.extension != inputOpcode) {
        return;
    }
    switch (generic.event_type) {
    case XCB_INPUT_RAW_KEY_PRESS:
    case XCB_INPUT_RAW_KEY_RELEASE:
        handleRaw(reinterpret_cast<const xcb_input_raw_key_press_event_t&>(event),
                  generic.event_type == XCB_INPUT_RAW_KEY_PRESS);
        break;
    case XCB_INPUT_HIERARCHY: devicesChanged = true; break;
    default: break;
    }
}

void X11Keyboard::handleRaw(const xcb_input_raw_key_press_event_t& event, bool down)
{
    if (event.detail >= heldKeys.size()) {
        return;
    }
    const auto key = static_cast<HardwareKey>(event.detail);
    if (event.deviceid == keyboard.posting) {
        ledger.emitted(event.full_sequence, key, down, event.time);
    } else if (event.deviceid == keyboard.master) {
        const bool ours = event.sourceid == keyboard.posting && ledger.take(key, down, event.time);
        note(key, down, ours, event.time);
    }
}

void X11Keyboard::note(HardwareKey key, bool down, bool ours, std::uint32_t time)
{
    lastTime = time;
    if (!ours) {
        heldKeys[key] = down;
        if (!down) {
            lifted[key] = false;
            if (pressedAgain[key]) {
                // Also where it was let go before our press arrived, and where the posting
                // device alone still holds it.
                pressedAgain[key] = false;
                post(key, false);
                connection.flushSoon();
            }
        }
    }
    if (!watcher.expired() && changes.size() < mostChanges) {
        changes.push_back({key, down, ours, time, flagsOf(heldKeys)});
    }
}

void X11Keyboard::findDevices()
{
    if (const auto found = findKeyboardDevices(connection); found && *found != keyboard) {
        keyboard = *found;
        typed.reset();
        posted.reset();
    }
    wasReplaced = true;
}

/// A keyboard that was unplugged or switched away does not always report its keys let go.
void X11Keyboard::releaseStaleKeys()
{
    const auto stale = heldKeys & ~pressed() & ~lifted;
    for (unsigned key = 0; stale.any() && key < stale.size(); ++key) {
        if (stale[key]) {
            note(static_cast<HardwareKey>(key), false, false, lastTime);
        }
    }
}

KeySet X11Keyboard::pressed()
{
    const auto map = connection.reply<xcb_query_keymap_reply_t>(xcb_query_keymap(connection.get()));
    KeySet result;
    for (unsigned key = 0; map && key < result.size(); ++key) {
        result[key] = ((unsigned{map->keys[key / 8]} >> (key % 8)) & 1U) != 0;
    }
    return map ? result : heldKeys & ~lifted;
}

X11Keyboard::LockState X11Keyboard::lockState()
{
    const auto state = connection.reply<xcb_xkb_get_state_reply_t>(
        xcb_xkb_get_state(connection.get(), XCB_XKB_ID_USE_CORE_KBD));
    if (!state) {
        return {};
    }
    return {state->group, state->latchedMods, state->lockedMods};
}

void X11Keyboard::setLocks(XModifiers affected, XModifiers locked)
{
    xcb_xkb_latch_lock_state(connection.get(), XCB_XKB_ID_USE_CORE_KBD,
                             static_cast<std::uint8_t>(affected), static_cast<std::uint8_t>(locked),
                             0, 0, 0xFF, 0, 0);
}

void X11Keyboard::post(HardwareKey key, bool down)
{
    if (!connection.isAlive()) {
        return;
    }
    const auto request =
        xcb_test_fake_input(connection.get(), down ? XCB_KEY_PRESS : XCB_KEY_RELEASE, key,
                            XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    ledger.posted(request.sequence, key, down);
}

void X11Keyboard::postSilentKey()
{
    const auto key = postedLayout().silentKey();
    post(key, true);
    post(key, false);
}

void X11Keyboard::lift(HardwareKey key)
{
    lifted[key] = heldKeys[key];
    pressedAgain[key] = false;
    post(key, false);
}

bool X11Keyboard::putBack(HardwareKey key)
{
    const bool isHeld = lifted[key]; // letting go takes it back
    lifted[key] = false;
    if (isHeld) {
        pressedAgain[key] = true;
        post(key, true);
    }
    return isHeld;
}

const X11Keymap& X11Keyboard::typedLayout()
{
    if (!typed) {
        typed = readKeymap(connection, keyboard.master);
    }
    return *typed;
}

const X11Keymap& X11Keyboard::postedLayout()
{
    if (!posted) {
        posted = readKeymap(connection, keyboard.posting);
    }
    return *posted;
}

} // namespace vorlin
