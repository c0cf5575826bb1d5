#pragma once

#include "Platform/Linux/Keys/HardwareKeys.h"

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

struct xkb_keymap;

namespace vorlin {

/// X modifier bits, as grabs and key states use them.
using XModifiers = std::uint32_t;

/// What the keys do under one keyboard layout, as far as watching and pressing them needs it. A
/// plain value.
class X11Keymap {
public:
    /// No key does anything.
    X11Keymap() = default;

    explicit X11Keymap(xkb_keymap* keymap);

    /// Whether the key changes what other keys mean while it is held, and nothing afterwards:
    /// Shift, Alt, AltGr, but not Caps Lock.
    bool isModifier(HardwareKey key) const { return keys[key].isModifier; }

    /// The modifiers set while this key alone is held, in whichever layout group; none for keys
    /// that are not modifiers.
    XModifiers modifiersOf(HardwareKey key) const { return keys[key].modifiers; }

    /// Whether the key, held, makes others type the characters of a third or higher level (AltGr),
    /// in whichever layout group.
    bool choosesLevel(HardwareKey key) const;

    /// Keys that set exactly the modifiers of one event flag while held, the usual ones first.
    std::vector<HardwareKey> keysFor(std::uint64_t eventFlag) const;

    /// The modifiers that event flags stand for.
    XModifiers modifiersFor(std::uint64_t eventFlags) const;

    /// Every state in which the server may see a hotkey's modifiers: either side's key, both, or
    /// another key that is such a modifier, and whatever is locked besides. A side whose key is no
    /// modifier in this layout takes no part, nor do modifiers that only other sides' keys set. A
    /// server can only be told exact states to watch for.
    std::vector<XModifiers> statesFor(std::uint64_t eventFlags) const;

    /// `heldFlags`, those of the modifier keys that are held, by position, joined with those of
    /// the modifiers in effect that come from elsewhere: from another key that the layout makes
    /// a modifier, or latched.
    std::uint64_t joinedFlags(std::uint64_t heldFlags, XModifiers effective) const;

    /// The key that types a lower-case letter (a-z) without modifiers: in layout group `group`
    /// if there is one, else in another group, where programs look for shortcuts next.
    std::optional<HardwareKey> keyTyping(char letter, unsigned group) const;

    /// Whether the layout is known and no key of it types a lower-case letter (a-z).
    bool lacksLetter(char letter) const;

    /// Every key that types a lower-case letter (a-z) without modifiers in one of the layout
    /// groups, those of the first group first.
    std::vector<HardwareKey> keysTyping(char letter) const;

    /// A key without a symbol: programs see that a key was pressed, and do nothing.
    HardwareKey silentKey() const { return silent; }

private:
    struct Key {
        bool isModifier = false;
        /// In any group.
        XModifiers modifiers = 0;
        /// In each group.
        std::vector<XModifiers> byGroup;
    };
    using Letters = std::array<HardwareKey, 26>;

    void readModifiers(xkb_keymap* keymap, HardwareKey key);
    void readLetters(xkb_keymap* keymap);
    bool isSetElsewhereOnly(std::uint64_t eventFlag) const;
    void findSilentKey(xkb_keymap* keymap);

    std::array<Key, 256> keys;
    /// By group; 0 where no key types the letter.
    std::vector<Letters> letters;
    HardwareKey silent = 248;
};

} // namespace vorlin
