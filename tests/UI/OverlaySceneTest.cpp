#include "UI/Pictures.h"
#include "UI/SceneFixture.h"

#include "UI/Glass.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QEventLoop>

#include <array>
#include <cmath>
#include <vector>

namespace vorlin {
namespace {

/// Runs Qt's loop, and with it the animations, until `condition` holds; false after a while.
bool runUntil(const std::function<bool()>& condition)
{
    const QDeadlineTimer deadline(30'000);
    while (!condition()) {
        if (deadline.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    return true;
}

class OverlaySceneTest : public SceneFixture {
protected:
    int changes = 0;

    /// Draws, as a panel does, whenever there is something new, until nothing moves any more;
    /// returns each picture.
    std::vector<QImage> pictures(double scale = 1)
    {
        std::vector<QImage> drawn = {picture(scale)};
        QElapsedTimer still;
        still.start();
        changes = 0;
        scene->onChanged = [this] { ++changes; };
        EXPECT_TRUE(runUntil([&] {
            if (std::exchange(changes, 0) > 0) {
                drawn.push_back(picture(scale));
                still.restart();
            }
            return still.elapsed() > 300;
        }));
        return drawn;
    }
};

TEST_F(OverlaySceneTest, overTheDesktopsOwnGlassOnlyWhatLiesOnItIsDrawn)
{
    listen();
    hear("hello");
    const QImage ours = picture(1);
    const QRectF glass = scene->glass();
    const QPoint bare(static_cast<int>(glass.center().x()), static_cast<int>(glass.top()) + 4);
    EXPECT_GT(scene->glassRadius(), 0);
    EXPECT_GT(qAlpha(ours.pixel(bare)), 200);
    scene->setSystemGlass(true);
    const QImage overGlass = picture(1);
    EXPECT_EQ(scene->glass(), glass);
    EXPECT_EQ(qAlpha(overGlass.pixel(bare)), 0);
    int opaque = 0;
    for (int y = 0; y < overGlass.height(); ++y) {
        for (int x = 0; x < overGlass.width(); ++x) {
            if (qAlpha(overGlass.pixel(x, y)) > 200) {
                ++opaque;
                EXPECT_TRUE(glass.contains(x, y));
            }
        }
    }
    EXPECT_GT(opaque, 20); // the words
}

TEST_F(OverlaySceneTest, hugsTheEdgesThatThePositionNames)
{
    listen();
    hear("hello");
    for (const bool full : {false, true}) {
        defaults.set("hud.textMode", std::string(full ? "full" : "clip"));
        const auto& layout = model.view.get().layout;
        const int padding = static_cast<int>(layout.outerPadding);
        int index = 0;
        for (const char* position :
             {"topLeft", "topCenter", "topRight", "middleLeft", "middleCenter", "middleRight",
              "bottomLeft", "bottomCenter", "bottomRight"}) {
            defaults.set("hud.position", std::string(position));
            loop.runReady();
            const QImage drawn = picture();
            const QRect box = capsule(drawn);
            const std::array across = {box.left(), (box.left() + drawn.width() - 1 - box.right()),
                                       drawn.width() - 1 - box.right()};
            const std::array down = {box.top(), (box.top() + drawn.height() - 1 - box.bottom()),
                                     drawn.height() - 1 - box.bottom()};
            const int column = index % 3;
            const int row = index / 3;
            if (column == 1) {
                EXPECT_NEAR(box.left(), drawn.width() - 1 - box.right(), 1) << position;
            } else {
                EXPECT_EQ(across.at(static_cast<std::size_t>(column)), padding) << position;
            }
            if (row == 1) {
                EXPECT_NEAR(box.top(), drawn.height() - 1 - box.bottom(), 1) << position;
            } else {
                EXPECT_EQ(down.at(static_cast<std::size_t>(row)), padding) << position;
            }
            ++index;
        }
    }
}

TEST_F(OverlaySceneTest, theCapsuleOfTheWaveformHasTheSpecifiedMeasures)
{
    listen();
    speak();
    for (const double scale : {0.85, 1.0, 1.3}) {
        defaults.set("hud.scale", scale);
        defaults.set("hud.showEsc", false);
        loop.runReady();
        const auto& layout = model.view.get().layout;
        const QImage drawn = picture(2);
        keep(over(drawn, QColor("#5a7fa8")), "scale-" + std::to_string(std::lround(100 * scale)));
        const QRect box = capsule(drawn);
        const double width = 2 * layout.horizontalPadding + layout.leadingWidth + layout.spacing +
                             layout.waveform.width;
        const double height = 2 * layout.verticalPadding + layout.waveform.height;
        EXPECT_NEAR(box.width(), 2 * width, 1);
        EXPECT_NEAR(box.height(), 2 * height, 1);
    }
}

TEST_F(OverlaySceneTest, asksForNoPictureWhileNothingMoves)
{
    listen();
    for (int i = 0; i < 60; ++i) {
        microphone.deliver(0.001F);
    }
    loop.runReady();
    scene->setAppearance(false, false);
    pictures();
    microphone.deliver(0.001F); // as loud as the ones before
    loop.runReady();
    EXPECT_EQ(pictures().size(), 1U);
}

TEST_F(OverlaySceneTest, levelsMoveEvenlyAndEndWhereTheyShould)
{
    listen();
    speak();
    const QImage still = picture();
    scene->setAppearance(false, false);
    microphone.deliver(0.3F);
    loop.runReady();
    const auto drawn = pictures();
    EXPECT_GT(drawn.size(), 2U);
    EXPECT_LT(drawn.size(), 12U); // 80 ms at less than 60 a second
    scene->setAppearance(false, true);
    EXPECT_NE(still, drawn.back());
    EXPECT_EQ(drawn.back(), picture());
}

TEST_F(OverlaySceneTest, theFirstWordsTakeThePlaceOfTheWaveformWithoutABounce)
{
    listen();
    scene->setAppearance(false, false);
    const auto before = pictures();
    hear("the committee decided to postpone the meeting");
    const auto drawn = pictures();
    EXPECT_GT(drawn.size(), 4U);
    const int last = capsule(drawn.back()).width();
    for (std::size_t i = 1; i < drawn.size(); ++i) {
        EXPECT_GE(capsule(drawn[i]).width(), capsule(drawn[i - 1]).width());
        EXPECT_LE(capsule(drawn[i]).width(), last);
    }
}

TEST_F(OverlaySceneTest, whoWantsNoMotionGetsNone)
{
    listen();
    pictures();
    hear("the committee decided to postpone the meeting");
    EXPECT_LE(pictures().size(), 2U);
    hear("");
    speak();
    EXPECT_LE(pictures().size(), 2U);
}

TEST_F(OverlaySceneTest, aLineThatIsTooLongLosesItsFront)
{
    listen();
    hear("front " + std::string(400, 'x') + " end of the line");
    const QImage one = picture();
    hear("FRONT " + std::string(405, 'x') + " end of the line");
    EXPECT_EQ(one, picture());
    hear("front " + std::string(400, 'x') + " end of the LINE");
    EXPECT_NE(one, picture());
}

TEST_F(OverlaySceneTest, textIsNeverTakenForMarkup)
{
    listen();
    hear("<b>bold</b>");
    const int marked = capsule(picture()).width();
    hear("bold");
    EXPECT_GT(marked, capsule(picture()).width());
}

TEST_F(OverlaySceneTest, everyScaleAndRatioKeepsTheCapsuleInThePanel)
{
    listen();
    hear("the committee decided to postpone the meeting until next month");
    for (const double scale : {0.5, 0.85, 1.0, 1.3, 4.0}) {
        defaults.set("hud.scale", scale);
        loop.runReady();
        for (const double ratio : {1.0, 1.25, 1.5, 1.75, 2.0, 3.0}) {
            const QImage drawn = picture(ratio);
            EXPECT_TRUE(QRect(QPoint(), drawn.size()).contains(capsule(drawn)));
        }
    }
}

TEST(Glass, itsOutlineStaysInItsRectangleAndTouchesEachSide)
{
    for (const auto& box : {QRectF(3, 5, 300, 54), QRectF(0, 0, 300, 200), QRectF(0, 0, 20, 90)}) {
        const auto bounds = Glass::outline(box, 27).boundingRect();
        EXPECT_NEAR(bounds.left(), box.left(), 0.01);
        EXPECT_NEAR(bounds.right(), box.right(), 0.01);
        EXPECT_NEAR(bounds.top(), box.top(), 0.01);
        EXPECT_NEAR(bounds.bottom(), box.bottom(), 0.01);
    }
}

TEST(Glass, aCornerWithoutRoomForMoreIsACircle)
{
    const auto outline = Glass::outline(QRectF(0, 0, 54, 54), 27);
    for (double share = 0; share < 1; share += 0.01) {
        const auto point = outline.pointAtPercent(share) - QPointF(27, 27);
        EXPECT_NEAR(std::hypot(point.x(), point.y()), 27, 0.05);
    }
}

} // namespace
} // namespace vorlin
