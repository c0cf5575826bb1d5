#pragma once

#include <AppKit/NSResponder.h>
#include <QuartzCore/QuartzCore.h>

NS_ASSUME_NONNULL_BEGIN

@class NSWindow;

// appkit/nsview/layercontentsredrawpolicy-swift.property: "The contents redraw policy for the
// view’s layer."
typedef NS_ENUM(NSInteger, NSViewLayerContentsRedrawPolicy) {
    // appkit/nsview/layercontentsredrawpolicy-swift.enum/never: "Leave the layer’s contents alone.
    // Never mark the layer as needing display, or draw the view’s contents to the layer."
    NSViewLayerContentsRedrawNever = 0,
};

// appkit/nsview: "The infrastructure for drawing, printing, and handling events in an app."
@interface NSView : NSResponder <NSAnimatablePropertyContainer, NSUserInterfaceItemIdentification,
                                 NSAppearanceCustomization>
// appkit/nsview/init(frame:): "Initializes and returns a newly allocated NSView object with a
// specified frame rectangle."
- (instancetype)initWithFrame:(NSRect)frameRect NS_DESIGNATED_INITIALIZER;
// appkit/nsview/window: "The view’s window object, if it is installed in a window."
@property(nullable, readonly, unsafe_unretained) NSWindow* window;
// appkit/nsview/tooltip: "The text for the view’s tooltip."
@property(nullable, copy) NSString* toolTip;
// appkit/nsview/frame: "The view’s frame rectangle, which defines its position and size in its
// superview’s coordinate system."
@property NSRect frame;
// appkit/nsview/bounds: "The view’s bounds rectangle, which expresses its location and size in its
// own coordinate system."
@property NSRect bounds;
// appkit/nsview/isflipped: "A Boolean value indicating whether the view uses a flipped coordinate
// system."
@property(readonly, getter=isFlipped) BOOL flipped;
// appkit/nsview/alphavalue: "The opacity of the view."
@property CGFloat alphaValue;
// appkit/nsview/wantslayer: "A Boolean value indicating whether the view uses a layer as its
// backing store."
@property BOOL wantsLayer;
// appkit/nsview/layer: "The Core Animation layer that the view uses as its backing store."
@property(nullable, strong) CALayer* layer;
// appkit/nsview/layercontentsredrawpolicy-swift.property: "The contents redraw policy for the
// view’s layer."
@property NSViewLayerContentsRedrawPolicy layerContentsRedrawPolicy;
// appkit/nsview/addsubview(_:): "Adds a view to the view’s subviews so it’s displayed above its
// siblings."
- (void)addSubview:(NSView*)view;
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
@end

// appkit/nsglasseffectview: "A view that embeds its content view in a dynamic glass effect."
API_AVAILABLE(macos(26.0))
@interface NSGlassEffectView : NSView
// unconfirmed: docs.rs/objc2-app-kit/NSGlassEffectView: "pub fn contentView(&self) ->
// Option<Retained<NSView>>"
@property(nullable, strong) __kindof NSView* contentView;
// appkit/nsglasseffectview/cornerradius: "The amount of curvature for all corners of the glass."
@property CGFloat cornerRadius;
@end

NS_ASSUME_NONNULL_END
