#include "Platform/Linux/Keys/HardwareKeys.h"

#include <array>

namespace vorlin {

namespace {

struct Pair {
    HardwareKey hardware;
    std::uint16_t virtualCode;
};

/// Each key of one side has exactly one partner on the other. By position: 52 is the key that a
/// US keyboard labels Z.
constexpr Pair pairs[] = {
    // letters
    {38, 0},
    {39, 1},
    {40, 2},
    {41, 3},
    {43, 4},
    {42, 5},
    {52, 6},
    {53, 7},
    {54, 8},
    {55, 9},
    {56, 11},
    {24, 12},
    {25, 13},
    {26, 14},
    {27, 15},
    {29, 16},
    {28, 17},
    {32, 31},
    {30, 32},
    {31, 34},
    {33, 35},
    {46, 37},
    {44, 38},
    {45, 40},
    {57, 45},
    {58, 46},
    // digits
    {10, 18},
    {11, 19},
    {12, 20},
    {13, 21},
    {15, 22},
    {14, 23},
    {18, 25},
    {16, 26},
    {17, 28},
    {19, 29},
    // punctuation; 94 is the key next to the left Shift key that US keyboards lack
    {21, 24},
    {20, 27},
    {35, 30},
    {34, 33},
    {48, 39},
    {47, 41},
    {51, 42},
    {59, 43},
    {61, 44},
    {60, 47},
    {49, 50},
    {94, 10},
    // Return, Tab, Space, Delete (backspace), Escape, menu
    {36, 36},
    {23, 48},
    {65, 49},
    {22, 51},
    {9, 53},
    {135, 110},
    // modifiers: Super, Shift, Caps Lock, Alt, Control; Fn where a keyboard reports it
    {134, 54},
    {133, 55},
    {50, 56},
    {66, 57},
    {64, 58},
    {37, 59},
    {62, 60},
    {108, 61},
    {105, 62},
    {151, 63},
    // keypad; 77 is Num Lock, where other keyboards have Clear
    {91, 65},
    {63, 67},
    {86, 69},
    {77, 71},
    {106, 75},
    {104, 76},
    {82, 78},
    {125, 81},
    {90, 82},
    {87, 83},
    {88, 84},
    {89, 85},
    {83, 86},
    {84, 87},
    {85, 88},
    {79, 89},
    {80, 91},
    {81, 92},
    // Japanese keyboards: Yen, underscore, keypad comma, Eisu, Kana
    {132, 93},
    {97, 94},
    {129, 95},
    {102, 102},
    {100, 104},
    // F1 to F20
    {67, 122},
    {68, 120},
    {69, 99},
    {70, 118},
    {71, 96},
    {72, 97},
    {73, 98},
    {74, 100},
    {75, 101},
    {76, 109},
    {95, 103},
    {96, 111},
    {191, 105},
    {192, 107},
    {193, 113},
    {194, 106},
    {195, 64},
    {196, 79},
    {197, 80},
    {198, 90},
    // Insert, Home, Page Up, forward Delete, End, Page Down, arrows
    {118, 114},
    {110, 115},
    {112, 116},
    {119, 117},
    {115, 119},
    {117, 121},
    {113, 123},
    {114, 124},
    {116, 125},
    {111, 126},
};

struct Tables {
    std::array<std::optional<std::uint16_t>, 256> toVirtual;
    std::array<std::optional<HardwareKey>, 128> toHardware;
};

constexpr Tables tables = [] {
    Tables result;
    for (const auto& [hardware, virtualCode] : pairs) {
        result.toVirtual.at(hardware) = virtualCode;
        result.toHardware.at(virtualCode) = hardware;
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

} // namespace vorlin
