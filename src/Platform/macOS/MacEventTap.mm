#include "Platform/macOS/MacEventTap.h"

#include "Async/Fatal.h"
#include "Platform/macOS/Objects/CFRef.h"
#include "Platform/macOS/Plain/KeyEvents.h"

#include <ApplicationServices/ApplicationServices.h>
#include <Foundation/Foundation.h>

#include <utility>

namespace vorlin {

struct MacEventTap::Tap {
    Handler handler;
    CFRef<CFMachPortRef> port;
    CFRef<CFRunLoopSourceRef> source;

    bool swallows(CGEventType number, CGEventRef event) const;
    static CGEventRef received(CGEventTapProxy proxy, CGEventType type, CGEventRef event,
                               void* tap);
};

bool MacEventTap::Tap::swallows(CGEventType number, CGEventRef event) const
{
    const auto type = keyEventType(number);
    if (!type) {
        return false;
    }
    KeyEvent told;
    if (isOfAKey(*type)) {
        told.keyCode = CGEventGetIntegerValueField(event, kCGKeyboardEventKeycode);
        told.flags = CGEventGetFlags(event);
        told.autorepeat = CGEventGetIntegerValueField(event, kCGKeyboardEventAutorepeat) != 0;
    }
    const Handler ask = handler; // it may stop the tap, and this object with it
    return ask(*type, told);
}

CGEventRef MacEventTap::Tap::received(CGEventTapProxy /*proxy*/, CGEventType type, CGEventRef event,
                                      void* tap)
{
    if (![NSThread isMainThread]) {
        fatal("Vorlin/HotkeyMonitor: a key event came on a thread that is not the main one");
    }
    if (tap == nullptr) {
        return event;
    }
    return static_cast<const Tap*>(tap)->swallows(type, event) ? nullptr : event;
}

MacEventTap::MacEventTap() = default;

MacEventTap::~MacEventTap()
{
    stop();
}

bool MacEventTap::start(Handler handler)
{
    stop();
    auto made = std::make_unique<Tap>();
    made->handler = std::move(handler);
    made->port =
        CFRef(CGEventTapCreate(kCGSessionEventTap, kCGHeadInsertEventTap, kCGEventTapOptionDefault,
                               tappedEvents, &Tap::received, made.get()));
    if (!made->port) {
        return false;
    }
    made->source = CFRef(CFMachPortCreateRunLoopSource(kCFAllocatorDefault, made->port.get(), 0));
    if (!made->source) {
        CFMachPortInvalidate(made->port.get());
        return false;
    }
    CFRunLoopAddSource(CFRunLoopGetMain(), made->source.get(), kCFRunLoopCommonModes);
    CGEventTapEnable(made->port.get(), true);
    tap = std::move(made);
    return true;
}

void MacEventTap::stop()
{
    if (const auto ended = std::exchange(tap, nullptr)) {
        CGEventTapEnable(ended->port.get(), false);
        CFMachPortInvalidate(ended->port.get());
        CFRunLoopRemoveSource(CFRunLoopGetMain(), ended->source.get(), kCFRunLoopCommonModes);
    }
}

void MacEventTap::enable()
{
    if (tap) {
        CGEventTapEnable(tap->port.get(), true);
    }
}

void MacEventTap::setInterest(const KeyInterest& /*interest*/) {}

bool MacEventTap::typesCharacters(std::uint16_t /*keyCode*/)
{
    return false;
}

} // namespace vorlin
