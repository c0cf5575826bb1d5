#pragma once

#include "Platform/Linux/Portal/BusName.h"
#include "Platform/Linux/Portal/HostRegistry.h"

#include <QDBusConnection>
#include <QObject>
#include <QStringList>

#include <memory>
#include <vector>

namespace vorlin {

/// The programs of the desktop that do what the portals are asked for. One that ends takes every
/// session along, and the portals tell nobody; portals that end leave their sessions to them, and
/// some of them keep those. Those that say of themselves that they serve no keys are none of ours.
/// Main loop; waits for nothing.
class PortalBackends final : public QObject {
    Q_OBJECT

public:
    /// `registry` must outlive this object and be the one of the same connection.
    PortalBackends(const QDBusConnection& bus, const HostRegistry& registry);

    /// Ends a session of ours that the portals left behind.
    void closeSession(const QString& session);

Q_SIGNALS:
    /// One has ended, or another has taken its place.
    void replaced();

private:
    struct Backend {
        QString name;
        /// Unless it has said otherwise.
        bool servesKeys = true;
        std::unique_ptr<BusName> owner;
    };
    void look();
    void watch(const QStringList& all);
    void askWhatItServes(const QString& name);
    Backend* find(const QString& name);

    QDBusConnection bus;
    /// Those that were there when the portals were: they start them ahead of themselves.
    std::vector<Backend> backends;
};

} // namespace vorlin
