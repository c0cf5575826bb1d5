#include "UI/Glass.h"

#include <QImage>
#include <QPainter>
#include <QTransform>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace vorlin {

namespace {

/// How much of a corner bends gradually where there is room for it, 0 to 1.
constexpr double fullSmoothing = 0.6;

/// One corner at the top right of a unit that is then turned: from the upper side to the right
/// one, `reach` along each. Two curves lead into an arc and out of it.
void addCorner(QPainterPath& path, const QTransform& place, double radius, double reach)
{
    const double smoothing = std::clamp(reach / radius - 1, 0.0, 1.0);
    const double arcDegrees = 90 * (1 - smoothing);
    const auto radians = [](double degrees) { return degrees * std::numbers::pi / 180; };
    const double arc = std::sin(radians(arcDegrees / 2)) * radius * std::numbers::sqrt2;
    const double lead = radius * std::tan(radians((90 - arcDegrees) / 4));
    const double c = lead * std::cos(radians(45 * smoothing));
    const double d = c * std::tan(radians(45 * smoothing));
    const double b = (reach - arc - c - d) / 3;
    const double a = 2 * b;
    const auto at = [&](double x, double y) { return place.map(QPointF(x, y)); };

    const double start = -reach; // the corner is at (0, 0)
    path.lineTo(at(start, 0));
    path.cubicTo(at(start + a, 0), at(start + a + b, 0), at(start + a + b + c, d));
    // The arc as a curve: for at most 90 degrees the difference cannot be seen.
    const double handle = 4.0 / 3 * std::tan(radians(arcDegrees) / 4) * radius;
    const double slope = radians((90 - arcDegrees) / 2);
    const QPointF from(start + a + b + c, d);
    const QPointF to(-d, -(start + a + b + c));
    path.cubicTo(at(from.x() + handle * std::cos(slope), from.y() + handle * std::sin(slope)),
                 at(to.x() - handle * std::sin(slope), to.y() - handle * std::cos(slope)),
                 at(to.x(), to.y()));
    path.cubicTo(at(0, -(start + a + b)), at(0, -(start + a)), at(0, -start));
}

/// How far `point` is outside a rounded rectangle centred at the origin; negative inside.
double distance(double x, double y, double halfWidth, double halfHeight, double radius)
{
    const double dx = std::abs(x) - halfWidth + radius;
    const double dy = std::abs(y) - halfHeight + radius;
    return std::hypot(std::max(dx, 0.0), std::max(dy, 0.0)) + std::min(std::max(dx, dy), 0.0) -
           radius;
}

} // namespace

Glass::Glass(QQuickItem* parent) : QQuickPaintedItem(parent)
{
    connect(this, &Glass::glassChanged, this, [this] { update(); });
}

QPainterPath Glass::outline(const QRectF& rectangle, double radius)
{
    const double half = std::min(rectangle.width(), rectangle.height()) / 2;
    const double corner = std::min(radius, half);
    QPainterPath path;
    if (corner <= 0) {
        path.addRect(rectangle);
        return path;
    }
    const double reach = std::min((1 + fullSmoothing) * corner, half);
    const std::array corners = {rectangle.topRight(), rectangle.bottomRight(),
                                rectangle.bottomLeft(), rectangle.topLeft()};
    path.moveTo(rectangle.left() + reach, rectangle.top());
    double turn = 0;
    for (const QPointF& each : corners) {
        addCorner(path, QTransform::fromTranslate(each.x(), each.y()).rotate(turn), corner, reach);
        turn += 90;
    }
    path.closeSubpath();
    return path;
}

void Glass::paintShadow(QPainter& painter, const QRectF& glass) const
{
    const double ratio = painter.deviceTransform().m11();
    QImage image((size() * ratio).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    const double reach = margin * 0.92; // light comes from above: the shadow lies a little lower
    const double drop = margin - reach;
    const double strength = shadow.alphaF();
    for (int row = 0; row < image.height(); ++row) {
        auto* pixels = reinterpret_cast<QRgb*>(image.scanLine(row));
        const double y = (row + 0.5) / ratio - glass.center().y() - drop;
        for (int column = 0; column < image.width(); ++column) {
            const double x = (column + 0.5) / ratio - glass.center().x();
            const double away =
                std::max(distance(x, y, glass.width() / 2, glass.height() / 2, radius), 0.0);
            const double left = std::max(1 - away / reach, 0.0);
            const auto alpha = static_cast<int>(std::lround(255 * strength * left * left * left));
            pixels[column] = qRgba(0, 0, 0, alpha);
        }
    }
    painter.drawImage(QPointF(), image);
}

void Glass::paint(QPainter* painter)
{
    const QRectF glass = boundingRect().adjusted(margin, margin, -margin, -margin);
    if (glass.width() <= 0 || glass.height() <= 0) {
        return;
    }
    const auto shape = outline(glass, radius);
    paintShadow(*painter, glass);
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    // No shadow shines through.
    painter->setCompositionMode(QPainter::CompositionMode_DestinationOut);
    painter->fillPath(shape, Qt::black);
    painter->setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter->fillPath(shape, color);
    const double hairline = 1 / painter->deviceTransform().m11();
    const auto inner = glass.adjusted(hairline / 2, hairline / 2, -hairline / 2, -hairline / 2);
    painter->setBrush(Qt::NoBrush);
    painter->setPen(QPen(border, hairline));
    painter->drawPath(outline(inner, radius - hairline / 2));
}

} // namespace vorlin
