#include "Platform/Linux/Tray/PointerPlace.h"

#include <gtest/gtest.h>

namespace vorlin {
namespace {

TEST(PointerPlace, withoutScalingAPlaceIsWhereTheServerSays)
{
    const QList<ScaledScreen> screens{{{0, 0, 1920, 1080}, 1}, {{1920, 0, 1280, 1024}, 1}};
    EXPECT_EQ(placeFromPixels({1919, 5}, screens), QPoint(1919, 5));
    EXPECT_EQ(placeFromPixels({1920, 5}, screens), QPoint(1920, 5));
    EXPECT_EQ(placeFromPixels({3000, 900}, screens), QPoint(3000, 900));
}

TEST(PointerPlace, eachMonitorsCornerStaysAndItsSizeIsScaled)
{
    const QList<ScaledScreen> screens{{{0, 0, 1920, 1080}, 2}, {{3840, 0, 1920, 1080}, 2}};
    EXPECT_EQ(placeFromPixels({3000, 2000}, screens), QPoint(1500, 1000));
    EXPECT_EQ(placeFromPixels({5000, 100}, screens), QPoint(4420, 50));
    EXPECT_EQ(placeFromPixels({3840, 2159}, screens), QPoint(3840, 1080));
}

TEST(PointerPlace, monitorsOfDifferentScalingEachHaveTheirOwn)
{
    const QList<ScaledScreen> screens{{{0, 0, 1920, 1080}, 2}, {{3840, 300, 1920, 1080}, 1}};
    EXPECT_EQ(placeFromPixels({3839, 1000}, screens), QPoint(1920, 500));
    EXPECT_EQ(placeFromPixels({4000, 1000}, screens), QPoint(4000, 1000));
    const QList<ScaledScreen> left{{{-2560, 0, 1707, 960}, 1.5}, {{0, 0, 1920, 1080}, 1}};
    EXPECT_EQ(placeFromPixels({-2500, 300}, left), QPoint(-2520, 200));
    EXPECT_EQ(placeFromPixels({40, 300}, left), QPoint(40, 300));
}

TEST(PointerPlace, aPlaceBesideAllMonitorsCountsAsOnTheNearest)
{
    const QList<ScaledScreen> screens{{{0, 0, 960, 540}, 2}, {{1920, 0, 1000, 1000}, 1}};
    EXPECT_EQ(placeFromPixels({1000, 1100}, screens), QPoint(500, 550));
    EXPECT_EQ(placeFromPixels({3000, 10}, screens), QPoint(3000, 10));
    EXPECT_EQ(placeFromPixels({30, 10}, {}), QPoint(30, 10));
}

} // namespace
} // namespace vorlin
