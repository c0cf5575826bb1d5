#include "UI/OverlayScene.h"

#include "Async/Fatal.h"

#include <QQmlComponent>
#include <QQuickRenderTarget>

#include <cmath>

// The module's types; a static library's own registration would be left out by the linker.
void qml_register_types_Vorlin(); // NOLINT(readability-identifier-naming): Qt's name

namespace vorlin {

OverlayScene::OverlayScene(const HUDModel& model) : hud(model), window(&control)
{
    qml_register_types_Vorlin();
    QQmlComponent component(&engine, QUrl("qrc:/qt/qml/Vorlin/qml/Overlay.qml"));
    auto* created = component.createWithInitialProperties({{"hud", QVariant::fromValue(&hud)}});
    root.reset(qobject_cast<QQuickItem*>(created));
    if (!root) {
        fatal("the overlay cannot be drawn: " + component.errorString().toStdString());
    }
    window.setColor(Qt::transparent);
    root->setParentItem(window.contentItem());
    QObject::connect(&control, &QQuickRenderControl::sceneChanged, &window, [this] { changed(); });
    QObject::connect(&control, &QQuickRenderControl::renderRequested, &window,
                     [this] { changed(); });
}

OverlayScene::~OverlayScene()
{
    onChanged = nullptr;
}

void OverlayScene::changed()
{
    if (!stale) {
        stale = true;
        if (onChanged) {
            onChanged();
        }
    }
}

void OverlayScene::resize(const QSize& size, double scale)
{
    picture = QImage(size, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    picture.setDevicePixelRatio(scale);
    const QSizeF points = QSizeF(size) / scale;
    window.setGeometry(0, 0, static_cast<int>(std::ceil(points.width())),
                       static_cast<int>(std::ceil(points.height())));
    auto target = QQuickRenderTarget::fromPaintDevice(&picture);
    target.setDevicePixelRatio(scale);
    window.setRenderTarget(target);
    root->setSize(points);
    root->setProperty("pixelRatio", scale);
}

const QImage& OverlayScene::draw(const QSize& size, double scale)
{
    if (size != picture.size() || scale != picture.devicePixelRatio()) {
        resize(size, scale);
        stale = true;
    }
    if (stale) {
        control.polishItems();
        // From here on a change is one of the next picture.
        stale = false;
        // Without the frame that a graphics device would want around them.
        control.sync();
        control.render();
    }
    return picture;
}

} // namespace vorlin
