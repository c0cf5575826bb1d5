#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace vorlin {

/// Modifier bits of an event's flags.
namespace eventFlags {
inline constexpr std::uint64_t maskShift = 0x20000;
inline constexpr std::uint64_t maskControl = 0x40000;
inline constexpr std::uint64_t maskAlternate = 0x80000;
inline constexpr std::uint64_t maskCommand = 0x100000;
inline constexpr std::uint64_t maskSecondaryFn = 0x800000;
/// The four modifiers that a hotkey may be combined with.
inline constexpr std::uint64_t maskHotkeyModifiers =
    maskShift | maskControl | maskAlternate | maskCommand;
} // namespace eventFlags

/// Virtual key codes that the program itself names.
namespace keyCodes {
inline constexpr std::uint16_t v = 9;
inline constexpr std::uint16_t space = 49;
inline constexpr std::uint16_t escape = 53;
inline constexpr std::uint16_t rightCommand = 54;
inline constexpr std::uint16_t rightOption = 61;
inline constexpr std::uint16_t rightControl = 62;
inline constexpr std::uint16_t function = 63;
inline constexpr std::uint16_t f9 = 101;
inline constexpr std::uint16_t insert = 114;
} // namespace keyCodes

/// The dictation key: a lone modifier key, or an ordinary key with zero or more modifiers.
struct Hotkey {
    /// Virtual key code, by the key's position; 54 to 63 for a lone modifier.
    std::uint16_t keyCode = keyCodes::rightOption;
    /// Modifiers held with the key, as event flags; 0 for a lone modifier.
    std::uint64_t modifiers = 0;
    /// The hotkey is a lone modifier key.
    bool modifierOnly = true;

    bool operator==(const Hotkey&) const = default;

    /// Display names of lone modifier keys, by key code. Caps Lock cannot serve as one.
    static const std::map<std::uint16_t, std::string_view> modifierNames;
    /// Display names of ordinary keys, by key code.
    static const std::map<std::uint16_t, std::string_view> keyNames;
    /// The keys that may be used without any modifier: F1 to F19.
    static const std::set<std::uint16_t> standaloneCodes;
    /// What the settings offer, in order.
    static const std::array<Hotkey, 4> presets;

    /// The text shown for this hotkey, UTF-8: "⌃⇧⌘ K", "F5", "Key 57" for a key without a name.
    std::string label() const;

    /// Whether the key may be used without a modifier.
    bool isStandalone() const { return standaloneCodes.contains(keyCode); }

    /// The flag that a modifier key sets; nothing for Caps Lock and ordinary keys.
    static std::optional<std::uint64_t> flag(std::uint16_t forModifierKey);

    /// A JSON object with the members "keyCode", "modifiers" and "modifierOnly".
    std::string encoded() const;

    /// The value of such an object; nothing when a member is missing, mistyped or out of range.
    static std::optional<Hotkey> decode(std::string_view json);
};

} // namespace vorlin

template <>
struct std::hash<vorlin::Hotkey> {
    std::size_t operator()(const vorlin::Hotkey& hotkey) const noexcept;
};
