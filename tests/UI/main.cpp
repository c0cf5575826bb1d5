#include <gtest/gtest.h>

#include <QFont>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QQuickWindow>

namespace {

/// A view that complains is broken.
void complain(QtMsgType type, const QMessageLogContext& /*context*/, const QString& message)
{
    if (type == QtWarningMsg || type == QtCriticalMsg || type == QtFatalMsg) {
        ADD_FAILURE() << message.toStdString();
    }
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("LC_ALL", "C.UTF-8");
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    const QGuiApplication application(argc, argv);
    // The pictures were drawn with it, and it has every script that they show. Where it is missing
    // they are not compared.
    if (QFontDatabase::hasFamily("DejaVu Sans")) {
        QGuiApplication::setFont(QFont("DejaVu Sans"));
    }
    qInstallMessageHandler(complain);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
