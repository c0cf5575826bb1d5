#pragma once

#include <AppKit/NSResponder.h>
#include <QuartzCore/QuartzCore.h>

NS_ASSUME_NONNULL_BEGIN

@class NSColor;
@class NSImage;
@class NSWindow;

typedef NS_OPTIONS(NSUInteger, NSAutoresizingMaskOptions) {
    NSViewNotSizable = 0,
    NSViewWidthSizable = 2,
    NSViewHeightSizable = 16,
};
typedef NS_ENUM(NSInteger, NSWindowOrderingMode) {
    NSWindowAbove = 1,
    NSWindowBelow = -1,
    NSWindowOut = 0,
};

@interface NSView : NSResponder <NSAnimatablePropertyContainer, NSUserInterfaceItemIdentification,
                                 NSAppearanceCustomization>
- (instancetype)initWithFrame:(NSRect)frameRect NS_DESIGNATED_INITIALIZER;
@property(nullable, readonly, unsafe_unretained) NSWindow* window;
@property(nullable, readonly, unsafe_unretained) NSView* superview;
@property(copy) NSArray<__kindof NSView*>* subviews;
@property(getter=isHidden) BOOL hidden;
@property NSRect frame;
@property NSRect bounds;
@property(readonly, getter=isFlipped) BOOL flipped;
@property NSAutoresizingMaskOptions autoresizingMask;
@property CGFloat alphaValue;
@property BOOL wantsLayer;
@property(nullable, strong) CALayer* layer;
@property(readonly) BOOL wantsUpdateLayer;
@property BOOL needsDisplay;
- (void)setFrameSize:(NSSize)newSize;
- (void)addSubview:(NSView*)view;
- (void)addSubview:(NSView*)view
        positioned:(NSWindowOrderingMode)place
        relativeTo:(nullable NSView*)otherView;
- (void)removeFromSuperview;
- (void)drawRect:(NSRect)dirtyRect;
- (void)updateLayer;
- (void)viewDidChangeBackingProperties;
- (void)viewDidChangeEffectiveAppearance;
@end

typedef NS_ENUM(NSInteger, NSVisualEffectMaterial) {
    NSVisualEffectMaterialMenu = 5,
    NSVisualEffectMaterialPopover = 6,
    NSVisualEffectMaterialSidebar = 7,
    NSVisualEffectMaterialWindowBackground = 12,
    NSVisualEffectMaterialHUDWindow = 13,
};
typedef NS_ENUM(NSInteger, NSVisualEffectBlendingMode) {
    NSVisualEffectBlendingModeBehindWindow,
    NSVisualEffectBlendingModeWithinWindow,
};
typedef NS_ENUM(NSInteger, NSVisualEffectState) {
    NSVisualEffectStateFollowsWindowActiveState,
    NSVisualEffectStateActive,
    NSVisualEffectStateInactive,
};

@interface NSVisualEffectView : NSView
@property NSVisualEffectMaterial material;
@property NSVisualEffectBlendingMode blendingMode;
@property NSVisualEffectState state;
@property(nullable, strong) NSImage* maskImage;
@end

typedef NS_ENUM(NSInteger, NSGlassEffectViewStyle) {
    NSGlassEffectViewStyleRegular,
    NSGlassEffectViewStyleClear,
} API_AVAILABLE(macos(26.0));

API_AVAILABLE(macos(26.0))
@interface NSGlassEffectView : NSView
@property(nullable, strong) __kindof NSView* contentView;
@property CGFloat cornerRadius;
@property(nullable, copy) NSColor* tintColor;
@property NSGlassEffectViewStyle style;
@end

NS_ASSUME_NONNULL_END
