#pragma once

#include <AppKit/NSApplication.h>
#include <AppKit/NSWindow.h>

NS_ASSUME_NONNULL_BEGIN

APPKIT_EXTERN NSNotificationName NSWorkspaceWillSleepNotification;
APPKIT_EXTERN NSNotificationName NSWorkspaceDidWakeNotification;
APPKIT_EXTERN NSNotificationName NSWorkspaceScreensDidSleepNotification;
APPKIT_EXTERN NSNotificationName NSWorkspaceScreensDidWakeNotification;
APPKIT_EXTERN NSNotificationName NSWorkspaceSessionDidBecomeActiveNotification;
APPKIT_EXTERN NSNotificationName NSWorkspaceSessionDidResignActiveNotification;
APPKIT_EXTERN NSNotificationName NSWorkspaceWillPowerOffNotification;
APPKIT_EXTERN NSNotificationName NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification;

@interface NSWorkspace : NSObject
@property(class, readonly, strong) NSWorkspace* sharedWorkspace;
@property(readonly, strong) NSNotificationCenter* notificationCenter;
@property(nullable, readonly, strong) NSRunningApplication* frontmostApplication;
- (BOOL)openURL:(NSURL*)url;
- (void)activateFileViewerSelectingURLs:(NSArray<NSURL*>*)fileURLs;
- (BOOL)selectFile:(nullable NSString*)fullPath inFileViewerRootedAtPath:(NSString*)rootFullPath;
@end

@interface NSWorkspace (NSWorkspaceAccessibilityDisplay)
@property(readonly) BOOL accessibilityDisplayShouldIncreaseContrast;
@property(readonly) BOOL accessibilityDisplayShouldReduceTransparency;
@property(readonly) BOOL accessibilityDisplayShouldReduceMotion;
@end

typedef NSString* NSSoundName NS_TYPED_EXTENSIBLE_ENUM;

@interface NSSound : NSObject
+ (nullable NSSound*)soundNamed:(NSSoundName)name;
- (BOOL)play;
- (BOOL)stop;
@property(readonly, getter=isPlaying) BOOL playing;
@end

@interface NSSavePanel : NSPanel
@property(nullable, readonly, copy) NSURL* URL;
@property(nullable, copy) NSURL* directoryURL;
@property(null_resettable, copy) NSString* prompt;
@property(null_resettable, copy) NSString* message;
@property BOOL canCreateDirectories;
- (NSModalResponse)runModal;
- (void)beginWithCompletionHandler:(void (^)(NSModalResponse result))handler;
- (void)beginSheetModalForWindow:(NSWindow*)window
               completionHandler:(void (^)(NSModalResponse result))handler;
@end

@interface NSOpenPanel : NSSavePanel
+ (NSOpenPanel*)openPanel;
@property(readonly, copy) NSArray<NSURL*>* URLs;
@property BOOL allowsMultipleSelection;
@property BOOL canChooseDirectories;
@property BOOL canChooseFiles;
@end

NS_ASSUME_NONNULL_END
