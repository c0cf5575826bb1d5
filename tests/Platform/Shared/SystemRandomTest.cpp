#include "Platform/Shared/SystemRandom.h"

#include <gtest/gtest.h>

#include <bitset>
#include <set>

namespace vorlin {
namespace {

TEST(SystemRandom, everyBitChangesAndNoValueComesTwice)
{
    SystemRandom random;
    std::set<std::uint64_t> values;
    std::uint64_t everSet = 0;
    std::uint64_t everClear = 0;
    for (int i = 0; i < 200; ++i) {
        const std::uint64_t bits = random.bits();
        values.insert(bits);
        everSet |= bits;
        everClear |= ~bits;
    }
    EXPECT_EQ(values.size(), 200U);
    EXPECT_TRUE(std::bitset<64>(everSet).all());
    EXPECT_TRUE(std::bitset<64>(everClear).all());
}

} // namespace
} // namespace vorlin
