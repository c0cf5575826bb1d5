#include "UI/Symbol.h"

#include "Async/Fatal.h"

#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

namespace vorlin {

Symbol::Symbol(QQuickItem* parent) : QQuickPaintedItem(parent)
{
    connect(this, &Symbol::symbolChanged, this, [this] { update(); });
}

void Symbol::paint(QPainter* painter)
{
    if (name.isEmpty()) {
        return;
    }
    QSvgRenderer drawing(QStringLiteral(":/qt/qml/Vorlin/icons/%1.svg").arg(name));
    if (!drawing.isValid()) {
        fatal("there is no symbol " + name.toStdString());
    }
    // Drawn as a mask first: the drawings are black, whatever colour they are shown in.
    const double ratio = painter->deviceTransform().m11();
    QImage image((size() * ratio).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter mask(&image);
    drawing.render(&mask);
    if (tinted) {
        mask.setCompositionMode(QPainter::CompositionMode_SourceIn);
        mask.fillRect(image.rect(), color);
    }
    mask.end();
    image.setDevicePixelRatio(ratio);
    painter->drawImage(QPointF(), image);
}

} // namespace vorlin
