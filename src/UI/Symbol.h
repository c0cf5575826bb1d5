#pragma once

#include <QColor>
#include <QQuickPaintedItem>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace vorlin {

/// One of our symbols in one colour or its own, as large as the item. A name without a drawing is a
/// fault in the program, and ends it.
class Symbol : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT

    /// As the core calls it.
    Q_PROPERTY(QString name MEMBER name NOTIFY symbolChanged)
    Q_PROPERTY(QColor color MEMBER color NOTIFY symbolChanged)
    /// Otherwise the drawing keeps its own colours.
    Q_PROPERTY(bool tinted MEMBER tinted NOTIFY symbolChanged)

public:
    explicit Symbol(QQuickItem* parent = nullptr);

    void paint(QPainter* painter) override;

Q_SIGNALS:
    void symbolChanged();

private:
    QString name;
    QColor color;
    bool tinted = true;
};

} // namespace vorlin
