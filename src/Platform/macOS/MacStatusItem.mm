#include "Platform/macOS/MacStatusItem.h"

#include "Platform/macOS/Objects/Ref.h"
#include "Platform/macOS/Objects/Text.h"
#include "Platform/macOS/Plain/StatusSymbols.h"

#include <AppKit/AppKit.h>

#include <functional>
#include <utility>

/// Takes the choices in the menu.
@interface VorlinMenuTarget : NSObject {
@public
    /// Nothing once nobody is to be told.
    const std::function<void(const std::string&)>* chosen;
}
- (void)choose:(NSMenuItem*)item;
@end

@implementation VorlinMenuTarget
- (void)choose:(NSMenuItem*)item
{
    if (chosen != nullptr) {
        (*chosen)(vorlin::textOf(static_cast<NSString*>(item.representedObject)));
    }
}
@end

namespace vorlin {

struct MacStatusItem::Item {
    std::function<void(const std::string&)> chosen;
    Ref<NSStatusItem> item;
    Ref<NSMenu> menu;
    Ref<VorlinMenuTarget> target;
};

namespace {

NSMenuItem* entry(const MenuItem& shown, VorlinMenuTarget* target)
{
    if (shown.kind == MenuItem::Kind::separator) {
        return [NSMenuItem separatorItem];
    }
    const bool isAction = shown.kind == MenuItem::Kind::action;
    const std::string shortcut = shown.shortcut ? std::string(1, *shown.shortcut) : "";
    NSMenuItem* const made =
        autoreleased([[NSMenuItem alloc] initWithTitle:nsText(shown.text)
                                                action:isAction ? @selector(choose:) : nullptr
                                         keyEquivalent:nsText(shortcut)]);
    [made setTarget:target];
    [made setEnabled:isAction];
    [made setRepresentedObject:nsText(shown.id)];
    return made;
}

} // namespace

MacStatusItem::MacStatusItem(MainLoop& loop) : loop(loop) {}

MacStatusItem::~MacStatusItem()
{
    if (item) {
        item->target.get()->chosen = nullptr;
        [[NSStatusBar systemStatusBar] removeStatusItem:item->item.get()];
    }
}

void MacStatusItem::setHandlers(Handlers next)
{
    handlers = std::move(next);
}

void MacStatusItem::show(const StatusContent& content)
{
    if (!item) {
        item = std::make_unique<Item>();
        item->chosen = [this](const std::string& id) { choose(id); };
        item->target = Ref(autoreleased([[VorlinMenuTarget alloc] init]));
        item->target.get()->chosen = &item->chosen;
        item->menu = Ref(autoreleased([[NSMenu alloc] init]));
        item->menu.get().autoenablesItems = NO;
        item->item =
            Ref([[NSStatusBar systemStatusBar] statusItemWithLength:NSVariableStatusItemLength]);
        [item->item.get() setMenu:item->menu.get()];
    }
    NSImage* const symbol = [NSImage imageWithSystemSymbolName:nsText(systemSymbol(content.symbol))
                                      accessibilityDescription:nsText(content.title)];
    NSStatusBarButton* const button = item->item.get().button;
    [button setImage:symbol];
    [button setToolTip:nsText(content.title)];
    [item->menu.get() removeAllItems];
    for (const auto& each : content.menu) {
        [item->menu.get() addItem:entry(each, item->target.get())];
    }
    setShown(true);
}

/// From the loop, for the menu may be changed by what is chosen in it.
void MacStatusItem::choose(const std::string& id)
{
    telling = loop.startTimer(Duration::zero(), [this, id] {
        if (const auto tell = handlers.chosen) {
            tell(id);
        }
    });
}

} // namespace vorlin
