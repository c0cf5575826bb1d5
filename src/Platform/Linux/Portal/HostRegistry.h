#pragma once

#include "Platform/Linux/Portal/BusName.h"

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QTimer>

namespace vorlin {

/// Tells the portals who asks on one connection (org.freedesktop.host.portal.Registry), and each
/// that takes their place anew. They must hear it ahead of anything else on that connection, so
/// it is one of its own. Portals that know no such registry, or nobody of that name, answer without
/// it. Main loop; waits for nothing.
class HostRegistry final : public QObject {
    Q_OBJECT

public:
    /// `appId` is the name of a desktop entry. Starts the portals, where the desktop has some.
    HostRegistry(const QDBusConnection& bus, const QString& appId);

    /// The portals' own name on the bus, once they have heard who we are; empty while there are
    /// none.
    const QString& portal() const { return owner; }

Q_SIGNALS:
    /// The portals are there, for the first time or again: no session of ours is left.
    void ready();
    /// They are gone.
    void gone();

private:
    void introduce();
    void introduced();
    void ownerChanged(const QString& next);

    QDBusConnection bus;
    QString appId;
    QString owner;
    /// Who has the portals' name, whether told or not.
    QString present;
    BusName name;
    bool introducing = false;
    /// The portals have changed since they were told: it was another one.
    bool replaced = false;
    /// Until portals that ended are started again.
    QTimer restart;
};

} // namespace vorlin
