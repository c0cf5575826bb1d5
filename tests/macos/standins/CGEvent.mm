// Event taps, keyboard events, and the run loop that a tap is watched by.

#include "CGEvent.h"

#include "Recorder.h"

#import <Foundation/NSString.h>

#include <string>

@interface StandinPort : NSObject
@end
@interface StandinRunLoopSource : NSObject
@end
@interface StandinEvent : NSObject
@end

@implementation StandinPort {
@public
    CGEventTapCallBack _callback;
    void* _userInfo;
    bool _enabled;
    bool _valid;
    bool _watched;
}
@end
@implementation StandinRunLoopSource {
@public
    __weak StandinPort* _port;
}
@end
@implementation StandinEvent {
@public
    std::int64_t _keyCode;
    CGEventFlags _flags;
    bool _autorepeat;
    bool _down;
    // The number of the source that it was made from, 0 for none.
    long _source;
}
@end

@interface StandinEventSource : NSObject
@end
@implementation StandinEventSource {
@public
    long _number;
}
@end

const CFRunLoopMode kCFRunLoopCommonModes = (CFStringRef) @"kCFRunLoopCommonModes";

namespace {

__weak StandinPort* lastPort = nil;
std::string nameOf(CFRunLoopMode mode)
{
    return ((__bridge NSString*)mode).UTF8String;
}

std::string nameOf(StandinEvent* event)
{
    return std::to_string(event->_keyCode) + (event->_down ? " down" : " up") + " flags " +
           std::to_string(event->_flags) + " source " + std::to_string(event->_source);
}

StandinPort* port(CFMachPortRef port)
{
    return (__bridge StandinPort*)(void*)port;
}

StandinEvent* eventOf(CGEventRef event)
{
    return (__bridge StandinEvent*)(void*)event;
}

} // namespace

namespace standins {

Events& events()
{
    static Events refused;
    return refused;
}

CGEventRef keyEvent(std::int64_t keyCode, CGEventFlags flags, bool autorepeat)
{
    StandinEvent* event = [[StandinEvent alloc] init];
    event->_keyCode = keyCode;
    event->_flags = flags;
    event->_autorepeat = autorepeat;
    return (CGEventRef)(__bridge_retained void*)event;
}

Fate send(CGEventType type, CGEventRef event)
{
    StandinPort* tap = lastPort;
    const bool wasTurnedOff =
        type == kCGEventTapDisabledByTimeout || type == kCGEventTapDisabledByUserInput;
    if (tap == nil || !tap->_valid || !tap->_watched || (!tap->_enabled && !wasTurnedOff))
        return Fate::unseen;
    tap->_enabled = !wasTurnedOff;
    CGEventTapProxy none = nullptr;
    CGEventRef answer =
        tap->_callback(none, type, event, events().forgetsUserInfo ? nullptr : tap->_userInfo);
    return answer == event ? Fate::passedOn : answer == nullptr ? Fate::swallowed : Fate::exchanged;
}

} // namespace standins

using standins::note;

CFMachPortRef CGEventTapCreate(CGEventTapLocation tap, CGEventTapPlacement place,
                               CGEventTapOptions options, CGEventMask eventsOfInterest,
                               CGEventTapCallBack callback, void* userInfo)
{
    note("CGEventTapCreate " + std::to_string(tap) + " " + std::to_string(place) + " " +
         std::to_string(options) + " " + std::to_string(eventsOfInterest));
    if (standins::events().refusesTaps)
        return nullptr;
    StandinPort* made = [[StandinPort alloc] init];
    made->_callback = callback;
    made->_userInfo = userInfo;
    made->_valid = true;
    lastPort = made;
    return (CFMachPortRef)(__bridge_retained void*)made;
}

void CGEventTapEnable(CFMachPortRef tap, bool enable)
{
    note(std::string("CGEventTapEnable ") + (enable ? "on" : "off"));
    port(tap)->_enabled = enable;
}

CFRunLoopSourceRef CFMachPortCreateRunLoopSource(CFAllocatorRef allocator, CFMachPortRef of,
                                                 CFIndex order)
{
    note("CFMachPortCreateRunLoopSource " + std::to_string(order) +
         (allocator == kCFAllocatorDefault ? "" : " with an allocator"));
    if (standins::events().refusesPortSources)
        return nullptr;
    StandinRunLoopSource* source = [[StandinRunLoopSource alloc] init];
    source->_port = port(of);
    return (CFRunLoopSourceRef)(__bridge_retained void*)source;
}

void CFMachPortInvalidate(CFMachPortRef of)
{
    note("CFMachPortInvalidate");
    port(of)->_valid = false;
}

CFRunLoopRef CFRunLoopGetMain(void)
{
    static NSObject* loop = [[NSObject alloc] init];
    return (CFRunLoopRef)(__bridge void*)loop;
}

void CFRunLoopAddSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode)
{
    note("CFRunLoopAddSource " + nameOf(mode));
    ((__bridge StandinRunLoopSource*)(void*)source)->_port->_watched = loop == CFRunLoopGetMain();
}

void CFRunLoopRemoveSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode)
{
    note("CFRunLoopRemoveSource " + nameOf(mode));
    if (loop == CFRunLoopGetMain())
        ((__bridge StandinRunLoopSource*)(void*)source)->_port->_watched = false;
}

CGEventSourceRef CGEventSourceCreate(CGEventSourceStateID state)
{
    note("CGEventSourceCreate " + std::to_string(state));
    if (standins::events().refusesSources)
        return nullptr;
    StandinEventSource* source = [[StandinEventSource alloc] init];
    source->_number = ++standins::events().sources;
    return (CGEventSourceRef)(__bridge_retained void*)source;
}

CGEventRef CGEventCreateKeyboardEvent(CGEventSourceRef source, CGKeyCode virtualKey, bool keyDown)
{
    note("CGEventCreateKeyboardEvent " + std::to_string(virtualKey) + (keyDown ? " down" : " up"));
    const standins::Events& refused = standins::events();
    if (keyDown ? refused.refusesKeysDown : refused.refusesKeysUp)
        return nullptr;
    CGEventRef made = standins::keyEvent(virtualKey, kCGEventFlagMaskNonCoalesced);
    eventOf(made)->_down = keyDown;
    eventOf(made)->_source =
        source == nullptr ? 0 : ((__bridge StandinEventSource*)(void*)source)->_number;
    return made;
}

CGEventFlags CGEventGetFlags(CGEventRef event)
{
    note("CGEventGetFlags");
    return event == nullptr ? 0 : eventOf(event)->_flags;
}

void CGEventSetFlags(CGEventRef event, CGEventFlags flags)
{
    note("CGEventSetFlags " + std::to_string(flags));
    eventOf(event)->_flags = flags;
}

std::int64_t CGEventGetIntegerValueField(CGEventRef event, CGEventField field)
{
    note("CGEventGetIntegerValueField " + std::to_string(field));
    if (event == nullptr)
        return 0;
    return field == kCGKeyboardEventKeycode      ? eventOf(event)->_keyCode
           : field == kCGKeyboardEventAutorepeat ? eventOf(event)->_autorepeat
                                                 : -1;
}

void CGEventPost(CGEventTapLocation tap, CGEventRef event)
{
    note("CGEventPost " + std::to_string(tap) + ": " + nameOf(eventOf(event)));
}
