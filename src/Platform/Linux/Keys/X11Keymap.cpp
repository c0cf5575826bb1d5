#include "Platform/Linux/Keys/X11Keymap.h"

#include "Hotkey.h"

#include <algorithm>
#include <memory>
#include <set>

#include <xcb/xproto.h>
#include <xkbcommon/xkbcommon.h>

namespace vorlin {

using namespace eventFlags;

namespace {

constexpr XModifiers realModifiers = 0xFF;

struct Modifier {
    std::uint64_t flag;
    XModifiers modifiers;
    std::array<HardwareKey, 2> positions;
};

/// What programs take for each modifier, and where its keys are.
constexpr Modifier modifiers[] = {
    {maskShift, XCB_MOD_MASK_SHIFT, {hardwareKeys::leftShift, hardwareKeys::rightShift}},
    {maskControl, XCB_MOD_MASK_CONTROL, {hardwareKeys::leftControl, hardwareKeys::rightControl}},
    {maskAlternate, XCB_MOD_MASK_1, {hardwareKeys::leftAlt, hardwareKeys::rightAlt}},
    {maskCommand, XCB_MOD_MASK_4, {hardwareKeys::leftSuper, hardwareKeys::rightSuper}},
};

/// Caps Lock, Num Lock and what levels of a layout are chosen with. Whether they are set is no
/// matter of a hotkey's modifiers.
constexpr XModifiers indifferent[] = {XCB_MOD_MASK_LOCK, XCB_MOD_MASK_2, XCB_MOD_MASK_3,
                                      XCB_MOD_MASK_5};

bool hasSymbol(xkb_keymap* keymap, HardwareKey key)
{
    for (xkb_layout_index_t group = 0; group < xkb_keymap_num_layouts_for_key(keymap, key);
         ++group) {
        const auto levels = xkb_keymap_num_levels_for_key(keymap, key, group);
        for (xkb_level_index_t level = 0; level < levels; ++level) {
            const xkb_keysym_t* symbols = nullptr;
            if (xkb_keymap_key_get_syms_by_level(keymap, key, group, level, &symbols) > 0) {
                return true;
            }
        }
    }
    return false;
}

} // namespace

X11Keymap::X11Keymap(xkb_keymap* keymap)
{
    const auto first = std::max<xkb_keycode_t>(8, xkb_keymap_min_keycode(keymap));
    const auto last = std::min<xkb_keycode_t>(255, xkb_keymap_max_keycode(keymap));
    for (auto key = first; key <= last; ++key) {
        readModifiers(keymap, static_cast<HardwareKey>(key));
    }
    readLetters(keymap);
    findSilentKey(keymap);
}

void X11Keymap::readModifiers(xkb_keymap* keymap, HardwareKey key)
{
    const auto groups = std::max<xkb_layout_index_t>(1, xkb_keymap_num_layouts(keymap));
    for (xkb_layout_index_t group = 0; group < groups; ++group) {
        const std::unique_ptr<xkb_state, decltype(&xkb_state_unref)> state(xkb_state_new(keymap),
                                                                           xkb_state_unref);
        xkb_state_update_mask(state.get(), 0, 0, 0, 0, 0, group);
        xkb_state_update_key(state.get(), key, XKB_KEY_DOWN);
        const bool locks =
            xkb_state_serialize_mods(state.get(), XKB_STATE_MODS_LOCKED) != 0 ||
            xkb_state_serialize_layout(state.get(), XKB_STATE_LAYOUT_LOCKED) != group;
        if (locks) {
            keys[key] = {};
            return;
        }
        const auto held =
            xkb_state_serialize_mods(state.get(), XKB_STATE_MODS_DEPRESSED) & realModifiers;
        keys[key].modifiers |= held;
        keys[key].byGroup.push_back(held);
        if (held != 0 || xkb_state_serialize_layout(state.get(), XKB_STATE_LAYOUT_DEPRESSED) != 0) {
            keys[key].isModifier = true;
        }
    }
}

void X11Keymap::readLetters(xkb_keymap* keymap)
{
    letters.assign(std::max<std::size_t>(1, xkb_keymap_num_layouts(keymap)), Letters{});
    const auto last = std::min<xkb_keycode_t>(255, xkb_keymap_max_keycode(keymap));
    for (auto key = std::max<xkb_keycode_t>(8, xkb_keymap_min_keycode(keymap)); key <= last;
         ++key) {
        const auto groups = xkb_keymap_num_layouts_for_key(keymap, key);
        for (xkb_layout_index_t group = 0; groups > 0 && group < letters.size(); ++group) {
            const xkb_keysym_t* symbols = nullptr;
            const auto count = xkb_keymap_key_get_syms_by_level(
                keymap, key, std::min(group, groups - 1), 0, &symbols);
            if (count != 1 || symbols[0] < XKB_KEY_a || symbols[0] > XKB_KEY_z) {
                continue;
            }
            auto& found = letters[group][symbols[0] - XKB_KEY_a];
            if (found == 0) {
                found = static_cast<HardwareKey>(key);
            }
        }
    }
}

void X11Keymap::findSilentKey(xkb_keymap* keymap)
{
    const auto first = std::max<xkb_keycode_t>(8, xkb_keymap_min_keycode(keymap));
    const auto last = std::min<xkb_keycode_t>(255, xkb_keymap_max_keycode(keymap));
    const auto isSilent = [&](xkb_keycode_t key) {
        const auto candidate = static_cast<HardwareKey>(key);
        return key >= first && key <= last && !isModifier(candidate) &&
               !hasSymbol(keymap, candidate);
    };
    // No keyboard has 248: the kernel calls it unknown.
    if (isSilent(silent)) {
        return;
    }
    for (auto key = last; key >= first; --key) {
        if (isSilent(key)) {
            silent = static_cast<HardwareKey>(key);
            return;
        }
    }
}

XModifiers X11Keymap::modifiersFor(std::uint64_t eventFlags) const
{
    XModifiers result = 0;
    for (const auto& modifier : modifiers) {
        if ((eventFlags & modifier.flag) != 0) {
            result |= modifier.modifiers;
        }
    }
    return result;
}

bool X11Keymap::choosesLevel(HardwareKey key) const
{
    return (modifiersOf(key) & (XCB_MOD_MASK_3 | XCB_MOD_MASK_5)) != 0;
}

std::vector<HardwareKey> X11Keymap::keysFor(std::uint64_t eventFlag) const
{
    const auto* modifier = std::ranges::find(modifiers, eventFlag, &Modifier::flag);
    if (modifier == std::end(modifiers)) {
        return {};
    }
    std::vector<HardwareKey> result;
    const auto consider = [&](HardwareKey key) {
        if (isModifier(key) && modifiersOf(key) == modifier->modifiers &&
            std::ranges::find(result, key) == result.end()) {
            result.push_back(key);
        }
    };
    std::ranges::for_each(modifier->positions, consider);
    for (unsigned key = 8; key < keys.size(); ++key) {
        consider(static_cast<HardwareKey>(key));
    }
    if (result.empty()) {
        result.push_back(modifier->positions.front());
    }
    return result;
}

/// Whether every key that sets the flag's modifiers stands where those of other flags do, for which
/// it counts: Super where Alt and Super are exchanged.
bool X11Keymap::isSetElsewhereOnly(std::uint64_t eventFlag) const
{
    bool elsewhere = false;
    for (unsigned key = 8; key < keys.size(); ++key) {
        if ((keys[key].modifiers & modifiersFor(eventFlag)) == 0) {
            continue;
        }
        const auto* place = std::ranges::find_if(modifiers, [key](const Modifier& each) {
            return std::ranges::find(each.positions, key) != each.positions.end();
        });
        if (place == std::end(modifiers) || place->flag == eventFlag) {
            return false;
        }
        elsewhere = true;
    }
    return elsewhere;
}

std::vector<XModifiers> X11Keymap::statesFor(std::uint64_t eventFlags) const
{
    std::set<XModifiers> states = {0};
    for (const auto& modifier : modifiers) {
        if ((eventFlags & modifier.flag) == 0) {
            continue;
        }
        std::set<XModifiers> ways;
        if (!isSetElsewhereOnly(modifier.flag)) {
            ways.insert(modifier.modifiers);
        }
        for (const auto key : modifier.positions) {
            ways.insert(keys[key].byGroup.begin(), keys[key].byGroup.end());
        }
        ways.erase(0);
        std::set<XModifiers> extended;
        for (const auto one : ways) {
            for (const auto other : ways) {
                for (const auto state : states) {
                    extended.insert(state | one | other);
                }
            }
        }
        states = std::move(extended);
    }
    for (const auto each : indifferent) {
        auto extended = states;
        for (const auto state : states) {
            extended.insert(state | each);
        }
        states = std::move(extended);
    }
    return {states.begin(), states.end()};
}

std::uint64_t X11Keymap::joinedFlags(std::uint64_t heldFlags, XModifiers effective) const
{
    // A held key counts for what it is, not for what the layout makes of it.
    for (const auto& modifier : modifiers) {
        if ((heldFlags & modifier.flag) != 0) {
            effective &=
                ~(modifiersOf(modifier.positions.front()) | modifiersOf(modifier.positions.back()));
        }
    }
    auto result = heldFlags;
    for (const auto& modifier : modifiers) {
        if ((effective & modifier.modifiers) != 0) {
            result |= modifier.flag;
        }
    }
    return result;
}

std::vector<HardwareKey> X11Keymap::keysTyping(char letter) const
{
    std::vector<HardwareKey> result;
    if (letter < 'a' || letter > 'z') {
        return result;
    }
    const auto index = static_cast<std::size_t>(letter - 'a');
    for (const auto& group : letters) {
        const auto key = group[index];
        if (key != 0 && std::ranges::find(result, key) == result.end()) {
            result.push_back(key);
        }
    }
    return result;
}

std::optional<HardwareKey> X11Keymap::keyTyping(char letter, unsigned group) const
{
    if (letter < 'a' || letter > 'z' || letters.empty()) {
        return std::nullopt;
    }
    const auto index = static_cast<std::size_t>(letter - 'a');
    const auto current = std::min<std::size_t>(group, letters.size() - 1);
    if (const auto key = letters[current][index]; key != 0) {
        return key;
    }
    for (const auto& each : letters) {
        if (each[index] != 0) {
            return each[index];
        }
    }
    return std::nullopt;
}

bool X11Keymap::lacksLetter(char letter) const
{
    return !letters.empty() && !keyTyping(letter, 0);
}

} // namespace vorlin
