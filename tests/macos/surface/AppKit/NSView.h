#pragma once

#include <AppKit/NSResponder.h>
#include <QuartzCore/QuartzCore.h>

NS_ASSUME_NONNULL_BEGIN

@class NSColor;
@class NSImage;
@class NSWindow;

// appkit/nsview/autoresizingmask-swift.struct: "Constants that specify the autoresizing behaviors
// for views."
typedef NS_OPTIONS(NSUInteger, NSAutoresizingMaskOptions) {
    // appkit/nsview/autoresizingmask-swift.struct/none: "The view cannot be resized."
    NSViewNotSizable = 0,
    // appkit/nsview/autoresizingmask-swift.struct/width: "The view’s width is flexible."
    NSViewWidthSizable = 2,
    // appkit/nsview/autoresizingmask-swift.struct/height: "The view’s height is flexible."
    NSViewHeightSizable = 16,
};
// appkit/nswindow/orderingmode: "Constants that let you specify how a window is ordered relative
// to another window."
typedef NS_ENUM(NSInteger, NSWindowOrderingMode) {
    // appkit/nswindow/orderingmode/above: "Moves the window above the indicated window."
    NSWindowAbove = 1,
    // appkit/nswindow/orderingmode/below: "Moves the window below the indicated window."
    NSWindowBelow = -1,
    // appkit/nswindow/orderingmode/out: "Moves the window off the screen."
    NSWindowOut = 0,
};

// appkit/nsview: "The infrastructure for drawing, printing, and handling events in an app."
@interface NSView : NSResponder <NSAnimatablePropertyContainer, NSUserInterfaceItemIdentification,
                                 NSAppearanceCustomization>
// appkit/nsview/init(frame:): "Initializes and returns a newly allocated NSView object with a
// specified frame rectangle."
- (instancetype)initWithFrame:(NSRect)frameRect NS_DESIGNATED_INITIALIZER;
// appkit/nsview/window: "The view’s window object, if it is installed in a window."
@property(nullable, readonly, unsafe_unretained) NSWindow* window;
// appkit/nsview/superview: "The view that is the parent of the current view."
@property(nullable, readonly, unsafe_unretained) NSView* superview;
// appkit/nsview/subviews: "The array of views embedded in the current view."
@property(copy) NSArray<__kindof NSView*>* subviews;
// appkit/nsview/tooltip: "The text for the view’s tooltip."
@property(nullable, copy) NSString* toolTip;
// appkit/nsview/ishidden: "A Boolean value indicating whether the view is hidden."
@property(getter=isHidden) BOOL hidden;
// appkit/nsview/frame: "The view’s frame rectangle, which defines its position and size in its
// superview’s coordinate system."
@property NSRect frame;
// appkit/nsview/bounds: "The view’s bounds rectangle, which expresses its location and size in its
// own coordinate system."
@property NSRect bounds;
// appkit/nsview/isflipped: "A Boolean value indicating whether the view uses a flipped coordinate
// system."
@property(readonly, getter=isFlipped) BOOL flipped;
// appkit/nsview/autoresizingmask-swift.property: "The options that determine how the view is
// resized relative to its superview."
@property NSAutoresizingMaskOptions autoresizingMask;
// appkit/nsview/alphavalue: "The opacity of the view."
@property CGFloat alphaValue;
// appkit/nsview/wantslayer: "A Boolean value indicating whether the view uses a layer as its
// backing store."
@property BOOL wantsLayer;
// appkit/nsview/layer: "The Core Animation layer that the view uses as its backing store."
@property(nullable, strong) CALayer* layer;
// appkit/nsview/wantsupdatelayer: "A Boolean value indicating which drawing path the view takes
// when updating its contents."
@property(readonly) BOOL wantsUpdateLayer;
// appkit/nsview/needsdisplay: "A Boolean value that determines whether the view needs to be
// redrawn before being displayed."
@property BOOL needsDisplay;
// appkit/nsview/setframesize(_:): "Sets the size of the view’s frame rectangle to the specified
// dimensions, resizing it within its superview without affecting its coordinate system."
- (void)setFrameSize:(NSSize)newSize;
// appkit/nsview/addsubview(_:): "Adds a view to the view’s subviews so it’s displayed above its
// siblings."
- (void)addSubview:(NSView*)view;
// appkit/nsview/addsubview(_:positioned:relativeto:): "Inserts a view among the view’s subviews so
// it’s displayed immediately above or below another view."
- (void)addSubview:(NSView*)view
        positioned:(NSWindowOrderingMode)place
        relativeTo:(nullable NSView*)otherView;
// appkit/nsview/removefromsuperview(): "Unlinks the view from its superview and its window,
// removes it from the responder chain, and invalidates its cursor rectangles."
- (void)removeFromSuperview;
// appkit/nsview/draw(_:): "Overridden by subclasses to draw the view’s image within the specified
// rectangle."
- (void)drawRect:(NSRect)dirtyRect;
// appkit/nsview/updatelayer(): "Updates the view’s content by modifying its underlying layer."
- (void)updateLayer;
// appkit/nsview/viewdidchangebackingproperties(): "Responds when the view’s backing store
// properties change."
- (void)viewDidChangeBackingProperties;
// appkit/nsview/viewdidchangeeffectiveappearance(): "Informs the view that its effective
// appearance changed."
- (void)viewDidChangeEffectiveAppearance;
@end

