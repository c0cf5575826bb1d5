#include "Platform/Linux/Keys/HardwareKeys.h"

#include "Hotkey.h"

#include <gtest/gtest.h>

namespace vorlin {
namespace {

TEST(HardwareKeys, everyKeyThatAHotkeyCanNameHasAPlace)
{
    for (const auto& [code, name] : Hotkey::keyNames) {
        EXPECT_TRUE(hardwareKey(code)) << name;
    }
    for (const auto& [code, name] : Hotkey::modifierNames) {
        EXPECT_TRUE(hardwareKey(code)) << name;
    }
    for (const auto code : Hotkey::standaloneCodes) {
        EXPECT_TRUE(hardwareKey(code)) << code;
    }
    // Escape, Caps Lock, Insert, Home, End, Page Up and Down, forward Delete, F20, keypad
    for (const int code : {53, 57, 114, 115, 119, 116, 121, 117, 90, 65, 67, 69, 71, 75,
                           76, 78, 81,  82,  83,  84,  85,  86,  87, 88, 89, 91, 92}) {
        EXPECT_TRUE(hardwareKey(static_cast<std::uint16_t>(code))) << code;
    }
}

TEST(HardwareKeys, noTwoKeysShareACode)
{
    int mapped = 0;
    for (unsigned key = 0; key < 256; ++key) {
        if (const auto code = virtualKey(static_cast<HardwareKey>(key))) {
            ++mapped;
            EXPECT_EQ(hardwareKey(*code), key);
        }
    }
    EXPECT_GT(mapped, 100);
    for (std::uint32_t code = 0; code <= 0xFFFF; ++code) {
        if (const auto key = hardwareKey(static_cast<std::uint16_t>(code))) {
            EXPECT_EQ(virtualKey(*key), code);
        }
    }
}

TEST(HardwareKeys, keysAreWhereTheyWereMeasured)
{
    EXPECT_EQ(hardwareKey(keyCodes::rightOption), 108);
    EXPECT_EQ(hardwareKey(58), 64);
    EXPECT_EQ(hardwareKey(59), 37);
    EXPECT_EQ(hardwareKey(62), 105);
    EXPECT_EQ(hardwareKey(56), 50);
    EXPECT_EQ(hardwareKey(60), 62);
    EXPECT_EQ(hardwareKey(55), 133);
    EXPECT_EQ(hardwareKey(keyCodes::rightCommand), 134);
    EXPECT_EQ(hardwareKey(57), 66);
    EXPECT_EQ(hardwareKey(keyCodes::escape), 9);
    EXPECT_EQ(hardwareKey(keyCodes::space), 65);
    EXPECT_EQ(hardwareKey(keyCodes::v), 55);
    EXPECT_EQ(hardwareKey(100), 74) << "F8";
    EXPECT_EQ(hardwareKey(keyCodes::insert), 118);
    EXPECT_EQ(virtualKey(248), std::nullopt);
}

} // namespace
} // namespace vorlin
