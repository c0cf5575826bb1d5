#include "Platform/Linux/Portal/HostRegistry.h"

#include "Platform/Linux/Portal/PortalRequest.h"

#include <QDBusPendingCallWatcher>
#include <QVariantMap>

#include <algorithm>
#include <limits>
#include <utility>

namespace vorlin {

namespace {

/// Long enough that portals which end as soon as they are started do not keep a processor busy.
constexpr std::chrono::seconds untilRestart{1};
/// However often they did not start.
constexpr std::chrono::seconds longestUntilRestart{60};

} // namespace

HostRegistry::HostRegistry(const QDBusConnection& bus, const QString& appId, Nameless nameless)
    : bus(bus), appId(appId), nameless(nameless), name(bus, portals::service),
      restartIn(untilRestart)
{
    restart.setSingleShot(true);
    connect(&restart, &QTimer::timeout, this, [this] {
        if (!introducing && owner.isEmpty()) {
            introduce();
        }
    });
    connect(&name, &BusName::ownerChanged, this, &HostRegistry::ownerChanged);
    introduce();
}

void HostRegistry::introduce()
{
    auto message = QDBusMessage::createMethodCall(
        portals::service, portals::path, QStringLiteral("org.freedesktop.host.portal.Registry"),
        QStringLiteral("Register"));
    message << appId << QVariantMap();
    introducing = true;
    if (!bus.isConnected()) { // where it never was, no call is ever answered
        const QDBusError error(QDBusError::Disconnected, QString());
        QMetaObject::invokeMethod(
            this, [this, error] { introduced(error); }, Qt::QueuedConnection);
        return;
    }
    // However long they take to start: a second call would be refused.
    constexpr int noLimit = std::numeric_limits<int>::max();
    auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(message, noLimit), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        introduced(answer->error());
    });
}

void HostRegistry::introduced(const QDBusError& error)
{
    introducing = false;
    const bool toAnother = std::exchange(replaced, false);
    if (present.isEmpty()) {
        failedToStart(error);
    } else if (toAnother) {
        introduce();
    } else {
        owner = present;
        hasNone = false;
        restartIn = untilRestart;
        isHeard = !error.isValid() || (portals::isUnknown(error) && nameless == Nameless::served);
        Q_EMIT ready();
    }
}

/// Without a second try the keys would be gone until this program is started anew.
void HostRegistry::failedToStart(const QDBusError& error)
{
    if (error.type() != QDBusError::ServiceUnknown && error.type() != QDBusError::Disconnected) {
        restart.start(restartIn);
        restartIn = std::min(2 * restartIn, longestUntilRestart);
    }
    if (!std::exchange(hasNone, true)) {
        Q_EMIT absent();
    }
}

void HostRegistry::ownerChanged(const QString& next)
{
    const bool hadOne = !std::exchange(present, next).isEmpty();
    replaced = introducing && (replaced || hadOne);
    if (next == owner) {
        return;
    }
    if (!owner.isEmpty()) {
        owner.clear();
        isHeard = false;
        Q_EMIT gone();
    }
    if (next.isEmpty()) {
        restart.start(untilRestart);
    } else if (!introducing) {
        restart.stop();
        introduce();
    }
}

} // namespace vorlin
