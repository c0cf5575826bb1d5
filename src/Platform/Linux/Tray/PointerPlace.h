#pragma once

#include <QList>
#include <QPoint>
#include <QRect>

namespace vorlin {

/// A monitor as Qt tells it: its corner is where the server has it, its size is divided by the
/// ratio of the person's scaling.
struct ScaledScreen {
    QRect geometry;
    qreal ratio = 1;
};

/// Where Qt has a place that the server tells in device pixels. One that lies on none of the
/// monitors counts as on the nearest; without any it stays as it is.
QPoint placeFromPixels(const QPoint& pixels, const QList<ScaledScreen>& screens);

} // namespace vorlin
