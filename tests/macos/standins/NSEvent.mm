#include "NSEvent.h"

#include "Described.h"

#include <vector>

@interface StandInMonitor : NSObject {
@public
    NSEventMask mask;
    NSEvent* (^handler)(NSEvent* event);
}
@end

@implementation StandInMonitor
@end

namespace {

std::vector<StandInMonitor*> all;

} // namespace

@implementation NSEvent {
@public
    NSEventType _kind;
    unsigned short _code;
    NSEventModifierFlags _flags;
    bool _isRepeated;
}
+ (NSPoint)mouseLocation
{
    return standins::pointer();
}
+ (id)addLocalMonitorForEventsMatchingMask:(NSEventMask)mask
                                   handler:(NSEvent* (^)(NSEvent* event))block
{
    standins::note(self, _cmd, mask);
    StandInMonitor* monitor = [[StandInMonitor alloc] init];
    monitor->mask = mask;
    monitor->handler = block;
    all.push_back(monitor);
    return monitor;
}
+ (void)removeMonitor:(id)eventMonitor
{
    standins::note(self, _cmd, eventMonitor);
    std::erase(all, eventMonitor);
}
- (NSEventType)type
{
    return _kind;
}
- (unsigned short)keyCode
{
    return _code;
}
- (NSEventModifierFlags)modifierFlags
{
    return _flags;
}
- (BOOL)isARepeat
{
    if (_kind == NSEventTypeFlagsChanged)
        [[NSException exceptionWithName:NSInternalInconsistencyException
                                 reason:@"Invalid message sent to event"
                               userInfo:nil] raise];
    return _isRepeated;
}
@end

namespace standins {

NSPoint& pointer()
{
    static NSPoint place;
    return place;
}

NSEvent* keyEvent(NSEventType type, unsigned short keyCode, NSEventModifierFlags flags,
                  bool isRepeated)
{
    NSEvent* event = [[NSEvent alloc] init];
    event->_kind = type;
    event->_code = keyCode;
    event->_flags = flags;
    event->_isRepeated = isRepeated;
    return event;
}

NSEvent* send(NSEvent* event)
{
    // One that is removed while it is asked is gone at once: nothing here holds it.
    std::vector<const void*> asked;
    for (StandInMonitor* monitor : all)
        asked.push_back((__bridge const void*)monitor);
    for (const void* one : asked) {
        __unsafe_unretained NSEvent* (^handler)(NSEvent* event) = nil;
        for (StandInMonitor* monitor : all)
            if ((__bridge const void*)monitor == one && event != nil &&
                (monitor->mask & 1ULL << event.type) != 0)
                handler = monitor->handler;
        if (handler != nil)
            event = handler(event);
    }
    return event;
}

std::size_t monitors()
{
    return all.size();
}

} // namespace standins
