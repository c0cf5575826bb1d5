#include "Models/ByteCount.h"

#include <gtest/gtest.h>

#include <limits>

namespace vorlin {
namespace {

TEST(ByteCount, readsAsAPersonReadsTheSizeOfAFile)
{
    const std::pair<std::uint64_t, const char*> sizes[] = {
        {0, "Zero KB"},
        {1, "1 byte"},
        {2, "2 bytes"},
        {999, "999 bytes"},
        {1'000, "1 KB"},
        {1'499, "1 KB"},
        {1'500, "2 KB"},
        {4'096, "4 KB"},
        {623'400, "623 KB"},
        {1'000'000, "1 MB"},
        {1'049'999, "1 MB"},
        {1'050'000, "1.1 MB"},
        {12'000'000, "12 MB"},
        {623'400'000, "623.4 MB"},
        {623'449'999, "623.4 MB"},
        {623'950'000, "624 MB"},
        {1'000'000'000, "1 GB"},
        {1'004'999'999, "1 GB"},
        {1'005'000'000, "1.01 GB"},
        {1'230'000'000, "1.23 GB"},
        {1'200'000'000, "1.2 GB"},
        {10'050'000'000, "10.05 GB"},
        {2'500'000'000'000, "2.5 TB"},
        {7'250'000'000'000'000, "7.25 PB"},
        {std::numeric_limits<std::uint64_t>::max(), "18.45 EB"},
    };
    for (const auto& [bytes, text] : sizes) {
        EXPECT_EQ(byteCount(bytes), text) << bytes;
    }
}

TEST(ByteCount, whatRoundsToAThousandOfAUnitIsOneOfTheNext)
{
    EXPECT_EQ(byteCount(999'499), "999 KB");
    EXPECT_EQ(byteCount(999'500), "1 MB");
    EXPECT_EQ(byteCount(999'950), "1 MB");
    EXPECT_EQ(byteCount(999'949'999), "999.9 MB");
    EXPECT_EQ(byteCount(999'950'000), "1 GB");
    EXPECT_EQ(byteCount(999'994'999'999), "999.99 GB");
    EXPECT_EQ(byteCount(999'995'000'000), "1 TB");
}

} // namespace
} // namespace vorlin
