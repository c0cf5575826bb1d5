#include "Platform/macOS/MacSession.h"

#include "Platform/macOS/Objects/Observer.h"

#include <AppKit/AppKit.h>

namespace vorlin {

struct MacSession::Observers {
    Observer sleep;
    Observer otherSession;
};

MacSession::MacSession(std::function<void()> onAway) : observers(std::make_unique<Observers>())
{
    NSNotificationCenter* const center = [NSWorkspace sharedWorkspace].notificationCenter;
    observers->sleep = Observer(center, NSWorkspaceWillSleepNotification, nil, onAway);
    observers->otherSession =
        Observer(center, NSWorkspaceSessionDidResignActiveNotification, nil, onAway);
}

MacSession::~MacSession() = default;

} // namespace vorlin
