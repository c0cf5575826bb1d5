#include "Platform/Linux/Tray/TrayStatusItem.h"

#include "Platform/Linux/Tray/PointerPlace.h"

#include <QGuiApplication>
#include <QScreen>

#include <utility>

namespace vorlin {

TrayStatusItem::TrayStatusItem()
    : notifier({.chosen = [this](const std::string& id) { tell(id); },
                .activated = [this] { activate(); },
                .changed = [this] { choose(); }}),
      icon({.clicked = [this](X11TrayIcon::Click click,
                              const QPoint& place) { clicked(click, place); },
            .changed = [this] { choose(); }})
{
}

TrayStatusItem::~TrayStatusItem()
{
    content.reset(); // what goes now is nobody's business
}

void TrayStatusItem::setHandlers(Handlers next)
{
    handlers = std::move(next);
}

void TrayStatusItem::show(const StatusContent& next)
{
    if (content && *content == next) {
        return;
    }
    content = next;
    notifier.show(next);
    if (menu) {
        menu->setItems(next.menu);
    }
    choose();
}

/// One place is enough: the bus's, which has the panel's own menu, comes first.
void TrayStatusItem::choose()
{
    if (!content) {
        return;
    }
    if (notifier.isShown()) {
        icon.hide();
    } else {
        icon.show(content->symbol, content->title);
    }
    setShown(notifier.isShown() || icon.isDocked());
}

void TrayStatusItem::tell(const std::string& id) const
{
    if (const auto current = handlers.chosen) {
        current(id);
    }
}

void TrayStatusItem::activate() const
{
    if (const auto current = handlers.activated) {
        current();
    }
}

void TrayStatusItem::clicked(X11TrayIcon::Click click, const QPoint& place)
{
    if (click == X11TrayIcon::Click::primary) {
        activate();
        return;
    }
    if (!menu) {
        menu = std::make_unique<PopupMenu>([this](const std::string& id) { tell(id); });
        menu->setItems(content->menu);
    }
    QList<ScaledScreen> screens;
    for (const auto* screen : QGuiApplication::screens()) {
        screens.append({screen->geometry(), screen->devicePixelRatio()});
    }
    menu->open(placeFromPixels(place, screens));
}

} // namespace vorlin
