#include "Platform/Linux/Keys/X11KeyGrabs.h"

#include <numeric>
#include <utility>

namespace vorlin {

namespace {

constexpr std::uint32_t keyEvents =
    XCB_INPUT_XI_EVENT_MASK_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_KEY_RELEASE;

std::vector<XModifiers> everyState()
{
    std::vector<XModifiers> states(256);
    std::iota(states.begin(), states.end(), XModifiers{0});
    return states;
}

} // namespace

X11KeyGrabs::X11KeyGrabs(X11Connection::Callbacks callbacks, xcb_input_device_id_t keyboard)
    : connection(std::move(callbacks)), keyboard(keyboard)
{
    const auto input = connection.extension(xcb_input_id);
    if (!input) {
        return;
    }
    inputOpcode = input->major_opcode;
    isReady = connection.reply<xcb_input_xi_query_version_reply_t>(
                  xcb_input_xi_query_version(connection.get(), 2, 2)) != nullptr;
}

void X11KeyGrabs::setKeyboard(xcb_input_device_id_t next)
{
    if (next == keyboard) {
        return;
    }
    const auto wanted = granted;
    want({});
    keyboard = next;
    want(wanted);
}

void X11KeyGrabs::want(const Wanted& next)
{
    if (!connection.isAlive()) {
        return;
    }
    for (const auto& [key, states] : granted) {
        const auto found = next.find(key);
        if (found == next.end() || found->second != states) {
            ungrab(key);
        }
    }
    for (const auto& [key, states] : next) {
        const auto found = granted.find(key);
        if (found == granted.end() || found->second != states) {
            grab(key, states);
        }
    }
    granted = next;
    connection.sync();
}

void X11KeyGrabs::retake()
{
    for (const auto& [key, states] : granted) {
        refusedKeys.erase(key);
        grab(key, states); // takes the place of the one we have
    }
}

void X11KeyGrabs::ungrab(HardwareKey key)
{
    const auto every = anyState;
    xcb_input_xi_passive_ungrab_device(connection.get(), connection.root(), key, keyboard, 1,
                                       XCB_INPUT_GRAB_TYPE_KEYCODE, &every);
    refusedKeys.erase(key);
}

void X11KeyGrabs::grab(HardwareKey key, const std::vector<XModifiers>& states)
{
    auto taken = request(key, states);
    if (!taken.empty() && states.front() == anyState) {
        // The server refuses any state as a whole where somebody has one of them.
        taken = request(key, everyState());
        std::erase_if(taken, [](XModifiers state) { return state != 0; });
    }
    if (!taken.empty() || states.empty()) {
        refusedKeys.insert(key);
    }
}

/// Asks for a key and says in which of the states it cannot be had.
std::vector<XModifiers> X11KeyGrabs::request(HardwareKey key, const std::vector<XModifiers>& states)
{
    const auto reply =
        connection.reply<xcb_input_xi_passive_grab_device_reply_t>(xcb_input_xi_passive_grab_device(
            connection.get(), XCB_CURRENT_TIME, connection.root(), XCB_NONE, key, keyboard,
            static_cast<std::uint16_t>(states.size()), 1, XCB_INPUT_GRAB_TYPE_KEYCODE,
            XCB_INPUT_GRAB_MODE_22_SYNC, XCB_INPUT_GRAB_MODE_22_ASYNC,
            XCB_INPUT_GRAB_OWNER_NO_OWNER, &keyEvents, states.data()));
    if (!reply) {
        return states;
    }
    std::vector<XModifiers> taken;
    auto each = xcb_input_xi_passive_grab_device_modifiers_iterator(reply.get());
    for (; each.rem > 0; xcb_input_grab_modifier_info_next(&each)) {
        taken.push_back(each.data->modifiers);
    }
    return taken;
}

void X11KeyGrabs::read()
{
    while (const auto event = connection.nextEvent()) {
        const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(*event);
        if ((event->response_type & 0x7FU) != XCB_GE_GENERIC || generic.extension != inputOpcode ||
            (generic.event_type != XCB_INPUT_KEY_PRESS &&
             generic.event_type != XCB_INPUT_KEY_RELEASE)) {
            continue;
        }
        const auto& key = reinterpret_cast<const xcb_input_key_press_event_t&>(*event);
        arrived.push_back({static_cast<HardwareKey>(key.detail),
                           generic.event_type == XCB_INPUT_KEY_PRESS,
                           (key.flags & XCB_INPUT_KEY_EVENT_FLAGS_KEY_REPEAT) != 0,
                           key.mods.effective, key.time});
    }
}

const X11KeyGrabs::Grabbed* X11KeyGrabs::front()
{
    read();
    while (!arrived.empty() && !arrived.front().down && arrived.front().key == activating) {
        activating = 0;
        arrived.pop_front();
    }
    return arrived.empty() ? nullptr : &arrived.front();
}

const X11KeyGrabs::Grabbed* X11KeyGrabs::frontAfterSync()
{
    connection.sync();
    return front();
}

void X11KeyGrabs::answer(std::uint8_t mode)
{
    arrived.pop_front();
    xcb_input_xi_allow_events(connection.get(), XCB_CURRENT_TIME, keyboard, mode, 0, XCB_NONE);
    connection.flush();
}

void X11KeyGrabs::swallow()
{
    if (activating == 0) {
        activating = arrived.front().key;
    }
    // Not thawed for good: what waits is meant for programs.
    answer(XCB_INPUT_EVENT_MODE_SYNC_DEVICE);
}

void X11KeyGrabs::pass()
{
    activating = 0;
    answer(XCB_INPUT_EVENT_MODE_REPLAY_DEVICE);
}

void X11KeyGrabs::end()
{
    want({});
    if (frontAfterSync() != nullptr) {
        pass();
    }
    xcb_input_xi_ungrab_device(connection.get(), XCB_CURRENT_TIME, keyboard);
    connection.sync();
}

} // namespace vorlin
