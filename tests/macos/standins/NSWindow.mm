// Windows, panels and how they fade; screens.

#include "NSWindow.h"

#include "Described.h"
#include "NSView.h"

#include <functional>
#include <utility>

NSNotificationName NSWindowDidResignKeyNotification = @"NSWindowDidResignKeyNotification";
NSNotificationName NSWindowDidChangeBackingPropertiesNotification =
    @"NSWindowDidChangeBackingPropertiesNotification";
NSNotificationName NSApplicationDidChangeScreenParametersNotification =
    @"NSApplicationDidChangeScreenParametersNotification";

namespace {

__weak NSPanel* latest;
std::vector<std::function<void()>> fades;
NSArray* allScreens;
NSScreen* theMainScreen;

} // namespace

#define NOTED(type, Name, member)                                                                  \
    -(void)set##Name : (type)value                                                                 \
    {                                                                                              \
        standins::note(self, _cmd, value);                                                         \
        member = value;                                                                            \
    }

@implementation NSColor
+ (NSColor*)clearColor
{
    standins::note("+[NSColor clearColor]");
    static NSColor* clear = [[NSColor alloc] init];
    return clear;
}
- (id)copyWithZone:(NSZone*)zone
{
    (void)zone;
    return self;
}
@end

/// What changes a window in time.
@interface StandInAnimator : NSObject {
@public
    NSWindow* window;
}
- (void)setAlphaValue:(CGFloat)alpha;
@end

@implementation NSWindow {
    NSString* _identifier;
@public
    CGFloat _alpha;
}
@synthesize identifier = _identifier;
- (instancetype)initWithContentRect:(NSRect)contentRect
                          styleMask:(NSWindowStyleMask)style
                            backing:(NSBackingStoreType)backingStoreType
                              defer:(BOOL)flag
{
    standins::note(self, _cmd, contentRect, style, backingStoreType, flag);
    self = [super init];
    _alpha = 1;
    _frame = contentRect;
    _styleMask = style;
    return self;
}
- (void)setFrame:(NSRect)frame display:(BOOL)flag
{
    standins::note(self, _cmd, frame, flag);
    _frame = frame;
    self.contentView.frame = NSMakeRect(0, 0, frame.size.width, frame.size.height);
}
- (void)setContentView:(NSView*)view
{
    standins::note(self, _cmd, view);
    _contentView = view;
    standins::setWindow(view, self);
}
- (CGFloat)backingScaleFactor
{
    return standins::windowScale();
}
- (CGFloat)alphaValue
{
    return _alpha;
}
- (instancetype)animator
{
    StandInAnimator* animator = [[StandInAnimator alloc] init];
    animator->window = self;
    return (id)animator;
}
- (void)orderFrontRegardless
{
    standins::note(self, _cmd);
    _visible = YES;
}
- (void)makeKeyAndOrderFront:(id)sender
{
    standins::note(self, _cmd, sender);
    _visible = YES;
}
- (void)orderOut:(id)sender
{
    standins::note(self, _cmd, sender);
    _visible = NO;
}
NOTED(CGFloat, AlphaValue, _alpha)
NOTED(BOOL, Opaque, _opaque)
NOTED(NSColor*, BackgroundColor, _backgroundColor)
NOTED(BOOL, HasShadow, _hasShadow)
NOTED(BOOL, HidesOnDeactivate, _hidesOnDeactivate)
NOTED(NSWindowLevel, Level, _level)
NOTED(BOOL, IgnoresMouseEvents, _ignoresMouseEvents)
NOTED(NSWindowStyleMask, StyleMask, _styleMask)
NOTED(NSWindowCollectionBehavior, CollectionBehavior, _collectionBehavior)
NOTED(NSString*, Identifier, _identifier)
@end

@implementation NSPanel
- (instancetype)initWithContentRect:(NSRect)contentRect
                          styleMask:(NSWindowStyleMask)style
                            backing:(NSBackingStoreType)backingStoreType
                              defer:(BOOL)flag
{
    self = [super initWithContentRect:contentRect
                            styleMask:style
                              backing:backingStoreType
                                defer:flag];
    latest = self;
    return self;
}
@end

@implementation StandInAnimator
- (void)setAlphaValue:(CGFloat)alpha
{
    standins::note(self, _cmd, alpha);
    NSWindow* changed = window;
    fades.push_back([changed, alpha] { changed->_alpha = alpha; });
}
@end

@implementation NSAnimationContext
+ (void)runAnimationGroup:(void(NS_NOESCAPE ^)(NSAnimationContext* context))changes
{
    standins::note(self, _cmd);
    changes([[NSAnimationContext alloc] init]);
}
+ (void)runAnimationGroup:(void(NS_NOESCAPE ^)(NSAnimationContext* context))changes
        completionHandler:(void (^)(void))completionHandler
{
    standins::note(self, _cmd);
    changes([[NSAnimationContext alloc] init]);
    fades.push_back([completionHandler] { completionHandler(); });
}
NOTED(NSTimeInterval, Duration, _duration)
@end

@implementation NSScreen {
@public
    standins::Screen _said;
}
+ (NSArray<NSScreen*>*)screens
{
    return allScreens;
}
+ (NSScreen*)mainScreen
{
    return theMainScreen;
}
- (NSDictionary*)deviceDescription
{
    return @{@"NSScreenNumber" : [NSNumber numberWithInt:static_cast<int>(_said.number)]};
}
- (NSRect)frame
{
    return _said.frame;
}
- (NSRect)visibleFrame
{
    return _said.visibleFrame;
}
@end

namespace standins {

double& windowScale()
{
    static double scale = 1;
    return scale;
}

NSPanel* lastPanel()
{
    return latest;
}

void endAnimations()
{
    for (const auto& fade : std::exchange(fades, {}))
        fade();
}

void setScreens(const std::vector<Screen>& screens)
{
    NSMutableArray* made = [NSMutableArray array];
    theMainScreen = nil;
    for (const Screen& each : screens) {
        NSScreen* screen = [[NSScreen alloc] init];
        screen->_said = each;
        [made addObject:screen];
        if (each.isMain)
            theMainScreen = screen;
    }
    allScreens = made;
}

} // namespace standins
