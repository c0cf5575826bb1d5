// The program among the others, its looks, and the events that other programs send it.

#include "NSApplication.h"

#include "Described.h"
#include "NSNotificationCenter.h"
#include "Send.h"

#include <map>
#include <utility>

NSAppearanceName const NSAppearanceNameAqua = @"NSAppearanceNameAqua";
NSAppearanceName const NSAppearanceNameDarkAqua = @"NSAppearanceNameDarkAqua";
NSNotificationName NSApplicationDidFinishLaunchingNotification =
    @"NSApplicationDidFinishLaunchingNotification";

namespace {

std::map<std::pair<AEEventClass, AEEventID>, id> handlers;
// The last handler's, which may be gone.
SEL reopening;
std::vector<id> lookObservers;

} // namespace

@implementation NSAppearance {
@public
    NSAppearanceName _said;
}
- (NSAppearanceName)name
{
    return _said;
}
- (NSAppearanceName)bestMatchFromAppearancesWithNames:(NSArray<NSAppearanceName>*)appearances
{
    standins::note(self, _cmd, appearances);
    // Every look that is not listed is one of the two listed ones, with more contrast.
    for (NSAppearanceName one in appearances)
        if ([one isEqualToString:_said])
            return one;
    return [_said containsString:@"Dark"] ? NSAppearanceNameDarkAqua : NSAppearanceNameAqua;
}
@end

@implementation NSApplication {
@public
    NSAppearance* _look;
}
- (NSAppearance*)effectiveAppearance
{
    return _look;
}
- (NSArray<NSWindow*>*)windows
{
    return standins::program().windows;
}
- (void)activate
{
    standins::note(self, _cmd);
}
- (void)terminate:(id)sender
{
    standins::note(self, _cmd, sender);
}
- (void)addObserver:(NSObject*)observer
         forKeyPath:(NSString*)keyPath
            options:(NSKeyValueObservingOptions)options
            context:(void*)context
{
    (void)context;
    standins::note(self, _cmd, observer, keyPath, options);
    lookObservers.push_back(observer);
}
- (void)removeObserver:(NSObject*)observer forKeyPath:(NSString*)keyPath
{
    standins::note(self, _cmd, observer, keyPath);
    std::erase(lookObservers, observer);
}
@end

__kindof NSApplication* NSApp = [[NSApplication alloc] init];

@implementation NSDate {
@public
    NSTimeInterval _time;
}
- (id)copyWithZone:(NSZone*)zone
{
    (void)zone;
    return self;
}
- (NSTimeInterval)timeIntervalSinceReferenceDate
{
    return _time;
}
@end

@implementation NSRunningApplication {
@public
    pid_t _process;
}
+ (NSRunningApplication*)currentApplication
{
    NSRunningApplication* own = [[self alloc] init];
    own->_process = standins::program().own;
    return own;
}
+ (NSArray<NSRunningApplication*>*)runningApplicationsWithBundleIdentifier:(NSString*)identifier
{
    standins::note(self, _cmd, identifier);
    NSMutableArray* all = [NSMutableArray array];
    for (const pid_t process : standins::program().running) {
        NSRunningApplication* one = [[self alloc] init];
        one->_process = process;
        [all addObject:one];
    }
    return all;
}
- (pid_t)processIdentifier
{
    return _process;
}
- (NSDate*)launchDate
{
    const auto found = standins::program().launched.find(_process);
    if (found == standins::program().launched.end())
        return nil;
    NSDate* date = [[NSDate alloc] init];
    date->_time = found->second;
    return date;
}
@end

@implementation NSBundle
+ (NSBundle*)mainBundle
{
    static NSBundle* bundle = [[NSBundle alloc] init];
    return bundle;
}
- (NSString*)bundleIdentifier
{
    return standins::program().identifier;
}
@end

@implementation NSAppleEventDescriptor
- (id)copyWithZone:(NSZone*)zone
{
    (void)zone;
    return self;
}
@end

@implementation NSAppleEventManager
+ (NSAppleEventManager*)sharedAppleEventManager
{
    static NSAppleEventManager* shared = [[NSAppleEventManager alloc] init];
    return shared;
}
- (void)setEventHandler:(id)handler
            andSelector:(SEL)selector
          forEventClass:(AEEventClass)eventClass
             andEventID:(AEEventID)eventID
{
    standins::note(self, _cmd, handler, selector, eventClass, eventID);
    handlers[{eventClass, eventID}] = handler;
    reopening = selector;
}
- (void)removeEventHandlerForEventClass:(AEEventClass)eventClass andEventID:(AEEventID)eventID
{
    standins::note(self, _cmd, eventClass, eventID);
    handlers.erase({eventClass, eventID});
}
@end

namespace standins {

Program& program()
{
    static Program facts;
    return facts;
}

void finishLaunching()
{
    handlers.clear();
    post(NSNotificationCenter.defaultCenter, NSApplicationDidFinishLaunchingNotification, NSApp);
}

void openOnceMore()
{
    const auto found = handlers.find({kCoreEventClass, kAEReopenApplication});
    if (found == handlers.end())
        return;
    openOnceMore(found->second);
}

void openOnceMore(id target)
{
    NSAppleEventDescriptor* event = [[NSAppleEventDescriptor alloc] init];
    send(target, reopening, event, event);
}

id eventTarget()
{
    return handlers[{kCoreEventClass, kAEReopenApplication}];
}

std::size_t eventHandlers()
{
    return handlers.size();
}

void setAppearance(NSAppearanceName name)
{
    NSAppearance* look = [[NSAppearance alloc] init];
    look->_said = name;
    NSApp->_look = look;
    for (id one : std::vector(lookObservers))
        [one observeValueForKeyPath:@"effectiveAppearance"
                           ofObject:NSApp
                             change:nil
                            context:nullptr];
}

std::size_t appearanceObservers()
{
    return lookObservers.size();
}

} // namespace standins
