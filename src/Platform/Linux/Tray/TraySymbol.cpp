#include "Platform/Linux/Tray/TraySymbol.h"

#include <QColor>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <array>

namespace vorlin {

namespace {

/// Of the bars, of the height that they have at most.
constexpr std::array<double, 5> heights{0.36, 0.72, 1.0, 0.56, 0.28};
constexpr QColor light{250, 250, 250};
constexpr QColor dark{32, 32, 36};
/// Stands out from a panel of either kind without being bright.
constexpr QColor busy{207, 46, 46};

/// The bars in the middle of a square of `size`, about `extent` wide and high, on whole pixels: at
/// the size of a panel, edges between them would be grey.
QPainterPath bars(int size, double extent)
{
    const int count = static_cast<int>(heights.size());
    const int bar = std::max(1, qRound(extent / (2 * count - 1)));
    const int gap = std::max(1, static_cast<int>((extent - count * bar) / (count - 1)));
    int x = (size - count * bar - (count - 1) * gap) / 2;
    QPainterPath path;
    for (const double fraction : heights) {
        const int margin = qRound((size - std::max<double>(extent * fraction, bar)) / 2);
        path.addRoundedRect(QRectF(x, margin, bar, size - 2 * margin), bar / 2.0, bar / 2.0);
        x += bar + gap;
    }
    return path;
}

} // namespace

QImage traySymbol(StatusSymbol symbol, int size)
{
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const double outline = std::max(1.0, size / 16.0);
    if (symbol == StatusSymbol::active) {
        const double inset = size / 16.0;
        painter.setPen(QPen(light, outline));
        painter.setBrush(busy);
        painter.drawEllipse(QRectF(inset, inset, size - 2 * inset, size - 2 * inset));
        painter.fillPath(bars(size, size * 0.52), light);
    } else {
        const auto path = bars(size, size * 0.84);
        // Twice as wide: half of it lies below the light stroke.
        painter.strokePath(path,
                           QPen(dark, 2 * outline, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.fillPath(path, light);
    }
    painter.end();
    return image.convertToFormat(QImage::Format_ARGB32);
}

} // namespace vorlin
