#include "Platform/Linux/Portal/KeyNames.h"

#include <gtest/gtest.h>

#include <optional>

namespace vorlin {
namespace {

using namespace eventFlags;
using Trigger = std::optional<std::string>;

TEST(KeyNamesTest, aHotkeyIsWrittenAsTheSpecificationOfShortcutsDoes)
{
    EXPECT_EQ(shortcutTrigger({101, 0, false}), Trigger("F9"));
    EXPECT_EQ(shortcutTrigger({2, maskControl | maskAlternate, false}), Trigger("CTRL+ALT+d"));
    EXPECT_EQ(shortcutTrigger({49, maskShift | maskCommand, false}), Trigger("SHIFT+LOGO+space"));
}

TEST(KeyNamesTest, aModifierAloneAndAnUnknownKeyMakeNoShortcut)
{
    EXPECT_EQ(shortcutTrigger({keyCodes::rightOption, 0, true}), std::nullopt);
    EXPECT_EQ(shortcutTrigger({keyCodes::rightOption, 0, false}), std::nullopt);
    EXPECT_EQ(shortcutTrigger({127, 0, false}), std::nullopt);
    EXPECT_EQ(shortcutTrigger({60000, 0, false}), std::nullopt);
}

TEST(KeyNamesTest, everyNameIsOneOfASymbol)
{
    int named = 0;
    for (unsigned code = 0; code < 200; ++code) {
        const auto name = keySymbolName(static_cast<std::uint16_t>(code));
        if (!name.empty()) {
            ++named;
            EXPECT_NE(keySymbol(name), 0U) << name;
        }
    }
    EXPECT_GT(named, 90);
    for (const auto& [code, label] : Hotkey::keyNames) {
        EXPECT_FALSE(keySymbolName(code).empty()) << label;
    }
    EXPECT_EQ(keySymbol("no such symbol"), 0U);
}

} // namespace
} // namespace vorlin
