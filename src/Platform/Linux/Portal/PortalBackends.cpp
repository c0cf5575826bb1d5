#include "Platform/Linux/Portal/PortalBackends.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <utility>

namespace vorlin {

PortalBackends::PortalBackends(const QDBusConnection& bus, const HostRegistry& registry) : bus(bus)
{
    connect(&registry, &HostRegistry::ready, this, &PortalBackends::look);
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

void PortalBackends::watch(const QStringList& all)
{
    backends.clear();
    names.clear();
    for (const auto& name : all) {
        if (!name.startsWith("org.freedesktop.impl.portal.desktop.")) {
            continue;
        }
        names.push_back(name);
        auto& backend = backends.emplace_back(std::make_unique<BusName>(bus, name));
        connect(backend.get(), &BusName::ownerChanged, this, [this, known = false]() mutable {
            if (std::exchange(known, true)) { // the first is the one that is there
                Q_EMIT replaced();
            }
        });
    }
}

void PortalBackends::closeSession(const QString& session)
{
    for (const auto& name : names) {
        auto message = QDBusMessage::createMethodCall(
            name, session, QStringLiteral("org.freedesktop.impl.portal.Session"),
            QStringLiteral("Close"));
        message.setAutoStartService(false);
        bus.send(message);
    }
}

} // namespace vorlin
