#include "Platform/Linux/Sway/TestKeyboard.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <cstring>

#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>
#include <xkbcommon/xkbcommon.h>

namespace vorlin {

namespace {

// The two interfaces of the protocol virtual-keyboard-v1, as far as they are used.
extern const wl_interface keyboardInterface;

std::array<const wl_interface*, 2> createTypes = {&wl_seat_interface, &keyboardInterface};
std::array<const wl_interface*, 4> noTypes = {nullptr, nullptr, nullptr, nullptr};

constexpr std::uint32_t createKeyboard = 0;
const wl_message managerRequests[] = {{"create_virtual_keyboard", "on", createTypes.data()}};
const wl_interface managerInterface = {
    "zwp_virtual_keyboard_manager_v1", 1, 1, managerRequests, 0, nullptr};

enum KeyboardRequest : std::uint32_t { setKeymap, sendKey, setModifiers, destroyKeyboard };
const wl_message keyboardRequests[] = {{"keymap", "uhu", noTypes.data()},
                                       {"key", "uuu", noTypes.data()},
                                       {"modifiers", "uuuu", noTypes.data()},
                                       {"destroy", "", noTypes.data()}};
const wl_interface keyboardInterface = {"zwp_virtual_keyboard_v1", 1, 4,
                                        keyboardRequests,          0, nullptr};

} // namespace

struct TestKeyboard::State {
    wl_display* display = nullptr;
    wl_seat* seat = nullptr;
    wl_proxy* manager = nullptr;
    wl_proxy* keyboard = nullptr;
    xkb_context* context = nullptr;
    xkb_keymap* keymap = nullptr;
    xkb_state* keys = nullptr;
    std::uint32_t time = 0;
};

TestKeyboard::TestKeyboard(const std::string& display, const std::string& layout)
    : state(std::make_unique<State>())
{
    state->display = wl_display_connect(display.c_str());
    if (state->display == nullptr) {
        ADD_FAILURE() << "no compositor at " << display;
        std::abort();
    }
    auto* const registry = wl_display_get_registry(state->display);
    static const wl_registry_listener listener = {
        [](void* data, wl_registry* globals, std::uint32_t name, const char* interface,
           std::uint32_t) {
            auto& found = *static_cast<State*>(data);
            if (std::strcmp(interface, wl_seat_interface.name) == 0) {
                found.seat =
                    static_cast<wl_seat*>(wl_registry_bind(globals, name, &wl_seat_interface, 1));
            } else if (std::strcmp(interface, managerInterface.name) == 0) {
                found.manager =
                    static_cast<wl_proxy*>(wl_registry_bind(globals, name, &managerInterface, 1));
            }
        },
        [](void*, wl_registry*, std::uint32_t) {}};
    wl_registry_add_listener(registry, &listener, state.get());
    wl_display_roundtrip(state->display);
    wl_registry_destroy(registry);
    state->keyboard = wl_proxy_marshal_flags(state->manager, createKeyboard, &keyboardInterface, 1,
                                             0, reinterpret_cast<wl_proxy*>(state->seat), nullptr);

    state->context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    const xkb_rule_names names{nullptr, nullptr, layout.c_str(), nullptr, nullptr};
    state->keymap = xkb_keymap_new_from_names(state->context, &names, XKB_KEYMAP_COMPILE_NO_FLAGS);
    state->keys = xkb_state_new(state->keymap);
    char* const text = xkb_keymap_get_as_string(state->keymap, XKB_KEYMAP_FORMAT_TEXT_V1);
    const auto bytes = std::strlen(text) + 1;
    const int file = memfd_create("keymap", MFD_CLOEXEC);
    EXPECT_EQ(write(file, text, bytes), static_cast<ssize_t>(bytes));
    std::free(text);
    wl_proxy_marshal_flags(state->keyboard, setKeymap, nullptr, 1, 0, 1U, file,
                           static_cast<std::uint32_t>(bytes));
    wl_display_roundtrip(state->display);
    close(file);
}

TestKeyboard::~TestKeyboard()
{
    wl_proxy_marshal_flags(state->keyboard, destroyKeyboard, nullptr, 1, WL_MARSHAL_FLAG_DESTROY);
    wl_display_roundtrip(state->display);
    wl_proxy_destroy(state->manager);
    wl_seat_destroy(state->seat);
    wl_display_disconnect(state->display);
    xkb_state_unref(state->keys);
    xkb_keymap_unref(state->keymap);
    xkb_context_unref(state->context);
}

void TestKeyboard::press(unsigned key)
{
    send(key, true);
}

void TestKeyboard::release(unsigned key)
{
    send(key, false);
}

void TestKeyboard::tap(unsigned key)
{
    press(key);
    release(key);
}

void TestKeyboard::send(unsigned key, bool down)
{
    wl_proxy_marshal_flags(state->keyboard, sendKey, nullptr, 1, 0, ++state->time, key,
                           down ? 1U : 0U);
    const auto changed =
        xkb_state_update_key(state->keys, key + 8, down ? XKB_KEY_DOWN : XKB_KEY_UP);
    if (changed != 0) {
        wl_proxy_marshal_flags(state->keyboard, setModifiers, nullptr, 1, 0,
                               xkb_state_serialize_mods(state->keys, XKB_STATE_MODS_DEPRESSED),
                               xkb_state_serialize_mods(state->keys, XKB_STATE_MODS_LATCHED),
                               xkb_state_serialize_mods(state->keys, XKB_STATE_MODS_LOCKED),
                               xkb_state_serialize_layout(state->keys, XKB_STATE_LAYOUT_EFFECTIVE));
    }
    wl_display_roundtrip(state->display);
}

} // namespace vorlin
