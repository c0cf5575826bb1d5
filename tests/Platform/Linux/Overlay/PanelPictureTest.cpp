#include "Platform/Linux/Overlay/PanelPicture.h"

#include <gtest/gtest.h>

#include <QPainter>

#include <vector>

namespace vorlin {
namespace {

QImage blank(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

QImage disc(int size)
{
    QImage image = blank(size, size);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(250, 250, 250, 230));
    painter.drawEllipse(image.rect());
    return image;
}

TEST(PanelPicture, fadingScalesEveryChannel)
{
    QImage image = blank(2, 1);
    image.setPixel(0, 0, qRgba(200, 100, 50, 240));
    image.setPixel(1, 0, qRgba(255, 255, 255, 255));
    const QImage half = faded(image, 0.5);
    EXPECT_EQ(reinterpret_cast<const QRgb*>(half.constBits())[0], qRgba(100, 50, 25, 120));
    EXPECT_EQ(reinterpret_cast<const QRgb*>(half.constBits())[1], qRgba(127, 127, 127, 127));
    EXPECT_EQ(faded(image, 1), image);
    EXPECT_EQ(faded(image, 0), blank(2, 1));
}

TEST(PanelPicture, withoutACompositorNoPixelOfTheShapeIsDark)
{
    const QImage picture = disc(60);
    const QImage shown = opaque(picture);
    for (const auto& area : shapeOf(picture)) {
        for (int y = area.y; y < area.bottom(); ++y) {
            for (int x = area.x; x < area.right(); ++x) {
                EXPECT_EQ(qAlpha(shown.pixel(x, y)), 255);
                EXPECT_GE(qRed(shown.pixel(x, y)), 245);
            }
        }
    }
}

TEST(PanelPicture, theShapeCoversExactlyWhatIsMoreThanHalfThere)
{
    const QImage picture = disc(61);
    QImage covered(picture.size(), QImage::Format_Grayscale8);
    covered.fill(0);
    for (const auto& area : shapeOf(picture)) {
        for (int y = area.y; y < area.bottom(); ++y) {
            for (int x = area.x; x < area.right(); ++x) {
                EXPECT_EQ(covered.scanLine(y)[x], 0) << "two rectangles overlap";
                covered.scanLine(y)[x] = 1;
            }
        }
    }
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            EXPECT_EQ(covered.constScanLine(y)[x] == 1, qAlpha(picture.pixel(x, y)) >= 128);
        }
    }
}

TEST(PanelPicture, rowsThatAreAlikeMakeOneRectangle)
{
    QImage image = blank(30, 20);
    QPainter painter(&image);
    painter.fillRect(5, 4, 10, 12, Qt::white);
    painter.fillRect(20, 4, 5, 12, Qt::white);
    painter.end();
    EXPECT_EQ(shapeOf(image), (std::vector<PixelArea>{{5, 4, 10, 12}, {20, 4, 5, 12}}));
    EXPECT_TRUE(shapeOf(blank(5, 5)).empty());
}

TEST(PanelPicture, theDifferenceIsTheSmallestRectangleAroundIt)
{
    const QImage one = disc(50);
    QImage other = one;
    EXPECT_TRUE(difference(one, other).isEmpty());
    other.setPixel(10, 20, qRgba(1, 2, 3, 255));
    other.setPixel(30, 25, qRgba(1, 2, 3, 255));
    EXPECT_EQ(difference(one, other), (PixelArea{10, 20, 21, 6}));
    QImage corners = one;
    corners.setPixel(0, 0, qRgba(9, 9, 9, 255));
    corners.setPixel(49, 49, qRgba(9, 9, 9, 255));
    EXPECT_EQ(difference(one, corners), (PixelArea{0, 0, 50, 50}));
}

} // namespace
} // namespace vorlin
