#pragma once

#include <QColor>
#include <QList>
#include <QQuickPaintedItem>
#include <QVariantAnimation>
#include <QtQml/qqmlregistration.h>

namespace vorlin {

/// A row of bars, centred, whose heights move evenly to the ones last set. Its implicit
/// width is the row's.
class LevelBars : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT

    Q_PROPERTY(QList<double> heights READ heights WRITE setHeights NOTIFY heightsChanged)
    Q_PROPERTY(double barWidth MEMBER barWidth NOTIFY barsChanged)
    Q_PROPERTY(double gap MEMBER gap NOTIFY barsChanged)
    Q_PROPERTY(double radius MEMBER radius NOTIFY barsChanged)
    Q_PROPERTY(QColor color MEMBER color NOTIFY barsChanged)
    /// How long a move takes, in milliseconds.
    Q_PROPERTY(int duration MEMBER durationMs NOTIFY barsChanged)

public:
    explicit LevelBars(QQuickItem* parent = nullptr);

    QList<double> heights() const { return target; }
    void setHeights(const QList<double>& heights);

    void paint(QPainter* painter) override;

Q_SIGNALS:
    void barsChanged();
    void heightsChanged();

private:
    void moveTo(double progress);
    void measure();
    double rowWidth() const;

    double barWidth = 0;
    double gap = 0;
    double radius = 0;
    QColor color;
    int durationMs = 0;
    QList<double> target;
    /// Where the bars stood when `target` was set, and where they stand now.
    QList<double> before;
    QList<double> now;
    QVariantAnimation motion;
};

} // namespace vorlin
