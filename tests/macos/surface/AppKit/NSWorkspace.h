#pragma once

#include <AppKit/NSApplication.h>
#include <AppKit/NSWindow.h>

NS_ASSUME_NONNULL_BEGIN

// appkit/nsworkspace/willsleepnotification: "A notification that the workspace posts before the
// device goes to sleep."
APPKIT_EXTERN NSNotificationName NSWorkspaceWillSleepNotification;
// appkit/nsworkspace/didwakenotification: "A notification that the workspace posts when the device
// wakes from sleep."
APPKIT_EXTERN NSNotificationName NSWorkspaceDidWakeNotification;
// appkit/nsworkspace/sessiondidbecomeactivenotification: "A notification that the workspace posts
// after a user session switches in."
APPKIT_EXTERN NSNotificationName NSWorkspaceSessionDidBecomeActiveNotification;
// appkit/nsworkspace/sessiondidresignactivenotification: "A notification that the workspace posts
// before a user session switches out."
APPKIT_EXTERN NSNotificationName NSWorkspaceSessionDidResignActiveNotification;
// appkit/nsworkspace/accessibilitydisplayoptionsdidchangenotification: "A notification that the
// workspace posts when any of the accessibility display options change."
APPKIT_EXTERN NSNotificationName NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification;

// appkit/nsworkspace: "A workspace that can launch other apps and perform a variety of
// file-handling services."
@interface NSWorkspace : NSObject
// appkit/nsworkspace/shared: "The shared workspace object."
@property(class, readonly, strong) NSWorkspace* sharedWorkspace;
// appkit/nsworkspace/notificationcenter: "The notification center for workspace notifications."
@property(readonly, strong) NSNotificationCenter* notificationCenter;
// appkit/nsworkspace/open(_:): "Opens the location at the specified URL."
- (BOOL)openURL:(NSURL*)url;
// appkit/nsworkspace/activatefileviewerselecting(_:): "Activates the Finder, and opens one or more
// windows selecting the specified files."
- (void)activateFileViewerSelectingURLs:(NSArray<NSURL*>*)fileURLs;
@end

@interface NSWorkspace (NSWorkspaceAccessibilityDisplay)
// appkit/nsworkspace/accessibilitydisplayshouldreducemotion: "A Boolean value that indicates
// whether the accessibility option to reduce motion is in an enabled state."
@property(readonly) BOOL accessibilityDisplayShouldReduceMotion;
@end

// appkit/nssound/name-swift.typealias: "NSSound.Name"
typedef NSString* NSSoundName NS_TYPED_EXTENSIBLE_ENUM;

// appkit/nssound: "A simple interface for loading and playing audio files."
@interface NSSound : NSObject
// appkit/nssound/init(named:): "Returns the NSSound instance associated with a given name."
+ (nullable NSSound*)soundNamed:(NSSoundName)name;
// appkit/nssound/play(): "Initiates audio playback."
- (BOOL)play;
// appkit/nssound/stop(): "Concludes audio playback."
- (BOOL)stop;
@end

// appkit/nssavepanel: "A panel that prompts the user for information about where to save a file."
@interface NSSavePanel : NSPanel
// appkit/nssavepanel/url: "A URL that contains the fully specified location of the targeted file."
@property(nullable, readonly, copy) NSURL* URL;
// appkit/nssavepanel/prompt: "The text to display in the default button."
@property(null_resettable, copy) NSString* prompt;
// appkit/nssavepanel/message: "The message text displayed in the panel."
@property(null_resettable, copy) NSString* message;
// appkit/nssavepanel/cancel(_:): "The action method that the panel calls when the user clicks the
// Cancel button."
- (void)cancel:(nullable id)sender;
// appkit/nssavepanel/runmodal(): "Displays the panel and begins its event loop with the current
// working (or last-selected) directory as the default starting point."
- (NSModalResponse)runModal;
@end

// appkit/nsopenpanel: "A panel that prompts the user to select a file to open."
@interface NSOpenPanel : NSSavePanel
// appkit/nsopenpanel/openpanel: "Creates a new Open panel and initializes it with a default
// configuration."
+ (NSOpenPanel*)openPanel;
// appkit/nsopenpanel/canchoosedirectories: "A Boolean that indicates whether the user can choose
// directories in the panel."
@property BOOL canChooseDirectories;
// appkit/nsopenpanel/canchoosefiles: "A Boolean that indicates whether the user can choose files
// in the panel."
@property BOOL canChooseFiles;
@end

NS_ASSUME_NONNULL_END
