#pragma once

#include "Platform/Linux/Portal/BusName.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QVariantList>
#include <QVariantMap>

#include <functional>

namespace vorlin {

/// How a request to a portal ended.
struct PortalAnswer {
    enum class End {
        /// `code` and `results` say how.
        answered,
        /// No portal takes such a request.
        refused,
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

/// The part of an object's path that names a request or a session of ours.
QString freshToken();

/// The path that an answer gives under `name`, whether as a path or as a text; empty where it
/// gives none.
QString handle(const PortalAnswer& answer, const QString& name);

/// Ends a session, and with it all that it was given.
void closeSession(QDBusConnection bus, const QString& session);
} // namespace portals

/// One method of the portals that is answered by a signal, possibly after a dialog. Main loop;
/// waits for nothing. Only what the portal itself says counts, also where it says it before it
/// replies.
class PortalRequest final : public QObject {
    Q_OBJECT

public:
    using WhenDone = std::function<void(const PortalAnswer&)>;

    explicit PortalRequest(const QDBusConnection& bus);

    /// Calls `method` with `arguments` and, after them, `options`; `whenDone` is called once, from
    /// the loop. A request before that is forgotten.
    void send(const QString& interface, const QString& method, const QVariantList& arguments,
              QVariantMap options, WhenDone whenDone);

    /// The answer is not wanted any more.
    void forget();

    /// The dialog of the request, if it has one, goes, too.
    void close();

    bool isPending() const { return whenDone != nullptr; }

private Q_SLOTS:
    void responded(const QDBusMessage& message);

private:
    void replied(const QDBusMessage& reply);
    void ownerChanged(const QString& owner);
    void follow(const QString& path);
    void finish(const PortalAnswer& answer);

    QDBusConnection bus;
    WhenDone whenDone;
    /// The object that answers.
    QString object;
    /// Who the portals are on the bus. Known ahead of what they say: the bus tells it first.
    QString portal;
    BusName name;
    /// A reply to an earlier request is dropped.
    unsigned generation = 0;
};

} // namespace vorlin
