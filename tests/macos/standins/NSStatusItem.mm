// The menu bar and menus.

#include "NSStatusItem.h"

#include "Described.h"
#include "Send.h"

namespace {

std::vector<NSStatusItem*> bar;

} // namespace

@implementation NSImage
+ (instancetype)imageWithSystemSymbolName:(NSString*)name
                 accessibilityDescription:(NSString*)description
{
    standins::note(self, _cmd, name, description);
    return [[self alloc] init];
}
- (id)copyWithZone:(NSZone*)zone
{
    (void)zone;
    return self;
}
@end

@implementation NSMenuItem {
    BOOL _isSeparator;
}
+ (NSMenuItem*)separatorItem
{
    NSMenuItem* item = [[self alloc] init];
    item->_isSeparator = YES;
    return item;
}
- (instancetype)initWithTitle:(NSString*)string
                       action:(SEL)selector
                keyEquivalent:(NSString*)charCode
{
    self = [super init];
    _title = string;
    _action = selector;
    _keyEquivalent = charCode;
    _enabled = YES;
    return self;
}
- (BOOL)isSeparatorItem
{
    return _isSeparator;
}
@end

@implementation NSMenu {
@public
    std::vector<NSMenuItem*> _items;
}
- (instancetype)init
{
    self = [super init];
    _autoenablesItems = YES;
    return self;
}
- (void)setAutoenablesItems:(BOOL)does
{
    standins::note(self, _cmd, does);
    _autoenablesItems = does;
}
- (void)addItem:(NSMenuItem*)item
{
    standins::note(self, _cmd, item.isSeparatorItem ? @"separator" : item.title);
    _items.push_back(item);
}
- (void)removeAllItems
{
    standins::note(self, _cmd);
    _items.clear();
}
@end

@implementation NSControl
@end

@implementation NSButton
- (void)setImage:(NSImage*)image
{
    standins::note(self, _cmd, image);
    _image = image;
}
@end

@implementation NSStatusBarButton
@end

@implementation NSStatusItem
- (instancetype)init
{
    self = [super init];
    _button = [[NSStatusBarButton alloc] initWithFrame:NSZeroRect];
    return self;
}
- (void)setMenu:(NSMenu*)menu
{
    standins::note(self, _cmd, menu);
    _menu = menu;
}
@end

@implementation NSStatusBar
+ (NSStatusBar*)systemStatusBar
{
    static NSStatusBar* shared = [[NSStatusBar alloc] init];
    return shared;
}
- (NSStatusItem*)statusItemWithLength:(CGFloat)length
{
    standins::note(self, _cmd, length);
    bar.push_back([[NSStatusItem alloc] init]);
    return bar.back();
}
- (void)removeStatusItem:(NSStatusItem*)item
{
    standins::note(self, _cmd, item);
    std::erase(bar, item);
}
@end

namespace standins {

std::vector<NSStatusItem*> statusItems()
{
    return bar;
}

std::vector<NSMenuItem*> itemsOf(NSMenu* menu)
{
    return menu->_items;
}

void choose(NSMenuItem* item)
{
    if (item.enabled && item.target != nil && item.action != nullptr)
        send(item.target, item.action, item);
}

} // namespace standins
