#pragma once

#include "Platform/Linux/Portal/BusName.h"
#include "Platform/Linux/Portal/HostRegistry.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantList>
#include <QVariantMap>

#include <functional>
#include <optional>

namespace vorlin {

/// How a request to a portal ended.
struct PortalAnswer {
    enum class End {
        /// `code` and `results` say how.
        answered,
        /// No portal takes such a request.
        refused,
        /// An error without a reason that is known here.
        failed,
        /// The portal went first.
        gone,
    };
    End end = End::refused;
    /// 0 for success, 1 where the person cancelled, else 2.
    unsigned code = 2;
    QVariantMap results;

    bool succeeded() const { return end == End::answered && code == 0; }
};

/// The desktop's portals on the session bus.
namespace portals {
inline const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
inline const QString path = QStringLiteral("/org/freedesktop/portal/desktop");
inline const QString sessionInterface = QStringLiteral("org.freedesktop.portal.Session");
inline const QString shortcuts = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");
inline const QString remoteDesktop = QStringLiteral("org.freedesktop.portal.RemoteDesktop");

/// The part of an object's path that names a request or a session of ours.
QString freshToken();

/// The path that an answer gives under `name`, whether as a path or as a text; empty where it
/// gives none.
QString handle(const PortalAnswer& answer, const QString& name);

/// Ends a session of the portals of that name on the bus, and with it all that it was given.
void closeSession(QDBusConnection bus, const QString& portal, const QString& session);

/// Whether an error says that there is no such method, nor what it would be called on.
bool isUnknown(const QDBusError& error);

/// Asks the portals that `registry` has told who asks for a property of `interface`, and tells it,
/// or nothing where they have none such; not at all where they, or `context`, went meanwhile.
void readProperty(const QDBusConnection& bus, const HostRegistry& registry, QObject* context,
                  const QString& interface, const QString& name,
                  std::function<void(const std::optional<QVariant>&)> told);
} // namespace portals

/// One method of the portals that is answered by a signal, possibly after a dialog. Main loop;
/// waits for nothing. Only what the portal itself says counts, also where it says it before it
/// replies.
class PortalRequest final : public QObject {
    Q_OBJECT

public:
    using WhenDone = std::function<void(const PortalAnswer&)>;

    /// Where `registry` is given, of the same connection, only portals that it has told who asks
    /// are sent anything. It must outlive this object.
    explicit PortalRequest(const QDBusConnection& bus, const HostRegistry* registry = nullptr);

    /// Calls `method` with `arguments` and, after them, `options`; `whenDone` is called once, from
    /// the loop. A request before that is forgotten.
    void send(const QString& interface, const QString& method, const QVariantList& arguments,
              QVariantMap options, WhenDone whenDone);

    /// The answer is not wanted any more.
    void forget();

    /// The dialog of the request, if it has one, goes, too.
    void close();

    /// The same of a request that makes a session, which is ended as soon as it is made.
    void leaveSession();

    bool isPending() const { return whenDone != nullptr; }

private Q_SLOTS:
    void responded(const QDBusMessage& message);

private:
    QDBusMessage messageTo(const QString& path, const QString& interface,
                           const QString& method) const;
    void replied(const QDBusMessage& reply);
    void ownerChanged(const QString& owner);
    void follow(const QString& path);
    void hear(bool on, const QString& path);
    void finish(const PortalAnswer& answer);

    QDBusConnection bus;
    const HostRegistry* registry;
    WhenDone whenDone;
    /// The object that answers.
    QString object;
    /// Those of requests whose sessions are to end as soon as they are made.
    QStringList left;
    /// Who the portals are on the bus. Known ahead of what they say: the bus tells it first.
    QString portal;
    BusName name;
    /// A reply to an earlier request is dropped.
    unsigned generation = 0;
};

} // namespace vorlin
