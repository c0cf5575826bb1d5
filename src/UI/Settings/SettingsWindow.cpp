#include "UI/Settings/SettingsWindow.h"

#include "Async/Fatal.h"

#include <QIcon>
#include <QPainter>
#include <QPixmap>
#include <QQmlComponent>
#include <QSvgRenderer>

// The module's types; a static library's own registration would be left out by the linker.
void qml_register_types_Vorlin(); // NOLINT(readability-identifier-naming): Qt's name

namespace vorlin {

namespace {

QIcon programIcon()
{
    QSvgRenderer drawing(QStringLiteral(":/qt/qml/Vorlin/icons/vorlin.svg"));
    QIcon icon;
    for (const int size : {16, 32, 48, 128}) {
        QPixmap picture(size, size);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        drawing.render(&painter);
        painter.end();
        icon.addPixmap(picture);
    }
    return icon;
}

} // namespace

SettingsWindow::SettingsWindow(SettingsView& view, SettingsScene& scene) : settings(view, scene)
{
    qml_register_types_Vorlin();
    engine.addImportPath("qrc:/qt/qml"); // Qt 6.5 and later know it by themselves
    QQmlComponent component(&engine, QUrl("qrc:/qt/qml/Vorlin/qml/settings/SettingsPane.qml"));
    auto* created =
        component.createWithInitialProperties({{"settings", QVariant::fromValue(&settings)}});
    root.reset(qobject_cast<QQuickItem*>(created));
    if (!root) {
        fatal("the settings cannot be drawn: " + component.errorString().toStdString());
    }
    const QSize size(static_cast<int>(SettingsView::width), static_cast<int>(SettingsView::height));
    window.setObjectName("Settings");
    window.setTitle(QString::fromUtf8(SettingsView::title.data(), SettingsView::title.size()));
    window.setIcon(programIcon());
    window.setMinimumSize(size);
    window.setMaximumSize(size);
    window.resize(size);
    root->setParentItem(window.contentItem());
    root->setSize(size);
    root->setFocus(true);
    connect(root.get(), SIGNAL(closed()), &window, SLOT(close()));
    connect(root.get(), SIGNAL(quit()), this, SIGNAL(quit()));
    connect(&window, &QWindow::activeChanged, this, [this, &view] {
        if (window.isActive()) {
            view.activated();
        }
    });
    connect(&window, &QWindow::visibleChanged, this, [this](bool visible) {
        if (!visible) {
            Q_EMIT closed();
        }
    });
}

SettingsWindow::~SettingsWindow()
{
    window.disconnect(this);
}

} // namespace vorlin
