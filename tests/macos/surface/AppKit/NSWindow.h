#pragma once

#include <AppKit/NSView.h>

NS_ASSUME_NONNULL_BEGIN

@class NSColor;
@class NSScreen;

typedef NS_OPTIONS(NSUInteger, NSWindowStyleMask) {
    NSWindowStyleMaskBorderless = 0,
    NSWindowStyleMaskTitled = 1 << 0,
    NSWindowStyleMaskClosable = 1 << 1,
    NSWindowStyleMaskMiniaturizable = 1 << 2,
    NSWindowStyleMaskResizable = 1 << 3,
    NSWindowStyleMaskUtilityWindow = 1 << 4,
    NSWindowStyleMaskNonactivatingPanel = 1 << 7,
    NSWindowStyleMaskFullSizeContentView = 1 << 15,
};
typedef NS_ENUM(NSUInteger, NSBackingStoreType) {
    NSBackingStoreBuffered = 2,
};
typedef NS_OPTIONS(NSUInteger, NSWindowCollectionBehavior) {
    NSWindowCollectionBehaviorDefault = 0,
    NSWindowCollectionBehaviorCanJoinAllSpaces = 1 << 0,
    NSWindowCollectionBehaviorMoveToActiveSpace = 1 << 1,
    NSWindowCollectionBehaviorManaged = 1 << 2,
    NSWindowCollectionBehaviorTransient = 1 << 3,
    NSWindowCollectionBehaviorStationary = 1 << 4,
    NSWindowCollectionBehaviorIgnoresCycle = 1 << 6,
    NSWindowCollectionBehaviorFullScreenAuxiliary = 1 << 8,
};
typedef NSInteger NSWindowLevel NS_TYPED_EXTENSIBLE_ENUM;
static const NSWindowLevel NSNormalWindowLevel = 0;
static const NSWindowLevel NSFloatingWindowLevel = 3;
static const NSWindowLevel NSStatusWindowLevel = 25;

@interface NSWindow : NSResponder <NSAnimatablePropertyContainer, NSUserInterfaceItemIdentification,
                                   NSAppearanceCustomization>
- (instancetype)initWithContentRect:(NSRect)contentRect
                          styleMask:(NSWindowStyleMask)style
                            backing:(NSBackingStoreType)backingStoreType
                              defer:(BOOL)flag NS_DESIGNATED_INITIALIZER;
@property(copy) NSString* title;
@property(nullable, strong) __kindof NSView* contentView;
@property NSWindowStyleMask styleMask;
@property(readonly) NSRect frame;
@property(readonly, getter=isVisible) BOOL visible;
@property(readonly, getter=isKeyWindow) BOOL keyWindow;
@property(readonly, getter=isOnActiveSpace) BOOL onActiveSpace;
@property(getter=isReleasedWhenClosed) BOOL releasedWhenClosed;
@property BOOL hidesOnDeactivate;
@property(nullable, copy) NSColor* backgroundColor;
@property NSWindowLevel level;
@property BOOL hasShadow;
@property CGFloat alphaValue;
@property(getter=isOpaque) BOOL opaque;
@property BOOL ignoresMouseEvents;
@property BOOL canHide;
@property NSWindowCollectionBehavior collectionBehavior;
@property(readonly) CGFloat backingScaleFactor;
@property(nullable, readonly, strong) NSScreen* screen;
- (void)setFrame:(NSRect)frameRect display:(BOOL)flag;
- (void)orderFrontRegardless;
- (void)orderFront:(nullable id)sender;
- (void)orderOut:(nullable id)sender;
- (void)makeKeyAndOrderFront:(nullable id)sender;
- (void)close;
- (void)displayIfNeeded;
- (void)invalidateShadow;
@end

@interface NSPanel : NSWindow
@property(getter=isFloatingPanel) BOOL floatingPanel;
@property BOOL becomesKeyOnlyIfNeeded;
@property BOOL worksWhenModal;
@end

@interface NSScreen : NSObject
@property(class, readonly, copy) NSArray<NSScreen*>* screens;
@property(class, readonly, nullable, strong) NSScreen* mainScreen;
@property(readonly) NSRect frame;
@property(readonly) NSRect visibleFrame;
@property(readonly) CGFloat backingScaleFactor;
@property(readonly, copy) NSString* localizedName;
@end

NS_ASSUME_NONNULL_END
