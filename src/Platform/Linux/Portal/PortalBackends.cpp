#include "Platform/Linux/Portal/PortalBackends.h"

#include "Platform/Linux/Portal/PortalRequest.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <algorithm>
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
    for (const auto& name : all) {
        if (!name.startsWith("org.freedesktop.impl.portal.desktop.")) {
            continue;
        }
        auto owner = std::make_unique<BusName>(bus, name);
        connect(owner.get(), &BusName::ownerChanged, this, [this, name, known = false]() mutable {
            const bool wasKnown = std::exchange(known, true); // the first is the one that is there
            if (wasKnown && find(name)->servesKeys) {
                Q_EMIT replaced();
            }
        });
        backends.push_back({.name = name, .servesKeys = true, .owner = std::move(owner)});
        askWhatItServes(name);
    }
}

/// One that opens files, say, comes and goes without a key being touched.
void PortalBackends::askWhatItServes(const QString& name)
{
    auto message = QDBusMessage::createMethodCall(
        name, portals::path, QStringLiteral("org.freedesktop.DBus.Introspectable"),
        QStringLiteral("Introspect"));
    message.setAutoStartService(false);
    auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(message), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, name, answer] {
        answer->deleteLater();
        const QDBusPendingReply<QString> interfaces = *answer;
        if (auto* const backend = find(name); backend != nullptr && !interfaces.isError()) {
            backend->servesKeys =
                interfaces.value().contains("org.freedesktop.impl.portal.GlobalShortcuts");
        }
    });
}

PortalBackends::Backend* PortalBackends::find(const QString& name)
{
    const auto found = std::ranges::find(backends, name, &Backend::name);
    return found == backends.end() ? nullptr : &*found;
}

void PortalBackends::closeSession(const QString& session)
{
    for (const auto& each : backends) {
        auto message = QDBusMessage::createMethodCall(
            each.name, session, QStringLiteral("org.freedesktop.impl.portal.Session"),
            QStringLiteral("Close"));
        message.setAutoStartService(false);
        bus.send(message);
    }
}

} // namespace vorlin
