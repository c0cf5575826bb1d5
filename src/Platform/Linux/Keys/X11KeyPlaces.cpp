#include "Platform/Linux/Keys/X11KeyPlaces.h"

namespace vorlin {

namespace {

/// X's number of a key is the kernel's and this.
constexpr std::uint32_t kernelOffset = 8;

} // namespace

std::optional<std::uint32_t> placeInAllLayouts(X11Keyboard& keyboard, std::uint16_t keyCode)
{
    const auto letter = letterOf(keyCode);
    const auto onUsKeyboards = hardwareKey(keyCode);
    if (!letter || !onUsKeyboards) {
        return std::nullopt;
    }
    const auto keys = keyboard.typedLayout().keysTyping(*letter);
    if (keys.size() > 1) {
        return std::nullopt;
    }
    return (keys.empty() ? *onUsKeyboards : keys.front()) - kernelOffset;
}

} // namespace vorlin
