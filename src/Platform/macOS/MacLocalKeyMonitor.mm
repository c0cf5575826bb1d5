#include "Platform/macOS/MacLocalKeyMonitor.h"

#include "Platform/macOS/Objects/Observer.h"
#include "Platform/macOS/Plain/KeyEvents.h"

#include <AppKit/AppKit.h>

#include <utility>

namespace vorlin {

namespace {

/// Whether the event is used up.
bool tell(NSEvent* event, const LocalKeyMonitor::Handler& handler)
{
    const auto type =
        event.type == NSEventTypeFlagsChanged ? KeyEventType::flagsChanged : KeyEventType::keyDown;
    // Only an event of a key that goes up or down may be asked whether it is repeated.
    return (type == KeyEventType::flagsChanged || !event.isARepeat) &&
           handler(type, {event.keyCode, event.modifierFlags, false});
}

} // namespace

struct MacLocalKeyMonitor::Monitoring {
    Ref<NSObject> monitor;
    Observer focus;
    std::function<void()> onEnd;
    Timer end;
};

MacLocalKeyMonitor::MacLocalKeyMonitor(MainLoop& loop) : loop(loop) {}

MacLocalKeyMonitor::~MacLocalKeyMonitor()
{
    stop();
}

std::optional<std::string> MacLocalKeyMonitor::start(Handler handler, std::function<void()> onEnd)
{
    stop();
    monitoring = std::make_unique<Monitoring>();
    monitoring->onEnd = std::move(onEnd);
    const auto told = std::make_shared<const Handler>(std::move(handler));
    const id monitor =
        [NSEvent addLocalMonitorForEventsMatchingMask:recordedEvents
                                              handler:^NSEvent*(NSEvent* event) {
                                                const auto held = told; // may stop
                                                return tell(event, *held) ? nil : event;
                                              }];
    monitoring->monitor = Ref<NSObject>(monitor);
    monitoring->focus = Observer([NSNotificationCenter defaultCenter],
                                 NSWindowDidResignKeyNotification, nil, [this] { endSoon(); });
    return std::nullopt;
}

/// From the loop: a notification comes within whatever took the focus.
void MacLocalKeyMonitor::endSoon()
{
    monitoring->end = loop.startTimer(Duration::zero(), [this] {
        const auto onEnd = monitoring->onEnd;
        stop();
        onEnd();
    });
}

void MacLocalKeyMonitor::stop()
{
    if (const auto ended = std::exchange(monitoring, nullptr)) {
        [NSEvent removeMonitor:ended->monitor.get()];
    }
}

} // namespace vorlin
