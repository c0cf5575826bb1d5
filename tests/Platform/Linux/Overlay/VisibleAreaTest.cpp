#include "Platform/Linux/Overlay/VisibleArea.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace vorlin {

void PrintTo(const PixelArea& area, std::ostream* out)
{
    *out << area.width << 'x' << area.height << '+' << area.x << '+' << area.y;
}

namespace {

using Edge = Strut::Edge;
using Struts = std::vector<Strut>;

constexpr PixelArea root{0, 0, 1280, 800};
constexpr PixelArea left{0, 0, 640, 800};
constexpr PixelArea right{640, 0, 640, 800};

TEST(VisibleArea, isTheMonitorWithoutPanels)
{
    EXPECT_EQ(visibleArea(left, root, {}), left);
}

TEST(VisibleArea, leavesOutAPanelAtEachEdge)
{
    const Struts all = {{Edge::left, 10}, {Edge::right, 20}, {Edge::top, 30}, {Edge::bottom, 40}};
    EXPECT_EQ(visibleArea(root, root, all), (PixelArea{10, 30, 1250, 730}));
}

TEST(VisibleArea, severalPanelsAtOneEdgeCountAsTheThickest)
{
    EXPECT_EQ(visibleArea(root, root, Struts{{Edge::top, 24}, {Edge::top, 40}}),
              (PixelArea{0, 40, 1280, 760}));
}

TEST(VisibleArea, aPanelOnOneMonitorTakesNothingOfTheOther)
{
    const Struts bottomLeft = {{Edge::bottom, 40, 0, 639}};
    EXPECT_EQ(visibleArea(left, root, bottomLeft), (PixelArea{0, 0, 640, 760}));
    EXPECT_EQ(visibleArea(right, root, bottomLeft), right);
}

TEST(VisibleArea, aStrutAcrossAWholeMonitorIsMeantForTheOneBehind)
{
    const Struts leftOfTheRightOne = {{Edge::left, 700}};
    EXPECT_EQ(visibleArea(left, root, leftOfTheRightOne), left);
    EXPECT_EQ(visibleArea(right, root, leftOfTheRightOne), (PixelArea{700, 0, 580, 800}));
}

TEST(VisibleArea, monitorsLowerThanTheDisplayKeepWhatNoPanelReaches)
{
    const PixelArea low{0, 0, 640, 600};
    EXPECT_EQ(visibleArea(low, root, Struts{{Edge::bottom, 40}}), low);
    EXPECT_EQ(visibleArea(low, root, Struts{{Edge::bottom, 240}}), (PixelArea{0, 0, 640, 560}));
}

TEST(VisibleArea, strutsThatLeaveNothingCountAsNone)
{
    const Struts greedy = {{Edge::left, 400}, {Edge::right, 900}};
    EXPECT_EQ(visibleArea(left, root, greedy), left);
}

TEST(VisibleArea, noNumberIsTooLarge)
{
    for (const auto edge : {Edge::left, Edge::right, Edge::top, Edge::bottom}) {
        const Struts wild = {{edge, UINT32_MAX, UINT32_MAX, UINT32_MAX}, {edge, UINT32_MAX, 5, 3}};
        EXPECT_EQ(visibleArea(right, root, wild), right);
    }
}

} // namespace
} // namespace vorlin
