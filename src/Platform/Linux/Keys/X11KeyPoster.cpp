#include "Platform/Linux/Keys/X11KeyPoster.h"

#include "Hotkey.h"

#include <algorithm>
#include <ranges>

namespace vorlin {

using namespace eventFlags;

namespace {

/// Locks that change what a chord means; Caps Lock and Num Lock do not.
constexpr XModifiers disturbingLocks = XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1 |
                                       XCB_MOD_MASK_3 | XCB_MOD_MASK_4 | XCB_MOD_MASK_5;

} // namespace

X11KeyPoster::~X11KeyPoster()
{
    if (chord) {
        release();
    }
}

void X11KeyPoster::post(std::uint16_t keyCode, bool keyDown, std::uint64_t flags)
{
    if (chord && (keyDown || chord->keyCode == keyCode)) {
        release();
    }
    if (!keyDown || !keyboard.available().get()) {
        return;
    }
    const bool pastes = keyCode == keyCodes::v && flags == maskControl;
    if (pastes && keyboard.postedLayout().lacksLetter('v')) {
        press(keyCodes::insert, maskShift);
        if (chord) {
            chord->keyCode = keyCode; // whose release will be asked for
        }
    } else {
        press(keyCode, flags);
    }
}

std::optional<HardwareKey> X11KeyPoster::keyFor(std::uint16_t keyCode, unsigned group)
{
    if (const auto letter = letterOf(keyCode)) {
        if (const auto key = keyboard.postedLayout().keyTyping(*letter, group)) {
            return key;
        }
    }
    return hardwareKey(keyCode);
}

void X11KeyPoster::press(std::uint16_t keyCode, std::uint64_t flags)
{
    // All questions first: from the first posted event on nothing may be sent before the end.
    const auto& layout = keyboard.postedLayout();
    const auto locks = keyboard.lockState();
    const auto pressed = keyboard.pressed();
    keyboard.read();
    const auto key = keyFor(keyCode, locks.group);
    if (!key) {
        return;
    }
    chord = Chord{.keyCode = keyCode,
                  .key = *key,
                  .lifted = {},
                  .modifiers = {},
                  .unlocked = locks.locked & disturbingLocks};
    liftOthers(pressed, layout.modifiersFor(flags));
    if (pressed[*key]) {
        // The server drops the press of a key that is down.
        keyboard.post(*key, false);
    }
    if (chord->unlocked != 0 || locks.latched != 0 || !chord->lifted.empty()) {
        keyboard.setLocks(chord->unlocked, 0);
    }
    pressModifiers(pressed, flags);
    keyboard.post(*key, true);
    keyboard.server().flushSoon();
}

void X11KeyPoster::liftOthers(const KeySet& pressed, XModifiers wanted)
{
    const auto& layout = keyboard.postedLayout();
    for (unsigned code = 8; code < pressed.size(); ++code) {
        const auto key = static_cast<HardwareKey>(code);
        const auto modifiers = layout.modifiersOf(key);
        const bool disturbs = modifiers == 0 || (modifiers & ~wanted) != 0;
        if (pressed[code] && layout.isModifier(key) && disturbs) {
            chord->lifted.push_back(key);
        }
    }
    if (std::ranges::any_of(chord->lifted, [this](auto key) { return canOpenMenus(key); })) {
        keyboard.postSilentKey();
    }
    for (const auto key : chord->lifted) {
        keyboard.lift(key);
    }
}

void X11KeyPoster::pressModifiers(const KeySet& pressed, std::uint64_t flags)
{
    for (const auto flag : {maskControl, maskAlternate, maskShift, maskCommand}) {
        if ((flags & flag) == 0) {
            continue;
        }
        // Also where the person holds one: it may be let go before the chord is complete.
        const auto keys = keyboard.postedLayout().keysFor(flag);
        const auto free = std::ranges::find_if(keys, [&](auto key) { return !pressed[key]; });
        if (free != keys.end()) {
            keyboard.post(*free, true);
            chord->modifiers.push_back(*free);
        }
    }
}

void X11KeyPoster::release()
{
    const auto done = std::move(*chord);
    chord.reset();
    keyboard.post(done.key, false);
    for (const auto key : done.modifiers | std::views::reverse) {
        keyboard.post(key, false);
    }
    if (done.unlocked != 0) {
        keyboard.setLocks(done.unlocked, done.unlocked);
    }
    keyboard.server().flush();
    if (done.lifted.empty() || !keyboard.sync()) {
        return;
    }
    bool opensMenus = false;
    for (const auto key : done.lifted) {
        opensMenus |= keyboard.putBack(key) && canOpenMenus(key);
    }
    if (opensMenus) {
        keyboard.postSilentKey();
    }
    keyboard.server().flush();
}

/// Whether programs take the key's press and release, with none in between, for a command.
bool X11KeyPoster::canOpenMenus(HardwareKey key)
{
    constexpr XModifiers menuModifiers = XCB_MOD_MASK_1 | XCB_MOD_MASK_4;
    return (keyboard.postedLayout().modifiersOf(key) & menuModifiers) != 0;
}

} // namespace vorlin
