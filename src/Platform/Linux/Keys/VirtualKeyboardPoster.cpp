#include "Platform/Linux/Keys/VirtualKeyboardPoster.h"

#include "Hotkey.h"
#include "Platform/Shared/Descriptor.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <ranges>
#include <string_view>

#include <sys/mman.h>
#include <unistd.h>
#include <virtual-keyboard-unstable-v1.h>

namespace vorlin {

using namespace eventFlags;

namespace {

/// The kernel's number of a key is X's less this.
constexpr std::uint32_t kernelOffset = 8;

struct Modifier {
    std::uint64_t flag;
    HardwareKey key;
    std::string_view symbol;
    std::string_view name;
    std::uint32_t bit;
};

/// In the order in which they go down.
constexpr Modifier modifierKeys[] = {
    {maskControl, hardwareKeys::leftControl, "Control_L", "Control", 1U << 2U},
    {maskAlternate, hardwareKeys::leftAlt, "Alt_L", "Mod1", 1U << 3U},
    {maskShift, hardwareKeys::leftShift, "Shift_L", "Shift", 1U << 0U},
    {maskCommand, hardwareKeys::leftSuper, "Super_L", "Mod4", 1U << 6U},
};

struct PlainKey {
    HardwareKey key;
    std::string symbols;
};

std::vector<PlainKey> plainKeys()
{
    std::vector<PlainKey> keys;
    for (const auto& [code, name] : Hotkey::keyNames) {
        const auto key = hardwareKey(code);
        const bool letter = name.size() == 1 && name.front() >= 'A' && name.front() <= 'Z';
        if (key && letter) {
            const auto lowerCase = static_cast<char>(name.front() - 'A' + 'a');
            keys.push_back({*key, fmt::format("{}, {}", lowerCase, name)});
        }
    }
    keys.push_back({hardwareKey(keyCodes::insert).value(), "Insert"});
    return keys;
}

std::uint32_t milliseconds()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

/// A file without a name that holds `text` and a zero.
Descriptor fileHolding(const std::string& text)
{
    Descriptor file(memfd_create("keymap", MFD_CLOEXEC));
    const auto size = static_cast<ssize_t>(text.size() + 1);
    if (!file || write(file.number(), text.c_str(), text.size() + 1) != size) {
        return {};
    }
    return file;
}

} // namespace

std::string chordKeymap()
{
    std::string codes;
    std::string symbols;
    for (const auto& [key, syms] : plainKeys()) {
        codes += fmt::format("<K{0}> = {0};\n", key);
        symbols += fmt::format("key <K{}> {{ [ {} ] }};\n", key, syms);
    }
    for (const Modifier& each : modifierKeys) {
        codes += fmt::format("<K{0}> = {0};\n", each.key);
        symbols += fmt::format("key <K{0}> {{ [ {1} ] }};\nmodifier_map {2} {{ <K{0}> }};\n",
                               each.key, each.symbol, each.name);
    }
    return fmt::format("xkb_keymap {{\n"
                       "xkb_keycodes {{ minimum = 8; maximum = 255;\n{}}};\n"
                       "xkb_types {{ include \"complete\" }};\n"
                       "xkb_compat {{ include \"complete\" }};\n"
                       "xkb_symbols {{\n{}}};\n"
                       "}};\n",
                       codes, symbols);
}

bool isInChordKeymap(HardwareKey key)
{
    static const std::vector<PlainKey> keys = plainKeys();
    return std::ranges::find(keys, key, &PlainKey::key) != keys.end();
}

bool VirtualKeyboardPoster::isOffered(const WaylandConnection& connection)
{
    return connection.offered(zwp_virtual_keyboard_manager_v1_interface.name) > 0;
}

VirtualKeyboardPoster::VirtualKeyboardPoster(WaylandConnection& connection)
    : connection(connection), manager(connection.bind<zwp_virtual_keyboard_manager_v1>(
                                  zwp_virtual_keyboard_manager_v1_interface, 1)),
      seatChanges(connection.seat().observe([this](wl_seat* /*seat*/) {
          unplug();
          plugIn();
      }))
{
    plugIn();
}

VirtualKeyboardPoster::~VirtualKeyboardPoster()
{
    unplug();
    if (manager != nullptr) {
        zwp_virtual_keyboard_manager_v1_destroy(manager);
    }
    connection.flush();
}

void VirtualKeyboardPoster::plugIn()
{
    wl_seat* const seat = connection.seat().get();
    const std::string keymap = chordKeymap();
    const Descriptor file = fileHolding(keymap);
    if (manager == nullptr || seat == nullptr || !file) {
        return;
    }
    keyboard = zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(manager, seat);
    zwp_virtual_keyboard_v1_keymap(keyboard, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, file.number(),
                                   static_cast<std::uint32_t>(keymap.size() + 1));
    connection.flush();
}

void VirtualKeyboardPoster::unplug()
{
    if (keyboard != nullptr) {
        release();
        zwp_virtual_keyboard_v1_destroy(keyboard);
        keyboard = nullptr;
    }
}

void VirtualKeyboardPoster::post(std::uint16_t keyCode, bool keyDown, std::uint64_t flags)
{
    if (chord && (keyDown || chord->keyCode == keyCode)) {
        release();
    }
    if (keyDown && available()) {
        press(keyCode, flags);
    }
}

void VirtualKeyboardPoster::press(std::uint16_t keyCode, std::uint64_t flags)
{
    const auto key = hardwareKey(keyCode);
    if (!key || !isInChordKeymap(*key)) {
        return;
    }
    if (onChord) {
        onChord();
    }
    chord = Chord{.keyCode = keyCode, .key = *key, .modifiers = {}};
    std::uint32_t held = 0;
    for (const Modifier& each : modifierKeys) {
        if ((flags & each.flag) != 0) {
            send(each.key, true);
            chord->modifiers.push_back(each.key);
            held |= each.bit;
        }
    }
    // Also without any: what the person holds is not part of it.
    zwp_virtual_keyboard_v1_modifiers(keyboard, held, 0, 0, 0);
    send(*key, true);
    connection.flushSoon();
}

void VirtualKeyboardPoster::release()
{
    if (!chord) {
        return;
    }
    send(chord->key, false);
    for (const HardwareKey key : chord->modifiers | std::views::reverse) {
        send(key, false);
    }
    zwp_virtual_keyboard_v1_modifiers(keyboard, 0, 0, 0, 0);
    chord.reset();
    connection.flush();
}

void VirtualKeyboardPoster::send(HardwareKey key, bool down)
{
    zwp_virtual_keyboard_v1_key(keyboard, milliseconds(), key - kernelOffset,
                                down ? WL_KEYBOARD_KEY_STATE_PRESSED
                                     : WL_KEYBOARD_KEY_STATE_RELEASED);
}

} // namespace vorlin
