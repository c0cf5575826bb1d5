#include "UI/LevelBars.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace vorlin {

LevelBars::LevelBars(QQuickItem* parent) : QQuickPaintedItem(parent)
{
    motion.setStartValue(0.0);
    motion.setEndValue(1.0);
    connect(&motion, &QVariantAnimation::valueChanged, this,
            [this](const QVariant& progress) { moveTo(progress.toDouble()); });
    connect(this, &LevelBars::barsChanged, this, [this] {
        measure();
        update();
    });
}

void LevelBars::setHeights(const QList<double>& heights)
{
    if (heights == target) {
        return;
    }
    const bool moves = durationMs > 0 && heights.size() == now.size() && isVisible();
    target = heights;
    motion.stop();
    if (moves) {
        before = now;
        motion.setDuration(durationMs);
        motion.start();
    } else {
        now = target;
        measure();
        update();
    }
    Q_EMIT heightsChanged();
}

void LevelBars::measure()
{
    // Whole points: a picture ends at one.
    setImplicitWidth(std::ceil(rowWidth()));
}

double LevelBars::rowWidth() const
{
    return now.empty() ? 0 : static_cast<double>(now.size()) * (barWidth + gap) - gap;
}

void LevelBars::moveTo(double progress)
{
    bool moved = false;
    for (qsizetype i = 0; i < std::min(now.size(), before.size()); ++i) {
        const double next = before[i] + (target[i] - before[i]) * progress;
        moved = moved || next != now[i];
        now[i] = next;
    }
    if (moved) {
        update();
    }
}

void LevelBars::paint(QPainter* painter)
{
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(color);
    double x = (width() - rowWidth()) / 2;
    for (const double barHeight : now) {
        const double corner = std::min({radius, barWidth / 2, barHeight / 2});
        painter->drawRoundedRect(QRectF(x, (height() - barHeight) / 2, barWidth, barHeight), corner,
                                 corner);
        x += barWidth + gap;
    }
}

} // namespace vorlin
