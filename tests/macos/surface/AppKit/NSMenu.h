#pragma once

#include <AppKit/NSEvent.h>
#include <AppKit/NSView.h>

NS_ASSUME_NONNULL_BEGIN

@class NSMenuItem;
@protocol NSMenuDelegate;

// appkit/nscontrol/statevalue: "A constant that indicates whether a control is on, off, or in a
// mixed state."
typedef NSInteger NSControlStateValue NS_TYPED_EXTENSIBLE_ENUM;

// appkit/nsmenu: "An object that manages an app’s menus."
@interface NSMenu : NSObject <NSCopying, NSUserInterfaceItemIdentification>
// appkit/nsmenu/init(title:): "Initializes and returns a menu having the specified title and with
// autoenabling of menu items turned on."
- (instancetype)initWithTitle:(NSString*)title NS_DESIGNATED_INITIALIZER;
// appkit/nsmenu/title: "The title of the menu."
@property(copy) NSString* title;
// appkit/nsmenu/autoenablesitems: "Indicates whether the menu automatically enables and disables
// its menu items."
@property BOOL autoenablesItems;
// appkit/nsmenu/additem(_:): "Adds a menu item to the end of the menu."
- (void)addItem:(NSMenuItem*)newItem;
// appkit/nsmenu/removeallitems(): "Removes all the menu items in the menu."
- (void)removeAllItems;
@end

// appkit/nsmenudelegate: "The optional methods implemented by delegates of NSMenu objects to
// manage menu display and handle some events."
@protocol NSMenuDelegate <NSObject>
@optional
@end

// appkit/nsmenuitem: "A command item in an app menu."
@interface NSMenuItem : NSObject <NSCopying, NSUserInterfaceItemIdentification>
// appkit/nsmenuitem/isseparatoritem: "A Boolean value indicating whether the menu item is a
// separator item."
+ (NSMenuItem*)separatorItem;
// appkit/nsmenuitem/init(title:action:keyequivalent:): "Returns an initialized instance of
// NSMenuItem."
- (instancetype)initWithTitle:(NSString*)string
                       action:(nullable SEL)selector
                keyEquivalent:(NSString*)charCode NS_DESIGNATED_INITIALIZER;
// appkit/nsmenuitem/title: "The menu item’s title."
@property(copy) NSString* title;
// appkit/nsmenuitem/isseparatoritem: "A Boolean value indicating whether the menu item is a
// separator item."
@property(readonly, getter=isSeparatorItem) BOOL separatorItem;
// appkit/nsmenuitem/keyequivalent: "The menu item’s unmodified key equivalent."
@property(copy) NSString* keyEquivalent;
// appkit/nsmenuitem/image: "The menu item’s image."
@property(nullable, strong) NSImage* image;
// appkit/nsmenuitem/state: "The state of the menu item."
@property NSControlStateValue state;
// appkit/nsmenuitem/isenabled: "A Boolean value that indicates whether the menu item is enabled."
@property(getter=isEnabled) BOOL enabled;
// appkit/nsmenuitem/target: "The menu item’s target."
@property(nullable, weak) id target;
// appkit/nsmenuitem/action: "The menu item’s action-method selector."
@property(nullable) SEL action;
// appkit/nsmenuitem/representedobject: "The object represented by the menu item."
@property(nullable, strong) id representedObject;
@end

// appkit/nscontrol: "A specialized view, such as a button or text field, that notifies your app of
// relevant events using the target-action design pattern."
@interface NSControl : NSView
// appkit/nscontrol/target: "The target object that receives action messages from the cell."
@property(nullable, weak) id target;
// appkit/nscontrol/action: "The default action-message selector associated with the control."
@property(nullable) SEL action;
// appkit/nscontrol/isenabled: "A Boolean value that indicates whether the receiver reacts to mouse
// events."
@property(getter=isEnabled) BOOL enabled;
@end

// appkit/nsbutton: "A control that defines an area on the screen that a user clicks to trigger an
// action."
@interface NSButton : NSControl
// appkit/nsbutton/title: "The title displayed on the button when it’s in an off state."
@property(copy) NSString* title;
// appkit/nsbutton/image: "The image that appears on the button when it’s in an off state, or nil
// if there is no such image."
@property(nullable, strong) NSImage* image;
@end

// appkit/nsstatusbarbutton: "The appearance and behavior of an item in the systemwide menu bar."
@interface NSStatusBarButton : NSButton
@end

// appkit/nsstatusitem/variablelength: "A status item length that dynamically adjusts to the width
// of its contents."
static const CGFloat NSVariableStatusItemLength = -1.0;

// appkit/nsstatusitem: "An individual element displayed in the system menu bar."
@interface NSStatusItem : NSObject
// appkit/nsstatusitem/length: "The amount of space in the status bar that should be allocated to
// the status item."
@property CGFloat length;
// appkit/nsstatusitem/menu: "The pull-down menu displayed when the user clicks the status item."
@property(nullable, strong) NSMenu* menu;
// appkit/nsstatusitem/button: "The button displayed in the status bar."
@property(nullable, readonly, strong) NSStatusBarButton* button;
// appkit/nsstatusitem/isvisible: "A Boolean value indicating if the menu bar currently displays
// the status item."
@property(getter=isVisible) BOOL visible;
@end

// appkit/nsstatusbar: "An object that manages a collection of status items displayed within the
// system-wide menu bar."
@interface NSStatusBar : NSObject
// appkit/nsstatusbar/system: "Returns the system-wide status bar located in the menu bar."
@property(class, readonly, strong) NSStatusBar* systemStatusBar;
// appkit/nsstatusbar/statusitem(withlength:): "Returns a newly created status item that has been
// allotted a specified space within the status bar."
- (NSStatusItem*)statusItemWithLength:(CGFloat)length;
// appkit/nsstatusbar/removestatusitem(_:): "Removes the specified status item from the receiver."
- (void)removeStatusItem:(NSStatusItem*)item;
@end

NS_ASSUME_NONNULL_END
