#include "Platform/Linux/Keys/TestClient.h"

#include "Platform/Linux/Keys/PrivateDisplay.h"
#include "Platform/Linux/Keys/XkbProtocol.h"
#include "Platform/Linux/X11/XcbPointer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>

#include <xcb/xinput.h>
#include <xcb/xtest.h>

namespace vorlin {

namespace {

template <class Reply>
XcbPointer<Reply> owned(Reply* reply)
{
    return XcbPointer<Reply>(reply);
}

} // namespace

std::ostream& operator<<(std::ostream& out, const SeenKey& seen)
{
    return out << (seen.down ? "down(" : "up(") << int{seen.key} << ", " << seen.state << ")";
}

TestClient::TestClient() : connection(xcb_connect(nullptr, nullptr))
{
    rootWindow = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    firstDeviceEvent = xcb_get_extension_data(connection, &xcb_input_id)->first_event;
    const auto version = owned(xcb_input_xi_query_version_reply(
        connection, xcb_input_xi_query_version(connection, 2, 2), nullptr));
    const auto devices = owned(xcb_input_xi_query_device_reply(
        connection, xcb_input_xi_query_device(connection, XCB_INPUT_DEVICE_ALL), nullptr));
    for (auto each = xcb_input_xi_query_device_infos_iterator(devices.get()); each.rem > 0;
         xcb_input_xi_device_info_next(&each)) {
        const std::string_view name(
            xcb_input_xi_device_info_name(each.data),
            static_cast<std::size_t>(xcb_input_xi_device_info_name_length(each.data)));
        if (name == "Virtual core keyboard") {
            keyboard = each.data->deviceid;
        } else if (each.data->type == XCB_INPUT_DEVICE_TYPE_SLAVE_KEYBOARD &&
                   name.find("XTEST") == std::string_view::npos) {
            hardware = each.data->deviceid;
        }
    }
}

TestClient::~TestClient()
{
    xcb_disconnect(connection);
}

void TestClient::sync()
{
    owned(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
}

void TestClient::fake(HardwareKey key, bool down)
{
    const int core = down ? XCB_KEY_PRESS : XCB_KEY_RELEASE;
    const int device =
        firstDeviceEvent + (down ? XCB_INPUT_DEVICE_KEY_PRESS : XCB_INPUT_DEVICE_KEY_RELEASE);
    xcb_test_fake_input(connection, static_cast<std::uint8_t>(usesHardware ? device : core), key,
                        XCB_CURRENT_TIME, XCB_NONE, 0, 0,
                        static_cast<std::uint8_t>(usesHardware ? hardware : 0));
}

void TestClient::press(HardwareKey key)
{
    fake(key, true);
    sync();
}

void TestClient::release(HardwareKey key)
{
    fake(key, false);
    sync();
}

void TestClient::tap(HardwareKey key)
{
    press(key);
    release(key);
}

void TestClient::useHardwareKeyboard()
{
    EXPECT_NE(hardware, 0);
    usesHardware = true;
}

void TestClient::typeAtOnce(const std::vector<std::pair<HardwareKey, bool>>& strokes)
{
    for (const auto& [key, down] : strokes) {
        fake(key, down);
    }
    xcb_flush(connection);
}

std::bitset<256> TestClient::pressed()
{
    const auto map =
        owned(xcb_query_keymap_reply(connection, xcb_query_keymap(connection), nullptr));
    std::bitset<256> result;
    for (unsigned key = 0; key < 256; ++key) {
        result[key] = ((unsigned{map->keys[key / 8]} >> (key % 8)) & 1U) != 0;
    }
    return result;
}

unsigned TestClient::modifiers()
{
    const auto pointer = owned(
        xcb_query_pointer_reply(connection, xcb_query_pointer(connection, rootWindow), nullptr));
    return pointer->mask & 0xFFU;
}

void TestClient::useStickyKeys()
{
    owned(
        xcb_xkb_use_extension_reply(connection, xcb_xkb_use_extension(connection, 1, 0), nullptr));
    constexpr std::uint32_t sticky = XCB_XKB_BOOL_CTRL_STICKY_KEYS;
    const std::uint8_t noRepeats[32] = {};
    xcb_xkb_set_controls(connection, XCB_XKB_ID_USE_CORE_KBD, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                         sticky, sticky, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                         static_cast<const std::uint8_t*>(noRepeats));
    sync();
}

bool TestClient::grabKey(HardwareKey key, std::uint32_t modifiers)
{
    const std::uint32_t mask =
        XCB_INPUT_XI_EVENT_MASK_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_KEY_RELEASE;
    const auto reply = owned(xcb_input_xi_passive_grab_device_reply(
        connection,
        xcb_input_xi_passive_grab_device(connection, XCB_CURRENT_TIME, rootWindow, XCB_NONE, key,
                                         keyboard, 1, 1, XCB_INPUT_GRAB_TYPE_KEYCODE,
                                         XCB_INPUT_GRAB_MODE_22_ASYNC, XCB_INPUT_GRAB_MODE_22_ASYNC,
                                         XCB_INPUT_GRAB_OWNER_NO_OWNER, &mask, &modifiers),
        nullptr));
    return reply && reply->num_modifiers == 0;
}

void TestClient::becomeManager()
{
    const auto window = xcb_generate_id(connection);
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, rootWindow, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    constexpr std::string_view name = "WM_S0";
    const auto atom = owned(xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, name.size(), name.data()), nullptr));
    xcb_set_selection_owner(connection, window, atom->atom, XCB_CURRENT_TIME);
    sync();
}

