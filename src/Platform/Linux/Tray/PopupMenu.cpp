#include "Platform/Linux/Tray/PopupMenu.h"

#include <QFontMetrics>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPalette>
#include <QScreen>

#include <algorithm>
#include <utility>

namespace vorlin {

namespace {

constexpr int edge = 4;
constexpr int side = 12;
constexpr int separatorHeight = 9;
/// Between a text and its shortcut.
constexpr int gap = 32;

QString shortcutText(const MenuItem& item)
{
    return item.shortcut ? "Ctrl+" + QString(QChar(*item.shortcut)).toUpper() : QString();
}

QFontMetrics metrics()
{
    return QFontMetrics(QGuiApplication::font());
}

} // namespace

PopupMenu::PopupMenu(std::function<void(const std::string& id)> chosen) : chosen(std::move(chosen))
{
    setFlags(Qt::Popup | Qt::FramelessWindowHint);
    setTitle("Vorlin");
}

void PopupMenu::setItems(std::vector<MenuItem> next)
{
    items = std::move(next);
    current = -1;
    arrange();
    update();
}

void PopupMenu::arrange()
{
    int width = 0;
    int height = 2 * edge;
    for (const auto& item : items) {
        const int text = metrics().horizontalAdvance(QString::fromStdString(item.text));
        const int shortcut = metrics().horizontalAdvance(shortcutText(item));
        width = std::max(width, text + (shortcut > 0 ? gap + shortcut : 0));
        height += heightOf(item);
    }
    resize(width + 2 * side, height);
}

int PopupMenu::heightOf(const MenuItem& item) const
{
    return item.kind == MenuItem::Kind::separator ? separatorHeight : metrics().height() + 8;
}

void PopupMenu::open(const QPoint& place)
{
    current = -1;
    arrange();
    auto* const below = QGuiApplication::screenAt(place);
    const auto area = (below != nullptr ? below : QGuiApplication::primaryScreen())->geometry();
    const int x = std::min(place.x(), area.right() + 1 - width());
    const bool fitsBelow = place.y() + height() <= area.bottom() + 1;
    const int y = fitsBelow ? place.y() : place.y() - height();
    setPosition(std::max(x, area.left()), std::max(y, area.top()));
    show();
}

void PopupMenu::exposeEvent(QExposeEvent* event)
{
    QRasterWindow::exposeEvent(event);
    if (isExposed()) {
        // Only a window that is on the screen can take them.
        setMouseGrabEnabled(true);
        setKeyboardGrabEnabled(true);
    }
}

bool PopupMenu::event(QEvent* event)
{
    if (event->type() == QEvent::Hide) {
        setMouseGrabEnabled(false);
        setKeyboardGrabEnabled(false);
    }
    return QRasterWindow::event(event);
}

void PopupMenu::paintEvent(QPaintEvent* /*event*/)
{
    const auto palette = QGuiApplication::palette();
    QPainter painter(this);
    painter.setFont(QGuiApplication::font());
    painter.setPen(palette.color(QPalette::Mid));
    painter.setBrush(palette.color(QPalette::Base));
    painter.drawRect(0, 0, width() - 1, height() - 1);
    int y = edge;
    for (std::size_t i = 0; i < items.size(); ++i) {
        const auto& item = items[i];
        const QRect row(1, y, width() - 2, heightOf(item));
        y += row.height();
        if (item.kind == MenuItem::Kind::separator) {
            painter.setPen(palette.color(QPalette::Mid));
            painter.drawLine(side, row.center().y(), width() - side, row.center().y());
            continue;
        }
        const bool marked = static_cast<int>(i) == current;
        if (marked) {
            painter.fillRect(row, palette.color(QPalette::Highlight));
        }
        const auto group =
            item.kind == MenuItem::Kind::action ? QPalette::Active : QPalette::Disabled;
        painter.setPen(palette.color(group, marked ? QPalette::HighlightedText : QPalette::Text));
        const QRect inside = row.adjusted(side - 1, 0, 1 - side, 0);
        painter.drawText(inside, Qt::AlignVCenter | Qt::AlignLeft,
                         QString::fromStdString(item.text));
        painter.drawText(inside, Qt::AlignVCenter | Qt::AlignRight, shortcutText(item));
    }
}

int PopupMenu::actionAt(const QPoint& place) const
{
    int y = edge;
    for (std::size_t i = 0; i < items.size(); ++i) {
        const int height = heightOf(items[i]);
        if (place.y() >= y && place.y() < y + height && place.x() >= 0 && place.x() < width()) {
            return items[i].kind == MenuItem::Kind::action ? static_cast<int>(i) : -1;
        }
        y += height;
    }
    return -1;
}

void PopupMenu::highlight(int row)
{
    if (std::exchange(current, row) != row) {
        update();
    }
}

void PopupMenu::mouseMoveEvent(QMouseEvent* event)
{
    highlight(actionAt(event->position().toPoint()));
}

void PopupMenu::mousePressEvent(QMouseEvent* event)
{
    if (!QRect(QPoint(), size()).contains(event->position().toPoint())) {
        hide();
    }
}

void PopupMenu::mouseReleaseEvent(QMouseEvent* event)
{
    choose(actionAt(event->position().toPoint()));
}

void PopupMenu::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Escape: hide(); break;
    case Qt::Key_Down: step(1); break;
    case Qt::Key_Up: step(-1); break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space: choose(current); break;
    default:
        for (std::size_t i = 0; i < items.size(); ++i) {
            if ((event->modifiers() & Qt::ControlModifier) != 0 && items[i].shortcut &&
                event->key() == QChar(*items[i].shortcut).toUpper().unicode()) {
                choose(static_cast<int>(i));
                break;
            }
        }
    }
}

/// To the next action, around the ends.
void PopupMenu::step(int direction)
{
    const int count = static_cast<int>(items.size());
    int row = current < 0 && direction < 0 ? 0 : current;
    for (int i = 0; i < count; ++i) {
        row = (row + direction + count) % count;
        if (items[static_cast<std::size_t>(row)].kind == MenuItem::Kind::action) {
            highlight(row);
            return;
        }
    }
}

void PopupMenu::choose(int row)
{
    if (row >= 0) {
        const auto id = items[static_cast<std::size_t>(row)].id;
        hide();
        QMetaObject::invokeMethod(
            this, [this, id] { chosen(id); }, Qt::QueuedConnection);
    }
}

} // namespace vorlin
