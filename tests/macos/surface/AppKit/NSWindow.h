#pragma once

#include <AppKit/NSView.h>

NS_ASSUME_NONNULL_BEGIN

// appkit/nswindow/didresignkeynotification: "A notification that the window object resigned its
// status as key window."
APPKIT_EXTERN NSNotificationName NSWindowDidResignKeyNotification;

// appkit/nswindow/didchangebackingpropertiesnotification: "A notification that the window object
// backing properties changed."
APPKIT_EXTERN NSNotificationName NSWindowDidChangeBackingPropertiesNotification;

@class NSColor;
@class NSScreen;

// appkit/nswindow/stylemask-swift.struct: "Constants that specify the style of a window, and that
// you can combine with the C bitwise OR operator."
typedef NS_OPTIONS(NSUInteger, NSWindowStyleMask) {
    // appkit/nswindow/stylemask-swift.struct/borderless: "The window displays none of the usual
    // peripheral elements."
    NSWindowStyleMaskBorderless = 0,
    // appkit/nswindow/stylemask-swift.struct/titled: "The window displays a title bar."
    NSWindowStyleMaskTitled = 1 << 0,
    // appkit/nswindow/stylemask-swift.struct/closable: "The window displays a close button."
    NSWindowStyleMaskClosable = 1 << 1,
    // appkit/nswindow/stylemask-swift.struct/miniaturizable: "The window displays a minimize
    // button."
    NSWindowStyleMaskMiniaturizable = 1 << 2,
    // appkit/nswindow/stylemask-swift.struct/resizable: "The window can be resized by the user."
    NSWindowStyleMaskResizable = 1 << 3,
    // appkit/nswindow/stylemask-swift.struct/utilitywindow: "The window is a panel or a subclass
    // of NSPanel."
    NSWindowStyleMaskUtilityWindow = 1 << 4,
    // appkit/nswindow/stylemask-swift.struct/nonactivatingpanel: "The window is a panel or a
    // subclass of NSPanel that does not activate the owning app."
    NSWindowStyleMaskNonactivatingPanel = 1 << 7,
    // appkit/nswindow/stylemask-swift.struct/fullsizecontentview: "When set, the window’s
    // contentView consumes the full size of the window."
    NSWindowStyleMaskFullSizeContentView = 1 << 15,
};
// appkit/nswindow/backingstoretype: "Constants that specify how the window device buffers the
// drawing done in a window."
typedef NS_ENUM(NSUInteger, NSBackingStoreType) {
    // appkit/nswindow/backingstoretype/buffered: "The window renders all drawing into a display
    // buffer and then flushes it to the screen."
    NSBackingStoreBuffered = 2,
};
// appkit/nswindow/collectionbehavior-swift.struct: "Window collection behaviors related to Mission
// Control, Spaces, and Stage Manager."
typedef NS_OPTIONS(NSUInteger, NSWindowCollectionBehavior) {
    // docs.rs/objc2-app-kit: "const Default = 0"
    NSWindowCollectionBehaviorDefault = 0,
    // appkit/nswindow/collectionbehavior/canjoinallspaces: "The window can appear in all spaces."
    NSWindowCollectionBehaviorCanJoinAllSpaces = 1 << 0,
    // appkit/nswindow/collectionbehavior/movetoactivespace: "When the window becomes active, move
    // it to the active space instead of switching spaces."
    NSWindowCollectionBehaviorMoveToActiveSpace = 1 << 1,
    // appkit/nswindow/collectionbehavior/managed: "The window participates in Mission Control and
    // Spaces."
    NSWindowCollectionBehaviorManaged = 1 << 2,
    // appkit/nswindow/collectionbehavior/transient: "The window floats in Spaces and hides in
    // Mission Control."
    NSWindowCollectionBehaviorTransient = 1 << 3,
    // appkit/nswindow/collectionbehavior/stationary: "Mission Control doesn’t affect the window,
    // so it stays visible and stationary, like the desktop window."
    NSWindowCollectionBehaviorStationary = 1 << 4,
    // appkit/nswindow/collectionbehavior/ignorescycle: "The window isn’t part of the window cycle
    // for use with the Cycle Through Windows menu item."
    NSWindowCollectionBehaviorIgnoresCycle = 1 << 6,
    // appkit/nswindow/collectionbehavior/fullscreenauxiliary: "The window displays on the same
    // space as the full screen window."
    NSWindowCollectionBehaviorFullScreenAuxiliary = 1 << 8,
};
// appkit/nswindow/level-swift.struct: "The standard window levels in macOS."
typedef NSInteger NSWindowLevel NS_TYPED_EXTENSIBLE_ENUM;
// appkit/nswindow/level-swift.struct/statusbar: "The level for a status window."
static const NSWindowLevel NSStatusWindowLevel = 25;

// appkit/nswindow: "A window that an app displays on the screen."
@interface NSWindow : NSResponder <NSAnimatablePropertyContainer, NSUserInterfaceItemIdentification,
                                   NSAppearanceCustomization>
