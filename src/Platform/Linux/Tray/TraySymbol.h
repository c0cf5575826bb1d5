#pragma once

#include "Ports/StatusItem.h"

#include <QImage>

namespace vorlin {

/// The program's symbol in a square of `size` pixels, ARGB32. Neither a light nor a dark panel
/// says what it is, and not every panel colours symbols itself: light strokes stand on a dark
/// outline, which one of both always shows.
QImage traySymbol(StatusSymbol symbol, int size);

} // namespace vorlin
