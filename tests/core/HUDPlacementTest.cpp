#include "HUDPlacement.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace vorlin {
namespace {

constexpr auto clip = HUDTextMode::clip;
constexpr auto full = HUDTextMode::full;
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double noNumber = std::numeric_limits<double>::quiet_NaN();

TEST(HUDPanelSize, inFullModeAtScale1Point3Is676By390)
{
    EXPECT_EQ(panelSize(1.3, full), (Size{676, 390}));
}

TEST(HUDPanelSize, isTheScaledSizeOfItsMode)
{
    EXPECT_EQ(panelSize(1, clip), (Size{430, 76}));
    EXPECT_EQ(panelSize(1, full), (Size{520, 300}));
    EXPECT_EQ(panelSize(0.85, clip), (Size{365.5, 64.6}));
    EXPECT_EQ(panelSize(1.3, clip), (Size{559, 98.8}));
}

TEST(HUDPanelFrame, keepsTheMarginFromTheEdgesItsPositionNames)
{
    const Rect visible{100, 40, 1000, 760}; // to (1100, 800), middle (600, 420)
    const Size size{430, 76};
    const auto at = [&](HUDPosition position) { return panelFrame(visible, size, position, 56); };
    EXPECT_EQ(at(HUDPosition::topLeft), (Rect{156, 668, 430, 76}));
    EXPECT_EQ(at(HUDPosition::topCenter), (Rect{385, 668, 430, 76}));
    EXPECT_EQ(at(HUDPosition::topRight), (Rect{614, 668, 430, 76}));
    EXPECT_EQ(at(HUDPosition::middleLeft), (Rect{156, 382, 430, 76}));
    EXPECT_EQ(at(HUDPosition::middleCenter), (Rect{385, 382, 430, 76}));
    EXPECT_EQ(at(HUDPosition::middleRight), (Rect{614, 382, 430, 76}));
    EXPECT_EQ(at(HUDPosition::bottomLeft), (Rect{156, 96, 430, 76}));
    EXPECT_EQ(at(HUDPosition::bottomCenter), (Rect{385, 96, 430, 76}));
    EXPECT_EQ(at(HUDPosition::bottomRight), (Rect{614, 96, 430, 76}));
}

TEST(HUDPanelFrame, inTheMiddleIsCentredWhateverTheMargin)
{
    const Rect visible{-1920, 24, 1920, 1056};
    for (const double margin : {0.0, 56.0, 200.0, 5000.0, -7.0, noNumber}) {
        const Rect frame =
            panelFrame(visible, panelSize(1, clip), HUDPosition::middleCenter, margin);
        EXPECT_EQ(frame.midX(), visible.midX());
        EXPECT_EQ(frame.midY(), visible.midY());
    }
}

TEST(HUDPanelFrame, ignoresTheMarginAlongACentredAxis)
{
    const Rect visible{0, 0, 1280, 800};
    const Size size = panelSize(1, clip);
    for (const double margin : {0.0, 56.0, 200.0}) {
        EXPECT_EQ(panelFrame(visible, size, HUDPosition::topCenter, margin).x, 425);
        EXPECT_EQ(panelFrame(visible, size, HUDPosition::bottomCenter, margin).x, 425);
        EXPECT_EQ(panelFrame(visible, size, HUDPosition::middleLeft, margin).y, 362);
        EXPECT_EQ(panelFrame(visible, size, HUDPosition::middleRight, margin).y, 362);
    }
}

TEST(HUDPanelFrame, mayBeLargerThanItsScreen)
{
    const Rect visible{0, 0, 640, 300};
    EXPECT_EQ(panelFrame(visible, {676, 390}, HUDPosition::middleCenter, 56),
              (Rect{-18, -45, 676, 390}));
    EXPECT_EQ(panelFrame(visible, {676, 390}, HUDPosition::topRight, 56),
              (Rect{-92, -146, 676, 390}));
}

TEST(HUDPanelFrame, staysInSightWhateverTheMargin)
{
    const Rect visible{0, 0, 1000, 800};
    const Size size{430, 76};
    for (const double margin : {500.0, 1e9, 1e308, infinity}) {
        EXPECT_EQ(panelFrame(visible, size, HUDPosition::bottomLeft, margin),
                  (Rect{500, 400, 430, 76}));
        EXPECT_EQ(panelFrame(visible, size, HUDPosition::topRight, margin),
                  (Rect{70, 324, 430, 76}));
    }
    for (const double margin : {-1.0, -1e308, -infinity, noNumber}) {
        EXPECT_EQ(panelFrame(visible, size, HUDPosition::bottomLeft, margin),
                  (Rect{0, 0, 430, 76}));
    }
}

/// The same frames in whole thousandths of a point, from the edges the words name: distances of
/// the panel's edges to those of the screen instead of coordinates.
TEST(HUDPanelFrame, equalsTheArithmeticOfDistancesForRandomScreens)
{
    std::mt19937_64 random(2);
    const auto between = [&random](std::int64_t low, std::int64_t high) {
        return low +
               static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(high - low + 1));
    };
    const auto points = [](std::int64_t thousandths) {
        return static_cast<double>(thousandths) / 1000;
    };
    for (int run = 0; run < 20'000; ++run) {
        const std::int64_t left = between(-4'000'000, 4'000'000);
        const std::int64_t low = between(-4'000'000, 4'000'000);
        const std::int64_t wide = between(800'000, 8'000'000);
        const std::int64_t high = between(600'000, 5'000'000);
        const std::int64_t margin = between(0, 300'000);
        const std::int64_t hundredths = std::array{85, 100, 130, 200}.at(random() % 4);
        const bool inFull = random() % 2 == 0;
        const std::int64_t width = hundredths * (inFull ? 5200 : 4300);
        const std::int64_t height = hundredths * (inFull ? 3000 : 760);
        const auto number = random() % 9;

        const Rect frame =
            panelFrame({points(left), points(low), points(wide), points(high)},
                       panelSize(static_cast<double>(hundredths) / 100, inFull ? full : clip),
                       hudPositions.at(number), points(margin));
        const double toLeft = frame.minX() - points(left);
        const double toRight = points(left + wide) - frame.maxX();
        const double toBottom = frame.minY() - points(low);
        const double toTop = points(low + high) - frame.maxY();
        const double close = 1e-6;
        EXPECT_NEAR(frame.width, points(width), close);
        EXPECT_NEAR(frame.height, points(height), close);
        EXPECT_NEAR(toLeft + toRight, points(wide - width), close);
        EXPECT_NEAR(toBottom + toTop, points(high - height), close);
        switch (number % 3) {
        case 0: EXPECT_NEAR(toLeft, points(margin), close); break;
        case 1: EXPECT_NEAR(toLeft, toRight, close); break;
        default: EXPECT_NEAR(toRight, points(margin), close); break;
        }
        switch (number / 3) {
        case 0: EXPECT_NEAR(toTop, points(margin), close); break;
        case 1: EXPECT_NEAR(toTop, toBottom, close); break;
        default: EXPECT_NEAR(toBottom, points(margin), close); break;
        }
        ASSERT_FALSE(testing::Test::HasFailure()) << "run " << run;
    }
}

const Screen leftOne{"left", {0, 0, 1280, 800}, {0, 0, 1280, 776}, false};
const Screen rightOne{"right", {1280, 0, 1920, 1080}, {1280, 40, 1920, 1040}, true};
const std::vector<Screen> twoScreens = {leftOne, rightOne};

TEST(HUDScreenChoice, ofTheCursorIsTheScreenUnderThePointer)
{
    EXPECT_EQ(chosenScreen(twoScreens, HUDDisplay::cursor, Point{10, 10}), leftOne);
    EXPECT_EQ(chosenScreen(twoScreens, HUDDisplay::cursor, Point{1300, 1000}), rightOne);
}

TEST(HUDScreenChoice, ofTheMainScreenIgnoresThePointer)
{
    EXPECT_EQ(chosenScreen(twoScreens, HUDDisplay::main, Point{10, 10}), rightOne);
}

TEST(HUDScreenChoice, countsThePointerOverAPanelOfTheScreenToo)
{
    EXPECT_EQ(chosenScreen(twoScreens, HUDDisplay::cursor, Point{10, 799}), leftOne);
}

TEST(HUDScreenChoice, withThePointerOutsideEveryScreenIsTheMainOne)
{
    for (const auto& pointer : {std::optional(Point{10, 900}), std::optional(Point{-1, -1}),
                                std::optional(Point{noNumber, noNumber}), std::optional<Point>()}) {
        EXPECT_EQ(chosenScreen(twoScreens, HUDDisplay::cursor, pointer), rightOne);
    }
}

TEST(HUDScreenChoice, withoutAMainScreenIsTheFirst)
{
    auto screens = twoScreens;
    screens.back().isMain = false;
    EXPECT_EQ(chosenScreen(screens, HUDDisplay::main, Point{1300, 1000}), leftOne);
    EXPECT_EQ(chosenScreen(screens, HUDDisplay::cursor, std::nullopt), leftOne);
}

TEST(HUDScreenChoice, amongMirroredScreensIsTheFirst)
{
    auto mirrored = twoScreens;
    mirrored.back().frame = mirrored.front().frame;
    EXPECT_EQ(chosenScreen(mirrored, HUDDisplay::cursor, Point{5, 5})->id, "left");
}

TEST(HUDScreenChoice, withoutScreensIsNone)
{
    EXPECT_FALSE(chosenScreen({}, HUDDisplay::cursor, Point{0, 0}));
    EXPECT_FALSE(chosenScreen({}, HUDDisplay::main, std::nullopt));
}

/// Two screens on top of each other share an edge; each pointer row belongs to one of them.
TEST(HUDScreenChoice, ofAnEdgeIsTheScreenWhosePixelsAreThere)
{
    const Rect upper{0, 800, 1280, 1024};
    const Rect lower{0, 0, 1280, 800};
    EXPECT_TRUE(contains(lower, {0, 800})); // its first row
    EXPECT_FALSE(contains(upper, {0, 800}));
    EXPECT_TRUE(contains(upper, {0, 801}));
    EXPECT_FALSE(contains(lower, {0, 0}));
    EXPECT_TRUE(contains(lower, {0, 1})); // its last row
    EXPECT_FALSE(contains(lower, {1280, 1}));
    EXPECT_TRUE(contains(lower, {1279.5, 1}));
}

} // namespace
} // namespace vorlin
