#pragma once

#include <AppKit/NSResponder.h>

NS_ASSUME_NONNULL_BEGIN

@class NSImage;
@class NSMenu;
@class NSWindow;
@protocol NSApplicationDelegate;

// appkit/nsapplication/activationpolicy-swift.enum: "Activation policies (used by
// activationPolicy) that control whether and how an app may be activated."
typedef NS_ENUM(NSInteger, NSApplicationActivationPolicy) {
    // appkit/nsapplication/activationpolicy/regular: "The application is an ordinary app that
    // appears in the Dock and may have a user interface."
    NSApplicationActivationPolicyRegular,
    // appkit/nsapplication/activationpolicy/accessory: "The application doesn’t appear in the Dock
    // and doesn’t have a menu bar, but it may be activated programmatically or by clicking on one
    // of its windows."
    NSApplicationActivationPolicyAccessory,
    // appkit/nsapplication/activationpolicy/prohibited: "The application doesn’t appear in the
    // Dock and may not create windows or be activated."
    NSApplicationActivationPolicyProhibited,
};
// appkit/nsapplication/activationoptions: "The following flags are for activate(options:)."
typedef NS_OPTIONS(NSUInteger, NSApplicationActivationOptions) {
    // appkit/nsapplication/activationoptions/activateallwindows: "By default, activation brings
    // only the main and key windows forward."
    NSApplicationActivateAllWindows = 1 << 0,
};
// appkit/nsapplication/terminatereply: "Constants that determine whether an app should terminate."
typedef NS_ENUM(NSUInteger, NSApplicationTerminateReply) {
    // docs.rs/objc2-app-kit: "pub const TerminateCancel: Self = Self(0)"
    NSTerminateCancel = 0,
    // docs.rs/objc2-app-kit: "pub const TerminateNow: Self = Self(1)"
    NSTerminateNow = 1,
    // docs.rs/objc2-app-kit: "pub const TerminateLater: Self = Self(2)"
    NSTerminateLater = 2,
};
// appkit/nsapplication/modalresponse: "A set of button return values for modal dialogs."
typedef NSInteger NSModalResponse NS_TYPED_EXTENSIBLE_ENUM;
// appkit/nsapplication/modalresponse/ok: "The presentation or dismissal of the sheet has
// finished."
static const NSModalResponse NSModalResponseOK = 1;
// appkit/nsapplication/modalresponse/cancel: "The presentation or dismissal of the sheet has been
// canceled."
static const NSModalResponse NSModalResponseCancel = 0;

// appkit/nsapplication/didbecomeactivenotification: "Posted immediately after the app becomes
// active."
APPKIT_EXTERN NSNotificationName NSApplicationDidBecomeActiveNotification;
// appkit/nsapplication/didchangescreenparametersnotification: "Posted when the configuration of
// the displays attached to the computer is changed."
APPKIT_EXTERN NSNotificationName NSApplicationDidChangeScreenParametersNotification;
// appkit/nsapplicationdidfinishlaunchingnotification: "Posted at the end of the finishLaunching()
// method to indicate that the app has completed launching and is ready to run."
APPKIT_EXTERN NSNotificationName NSApplicationDidFinishLaunchingNotification;
// appkit/nsapplication/willterminatenotification: "Sends a notification to termintate the app."
APPKIT_EXTERN NSNotificationName NSApplicationWillTerminateNotification;

@class NSApplication;
// appkit/nsapp: "The global variable for the shared app instance."
APPKIT_EXTERN __kindof NSApplication* _Null_unspecified NSApp;

