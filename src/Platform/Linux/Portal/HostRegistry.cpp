#include "Platform/Linux/Portal/HostRegistry.h"

#include "Platform/Linux/Portal/PortalRequest.h"

#include <QDBusPendingCallWatcher>
#include <QVariantMap>

#include <chrono>
#include <utility>

namespace vorlin {

namespace {

/// Long enough that portals which end as soon as they are started do not keep a processor busy.
constexpr std::chrono::seconds untilRestart{1};

} // namespace

HostRegistry::HostRegistry(const QDBusConnection& bus, const QString& appId)
    : bus(bus), appId(appId), name(bus, portals::service)
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
    auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(message), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        introduced();
    });
}

void HostRegistry::introduced()
{
    introducing = false;
    const bool toAnother = std::exchange(replaced, false);
    if (present.isEmpty()) {
        return;
    }
    if (toAnother) {
        introduce();
    } else {
        owner = present; // an error is an answer, too
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