int TestClient::grabbedPresses()
{
    sync();
    while (const auto event = owned(xcb_poll_for_event(connection))) {
        const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(*event);
        if ((event->response_type & 0x7F) == XCB_GE_GENERIC &&
            generic.event_type == XCB_INPUT_KEY_PRESS) {
            ++presses;
        }
    }
    return presses;
}

bool TestClient::couldGrabKey(HardwareKey key, std::uint32_t modifiers)
{
    const bool granted = grabKey(key, modifiers);
    xcb_input_xi_passive_ungrab_device(connection, rootWindow, key, keyboard, 1,
                                       XCB_INPUT_GRAB_TYPE_KEYCODE, &modifiers);
    sync();
    return granted;
}

bool TestClient::grabCoreKey(HardwareKey key, std::uint16_t modifiers)
{
    const auto request = xcb_grab_key_checked(connection, 0, rootWindow, modifiers, key,
                                              XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    return owned(xcb_request_check(connection, request)) == nullptr;
}

bool TestClient::couldGrabCoreKey(HardwareKey key, std::uint16_t modifiers)
{
    const bool granted = grabCoreKey(key, modifiers);
    xcb_ungrab_key(connection, key, rootWindow, modifiers);
    sync();
    return granted;
}

bool TestClient::grabKeyboard()
{
    const auto reply =
        owned(xcb_grab_keyboard_reply(connection,
                                      xcb_grab_keyboard(connection, 0, rootWindow, XCB_CURRENT_TIME,
                                                        XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
                                      nullptr));
    return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
}

void TestClient::ungrabKeyboard()
{
    xcb_ungrab_keyboard(connection, XCB_CURRENT_TIME);
    sync();
}

bool TestClient::couldGrabKeyboard()
{
    const bool granted = grabKeyboard();
    ungrabKeyboard();
    return granted;
}

TestWindow::TestWindow(const std::string& instanceName, const std::string& className)
    : window(xcb_generate_id(program.get()))
{
    const std::uint32_t events = XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE;
    xcb_create_window(program.get(), XCB_COPY_FROM_PARENT, window, program.root(), 0, 0, 100, 100,
                      0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK,
                      &events);
    if (!className.empty()) {
        setClass(instanceName, className);
    }
    xcb_map_window(program.get(), window);
    focus(window);
}

void TestWindow::setClass(const std::string& instanceName, const std::string& className)
{
    const auto value = instanceName + '\0' + className + '\0';
    xcb_change_property(program.get(), XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS,
                        XCB_ATOM_STRING, 8, static_cast<std::uint32_t>(value.size()), value.data());
    program.sync();
}

xcb_window_t TestWindow::addChild()
{
    const auto child = xcb_generate_id(program.get());
    xcb_create_window(program.get(), XCB_COPY_FROM_PARENT, child, window, 0, 0, 10, 10, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_map_window(program.get(), child);
    program.sync();
    return child;
}

void TestWindow::focus(xcb_window_t which)
{
    xcb_set_input_focus(program.get(), XCB_INPUT_FOCUS_NONE, which, XCB_CURRENT_TIME);
    program.sync();
}

bool TestWindow::hasFocus()
{
    const auto reply = owned(
        xcb_get_input_focus_reply(program.get(), xcb_get_input_focus(program.get()), nullptr));
    return reply && reply->focus == window;
}

bool TestWindow::isManaged()
{
    const auto reply =
        owned(xcb_query_tree_reply(program.get(), xcb_query_tree(program.get(), window), nullptr));
    return reply && reply->parent != program.root();
}

void TestWindow::unmap()
{
    xcb_unmap_window(program.get(), window);
    program.sync();
}

void TestWindow::watchFocus()
{
    const std::uint32_t events =
        XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE | XCB_EVENT_MASK_FOCUS_CHANGE;
    xcb_change_window_attributes(program.get(), window, XCB_CW_EVENT_MASK, &events);
    program.sync();
}

std::vector<bool> TestWindow::focusSeen()
{
    program.sync();
    read();
    return focusChanges;
}

void TestWindow::read()
{
    while (const auto event = owned(xcb_poll_for_event(program.get()))) {
        const auto type = event->response_type & 0x7F;
        if (type == XCB_KEY_PRESS || type == XCB_KEY_RELEASE) {
            const auto& key = reinterpret_cast<const xcb_key_press_event_t&>(*event);
            keysSeen.push_back({key.detail, type == XCB_KEY_PRESS, key.state & 0xFFU});
        } else if (type == XCB_FOCUS_IN || type == XCB_FOCUS_OUT) {
            focusChanges.push_back(type == XCB_FOCUS_IN);
        }
    }
}

const std::vector<SeenKey>& TestWindow::seen()
{
    read();
    return keysSeen;
}

std::vector<SeenKey> TestWindow::takeSeen(TestClient& typist, HardwareKey marker)
{
    typist.tap(marker);
    EXPECT_TRUE(waitUntil([&] {
        return std::ranges::any_of(
            seen(), [&](const auto& each) { return each.key == marker && !each.down; });
    })) << "the keyboard does not reach the window";
    auto result = std::exchange(keysSeen, {});
    std::erase_if(result, [&](const auto& each) { return each.key == marker; });
    return result;
}

} // namespace vorlin
