#include "Platform/macOS/Plain/ModelFeatures.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace vorlin {
namespace {

TEST(ModelFeaturesTest, elementTypesHaveTheNumbersOfCoreML)
{
    EXPECT_EQ(dataType(MLElementType::float32), 65568);
    EXPECT_EQ(dataType(MLElementType::float16), 65552);
    EXPECT_EQ(dataType(MLElementType::int32), 131104);
    for (const auto type : {MLElementType::float32, MLElementType::float16, MLElementType::int32}) {
        EXPECT_EQ(elementType(dataType(type)), type);
    }
}

TEST(ModelFeaturesTest, doublesAndWhatIsNewerAreNoElementTypeOfOurs)
{
    EXPECT_EQ(elementType(0x10000 | 64), std::nullopt);
    EXPECT_EQ(elementType(0), std::nullopt);
}

TEST(ModelFeaturesTest, aFixedShapeHasOneExtentOnEveryAxis)
{
    EXPECT_EQ(exactly({2, 1, 640}), (std::vector<ExtentRange>{{2, 2}, {1, 1}, {640, 640}}));
}

TEST(ModelFeaturesTest, aRangeOfOneExtentIsThatExtent)
{
    EXPECT_EQ(extents(240000, 1), (ExtentRange{240000, 240000}));
}

TEST(ModelFeaturesTest, aRangeEndsWithItsLastExtent)
{
    EXPECT_EQ(extents(1, 512), (ExtentRange{1, 512}));
    EXPECT_EQ(extents(16000, 224001), (ExtentRange{16000, 240000}));
}

TEST(ModelFeaturesTest, aRangeWithoutEndGoesAsFarAsANumber)
{
    constexpr auto largest = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(extents(1, std::numeric_limits<std::uint64_t>::max()), (ExtentRange{1, largest}));
    EXPECT_EQ(extents(1, static_cast<std::uint64_t>(largest)), (ExtentRange{1, largest}));
}

} // namespace
} // namespace vorlin
