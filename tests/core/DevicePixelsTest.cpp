#include "Ports/DevicePixels.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <random>

namespace vorlin {
namespace {

TEST(DevicePixels, flipEachEdgeOnce)
{
    EXPECT_EQ(devicePixels({425, 56, 430, 76}, {800, 1}), (DeviceRect{425, 668, 430, 76}));
    EXPECT_EQ(devicePixels({425, 56, 430, 76}, {800, 2}), (DeviceRect{850, 1336, 860, 152}));
}

TEST(DevicePixels, roundEachEdgeToTheNearestHalfUp)
{
    // Edges at 0.5, 2.5 sideways and 799.5, 797.5 downwards.
    EXPECT_EQ(devicePixels({0.5, 0.5, 2, 2}, {800, 1}), (DeviceRect{1, 798, 2, 2}));
    EXPECT_EQ(devicePixels({0.49, 0.51, 2, 2}, {800, 1}), (DeviceRect{0, 797, 2, 2}));
    EXPECT_EQ(devicePixels({-0.5, 800.5, 2, 2}, {800, 1}), (DeviceRect{0, -2, 2, 2}));
    EXPECT_EQ(devicePixels({-1.5, 0, 1, 1}, {800, 1}).x, -1);
    const double justBelow = std::nextafter(0.5, 0);
    EXPECT_EQ(devicePixels({justBelow, 0, 1, 1}, {800, 1}).x, 0);
}

TEST(DevicePixels, takeTheSizeFromTheRoundedEdges)
{
    // 365.5 wide: 366 pixels from 0, but 365 from 0.5 on (1 to 366).
    EXPECT_EQ(devicePixels({0, 0, 365.5, 64.6}, {800, 1}), (DeviceRect{0, 735, 366, 65}));
    EXPECT_EQ(devicePixels({0.5, 0, 365.5, 64.6}, {800, 1}), (DeviceRect{1, 735, 365, 65}));
}

TEST(DevicePixels, leaveNoGapBetweenNeighbours)
{
    std::mt19937_64 random(3);
    std::uniform_real_distribution<double> anywhere(-5000, 5000);
    std::uniform_real_distribution<double> length(0, 3000);
    for (std::size_t run = 0; run < 5000; ++run) {
        const DeviceSpace space{anywhere(random), std::array{1.0, 1.25, 1.5, 2.0}.at(run % 4)};
        const Rect one{anywhere(random), anywhere(random), length(random), length(random)};
        const Rect above{one.x, one.maxY(), one.width, length(random)};
        const auto first = devicePixels(one, space);
        const auto second = devicePixels(above, space);
        EXPECT_EQ(second.y + second.height, first.y);
        EXPECT_LE(std::abs(first.x - one.x * space.scale), 0.5);
        EXPECT_LE(std::abs(first.y + first.height - (space.top - one.y) * space.scale), 0.5);
    }
}

TEST(DevicePixels, ofWhatNoIntHoldsAreTheNearest)
{
    constexpr int lowest = std::numeric_limits<int>::min();
    constexpr int highest = std::numeric_limits<int>::max();
    const auto far = devicePixels({-1e300, -1e300, 2e300, 2e300}, {800, 1});
    EXPECT_EQ(far, (DeviceRect{lowest, lowest, highest, highest}));
    EXPECT_EQ(devicePixels({std::nan(""), 0, 1, 1}, {800, 1}).x, 0);
    EXPECT_EQ(devicePixels({std::numeric_limits<double>::infinity(), 0, 1, 1}, {800, 1}).x,
              highest);
}

} // namespace
} // namespace vorlin
