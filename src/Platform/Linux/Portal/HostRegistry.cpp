#include "Platform/Linux/Portal/HostRegistry.h"

#include "Platform/Linux/Portal/PortalRequest.h"

#include <QDBusPendingCallWatcher>
#include <QVariantMap>

#include <chrono>
#include <limits>
#include <utility>

namespace vorlin {

namespace {

/// Long enough that portals which end as soon as they are started do not keep a processor busy.
constexpr std::chrono::seconds untilRestart{1};

} // namespace

HostRegistry::HostRegistry(const QDBusConnection& bus, const QString& appId, Nameless nameless)
    : bus(bus), appId(appId), nameless(nameless), name(bus, portals::service)
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
        return;
    }
    if (toAnother) {
        introduce();
    } else {
        owner = present;
        isHeard = !error.isValid() || (portals::isUnknown(error) && nameless == Nameless::served);
        Q_EMIT ready();
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
