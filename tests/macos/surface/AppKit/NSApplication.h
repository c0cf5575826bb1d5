#pragma once

#include <AppKit/NSResponder.h>

NS_ASSUME_NONNULL_BEGIN

@class NSImage;
@class NSMenu;
@class NSWindow;
@protocol NSApplicationDelegate;

typedef NS_ENUM(NSInteger, NSApplicationActivationPolicy) {
    NSApplicationActivationPolicyRegular,
    NSApplicationActivationPolicyAccessory,
    NSApplicationActivationPolicyProhibited,
};
typedef NS_OPTIONS(NSUInteger, NSApplicationActivationOptions) {
    NSApplicationActivateAllWindows = 1 << 0,
};
typedef NS_ENUM(NSUInteger, NSApplicationTerminateReply) {
    NSTerminateCancel = 0,
    NSTerminateNow = 1,
    NSTerminateLater = 2,
};
typedef NSInteger NSModalResponse NS_TYPED_EXTENSIBLE_ENUM;
static const NSModalResponse NSModalResponseOK = 1;
static const NSModalResponse NSModalResponseCancel = 0;

APPKIT_EXTERN NSNotificationName NSApplicationDidBecomeActiveNotification;
APPKIT_EXTERN NSNotificationName NSApplicationDidChangeScreenParametersNotification;
APPKIT_EXTERN NSNotificationName NSApplicationDidFinishLaunchingNotification;
APPKIT_EXTERN NSNotificationName NSApplicationWillTerminateNotification;

@class NSApplication;
APPKIT_EXTERN __kindof NSApplication* _Null_unspecified NSApp;

@interface NSApplication : NSResponder <NSAppearanceCustomization>
@property(class, readonly, strong) __kindof NSApplication* sharedApplication;
@property(nullable, weak) id<NSApplicationDelegate> delegate;
@property(readonly, getter=isActive) BOOL active;
@property(readonly, getter=isRunning) BOOL running;
@property(readonly, copy) NSArray<NSWindow*>* windows;
@property(nullable, readonly, weak) NSWindow* keyWindow;
@property(nullable, strong) NSMenu* mainMenu;
@property(null_unspecified, strong) NSImage* applicationIconImage;
- (void)activate API_AVAILABLE(macos(14.0));
- (void)finishLaunching;
- (void)run;
- (void)stop:(nullable id)sender;
- (void)terminate:(nullable id)sender;
- (NSApplicationActivationPolicy)activationPolicy;
- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)activationPolicy;
- (void)replyToApplicationShouldTerminate:(BOOL)shouldTerminate;
@end

@protocol NSApplicationDelegate <NSObject>
@optional
- (NSApplicationTerminateReply)applicationShouldTerminate:(NSApplication*)sender;
- (BOOL)applicationShouldHandleReopen:(NSApplication*)sender hasVisibleWindows:(BOOL)flag;
- (BOOL)applicationShouldTerminateAfterLastWindowClosed:(NSApplication*)sender;
- (BOOL)applicationSupportsSecureRestorableState:(NSApplication*)app API_AVAILABLE(macos(12.0));
- (void)applicationDidFinishLaunching:(NSNotification*)notification;
- (void)applicationWillTerminate:(NSNotification*)notification;
@end

@interface NSRunningApplication : NSObject
@property(class, readonly, strong) NSRunningApplication* currentApplication;
@property(nullable, readonly, copy) NSString* bundleIdentifier;
@property(nullable, readonly, copy) NSString* localizedName;
@property(readonly) pid_t processIdentifier;
+ (NSArray<NSRunningApplication*>*)runningApplicationsWithBundleIdentifier:
    (NSString*)bundleIdentifier;
- (BOOL)activateWithOptions:(NSApplicationActivationOptions)options;
@end

NS_ASSUME_NONNULL_END
