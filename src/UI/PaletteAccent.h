#pragma once

#include <QGuiApplication>
#include <QPalette>

namespace vorlin {

/// What the desktop's palette draws in that is selected. Main thread, after the Qt application.
inline QColor paletteAccent()
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
    return QGuiApplication::palette().color(QPalette::Active, QPalette::Accent);
#else
    return QGuiApplication::palette().color(QPalette::Active, QPalette::Highlight);
#endif
}

} // namespace vorlin
