#include "Platform/Linux/Keys/HardwareKeys.h"

#include "Hotkey.h"

#include <array>

#include <linux/input-event-codes.h>

namespace vorlin {

namespace {

struct Pair {
    /// The kernel's number.
    int key;
    std::uint16_t virtualCode;
};

constexpr HardwareKey hardwareNumber(int key)
{
    return static_cast<HardwareKey>(key + 8);
}

static_assert(hardwareKeys::escape == hardwareNumber(KEY_ESC));
static_assert(hardwareKeys::leftControl == hardwareNumber(KEY_LEFTCTRL));
static_assert(hardwareKeys::leftShift == hardwareNumber(KEY_LEFTSHIFT));
static_assert(hardwareKeys::rightShift == hardwareNumber(KEY_RIGHTSHIFT));
static_assert(hardwareKeys::leftAlt == hardwareNumber(KEY_LEFTALT));
static_assert(hardwareKeys::rightControl == hardwareNumber(KEY_RIGHTCTRL));
static_assert(hardwareKeys::rightAlt == hardwareNumber(KEY_RIGHTALT));
static_assert(hardwareKeys::leftSuper == hardwareNumber(KEY_LEFTMETA));
static_assert(hardwareKeys::rightSuper == hardwareNumber(KEY_RIGHTMETA));

/// Each key of one side has exactly one partner on the other. By position: the kernel's names are
/// what a US keyboard has there.
constexpr Pair pairs[] = {
    // letters
    {KEY_A, 0},
    {KEY_S, 1},
    {KEY_D, 2},
    {KEY_F, 3},
    {KEY_H, 4},
    {KEY_G, 5},
    {KEY_Z, 6},
    {KEY_X, 7},
    {KEY_C, 8},
    {KEY_V, 9},
    {KEY_B, 11},
    {KEY_Q, 12},
    {KEY_W, 13},
    {KEY_E, 14},
    {KEY_R, 15},
    {KEY_Y, 16},
    {KEY_T, 17},
    {KEY_O, 31},
    {KEY_U, 32},
    {KEY_I, 34},
    {KEY_P, 35},
    {KEY_L, 37},
    {KEY_J, 38},
    {KEY_K, 40},
    {KEY_N, 45},
    {KEY_M, 46},
    // digits
    {KEY_1, 18},
    {KEY_2, 19},
    {KEY_3, 20},
    {KEY_4, 21},
    {KEY_6, 22},
    {KEY_5, 23},
    {KEY_9, 25},
    {KEY_7, 26},
    {KEY_8, 28},
    {KEY_0, 29},
    // punctuation; the last is the key next to the left Shift key that US keyboards lack
    {KEY_EQUAL, 24},
    {KEY_MINUS, 27},
    {KEY_RIGHTBRACE, 30},
    {KEY_LEFTBRACE, 33},
    {KEY_APOSTROPHE, 39},
    {KEY_SEMICOLON, 41},
    {KEY_BACKSLASH, 42},
    {KEY_COMMA, 43},
    {KEY_SLASH, 44},
    {KEY_DOT, 47},
    {KEY_GRAVE, 50},
    {KEY_102ND, 10},
    // named keys
    {KEY_ENTER, 36},
    {KEY_TAB, 48},
    {KEY_SPACE, 49},
    {KEY_BACKSPACE, 51},
    {KEY_ESC, 53},
    {KEY_COMPOSE, 110},
    // modifiers; the last is what some laptops report for Fn
    {KEY_RIGHTMETA, 54},
    {KEY_LEFTMETA, 55},
    {KEY_LEFTSHIFT, 56},
    {KEY_CAPSLOCK, 57},
    {KEY_LEFTALT, 58},
    {KEY_LEFTCTRL, 59},
    {KEY_RIGHTSHIFT, 60},
    {KEY_RIGHTALT, 61},
    {KEY_RIGHTCTRL, 62},
    {KEY_WAKEUP, 63},
    // keypad; other keyboards have Clear in the place of Num Lock
    {KEY_KPDOT, 65},
    {KEY_KPASTERISK, 67},
    {KEY_KPPLUS, 69},
    {KEY_NUMLOCK, 71},
    {KEY_KPSLASH, 75},
    {KEY_KPENTER, 76},
    {KEY_KPMINUS, 78},
    {KEY_KPEQUAL, 81},
    {KEY_KP0, 82},
    {KEY_KP1, 83},
    {KEY_KP2, 84},
    {KEY_KP3, 85},
    {KEY_KP4, 86},
    {KEY_KP5, 87},
    {KEY_KP6, 88},
    {KEY_KP7, 89},
    {KEY_KP8, 91},
    {KEY_KP9, 92},
    // Japanese keyboards: Yen, underscore, keypad comma, Eisu, Kana
    {KEY_YEN, 93},
    {KEY_RO, 94},
    {KEY_KPCOMMA, 95},
    {KEY_MUHENKAN, 102},
    {KEY_HENKAN, 104},
    // F1 to F20
    {KEY_F1, 122},
    {KEY_F2, 120},
    {KEY_F3, 99},
    {KEY_F4, 118},
    {KEY_F5, 96},
    {KEY_F6, 97},
    {KEY_F7, 98},
    {KEY_F8, 100},
    {KEY_F9, 101},
    {KEY_F10, 109},
    {KEY_F11, 103},
    {KEY_F12, 111},
    {KEY_F13, 105},
    {KEY_F14, 107},
    {KEY_F15, 113},
    {KEY_F16, 106},
    {KEY_F17, 64},
    {KEY_F18, 79},
    {KEY_F19, 80},
    {KEY_F20, 90},
    // navigation
    {KEY_INSERT, 114},
    {KEY_HOME, 115},
    {KEY_PAGEUP, 116},
    {KEY_DELETE, 117},
    {KEY_END, 119},
    {KEY_PAGEDOWN, 121},
    {KEY_LEFT, 123},
    {KEY_RIGHT, 124},
    {KEY_DOWN, 125},
    {KEY_UP, 126},
};

struct Tables {
    std::array<std::optional<std::uint16_t>, 256> toVirtual;
    std::array<std::optional<HardwareKey>, 128> toHardware;
};

constexpr Tables tables = [] {
    Tables result;
    for (const auto& [key, virtualCode] : pairs) {
        result.toVirtual.at(hardwareNumber(key)) = virtualCode;
        result.toHardware.at(virtualCode) = hardwareNumber(key);
    }
    return result;
}();

} // namespace

std::optional<std::uint16_t> virtualKey(HardwareKey key)
{
    return tables.toVirtual[key];
}

std::optional<HardwareKey> hardwareKey(std::uint16_t virtualKey)
{
    return virtualKey < tables.toHardware.size() ? tables.toHardware[virtualKey] : std::nullopt;
}

std::optional<char> letterOf(std::uint16_t virtualKey)
{
    const auto name = Hotkey::keyNames.find(virtualKey);
    if (name == Hotkey::keyNames.end() || name->second.size() != 1) {
        return std::nullopt;
    }
    const char letter = name->second.front();
    return letter >= 'A' && letter <= 'Z' ? std::optional(static_cast<char>(letter - 'A' + 'a'))
                                          : std::nullopt;
}

} // namespace vorlin
