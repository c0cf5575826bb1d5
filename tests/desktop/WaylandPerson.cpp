// A person at a keyboard and a pointer of their own in a Wayland session:
//
//     wayland_person LAYOUT
//
// reads one command a line and answers each with "done" once the compositor has it:
//
//     press CODE | release CODE      the kernel's number of a key
//     move X Y | click BUTTON        on 1280 x 800 pixels; the kernel's number of a button

#include <chrono>
#include <cstdint>
#include <cstring>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>

#include <sys/mman.h>
#include <unistd.h>
#include <virtual-keyboard-unstable-v1.h>
#include <wayland-client.h>
#include <wlr-virtual-pointer-unstable-v1.h>
#include <xkbcommon/xkbcommon.h>

namespace {

constexpr std::uint32_t kernelOffset = 8;
constexpr std::uint32_t width = 1280;
constexpr std::uint32_t height = 800;

struct Globals {
    wl_seat* seat = nullptr;
    zwp_virtual_keyboard_manager_v1* keyboards = nullptr;
    zwlr_virtual_pointer_manager_v1* pointers = nullptr;
};

template <class Interface>
void take(Interface*& global, const wl_interface& interface, wl_registry* registry,
          std::uint32_t name, const char* offered)
{
    if (global == nullptr && std::strcmp(offered, interface.name) == 0) {
        global = static_cast<Interface*>(wl_registry_bind(registry, name, &interface, 1));
    }
}

constexpr wl_registry_listener registryListener = {
    .global =
        [](void* data, wl_registry* registry, std::uint32_t name, const char* interface,
           std::uint32_t /*version*/) {
            auto& globals = *static_cast<Globals*>(data);
            take(globals.seat, wl_seat_interface, registry, name, interface);
            take(globals.keyboards, zwp_virtual_keyboard_manager_v1_interface, registry, name,
                 interface);
            take(globals.pointers, zwlr_virtual_pointer_manager_v1_interface, registry, name,
                 interface);
        },
    .global_remove = [](void* /*data*/, wl_registry* /*registry*/, std::uint32_t /*name*/) {},
};

std::uint32_t milliseconds()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

class Keyboard {
public:
    Keyboard(const Globals& globals, const char* layout)
        : context(xkb_context_new(XKB_CONTEXT_NO_FLAGS))
    {
        xkb_rule_names names{};
        names.layout = layout;
        keymap = xkb_keymap_new_from_names(context, &names, XKB_KEYMAP_COMPILE_NO_FLAGS);
        state = xkb_state_new(keymap);
        keyboard = zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(globals.keyboards,
                                                                           globals.seat);
        const std::unique_ptr<char, decltype(&free)> text(
            xkb_keymap_get_as_string(keymap, XKB_KEYMAP_FORMAT_TEXT_V1), &free);
        const std::size_t size = std::strlen(text.get()) + 1;
        const int file = memfd_create("keymap", MFD_CLOEXEC);
        if (write(file, text.get(), size) != static_cast<ssize_t>(size)) {
            std::abort();
        }
        zwp_virtual_keyboard_v1_keymap(keyboard, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, file,
                                       static_cast<std::uint32_t>(size));
        close(file);
    }
    Keyboard(const Keyboard&) = delete;
    Keyboard& operator=(const Keyboard&) = delete;
    ~Keyboard()
    {
        zwp_virtual_keyboard_v1_destroy(keyboard);
        xkb_state_unref(state);
        xkb_keymap_unref(keymap);
        xkb_context_unref(context);
    }

    void key(std::uint32_t code, bool down)
    {
        zwp_virtual_keyboard_v1_key(keyboard, milliseconds(), code,
                                    down ? WL_KEYBOARD_KEY_STATE_PRESSED
                                         : WL_KEYBOARD_KEY_STATE_RELEASED);
        xkb_state_update_key(state, code + kernelOffset, down ? XKB_KEY_DOWN : XKB_KEY_UP);
        zwp_virtual_keyboard_v1_modifiers(
            keyboard, xkb_state_serialize_mods(state, XKB_STATE_MODS_DEPRESSED),
            xkb_state_serialize_mods(state, XKB_STATE_MODS_LATCHED),
            xkb_state_serialize_mods(state, XKB_STATE_MODS_LOCKED),
            xkb_state_serialize_layout(state, XKB_STATE_LAYOUT_EFFECTIVE));
    }

private:
    xkb_context* context;
    xkb_keymap* keymap = nullptr;
    xkb_state* state = nullptr;
    zwp_virtual_keyboard_v1* keyboard = nullptr;
};

void click(zwlr_virtual_pointer_v1* pointer, std::uint32_t button)
{
    for (const auto state : {WL_POINTER_BUTTON_STATE_PRESSED, WL_POINTER_BUTTON_STATE_RELEASED}) {
        zwlr_virtual_pointer_v1_button(pointer, milliseconds(), button, state);
        zwlr_virtual_pointer_v1_frame(pointer);
    }
}

} // namespace

int main(int argc, char* argv[])
{
    wl_display* const display = wl_display_connect(nullptr);
    if (display == nullptr) {
        std::cerr << "wayland_person: no compositor\n";
        return 1;
    }
    Globals globals;
    wl_registry_add_listener(wl_display_get_registry(display), &registryListener, &globals);
    wl_display_roundtrip(display);
    if (globals.seat == nullptr || globals.keyboards == nullptr || globals.pointers == nullptr) {
        std::cerr << "wayland_person: the compositor offers no virtual keyboard and pointer\n";
        return 1;
    }
    Keyboard keyboard(globals, argc > 1 ? argv[1] : "us");
    auto* const pointer =
        zwlr_virtual_pointer_manager_v1_create_virtual_pointer(globals.pointers, globals.seat);
    wl_display_roundtrip(display);
    std::cout << "ready" << std::endl;

    std::string line;
    while (std::getline(std::cin, line)) {
        std::istringstream words(line);
        std::string verb;
        std::uint32_t first = 0;
        std::uint32_t second = 0;
        words >> verb >> first >> second;
        if (verb == "press" || verb == "release") {
            keyboard.key(first, verb == "press");
        } else if (verb == "move") {
            zwlr_virtual_pointer_v1_motion_absolute(pointer, milliseconds(), first, second, width,
                                                    height);
            zwlr_virtual_pointer_v1_frame(pointer);
        } else if (verb == "click") {
            click(pointer, first);
        }
        if (wl_display_roundtrip(display) < 0) {
            return 1;
        }
        std::cout << "done" << std::endl;
    }
}
