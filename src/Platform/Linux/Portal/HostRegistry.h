#pragma once

#include "Platform/Linux/Portal/BusName.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QObject>
#include <QString>
#include <QTimer>

#include <chrono>

namespace vorlin {

/// Tells the portals who asks on one connection (org.freedesktop.host.portal.Registry), and each
/// that takes their place anew. They must hear it ahead of anything else on that connection, so
/// it is one of its own. Main loop; waits for nothing.
///
/// Portals that know no such registry take the program for what its process looks like; those that
/// refuse the name, as when its desktop entry is not installed, take it for something else: what
/// they were asked for then would be kept under another program's name.
class HostRegistry final : public QObject {
    Q_OBJECT

public:
    /// Whether portals that know no registry may be asked all the same.
    enum class Nameless { served, refused };

    /// `appId` is the name of a desktop entry. Starts the portals, where the desktop has some.
    HostRegistry(const QDBusConnection& bus, const QString& appId,
                 Nameless nameless = Nameless::served);

    /// The portals' own name on the bus, once they have heard who we are, whatever they said to
    /// it; empty while there are none. What is sent to this name reaches those only.
    const QString& portal() const { return owner; }

    /// Whether these portals may be asked for anything: nothing is asked for in another's name.
    bool mayAsk() const { return isHeard; }

    /// Whether the session has no portals: none that could be started, or none that started. Those
    /// are tried again.
    bool isAbsent() const { return hasNone; }

Q_SIGNALS:
    /// The portals are there, for the first time or again: no session of ours is left.
    void ready();
    /// They are gone.
    void gone();
    /// See `isAbsent`; nothing where they were known to be.
    void absent();

private:
    void introduce();
    void introduced(const QDBusError& error);
    void failedToStart(const QDBusError& error);
    void ownerChanged(const QString& next);

    QDBusConnection bus;
    QString appId;
    Nameless nameless;
    QString owner;
    bool isHeard = false;
    bool hasNone = false;
    /// Who has the portals' name, whether told or not.
    QString present;
    BusName name;
    bool introducing = false;
    /// The portals have changed since they were told: it was another one.
    bool replaced = false;
    /// Until portals that ended, or did not start, are started again, and how long it is where they
    /// do not start.
    QTimer restart;
    std::chrono::seconds restartIn;
};

} // namespace vorlin
