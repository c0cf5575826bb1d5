#pragma once

#include <cstdint>
#include <optional>

namespace vorlin {

/// A key by its position, as X numbers it: the kernel's number plus 8. 8 to 255.
using HardwareKey = std::uint8_t;

/// X key codes that the program itself names.
namespace hardwareKeys {
inline constexpr HardwareKey escape = 9;
inline constexpr HardwareKey leftControl = 37;
inline constexpr HardwareKey leftShift = 50;
inline constexpr HardwareKey rightShift = 62;
inline constexpr HardwareKey leftAlt = 64;
inline constexpr HardwareKey rightControl = 105;
inline constexpr HardwareKey rightAlt = 108;
inline constexpr HardwareKey leftSuper = 133;
inline constexpr HardwareKey rightSuper = 134;
} // namespace hardwareKeys

/// The virtual key code of a key, as in `Hotkey`; nothing for a key that has none.
std::optional<std::uint16_t> virtualKey(HardwareKey key);

/// The key of a virtual key code; nothing for a code that no key here has.
std::optional<HardwareKey> hardwareKey(std::uint16_t virtualKey);

/// The letter (a-z) that a US keyboard types with a virtual key code; nothing for other keys.
std::optional<char> letterOf(std::uint16_t virtualKey);

/// Whether a virtual key code is that of a modifier key, Caps Lock included.
constexpr bool isModifierKey(std::uint16_t virtualKey)
{
    return virtualKey >= 54 && virtualKey <= 63;
}

} // namespace vorlin
