#include "Platform/Linux/Keys/SwayWishes.h"

#include <optional>
#include <utility>

namespace vorlin {

namespace {

constexpr std::pair<std::uint64_t, SwayModifiers> flagModifiers[] = {
    {eventFlags::maskShift, swayModifiers::shift},
    {eventFlags::maskControl, swayModifiers::control},
    {eventFlags::maskAlternate, swayModifiers::alt},
    {eventFlags::maskCommand, swayModifiers::logo}};

} // namespace

SwayModifiers swayModifiersOf(std::uint64_t flags)
{
    SwayModifiers result = 0;
    for (const auto& [flag, modifier] : flagModifiers) {
        result |= (flags & flag) != 0 ? modifier : 0;
    }
    return result;
}

std::uint64_t flagsOf(SwayModifiers modifiers)
{
    std::uint64_t result = 0;
    for (const auto& [flag, modifier] : flagModifiers) {
        result |= (modifiers & modifier) != 0 ? flag : 0;
    }
    return result;
}

bool SwayWishes::isKnown(const Hotkey& hotkey)
{
    // Fn is the keyboard's own on most machines, and Caps Lock no modifier that is held.
    return hardwareKey(hotkey.keyCode) && hotkey.keyCode != keyCodes::function &&
           (!hotkey.modifierOnly || Hotkey::flag(hotkey.keyCode));
}

bool SwayWishes::isLost(const std::string& mode, HardwareKey key, SwayModifiers modifiers) const
{
    return knowledge.isTaken(mode, key, modifiers) || refused.contains({key, modifiers, false});
}

bool SwayWishes::isLost(const std::string& mode, const Hotkey& hotkey) const
{
    const auto key = hardwareKey(hotkey.keyCode);
    return key && isLost(mode, *key, swayModifiersOf(hotkey.modifiers));
}

std::set<SwayBinding> SwayWishes::in(const std::string& mode) const
{
    std::set<SwayBinding> wanted;
    const auto add = [&](HardwareKey key, SwayModifiers modifiers, bool releases) {
        if (!knowledge.isTaken(mode, key, modifiers)) {
            wanted.insert({key, modifiers, false});
            if (releases) {
                wanted.insert({key, modifiers, true});
            }
        }
    };
    if (!active || !isSuitableSwayMode(mode)) {
        return wanted;
    }
    const auto& hotkey = interest.hotkey;
    if (hotkey && isKnown(*hotkey)) {
        const auto key = *hardwareKey(hotkey->keyCode);
        if (hotkey->modifierOnly) {
            for (const auto modifiers : everySwayModifiers()) {
                add(key, modifiers, true);
            }
        } else {
            add(key, swayModifiersOf(hotkey->modifiers), true);
        }
    }
    if (interest.escape) {
        for (const auto modifiers : everySwayModifiers()) {
            add(hardwareKeys::escape, modifiers, false);
        }
    }
    std::erase_if(wanted, [this](const auto& each) { return refused.contains(each); });
    return wanted;
}

KeyConflict SwayWishes::conflict(const std::string& mode) const
{
    const auto& hotkey = interest.hotkey;
    const bool nothingIsBound = !isSuitableSwayMode(mode);
    if (hotkey && !isKnown(*hotkey)) {
        return KeyConflict::hotkeyMissing;
    }
    if (hotkey && (nothingIsBound || isLost(mode, *hotkey))) {
        return KeyConflict::hotkeyTaken;
    }
    return interest.escape && (nothingIsBound || losesEscape(mode)) ? KeyConflict::escapeTaken
                                                                    : KeyConflict::none;
}

/// Escape alone, or with the lone modifier down that is the dictation key: as what that counts with
/// Escape depends on the layout.
bool SwayWishes::losesEscape(const std::string& mode) const
{
    bool lost = isLost(mode, hardwareKeys::escape, 0);
    if (const auto& hotkey = interest.hotkey; hotkey && hotkey->modifierOnly) {
        const auto own = swayModifiersOf(Hotkey::flag(hotkey->keyCode).value_or(0));
        lost = lost || isLost(mode, hardwareKeys::escape, own) ||
               (knowledge.chooseLevel.contains(*hardwareKey(hotkey->keyCode)) &&
                isLost(mode, hardwareKeys::escape, swayModifiers::third));
    }
    return lost;
}

std::string SwayChange::commands(const std::string& token) const
{
    std::string result;
    for (const auto& [which, each] : bind) {
        for (const auto& binding : each) {
            appendBind(result, which, binding, token);
        }
    }
    for (const auto& [which, each] : unbind) {
        for (const auto& binding : each) {
            appendUnbind(result, which, binding);
        }
    }
    return result;
}

} // namespace vorlin
