#include "App/macOS/MacOverlayPicture.h"
#include "UI/SceneFixture.h"

#include <algorithm>
#include <tuple>
#include <vector>

namespace vorlin {
namespace {

class MacOverlayPictureTest : public SceneFixture {
protected:
    Size panel;

    MacOverlayPictureTest()
    {
        scene->setSystemGlass(true);
        listen();
        hear("hello");
        panel = model.view.get().layout.panel;
        shown(1); // values that depend on each other settle with the first picture
    }

    OverlayPicture shown(double scale)
    {
        return overlayPicture(*scene, panel.width, panel.height, scale);
    }
};

TEST_F(MacOverlayPictureTest, hasThePixelsOfThePanelsPointsRoundedToWholeOnes)
{
    panel = {300.3, 80.6};
    for (const auto& [scale, width, height] :
         {std::tuple{1.0, 300U, 81U}, {2.0, 601U, 161U}, {1.5, 450U, 121U}}) {
        const OverlayPicture picture = shown(scale);
        EXPECT_EQ(picture.width, width) << scale;
        EXPECT_EQ(picture.height, height) << scale;
        EXPECT_GE(picture.bytesPerRow, picture.width * 4) << scale;
    }
}

TEST_F(MacOverlayPictureTest, isWhatTheSceneDraws)
{
    const OverlayPicture picture = shown(2);
    const std::vector<std::uint8_t> pixels(picture.pixels,
                                           picture.pixels + picture.height * picture.bytesPerRow);
    const QImage drawn = this->picture(2);
    EXPECT_EQ(drawn.format(), QImage::Format_ARGB32_Premultiplied);
    ASSERT_EQ(pixels.size(), static_cast<std::size_t>(drawn.sizeInBytes()));
    EXPECT_TRUE(std::equal(pixels.begin(), pixels.end(), drawn.constBits()));
}

TEST_F(MacOverlayPictureTest, theGlassLiesWhereItIsInThePictureCountedFromBelowInPoints)
{
    for (const char* position : {"topCenter", "bottomCenter"}) {
        defaults.set("hud.position", std::string(position));
        loop.runReady();
        for (const double scale : {1.0, 2.0}) {
            shown(scale);
            const Rect glass = shown(scale).glass;
            const QRectF inPicture = scene->glass();
            EXPECT_EQ(glass.x, inPicture.left()) << position;
            EXPECT_EQ(glass.width, inPicture.width()) << position;
            EXPECT_EQ(glass.height, inPicture.height()) << position;
            EXPECT_DOUBLE_EQ(glass.y, panel.height - inPicture.bottom()) << position;
            // Not in the middle, so that up and down differ.
            EXPECT_NE(glass.y, inPicture.top()) << position;
        }
    }
}

TEST_F(MacOverlayPictureTest, theGlassHasTheCornersOfTheView)
{
    EXPECT_GT(shown(2).cornerRadius, 0);
    EXPECT_EQ(shown(2).cornerRadius, scene->glassRadius());
}

} // namespace
} // namespace vorlin
