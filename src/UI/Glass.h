#pragma once

#include <QColor>
#include <QPainterPath>
#include <QQuickPaintedItem>
#include <QtQml/qqmlregistration.h>

namespace vorlin {

/// A translucent rounded rectangle with continuous corners, a hairline border and a soft shadow,
/// which falls into the `margin` around the rectangle.
class Glass : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT

    /// From the item's edges to the rectangle's.
    Q_PROPERTY(double margin MEMBER margin NOTIFY glassChanged)
    Q_PROPERTY(double radius MEMBER radius NOTIFY glassChanged)
    Q_PROPERTY(QColor color MEMBER color NOTIFY glassChanged)
    Q_PROPERTY(QColor border MEMBER border NOTIFY glassChanged)
    Q_PROPERTY(QColor shadow MEMBER shadow NOTIFY glassChanged)

public:
    explicit Glass(QQuickItem* parent = nullptr);

    void paint(QPainter* painter) override;

    /// The outline of a rectangle whose corners bend gradually, as wide as its sides allow; where
    /// they are short these are arcs of `radius`.
    static QPainterPath outline(const QRectF& rectangle, double radius);

Q_SIGNALS:
    void glassChanged();

private:
    void paintShadow(QPainter& painter, const QRectF& glass) const;

    double margin = 0;
    double radius = 0;
    QColor color;
    QColor border;
    QColor shadow;
};

} // namespace vorlin
