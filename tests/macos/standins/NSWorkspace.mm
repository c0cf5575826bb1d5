#include "NSWorkspace.h"

#include "Described.h"

NSNotificationName NSWorkspaceWillSleepNotification = @"NSWorkspaceWillSleepNotification";
NSNotificationName NSWorkspaceDidWakeNotification = @"NSWorkspaceDidWakeNotification";
NSNotificationName NSWorkspaceSessionDidBecomeActiveNotification =
    @"NSWorkspaceSessionDidBecomeActiveNotification";
NSNotificationName NSWorkspaceSessionDidResignActiveNotification =
    @"NSWorkspaceSessionDidResignActiveNotification";
NSNotificationName NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification =
    @"NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification";

namespace standins {

Workspace& workspace()
{
    static Workspace answers;
    return answers;
}

} // namespace standins

/// The centre that tells of the machine; told apart from the program's own by its name.
@interface StandInWorkspaceCenter : NSNotificationCenter
@end

@implementation StandInWorkspaceCenter
@end

@implementation NSWorkspace {
    NSNotificationCenter* _notificationCenter;
}
+ (NSWorkspace*)sharedWorkspace
{
    static NSWorkspace* shared = [[NSWorkspace alloc] init];
    return shared;
}
- (instancetype)init
{
    self = [super init];
    _notificationCenter = [[StandInWorkspaceCenter alloc] init];
    return self;
}
- (NSNotificationCenter*)notificationCenter
{
    return _notificationCenter;
}
- (BOOL)openURL:(NSURL*)url
{
    standins::note(self, _cmd, url);
    return standins::workspace().opensAddresses;
}
- (void)activateFileViewerSelectingURLs:(NSArray<NSURL*>*)fileURLs
{
    standins::note(self, _cmd, fileURLs);
}
- (BOOL)accessibilityDisplayShouldReduceMotion
{
    return standins::workspace().reducesMotion;
}
@end
