#include "Platform/macOS/MacApplication.h"

#include "Platform/macOS/Objects/Observer.h"
#include "Platform/macOS/Objects/Ref.h"

#include <AppKit/AppKit.h>

#include <utility>

/// Is told when the running program is opened once more.
@interface VorlinReopenTarget : NSObject {
@public
    const std::function<void()>* opened;
}
- (void)reopen:(NSAppleEventDescriptor*)event reply:(NSAppleEventDescriptor*)reply;
@end

@implementation VorlinReopenTarget
- (void)reopen:(NSAppleEventDescriptor*)event reply:(NSAppleEventDescriptor*)reply
{
    (void)event;
    (void)reply;
    if (opened != nullptr) {
        (*opened)();
    }
}
@end

namespace vorlin {

namespace {

/// What a later start says to the one before.
NSString* const startedAgain = @"VorlinStartedAgain";

/// Who is told when the program is opened once more.
void setReopenTarget(VorlinReopenTarget* target)
{
    [[NSAppleEventManager sharedAppleEventManager] setEventHandler:target
                                                       andSelector:@selector(reopen:reply:)
                                                     forEventClass:kCoreEventClass
                                                        andEventID:kAEReopenApplication];
}

/// Whether the other one of two that run was there first. Of one that the system's launcher has not
/// started nobody knows when it was: then it was.
bool isElder(NSRunningApplication* other, NSRunningApplication* self)
{
    NSDate* const started = other.launchDate;
    NSDate* const ownStart = self.launchDate;
    if (started == nil || ownStart == nil) {
        return true;
    }
    using Age = std::pair<NSTimeInterval, pid_t>;
    return Age(started.timeIntervalSinceReferenceDate, other.processIdentifier) <
           Age(ownStart.timeIntervalSinceReferenceDate, self.processIdentifier);
}

/// Whether another process ran this very program before this one did.
bool isRunningElsewhere()
{
    NSRunningApplication* const self = [NSRunningApplication currentApplication];
    NSString* const name = [NSBundle mainBundle].bundleIdentifier;
    if (name == nil) {
        return false; // no bundle: then nobody knows its name
    }
    for (NSRunningApplication* other in
         [NSRunningApplication runningApplicationsWithBundleIdentifier:name]) {
        if (other.processIdentifier != self.processIdentifier && isElder(other, self)) {
            return true;
        }
    }
    return false;
}

} // namespace

struct MacApplication::Instance {
    std::function<void()> onActivate;
    Observer starts;
    Observer launched;
    Ref<VorlinReopenTarget> target;
};

MacApplication::MacApplication() = default;

MacApplication::~MacApplication()
{
    if (instance) {
        instance->target.get()->opened = nullptr;
        [[NSAppleEventManager sharedAppleEventManager]
            removeEventHandlerForEventClass:kCoreEventClass
                                 andEventID:kAEReopenApplication];
    }
}

bool MacApplication::becomeOnlyInstance(std::function<void()> onActivate)
{
    NSDistributedNotificationCenter* const others = [NSDistributedNotificationCenter defaultCenter];
    if (isRunningElsewhere()) {
        [others postNotificationName:startedAgain object:nil userInfo:nil deliverImmediately:YES];
        return false;
    }
    instance = std::make_unique<Instance>();
    instance->onActivate = std::move(onActivate);
    instance->starts = Observer(others, startedAgain, nil, [this] { instance->onActivate(); });
    instance->target = Ref(autoreleased([[VorlinReopenTarget alloc] init]));
    instance->target.get()->opened = &instance->onActivate;
    setReopenTarget(instance->target.get());
    // While the program starts the system puts a handler of its own in this one's place.
    instance->launched =
        Observer([NSNotificationCenter defaultCenter], NSApplicationDidFinishLaunchingNotification,
                 nil, [this] { setReopenTarget(instance->target.get()); });
    return true;
}

void MacApplication::quit()
{
    [NSApp terminate:nil];
}

void MacApplication::activate()
{
    [NSApp activate];
}

} // namespace vorlin
