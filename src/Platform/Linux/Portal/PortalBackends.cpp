#include "Platform/Linux/Portal/PortalBackends.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <utility>

namespace vorlin {

PortalBackends::PortalBackends(const QDBusConnection& bus, const HostRegistry& registry) : bus(bus)
{
    connect(&registry, &HostRegistry::ready, this, &PortalBackends::look);
    connect(&registry, &HostRegistry::gone, this, [this] { backends.clear(); });
}

void PortalBackends::look()
{
    const auto message = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("ListNames"));
    auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(message), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<QStringList> names = *answer;
        if (!names.isError()) {
            watch(names.value());
        }
    });
}

void PortalBackends::watch(const QStringList& names)
{
    backends.clear();
    for (const auto& name : names) {
        if (!name.startsWith("org.freedesktop.impl.portal.desktop.")) {
            continue;
        }
        auto& backend = backends.emplace_back(std::make_unique<BusName>(bus, name));
        connect(backend.get(), &BusName::ownerChanged, this, [this, known = false]() mutable {
            if (std::exchange(known, true)) { // the first is the one that is there
                Q_EMIT replaced();
            }
        });
    }
}

} // namespace vorlin
