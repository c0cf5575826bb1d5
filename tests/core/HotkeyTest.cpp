#include "Hotkey.h"

#include <gtest/gtest.h>

namespace vorlin {
namespace {

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

TEST(Hotkey, tablesAreComplete)
{
    EXPECT_EQ(Hotkey::modifierNames.size(), 9U);
    EXPECT_EQ(Hotkey::keyNames.size(), 74U);
    EXPECT_EQ(Hotkey::standaloneCodes.size(), 19U);
    for (const auto keyCode : Hotkey::standaloneCodes) {
        EXPECT_EQ(Hotkey::keyNames.at(keyCode).front(), 'F');
    }
    EXPECT_FALSE(Hotkey::keyNames.contains(53));
    EXPECT_FALSE(Hotkey::modifierNames.contains(57));
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
