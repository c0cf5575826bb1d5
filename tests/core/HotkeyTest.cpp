#include "Hotkey.h"

#include <gtest/gtest.h>

#include <array>
#include <map>
#include <set>
#include <string>

namespace vorlin {
namespace {

const std::map<std::uint16_t, std::string_view> keyNames = {
    // letters
    {0, "A"},
    {1, "S"},
    {2, "D"},
    {3, "F"},
    {4, "H"},
    {5, "G"},
    {6, "Z"},
    {7, "X"},
    {8, "C"},
    {9, "V"},
    {11, "B"},
    {12, "Q"},
    {13, "W"},
    {14, "E"},
    {15, "R"},
    {16, "Y"},
    {17, "T"},
    {31, "O"},
    {32, "U"},
    {34, "I"},
    {35, "P"},
    {37, "L"},
    {38, "J"},
    {40, "K"},
    {45, "N"},
    {46, "M"},
    // digits
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
    // named keys
    {36, "Return"},
    {48, "Tab"},
    {49, "Space"},
    {51, "Delete"},
    // arrows
    {123, "←"},
    {124, "→"},
    {125, "↓"},
    {126, "↑"},
    // function keys
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
    // punctuation
    {27, "-"},
    {24, "="},
    {33, "["},
    {30, "]"},
    {41, ";"},
    {39, "'"},
    {43, ","},
    {47, "."},
    {44, "/"},
    {42, "\\"},
    {50, "`"},
};

TEST(Hotkey, defaultIsTheRightOptionKeyAlone)
{
    EXPECT_EQ(Hotkey{}, (Hotkey{61, 0, true}));
    EXPECT_EQ(Hotkey{}.label(), "Right ⌥ Option");
}

TEST(Hotkey, capsLockHasNoNameAndNoFlag)
{
    EXPECT_EQ((Hotkey{57, 0, true}).label(), "Key 57");
    EXPECT_EQ(Hotkey::flag(57), std::nullopt);
    EXPECT_EQ(Hotkey::flag(53), std::nullopt);
    EXPECT_EQ(Hotkey::flag(64), std::nullopt);
}

TEST(Hotkey, bothSidesOfAModifierSetOneFlag)
{
    using namespace eventFlags;
    const std::map<std::uint16_t, std::uint64_t> flags = {
        {54, maskCommand},   {55, maskCommand}, {56, maskShift},
        {58, maskAlternate}, {59, maskControl}, {60, maskShift},
        {61, maskAlternate}, {62, maskControl}, {63, maskSecondaryFn}};
    for (const auto& [keyCode, flag] : flags) {
        EXPECT_EQ(Hotkey::flag(keyCode), flag) << keyCode;
    }
}

TEST(Hotkey, labelOrdersModifiersAndFallsBackToTheNumber)
{
    using namespace eventFlags;
    EXPECT_EQ((Hotkey{49, maskAlternate, false}).label(), "⌥ Space");
    EXPECT_EQ((Hotkey{40, maskCommand | maskShift | maskControl, false}).label(), "⌃⇧⌘ K");
    EXPECT_EQ((Hotkey{40, maskCommand | maskShift | maskAlternate | maskControl, false}).label(),
              "⌃⌥⇧⌘ K");
    EXPECT_EQ((Hotkey{96, 0, false}).label(), "F5");
    EXPECT_EQ((Hotkey{53, maskCommand, false}).label(), "⌘ Key 53");
}

TEST(Hotkey, otherModifierBitsDoNotShowButCountInEquality)
{
    const Hotkey plain{96, 0, false};
    const Hotkey withFn{96, eventFlags::maskSecondaryFn, false};
    EXPECT_EQ(withFn.label(), "F5");
    EXPECT_NE(plain, withFn);
    EXPECT_NE(std::hash<Hotkey>{}(plain), std::hash<Hotkey>{}(withFn));
}

TEST(Hotkey, differingOnlyInModifierOnlyIsUnequal)
{
    EXPECT_NE((Hotkey{61, 0, true}), (Hotkey{61, 0, false}));
}

TEST(Hotkey, everyNamedKeyHasItsNumberAndNoOtherIsNamed)
{
    EXPECT_EQ(keyNames.size(), 74U);
    EXPECT_EQ(Hotkey::keyNames, keyNames);
}

TEST(Hotkey, everyLoneModifierHasItsNumberAndCapsLockIsNone)
{
    const std::map<std::uint16_t, std::string_view> names = {
        {54, "Right ⌘ Command"}, {55, "Left ⌘ Command"}, {58, "Left ⌥ Option"},
        {61, "Right ⌥ Option"},  {59, "Left ⌃ Control"}, {62, "Right ⌃ Control"},
        {56, "Left ⇧ Shift"},    {60, "Right ⇧ Shift"},  {63, "fn (Globe)"},
    };
    EXPECT_EQ(Hotkey::modifierNames, names);
}

TEST(Hotkey, standaloneAreExactlyF1ToF19)
{
    std::set<std::uint16_t> functionKeys;
    for (int number = 1; number <= 19; ++number) {
        const auto name = "F" + std::to_string(number);
        for (const auto& [code, each] : Hotkey::keyNames) {
            if (each == name) {
                functionKeys.insert(code);
            }
        }
    }
    EXPECT_EQ(functionKeys.size(), 19U);
    EXPECT_EQ(Hotkey::standaloneCodes, functionKeys);
}

TEST(Hotkey, presetsComeInTheirOrder)
{
    const std::array<Hotkey, 4> presets = {{
        {61, 0, true},
        {54, 0, true},
        {63, 0, true},
        {49, 0x80000, false},
    }};
    EXPECT_EQ(Hotkey::presets, presets);
}

TEST(Hotkey, onlyFunctionKeysAreStandalone)
{
    EXPECT_TRUE((Hotkey{122, 0, false}).isStandalone());
    EXPECT_FALSE((Hotkey{49, 0, false}).isStandalone());
    EXPECT_FALSE((Hotkey{36, 0, false}).isStandalone());
}

TEST(Hotkey, encodingRoundTrips)
{
    for (const auto& hotkey : Hotkey::presets) {
        EXPECT_EQ(Hotkey::decode(hotkey.encoded()), hotkey);
    }
    EXPECT_EQ(Hotkey::decode(R"( {"modifierOnly":true , "keyCode":61, "modifiers":0, "x":1} )"),
              Hotkey{});
}

TEST(Hotkey, decodingFailsWithoutAMember)
{
    EXPECT_EQ(Hotkey::decode(R"({"keyCode":61,"modifiers":0})"), std::nullopt);
    EXPECT_EQ(Hotkey::decode(R"({"keyCode":61,"modifierOnly":true})"), std::nullopt);
    EXPECT_EQ(Hotkey::decode(R"({"modifiers":0,"modifierOnly":true})"), std::nullopt);
}

TEST(Hotkey, decodingFailsOnWrongTypesAndRanges)
{
    for (const auto* json :
         {"", "[]", "61", R"({"keyCode":"61","modifiers":0,"modifierOnly":true})",
          R"({"keyCode":65536,"modifiers":0,"modifierOnly":true})",
          R"({"keyCode":-1,"modifiers":0,"modifierOnly":true})",
          R"({"keyCode":61,"modifiers":0,"modifierOnly":1})",
          R"({"keyCode":6.5,"modifiers":0,"modifierOnly":true})"}) {
        EXPECT_EQ(Hotkey::decode(json), std::nullopt) << json;
    }
}

} // namespace
} // namespace vorlin
