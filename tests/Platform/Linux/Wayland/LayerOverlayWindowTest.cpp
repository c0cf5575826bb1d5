#include "Platform/Linux/Overlay/LayerOverlayWindow.h"

#include "Platform/Linux/Wayland/PrivateCompositor.h"

#include <QColor>
#include <QImage>

namespace vorlin {

namespace {

class LayerOverlay : public testing::Test {
protected:
    static QImage filled(const QSize& size, const QColor& colour)
    {
        QImage picture(size, QImage::Format_ARGB32_Premultiplied);
        picture.fill(colour);
        return picture;
    }

    /// A pixel of the screen as it is now.
    QColor at(int x, int y)
    {
        const auto file = compositor.path("screen.ppm");
        compositor.output({"grim", "-t", "ppm", file});
        return QImage(file).pixelColor(x, y);
    }

    PrivateCompositor compositor{"output * background #000000 solid_color"};
    Person person;
    WaylandConnection connection;
    int again = 0;
    LayerOverlayWindow window{connection, [this] { ++again; }};
};

} // namespace

TEST_F(LayerOverlay, showsAPictureWhereItBelongs)
{
    ASSERT_TRUE(LayerOverlayWindow::isOffered(connection));
    window.show(filled({100, 50}, Qt::red), 1, 300, 200);
    EXPECT_TRUE(runUntil([&] { return at(300, 200) == Qt::red; }));
    EXPECT_EQ(at(399, 249), Qt::red);
    EXPECT_NE(at(299, 200), Qt::red);
    EXPECT_NE(at(400, 249), Qt::red);
    EXPECT_NE(at(399, 250), Qt::red);
}

TEST_F(LayerOverlay, followsEachPictureItsPlaceAndItsSize)
{
    window.show(filled({100, 50}, Qt::red), 1, 300, 200);
    EXPECT_TRUE(runUntil([&] { return at(300, 200) == Qt::red; }));
    for (const auto& colour : {Qt::green, Qt::blue, Qt::white, Qt::green}) {
        window.show(filled({100, 50}, colour), 1, 300, 200);
        EXPECT_TRUE(runUntil([&] { return at(350, 220) == colour; }));
    }
    window.show(filled({40, 20}, Qt::blue), 1, 10, 20);
    EXPECT_TRUE(runUntil([&] { return at(10, 20) == Qt::blue && at(49, 39) == Qt::blue; }));
    EXPECT_NE(at(350, 220), Qt::green);
}

TEST_F(LayerOverlay, fadesAndGoes)
{
    window.show(filled({100, 50}, Qt::white), 0.5, 300, 200);
    EXPECT_TRUE(runUntil([&] { return std::abs(at(350, 220).red() - 128) < 4; }));
    window.hide();
    EXPECT_TRUE(runUntil([&] { return at(350, 220) == Qt::black; }));
    window.show(filled({100, 50}, Qt::white), 1, 300, 200);
    EXPECT_TRUE(runUntil([&] { return at(350, 220) == Qt::white; }));
}

TEST_F(LayerOverlay, takesEveryCallWhenTheCompositorIsGone)
{
    window.show(filled({100, 50}, Qt::white), 1, 300, 200);
    compositor.kill();
    EXPECT_TRUE(runUntil([&] { return !connection.alive().get(); }));
    window.show(filled({10, 10}, Qt::white), 1, 0, 0);
    window.raise();
    window.hide();
}

} // namespace vorlin
