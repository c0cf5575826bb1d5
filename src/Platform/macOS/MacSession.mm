#include "Platform/macOS/MacSession.h"

#include "Platform/macOS/Objects/Observer.h"

#include <AppKit/AppKit.h>

namespace vorlin {

struct MacSession::Observers {
    Observer sleeps;
    Observer wakes;
    Observer givesWay;
    Observer isBack;
};

MacSession::MacSession() : observers(std::make_unique<Observers>())
{
    NSNotificationCenter* const center = [NSWorkspace sharedWorkspace].notificationCenter;
    const auto tells = [this, center](NSNotificationName name, bool& what, bool value) {
        return Observer(center, name, nil, [this, &what, value] {
            what = value;
            follow();
        });
    };
    observers->sleeps = tells(NSWorkspaceWillSleepNotification, asleep, true);
    observers->wakes = tells(NSWorkspaceDidWakeNotification, asleep, false);
    observers->givesWay = tells(NSWorkspaceSessionDidResignActiveNotification, behind, true);
    observers->isBack = tells(NSWorkspaceSessionDidBecomeActiveNotification, behind, false);
}

MacSession::~MacSession() = default;

void MacSession::follow()
{
    setAway(asleep || behind);
}

} // namespace vorlin
