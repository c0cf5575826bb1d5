#include "Platform/Linux/Keys/SwayLedger.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <fstream>

namespace vorlin {
namespace {

TEST(SwayBindingsTest, aNameSaysWhichBindingItIsAndOnlyToWhoKnowsTheToken)
{
    const SwayBinding binding{108, swayModifiers::third, true};
    const auto name = "nop " + swayBindingName("vorlin-1", binding);
    EXPECT_EQ(swayBindingNamed(name, "vorlin-1"), binding);
    EXPECT_EQ(swayBindingNamed(name, "vorlin-2"), std::nullopt);
    EXPECT_EQ(swayBindingNamed(name, "vorlin-"), std::nullopt);
    for (const auto* other : {"", "nop", "nop vorlin-1", "nop vorlin-1 p", "nop vorlin-1 p 9",
                              "nop vorlin-1 p 256 0", "nop vorlin-1 x 9 0", "nop vorlin-1 p 9 0 0",
                              "nop vorlin-1 p 9 0x", "exec vorlin-1 p 9 0"}) {
        EXPECT_EQ(swayBindingNamed(other, "vorlin-1"), std::nullopt) << other;
    }
}

TEST(SwayBindingsTest, aModeThatCannotBeWrittenIntoACommandIsNotSuitable)
{
    EXPECT_TRUE(isSuitableSwayMode("default"));
    EXPECT_TRUE(isSuitableSwayMode("(p)oweroff or größer"));
    for (const auto* mode : {"", "a\"b", "a;b", "a,b", "$mod", "a\nb", "a\\", "it's"}) {
        EXPECT_FALSE(isSuitableSwayMode(mode)) << mode;
    }
}

TEST(SwayLedgerTest, whatIsWrittenIsRead)
{
    const QTemporaryDir folder;
    const auto path = std::filesystem::path(folder.path().toStdString()) / "ledger";
    const SwayLedger ledger{
        "vorlin-1",
        {{"default", {{75, 0, false}, {75, 0, true}}}, {"two words", {{9, 5, false}}}},
        {75, 9}};
    ASSERT_TRUE(ledger.write(path));
    const auto read = SwayLedger::read(path);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->token, ledger.token);
    EXPECT_EQ(read->bindings, ledger.bindings);
    EXPECT_EQ(read->held, ledger.held);
    EXPECT_TRUE((SwayLedger{"vorlin-1", {}}.write(path)));
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_FALSE(SwayLedger::read(path));
}

TEST(SwayLedgerTest, aDamagedOneIsNone)
{
    EXPECT_TRUE(SwayLedger::parse("vorlin-bindings-1 t\n"));
    for (const auto* text :
         {"", "x", "vorlin-bindings-1", "vorlin-bindings-2 t\n",
          "vorlin-bindings-1 t p 9 0 default", "vorlin-bindings-1 t\np 9 0\n",
          "vorlin-bindings-1 t\nq 9 0 default\n", "vorlin-bindings-1 t\np 256 0 default\n",
          "vorlin-bindings-1 t\np 9 x default\n", "vorlin-bindings-1 t\nh 256\n",
          "vorlin-bindings-1 t\nh 9 x\n", "vorlin-bindings-1 t\np 9 0 a;exec b\n"}) {
        EXPECT_FALSE(SwayLedger::parse(text)) << text;
    }
}

} // namespace
} // namespace vorlin
