#include "Ports/MultiArray.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace vorlin {
namespace {

TEST(MultiArray, aNewArrayIsDenseAndHoldsZeros)
{
    const MultiArray array(MLElementType::int32, {2, 3, 4});
    EXPECT_EQ(array.strides(), (MultiArray::Extents{12, 4, 1}));
    EXPECT_EQ(array.elementCount(), 24U);
    EXPECT_TRUE(array.isDense());
    for (int i = 0; i < 24; ++i) {
        EXPECT_EQ(array.number(i), 0);
    }
}

TEST(MultiArray, aCopyNamesTheSameElements)
{
    MultiArray array(MLElementType::float32, {2});
    const MultiArray copy = array;
    array.as<float>()[1] = 0.5F;
    EXPECT_EQ(copy.number(1), 0.5);
}

TEST(MultiArray, stridesOfGapsAreNotDenseButExtentsOfOneDoNotMatter)
{
    const auto memory =
        std::shared_ptr<std::byte>(new std::byte[64]{}, std::default_delete<std::byte[]>());
    EXPECT_FALSE(MultiArray(MLElementType::float16, {2, 3}, {4, 1}, memory).isDense());
    EXPECT_FALSE(MultiArray(MLElementType::float16, {2, 3}, {1, 2}, memory).isDense());
    EXPECT_TRUE(MultiArray(MLElementType::float16, {1, 3}, {77, 1}, memory).isDense());
}

TEST(MultiArray, anArrayOfNothingHasNoElementsAndAnEmptyOneHasAnAddress)
{
    EXPECT_EQ(MultiArray().elementCount(), 0U);
    const MultiArray empty(MLElementType::float32, {3, 0});
    EXPECT_EQ(empty.elementCount(), 0U);
    EXPECT_NE(empty.data(), nullptr);
}

TEST(MultiArray, halfPrecisionReadsAsTheNumberItStandsFor)
{
    MultiArray array(MLElementType::float16, {7});
    const std::vector<std::uint16_t> bits{0x3C00, 0xC000, 0x3555, 0x0001, 0x7C00, 0xFC00, 0x7E00};
    std::copy(bits.begin(), bits.end(), array.as<std::uint16_t>());
    EXPECT_EQ(array.number(0), 1);
    EXPECT_EQ(array.number(1), -2);
    EXPECT_EQ(array.number(2), 0.333251953125);
    EXPECT_EQ(array.number(3), std::ldexp(1, -24));
    EXPECT_EQ(array.number(4), INFINITY);
    EXPECT_EQ(array.number(5), -INFINITY);
    EXPECT_TRUE(std::isnan(array.number(6)));
}

TEST(MultiArrayDeathTest, impossibleExtentsStopTheProgram)
{
    EXPECT_DEATH(MultiArray(MLElementType::float32, {-1}), "impossible extents");
    EXPECT_DEATH(MultiArray(MLElementType::float32, {1 << 30, 1 << 30, 1 << 30}),
                 "impossible extents");
}

} // namespace
} // namespace vorlin
