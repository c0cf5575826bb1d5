#pragma once

#include "Platform/Linux/Overlay/VisibleArea.h"

#include <QImage>

#include <vector>

namespace vorlin {

/// `picture` (premultiplied) as a compositor is to show it at an alpha between 0 and 1.
QImage faded(const QImage& picture, double alpha);

/// `picture` as a display without a compositor can show it: what is more than half there, opaque.
/// The rest belongs outside the window's shape.
QImage opaque(const QImage& picture);

/// The shape of what is more than half there: rectangles from top to bottom, none overlapping.
std::vector<PixelArea> shapeOf(const QImage& picture);

/// The smallest rectangle in which two pictures of one size differ; empty when they do not.
PixelArea difference(const QImage& one, const QImage& other);

} // namespace vorlin
