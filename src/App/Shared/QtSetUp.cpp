#include "App/Shared/QtSetUp.h"

#include <QGuiApplication>
#include <QQuickWindow>

namespace vorlin {

void setUpQt()
{
    // One renderer everywhere: the overlay is small, and a GPU's driver would cost more memory
    // than the whole program.
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QGuiApplication::setQuitOnLastWindowClosed(false);
    QGuiApplication::setApplicationName("Vorlin");
}

} // namespace vorlin
