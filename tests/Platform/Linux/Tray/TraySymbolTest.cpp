#include "Platform/Linux/Tray/TraySymbol.h"

#include <gtest/gtest.h>

#include <QPainter>

namespace vorlin {
namespace {

/// The part of the square, in percent, that clearly differs from a panel of this colour.
double seenOn(const QColor& panel, StatusSymbol symbol, int size)
{
    QImage image(size, size, QImage::Format_RGB32);
    image.fill(panel);
    QPainter(&image).drawImage(0, 0, traySymbol(symbol, size));
    int seen = 0;
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            const QColor pixel = image.pixelColor(x, y);
            const int difference = std::abs(pixel.red() - panel.red()) +
                                   std::abs(pixel.green() - panel.green()) +
                                   std::abs(pixel.blue() - panel.blue());
            seen += difference > 240 ? 1 : 0; // of 765
        }
    }
    return 100.0 * seen / (size * size);
}

TEST(TraySymbolTest, bothSymbolsShowOnPanelsOfEveryLightness)
{
    for (const int size : {16, 22, 24, 32, 48}) {
        for (const int grey : {0, 40, 128, 200, 240, 255}) {
            for (const auto symbol : {StatusSymbol::idle, StatusSymbol::active}) {
                EXPECT_GE(seenOn(QColor(grey, grey, grey), symbol, size), 12)
                    << size << " pixels on " << grey;
            }
        }
    }
}

TEST(TraySymbolTest, theTwoSymbolsDifferInShapeNotOnlyInColour)
{
    const auto idle = traySymbol(StatusSymbol::idle, 22);
    const auto active = traySymbol(StatusSymbol::active, 22);
    int differing = 0;
    for (int y = 0; y < 22; ++y) {
        for (int x = 0; x < 22; ++x) {
            differing += (qAlpha(idle.pixel(x, y)) > 128) != (qAlpha(active.pixel(x, y)) > 128);
        }
    }
    EXPECT_GE(differing, 22 * 22 / 10);
}

} // namespace
} // namespace vorlin