// appkit/nswindow/init(contentrect:stylemask:backing:defer:): "Initializes the window with the
// specified values."
- (instancetype)initWithContentRect:(NSRect)contentRect
                          styleMask:(NSWindowStyleMask)style
                            backing:(NSBackingStoreType)backingStoreType
                              defer:(BOOL)flag NS_DESIGNATED_INITIALIZER;
// appkit/nswindow/title: "The string that appears in the title bar of the window or the path to
// the represented file."
@property(copy) NSString* title;
// appkit/nswindow/contentview: "The window’s content view, the highest accessible view object in
// the window’s view hierarchy."
@property(nullable, strong) __kindof NSView* contentView;
// appkit/nswindow/stylemask-swift.property: "Flags that describe the window’s current style, such
// as if it’s resizable or in full-screen mode."
@property NSWindowStyleMask styleMask;
// appkit/nswindow/frame: "The window’s frame rectangle in screen coordinates, including the title
// bar."
@property(readonly) NSRect frame;
// appkit/nswindow/isvisible: "A Boolean value that indicates whether the window is visible
// onscreen (even when it’s obscured by other windows)."
@property(readonly, getter=isVisible) BOOL visible;
// appkit/nswindow/backgroundcolor: "The color of the window’s background."
@property(nullable, copy) NSColor* backgroundColor;
// appkit/nswindow/level-swift.property: "The window level of the window."
@property NSWindowLevel level;
// appkit/nswindow/hasshadow: "A Boolean value that indicates whether the window has a shadow."
@property BOOL hasShadow;
// appkit/nswindow/hidesondeactivate: "A Boolean value that indicates whether the window is removed
// from the screen when its application becomes inactive." … "the default value for NSPanel is true"
@property BOOL hidesOnDeactivate;
// appkit/nswindow/alphavalue: "The window’s alpha value."
@property CGFloat alphaValue;
// appkit/nswindow/isopaque: "A Boolean value that indicates whether the window is opaque."
@property(getter=isOpaque) BOOL opaque;
// appkit/nswindow/ignoresmouseevents: "A Boolean value that indicates whether the window is
// transparent to mouse events."
@property BOOL ignoresMouseEvents;
// appkit/nswindow/collectionbehavior-swift.property: "A value that identifies the window’s
// behavior in window collections."
@property NSWindowCollectionBehavior collectionBehavior;
// appkit/nswindow/backingscalefactor: "The backing scale factor."
@property(readonly) CGFloat backingScaleFactor;
// appkit/nswindow/screen: "The screen the window is on."
@property(nullable, readonly, strong) NSScreen* screen;
// appkit/nswindow/setframe(_:display:): "Sets the origin and size of the window’s frame rectangle
// according to a given frame rectangle, thereby setting its position and size onscreen."
- (void)setFrame:(NSRect)frameRect display:(BOOL)flag;
// appkit/nswindow/orderfrontregardless(): "Moves the window to the front of its level, even if its
// application isn’t active, without changing either the key window or the main window."
- (void)orderFrontRegardless;
// appkit/nswindow/orderout(_:): "Removes the window from the screen list, which hides the window."
- (void)orderOut:(nullable id)sender;
// appkit/nswindow/makekeyandorderfront(_:): "Moves the window to the front of the screen list,
// within its level, and makes it the key window; that is, it shows the window."
- (void)makeKeyAndOrderFront:(nullable id)sender;
// appkit/nswindow/close(): "Removes the window from the screen."
- (void)close;
@end

// appkit/nspanel: "A special kind of window that typically performs a function that is auxiliary
// to the main window."
@interface NSPanel : NSWindow
@end

// appkit/nsdevicedescriptionkey: "These constants are the keys for device description
// dictionaries."
typedef NSString* NSDeviceDescriptionKey NS_TYPED_EXTENSIBLE_ENUM;
// appkit/nsscreen: "An object that describes the attributes of a computer’s monitor or screen."
@interface NSScreen : NSObject
// appkit/nsscreen/screens: "Returns an array of screen objects representing all of the screens
// available on the system."
@property(class, readonly, copy) NSArray<NSScreen*>* screens;
// appkit/nsscreen/main: "Returns the screen object containing the window with the keyboard focus."
@property(class, readonly, nullable, strong) NSScreen* mainScreen;
// appkit/nsscreen/devicedescription: "The device dictionary for the screen."
@property(readonly, copy) NSDictionary<NSDeviceDescriptionKey, id>* deviceDescription;
// appkit/nsscreen/frame: "The dimensions and location of the screen."
@property(readonly) NSRect frame;
// appkit/nsscreen/visibleframe: "The current location and dimensions of the visible screen."
@property(readonly) NSRect visibleFrame;
// appkit/nsscreen/backingscalefactor: "The backing store pixel scale factor for the screen."
@property(readonly) CGFloat backingScaleFactor;
@end

NS_ASSUME_NONNULL_END
