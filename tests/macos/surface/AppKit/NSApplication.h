#pragma once

#include <AppKit/NSResponder.h>

NS_ASSUME_NONNULL_BEGIN

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
// appkit/nsapplication/modalresponse: "A set of button return values for modal dialogs."
typedef NSInteger NSModalResponse NS_TYPED_EXTENSIBLE_ENUM;
// appkit/nsapplication/modalresponse/ok: "The presentation or dismissal of the sheet has
// finished."
static const NSModalResponse NSModalResponseOK = 1;

// appkit/nsapplication/didchangescreenparametersnotification: "Posted when the configuration of
// the displays attached to the computer is changed."
APPKIT_EXTERN NSNotificationName NSApplicationDidChangeScreenParametersNotification;

// appkit/nsapplication/didfinishlaunchingnotification: "Posted at the end of the finishLaunching()
// method to indicate that the app has completed launching and is ready to run."
APPKIT_EXTERN NSNotificationName NSApplicationDidFinishLaunchingNotification;

@class NSApplication;
// appkit/nsapp: "The global variable for the shared app instance."
APPKIT_EXTERN __kindof NSApplication* _Null_unspecified NSApp;

// appkit/nsapplication: "An object that manages an app’s main event loop and resources used by all
// of that app’s objects."
@interface NSApplication : NSResponder <NSAppearanceCustomization>
// appkit/nsapplication/isactive: "A Boolean value indicating whether this is the active app."
@property(readonly, getter=isActive) BOOL active;
// appkit/nsapplication/isrunning: "A Boolean value indicating whether the main event loop is
// running."
@property(readonly, getter=isRunning) BOOL running;
// docs.rs/objc2-app-kit/NSApplication: "pub fn windows(&self) -> Retained<NSArray<NSWindow>>"
@property(readonly, copy) NSArray<NSWindow*>* windows;
// appkit/nsapplication/activate(): "Activates the receiver app, if appropriate."
- (void)activate API_AVAILABLE(macos(14.0));
// appkit/nsapplication/run(): "Starts the main event loop."
- (void)run;
// appkit/nsapplication/stop(_:): "Stops the main event loop."
- (void)stop:(nullable id)sender;
// appkit/nsapplication/terminate(_:): "Terminates the receiver."
- (void)terminate:(nullable id)sender;
@end

// appkit/nsapplicationdelegate: "A set of methods that manage your app’s life cycle and its
// interaction with common system services."
@protocol NSApplicationDelegate <NSObject>
@optional
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
// appkit/nsrunningapplication/processidentifier: "Indicates the process identifier (pid) of the
// application."
@property(readonly) pid_t processIdentifier;
// appkit/nsrunningapplication/launchdate: "Indicates the date when the application was launched."
@property(nullable, readonly, copy) NSDate* launchDate;
// appkit/nsrunningapplication/runningapplications(withbundleidentifier:): "Returns an array of
// currently running applications with the specified bundle identifier."
+ (NSArray<NSRunningApplication*>*)runningApplicationsWithBundleIdentifier:
    (NSString*)bundleIdentifier;
@end

NS_ASSUME_NONNULL_END