// appkit/nsapplication: "An object that manages an app’s main event loop and resources used by all
// of that app’s objects."
@interface NSApplication : NSResponder <NSAppearanceCustomization>
// appkit/nsapplication/shared: "Returns the application instance, creating it if it doesn’t exist
// yet."
@property(class, readonly, strong) __kindof NSApplication* sharedApplication;
// appkit/nsapplication/delegate: "The app delegate object."
@property(nullable, weak) id<NSApplicationDelegate> delegate;
// appkit/nsapplication/isactive: "A Boolean value indicating whether this is the active app."
@property(readonly, getter=isActive) BOOL active;
// appkit/nsapplication/isrunning: "A Boolean value indicating whether the main event loop is
// running."
@property(readonly, getter=isRunning) BOOL running;
// docs.rs/objc2-app-kit/NSApplication: "pub fn windows(&self) -> Retained<NSArray<NSWindow>>"
@property(readonly, copy) NSArray<NSWindow*>* windows;
// appkit/nsapplication/keywindow: "The window that currently receives keyboard events."
@property(nullable, readonly, weak) NSWindow* keyWindow;
// appkit/nsapplication/mainmenu: "The app’s main menu bar."
@property(nullable, strong) NSMenu* mainMenu;
// appkit/nsapplication/applicationiconimage: "The image used for the app’s icon."
@property(null_unspecified, strong) NSImage* applicationIconImage;
// appkit/nsapplication/activate(): "Activates the receiver app, if appropriate."
- (void)activate API_AVAILABLE(macos(14.0));
// appkit/nsapplication/finishlaunching(): "Activates the app, opens any files specified by the
// NSOpen user default, and unhighlights the app’s icon."
- (void)finishLaunching;
// appkit/nsapplication/run(): "Starts the main event loop."
- (void)run;
// appkit/nsapplication/stop(_:): "Stops the main event loop."
- (void)stop:(nullable id)sender;
// appkit/nsapplication/terminate(_:): "Terminates the receiver."
- (void)terminate:(nullable id)sender;
// appkit/nsapplication/activationpolicy(): "Returns the app’s activation policy."
- (NSApplicationActivationPolicy)activationPolicy;
// appkit/nsapplication/setactivationpolicy(_:): "Attempts to modify the app’s activation policy."
- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)activationPolicy;
// appkit/nsapplication/reply(toapplicationshouldterminate:): "Responds to NSTerminateLater once
// the app knows whether it can terminate."
- (void)replyToApplicationShouldTerminate:(BOOL)shouldTerminate;
@end

// appkit/nsapplicationdelegate: "A set of methods that manage your app’s life cycle and its
// interaction with common system services."
@protocol NSApplicationDelegate <NSObject>
@optional
// appkit/nsapplicationdelegate/applicationshouldterminate(_:): "Returns a value that indicates if
// the app should terminate."
- (NSApplicationTerminateReply)applicationShouldTerminate:(NSApplication*)sender;
// appkit/nsapplicationdelegate/applicationshouldhandlereopen(_:hasvisiblewindows:): "Returns a
// Boolean value that indicates if the app responds to reopen AppleEvents."
- (BOOL)applicationShouldHandleReopen:(NSApplication*)sender hasVisibleWindows:(BOOL)flag;
// appkit/nsapplicationdelegate/applicationshouldterminateafterlastwindowclosed(_:): "Returns a
// Boolean value that indicates if the app terminates once the last window closes."
- (BOOL)applicationShouldTerminateAfterLastWindowClosed:(NSApplication*)sender;
// appkit/nsapplicationdelegate/applicationsupportssecurerestorablestate(_:): "Returns a Boolean
// value that indicates if the app supports secure state restoration."
- (BOOL)applicationSupportsSecureRestorableState:(NSApplication*)app API_AVAILABLE(macos(12.0));
// appkit/nsapplicationdelegate/applicationdidfinishlaunching(_:): "Tells the delegate that the
// app’s initialization is complete but it hasn’t received its first event."
- (void)applicationDidFinishLaunching:(NSNotification*)notification;
// appkit/nsapplicationdelegate/applicationwillterminate(_:): "Tells the delegate that the app is
// about to terminate."
- (void)applicationWillTerminate:(NSNotification*)notification;
@end

// appkit/nsrunningapplication: "An object that can manipulate and provide information for a single
// instance of an app."
@interface NSRunningApplication : NSObject
// appkit/nsrunningapplication/current: "Returns an NSRunningApplication representing this
// application."
@property(class, readonly, strong) NSRunningApplication* currentApplication;
// appkit/nsrunningapplication/bundleidentifier: "Indicates the CFBundleIdentifier of the
// application."
@property(nullable, readonly, copy) NSString* bundleIdentifier;
// appkit/nsrunningapplication/localizedname: "Indicates the localized name of the application."
@property(nullable, readonly, copy) NSString* localizedName;
// appkit/nsrunningapplication/processidentifier: "Indicates the process identifier (pid) of the
// application."
@property(readonly) pid_t processIdentifier;
// appkit/nsrunningapplication/runningapplications(withbundleidentifier:): "Returns an array of
// currently running applications with the specified bundle identifier."
+ (NSArray<NSRunningApplication*>*)runningApplicationsWithBundleIdentifier:
    (NSString*)bundleIdentifier;
// appkit/nsrunningapplication/activate(options:): "Attempts to activate the application using the
// specified options."
- (BOOL)activateWithOptions:(NSApplicationActivationOptions)options;
@end

NS_ASSUME_NONNULL_END
