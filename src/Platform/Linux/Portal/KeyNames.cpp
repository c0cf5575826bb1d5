#include "Platform/Linux/Portal/KeyNames.h"

#include <xkbcommon/xkbcommon.h>

#include <array>
#include <utility>

namespace vorlin {

namespace {

struct Named {
    std::uint16_t virtualKey;
    std::string_view name;
};

constexpr Named named[] = {
    {0, "a"},
    {1, "s"},
    {2, "d"},
    {3, "f"},
    {4, "h"},
    {5, "g"},
    {6, "z"},
    {7, "x"},
    {8, "c"},
    {9, "v"},
    {11, "b"},
    {12, "q"},
    {13, "w"},
    {14, "e"},
    {15, "r"},
    {16, "y"},
    {17, "t"},
    {31, "o"},
    {32, "u"},
    {34, "i"},
    {35, "p"},
    {37, "l"},
    {38, "j"},
    {40, "k"},
    {45, "n"},
    {46, "m"},
    {18, "1"},
    {19, "2"},
    {20, "3"},
    {21, "4"},
    {23, "5"},
    {22, "6"},
    {26, "7"},
    {28, "8"},
    {25, "9"},
    {29, "0"},
    {24, "equal"},
    {27, "minus"},
    {30, "bracketright"},
    {33, "bracketleft"},
    {39, "apostrophe"},
    {41, "semicolon"},
    {42, "backslash"},
    {43, "comma"},
    {44, "slash"},
    {47, "period"},
    {50, "grave"},
    {10, "less"},
    {36, "Return"},
    {48, "Tab"},
    {49, "space"},
    {51, "BackSpace"},
    {53, "Escape"},
    {110, "Menu"},
    {65, "KP_Decimal"},
    {67, "KP_Multiply"},
    {69, "KP_Add"},
    {71, "Num_Lock"},
    {75, "KP_Divide"},
    {76, "KP_Enter"},
    {78, "KP_Subtract"},
    {81, "KP_Equal"},
    {82, "KP_0"},
    {83, "KP_1"},
    {84, "KP_2"},
    {85, "KP_3"},
    {86, "KP_4"},
    {87, "KP_5"},
    {88, "KP_6"},
    {89, "KP_7"},
    {91, "KP_8"},
    {92, "KP_9"},
    {122, "F1"},
    {120, "F2"},
    {99, "F3"},
    {118, "F4"},
    {96, "F5"},
    {97, "F6"},
    {98, "F7"},
    {100, "F8"},
    {101, "F9"},
    {109, "F10"},
    {103, "F11"},
    {111, "F12"},
    {105, "F13"},
    {107, "F14"},
    {113, "F15"},
    {106, "F16"},
    {64, "F17"},
    {79, "F18"},
    {80, "F19"},
    {90, "F20"},
    {114, "Insert"},
    {115, "Home"},
    {116, "Page_Up"},
    {117, "Delete"},
    {119, "End"},
    {121, "Page_Down"},
    {123, "Left"},
    {124, "Right"},
    {125, "Down"},
    {126, "Up"},
};

constexpr auto names = [] {
    std::array<std::string_view, 128> table;
    for (const auto& [virtualKey, name] : named) {
        table.at(virtualKey) = name;
    }
    return table;
}();

} // namespace

std::string_view keySymbolName(std::uint16_t virtualKey)
{
    return virtualKey < names.size() ? names[virtualKey] : std::string_view();
}

std::uint32_t keySymbol(std::string_view name)
{
    return xkb_keysym_from_name(std::string(name).c_str(), XKB_KEYSYM_NO_FLAGS);
}

std::optional<std::string> shortcutTrigger(const Hotkey& hotkey)
{
    const auto name = keySymbolName(hotkey.keyCode);
    if (hotkey.modifierOnly || name.empty()) {
        return std::nullopt;
    }
    std::string trigger;
    for (const auto& [flag, modifier] : {std::pair{eventFlags::maskControl, "CTRL+"},
                                         {eventFlags::maskAlternate, "ALT+"},
                                         {eventFlags::maskShift, "SHIFT+"},
                                         {eventFlags::maskCommand, "LOGO+"}}) {
        if ((hotkey.modifiers & flag) != 0) {
            trigger += modifier;
        }
    }
    return trigger.append(name);
}

} // namespace vorlin