// appkit/nsvisualeffectview/material-swift.enum: "Constants to specify the material shown by the
// visual effect view."
typedef NS_ENUM(NSInteger, NSVisualEffectMaterial) {
    // appkit/nsvisualeffectview/material-swift.enum/menu: "The material for menus."
    NSVisualEffectMaterialMenu = 5,
    // appkit/nsvisualeffectview/material-swift.enum/popover: "The material for the background of
    // popover windows."
    NSVisualEffectMaterialPopover = 6,
    // appkit/nsvisualeffectview/material-swift.enum/sidebar: "The material for the background of
    // window sidebars."
    NSVisualEffectMaterialSidebar = 7,
    // appkit/nsvisualeffectview/material-swift.enum/windowbackground: "The material for the
    // background of opaque windows."
    NSVisualEffectMaterialWindowBackground = 12,
    // appkit/nsvisualeffectview/material-swift.enum/hudwindow: "The material for the background of
    // heads-up display (HUD) windows."
    NSVisualEffectMaterialHUDWindow = 13,
};
// appkit/nsvisualeffectview/blendingmode-swift.enum: "Constants that specify whether the visual
// effect view blends with what’s either behind or within the window."
typedef NS_ENUM(NSInteger, NSVisualEffectBlendingMode) {
    // appkit/nsvisualeffectview/blendingmode-swift.enum/behindwindow: "A mode that blends and
    // blurs the visual effect view with the contents behind the window, such as the desktop or
    // other windows."
    NSVisualEffectBlendingModeBehindWindow,
    // appkit/nsvisualeffectview/blendingmode-swift.enum/withinwindow: "A mode that blends and
    // blurs the visual effect view with contents behind the view in the current window only."
    NSVisualEffectBlendingModeWithinWindow,
};
// appkit/nsvisualeffectview/state-swift.enum: "Constants to specify how the material appearance
// should reflect window activity state."
typedef NS_ENUM(NSInteger, NSVisualEffectState) {
    // docs.rs/objc2-app-kit: "pub const FollowsWindowActiveState: Self = Self(0)"
    NSVisualEffectStateFollowsWindowActiveState,
    // docs.rs/objc2-app-kit: "pub const Active: Self = Self(1)"
    NSVisualEffectStateActive,
    // docs.rs/objc2-app-kit: "pub const Inactive: Self = Self(2)"
    NSVisualEffectStateInactive,
};

// appkit/nsvisualeffectview: "A view that adds translucency and vibrancy effects to the views in
// your interface."
@interface NSVisualEffectView : NSView
// appkit/nsvisualeffectview/material-swift.property: "The material shown by the visual effect
// view."
@property NSVisualEffectMaterial material;
// appkit/nsvisualeffectview/blendingmode-swift.property: "A value indicating how the view’s
// contents blend with the surrounding content."
@property NSVisualEffectBlendingMode blendingMode;
// appkit/nsvisualeffectview/state-swift.property: "A value that indicates whether a view has a
// visual effect applied."
@property NSVisualEffectState state;
// appkit/nsvisualeffectview/maskimage: "An image whose alpha channel masks the visual effect
// view’s material."
@property(nullable, strong) NSImage* maskImage;
@end

// unconfirmed: docs.rs/objc2-app-kit: "pub struct NSGlassEffectViewStyle(pub NSInteger)"
typedef NS_ENUM(NSInteger, NSGlassEffectViewStyle) {
    // docs.rs/objc2-app-kit: "pub const Regular: Self = Self(0)"
    NSGlassEffectViewStyleRegular,
    // docs.rs/objc2-app-kit: "pub const Clear: Self = Self(1)"
    NSGlassEffectViewStyleClear,
} API_AVAILABLE(macos(26.0));

// appkit/nsglasseffectview: "A view that embeds its content view in a dynamic glass effect."
API_AVAILABLE(macos(26.0))
@interface NSGlassEffectView : NSView
// unconfirmed: docs.rs/objc2-app-kit/NSGlassEffectView: "pub fn contentView(&self) ->
// Option<Retained<NSView>>"
@property(nullable, strong) __kindof NSView* contentView;
// appkit/nsglasseffectview/cornerradius: "The amount of curvature for all corners of the glass."
@property CGFloat cornerRadius;
// unconfirmed: docs.rs/objc2-app-kit/NSGlassEffectView: "pub fn tintColor(&self) ->
// Option<Retained<NSColor>>"
@property(nullable, copy) NSColor* tintColor;
// appkit/nsglasseffectview/style-swift.property: "The style of glass this view uses."
@property NSGlassEffectViewStyle style;
@end

NS_ASSUME_NONNULL_END
