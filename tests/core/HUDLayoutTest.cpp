#include "HUDLayout.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <utility>
#include <vector>

namespace vorlin {
namespace {

using testing::DoubleEq;
using testing::DoubleNear;
using testing::ElementsAre;
using testing::Pointwise;

constexpr auto clip = HUDTextMode::clip;
constexpr auto full = HUDTextMode::full;
constexpr float noNumber = std::numeric_limits<float>::quiet_NaN();

double widthOf(const HUDBars& bars)
{
    const auto count = static_cast<double>(bars.heights.size());
    return count * bars.barWidth + (count - 1) * bars.gap;
}

TEST(HUDLayout, hasTheMeasuresOfBothTextModes)
{
    const HUDLayout one = hudLayout(1, clip, HUDKept::end);
    EXPECT_EQ(one.panel, (Size{430, 76}));
    EXPECT_EQ(one.outerPadding, 12);
    EXPECT_EQ(one.horizontalPadding, 20);
    EXPECT_EQ(one.verticalPadding, 14);
    EXPECT_EQ(one.cornerRadius, 27);
    EXPECT_EQ(one.leadingWidth, 20);
    EXPECT_EQ(one.symbolSize, 15);
    EXPECT_EQ(one.textSize, 14);
    EXPECT_EQ(one.maxTextWidth, 260);
    EXPECT_EQ(one.maxTextHeight, 24);
    EXPECT_EQ(one.mostLines, 1);
    EXPECT_EQ(one.wrappedPadding, 14);
    EXPECT_EQ(one.rowAlignment, VerticalAlignment::center);
    EXPECT_EQ(one.waveform, (Size{150, 26}));
    EXPECT_EQ(one.meterHeight, 18);
    EXPECT_EQ(one.meterBarWidth, 3);
    const HUDLayout many = hudLayout(1, full, HUDKept::end);
    EXPECT_EQ(many.panel, (Size{520, 300}));
    EXPECT_EQ(many.maxTextWidth, 340);
    EXPECT_EQ(many.maxTextHeight, 248);
    EXPECT_EQ(many.mostLines, 0);
    EXPECT_EQ(many.wrappedPadding, 14);
    EXPECT_EQ(many.rowAlignment, VerticalAlignment::top);
    EXPECT_EQ(many.waveform, one.waveform);
}

TEST(HUDLayout, givesANoticeASecondLineAtTheCostOfThePadding)
{
    const HUDLayout live = hudLayout(1, clip, HUDKept::end);
    HUDLayout notice = hudLayout(1, clip, HUDKept::beginning);
    EXPECT_EQ(notice.kept, HUDKept::beginning);
    EXPECT_EQ(notice.mostLines, 2);
    EXPECT_EQ(notice.verticalPadding, 14);
    EXPECT_EQ(notice.wrappedPadding, 8);
    EXPECT_EQ(notice.maxTextHeight, 36);
    EXPECT_EQ(notice.panel.height,
              notice.maxTextHeight + 2 * (notice.wrappedPadding + notice.outerPadding));
    // All else is as it is for live text.
    notice.kept = live.kept;
    notice.mostLines = live.mostLines;
    notice.wrappedPadding = live.wrappedPadding;
    notice.maxTextHeight = live.maxTextHeight;
    EXPECT_EQ(notice, live);
}

TEST(HUDLayout, hasRoomForANoticeInFullModeAsForLiveText)
{
    HUDLayout notice = hudLayout(1, full, HUDKept::beginning);
    notice.kept = HUDKept::end;
    EXPECT_EQ(notice, hudLayout(1, full, HUDKept::end));
}

TEST(HUDLayout, scalesEveryMeasureFontsAndTextWidthsToo)
{
    for (const auto& [mode, kept] : {std::pair{clip, HUDKept::end},
                                     {clip, HUDKept::beginning},
                                     {full, HUDKept::end},
                                     {full, HUDKept::beginning}}) {
        const HUDLayout one = hudLayout(1, mode, kept);
        for (const double scale : {0.85, 1.3, 2.0}) {
            const HUDLayout scaled = hudLayout(scale, mode, kept);
            EXPECT_EQ(scaled.scale, scale);
            EXPECT_EQ(scaled.mostLines, one.mostLines);
            for (const auto measure :
                 {&HUDLayout::outerPadding, &HUDLayout::horizontalPadding,
                  &HUDLayout::verticalPadding, &HUDLayout::wrappedPadding, &HUDLayout::cornerRadius,
                  &HUDLayout::spacing, &HUDLayout::leadingWidth, &HUDLayout::symbolSize,
                  &HUDLayout::textSize, &HUDLayout::escSize, &HUDLayout::maxTextWidth,
                  &HUDLayout::maxTextHeight, &HUDLayout::meterHeight, &HUDLayout::meterBarWidth}) {
                EXPECT_NEAR(scaled.*measure, scale * one.*measure, 1e-9);
            }
            for (const auto size : {&HUDLayout::panel, &HUDLayout::waveform}) {
                EXPECT_NEAR((scaled.*size).width, scale * (one.*size).width, 1e-9);
                EXPECT_NEAR((scaled.*size).height, scale * (one.*size).height, 1e-9);
            }
        }
    }
}

TEST(HUDLayout, hasRoomForAWholeRow)
{
    for (const auto mode : {clip, full}) {
        const HUDLayout layout = hudLayout(1, mode, HUDKept::end);
        const double row =
            layout.leadingWidth + layout.maxTextWidth + 2 * layout.spacing + 3 * layout.escSize;
        EXPECT_LE(row + 2 * (layout.outerPadding + layout.horizontalPadding), layout.panel.width);
    }
}

TEST(HUDWaveform, fillsItsWidthWithBarsThreePointsApart)
{
    for (const double scale : {0.85, 1.0, 1.3}) {
        const Size size = hudLayout(scale, clip, HUDKept::end).waveform;
        const HUDBars bars = waveformBars(std::vector<float>(28, 0.5F), size);
        EXPECT_EQ(bars.gap, 3);
        EXPECT_DOUBLE_EQ(bars.barWidth, (150 * scale - 81) / 28);
        EXPECT_DOUBLE_EQ(bars.cornerRadius, bars.barWidth / 2);
        EXPECT_EQ(bars.heights, std::vector<double>(28, 13 * scale));
        EXPECT_NEAR(widthOf(bars), 150 * scale, 1e-9);
    }
}

TEST(HUDWaveform, showsADotForASilentLevel)
{
    const std::vector<float> levels = {0, 0.125F, 0.25F, 1};
    const HUDBars bars = waveformBars(levels, {150, 26});
    EXPECT_THAT(bars.heights, ElementsAre(4, 4, 6.5, 26));
}

TEST(HUDWaveform, ofNoLevelsDrawsNothing)
{
    EXPECT_EQ(waveformBars({}, {150, 26}), HUDBars{});
}

TEST(HUDWaveform, ofOneLevelIsOneBar)
{
    const HUDBars bars = waveformBars(std::vector<float>{1}, {150, 26});
    EXPECT_EQ(bars.barWidth, 150);
    EXPECT_THAT(bars.heights, ElementsAre(26));
}

TEST(HUDWaveform, withoutRoomForTheGapsHasNoWidth)
{
    EXPECT_EQ(waveformBars(std::vector<float>(28, 1), {75, 13}).barWidth, 0);
}

TEST(HUDMeter, hasBarsOfTheGivenWidthAndGapsOfSixTenths)
{
    const std::vector<float> levels = {0, 0.25F, 0.5F, 1};
    const HUDBars bars = meterBars(levels, 18, 3);
    EXPECT_EQ(bars.barWidth, 3);
    EXPECT_DOUBLE_EQ(bars.gap, 1.8);
    EXPECT_EQ(bars.cornerRadius, 1.5);
    EXPECT_THAT(bars.heights, ElementsAre(3, 4.5, 9, 18));
}

TEST(HUDMeter, ofNoLevelsIsEmpty)
{
    EXPECT_EQ(meterBars({}, 18, 3), HUDBars{});
    EXPECT_TRUE(meterLevels({}).empty());
}

TEST(HUDMeter, showsTheNewestFourLevelsWhichFitItsSlot)
{
    std::vector<float> levels(28);
    for (std::size_t i = 0; i < levels.size(); ++i) {
        levels[i] = static_cast<float>(i) / 32;
    }
    for (const double scale : {0.85, 1.0, 1.3}) {
        const HUDLayout layout = hudLayout(scale, clip, HUDKept::end);
        const HUDBars bars =
            meterBars(meterLevels(levels), layout.meterHeight, layout.meterBarWidth);
        EXPECT_THAT(bars.heights,
                    Pointwise(DoubleNear(1e-9), {scale * 18 * 24 / 32, scale * 18 * 25 / 32,
                                                 scale * 18 * 26 / 32, scale * 18 * 27 / 32}));
        EXPECT_NEAR(widthOf(bars), 17.4 * scale, 1e-9);
        EXPECT_LE(widthOf(bars), layout.leadingWidth);
    }
    EXPECT_EQ(meterLevels(std::vector<float>{1, 2}).size(), 2U);
}

TEST(HUDBars, areWithinTheirRoomWhateverTheLevel)
{
    const std::vector<float> levels = {noNumber, -1, std::numeric_limits<float>::infinity(), 1e30F};
    EXPECT_THAT(waveformBars(levels, {150, 26}).heights, ElementsAre(4, 4, 26, 26));
    EXPECT_THAT(meterBars(levels, 18, 3).heights, ElementsAre(3, 3, 18, 18));
}

} // namespace
} // namespace vorlin
