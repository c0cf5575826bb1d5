#include "Platform/Linux/Portal/PortalRequest.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

#include <utility>

namespace vorlin {

namespace {

const QString requestInterface = QStringLiteral("org.freedesktop.portal.Request");

} // namespace

QString portals::freshToken()
{
    static unsigned count = 0;
    return "vorlin" + QString::number(++count);
}

QString portals::handle(const PortalAnswer& answer, const QString& name)
{
    if (!answer.succeeded()) {
        return {};
    }
    const auto value = answer.results.value(name);
    const auto object = value.metaType() == QMetaType::fromType<QDBusObjectPath>()
                            ? value.value<QDBusObjectPath>().path()
                            : value.toString();
    return object.startsWith('/') ? object : QString();
}

void portals::closeSession(QDBusConnection bus, const QString& portal, const QString& session)
{
    if (portal.isEmpty()) {
        return; // it went with its portal
    }
    auto message =
        QDBusMessage::createMethodCall(portal, session, sessionInterface, QStringLiteral("Close"));
    message.setAutoStartService(false);
    bus.send(message);
}

bool portals::isUnknown(const QDBusError& error)
{
    switch (error.type()) {
    case QDBusError::UnknownMethod:
    case QDBusError::UnknownInterface:
    case QDBusError::UnknownObject:
    case QDBusError::ServiceUnknown: return true;
    default: return false;
    }
}

void portals::readProperty(const QDBusConnection& bus, const HostRegistry& registry,
                           QObject* context, const QString& interface, const QString& name,
                           std::function<void(const std::optional<QVariant>&)> told)
{
    const auto asked = registry.portal();
    auto message = QDBusMessage::createMethodCall(asked, portals::path,
                                                  QStringLiteral("org.freedesktop.DBus.Properties"),
                                                  QStringLiteral("Get"));
    message.setAutoStartService(false);
    message << interface << name;
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(message), context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context,
                     [&registry, watcher, asked, told = std::move(told)] {
                         watcher->deleteLater();
                         const QDBusPendingReply<QDBusVariant> reply = *watcher;
                         if (registry.portal() == asked) {
                             told(reply.isError() ? std::nullopt
                                                  : std::optional(reply.value().variant()));
                         }
                     });
}

PortalRequest::PortalRequest(const QDBusConnection& bus, const HostRegistry* registry)
    : bus(bus), registry(registry), name(bus, portals::service)
{
    connect(&name, &BusName::ownerChanged, this, &PortalRequest::ownerChanged);
}

void PortalRequest::send(const QString& interface, const QString& method,
                         const QVariantList& arguments, QVariantMap options, WhenDone next)
{
    forget();
    whenDone = std::move(next);
    const auto token = portals::freshToken();
    auto sender = bus.baseService().mid(1);
    sender.replace('.', '_');
    follow(portals::path + "/request/" + sender + "/" + token);
    options.insert("handle_token", token);
    auto message = messageTo(portals::path, interface, method);
    message.setArguments(arguments + QVariantList{options});
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(message), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, mine = generation] {
        watcher->deleteLater();
        if (mine == generation) {
            replied(watcher->reply());
        }
    });
}

QDBusMessage PortalRequest::messageTo(const QString& path, const QString& interface,
                                      const QString& method) const
{
    // By the common name it could reach, and start, portals that have not heard who asks.
    const auto& to = registry == nullptr ? portals::service : registry->portal();
    auto message = QDBusMessage::createMethodCall(to, path, interface, method);
    message.setAutoStartService(registry == nullptr);
    return message;
}

void PortalRequest::replied(const QDBusMessage& reply)
{
    if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != "o") {
        const bool unknown = portals::isUnknown(QDBusError(reply));
        finish({unknown ? PortalAnswer::End::refused : PortalAnswer::End::failed, 2, {}});
        return;
    }
    follow(reply.arguments().constFirst().value<QDBusObjectPath>().path());
}

/// Hears what is said on the object of the request, which old portals name themselves.
void PortalRequest::follow(const QString& path)
{
    if (path == object) {
        return;
    }
    if (!object.isEmpty()) {
        hear(false, object);
    }
    object = path;
    if (!object.isEmpty()) {
        hear(true, object);
    }
}

/// By the name of no sender, which Qt would wait to learn the owner of.
void PortalRequest::hear(bool on, const QString& path)
{
    const auto slot = SLOT(responded(QDBusMessage));
    if (on) {
        bus.connect({}, path, requestInterface, "Response", this, slot);
    } else {
        bus.disconnect({}, path, requestInterface, "Response", this, slot);
    }
}

void PortalRequest::responded(const QDBusMessage& message)
{
    // Anyone may send such a signal.
    if (message.service() != portal || message.signature() != "ua{sv}") {
        return;
    }
    const auto arguments = message.arguments();
    const PortalAnswer answer{PortalAnswer::End::answered, arguments[0].toUInt(),
                              qdbus_cast<QVariantMap>(arguments[1])};
    if (message.path() == object) {
        finish(answer);
    } else if (left.removeOne(message.path())) {
        hear(false, message.path());
        if (const auto session = portals::handle(answer, "session_handle"); !session.isEmpty()) {
            portals::closeSession(bus, portal, session);
        }
    }
}

void PortalRequest::ownerChanged(const QString& owner)
{
    const bool hadOne = !std::exchange(portal, owner).isEmpty();
    for (const auto& path : std::exchange(left, {})) {
        hear(false, path); // the session went with its portal
    }
    if (hadOne && isPending()) {
        finish({PortalAnswer::End::gone, 2, {}});
    }
}

void PortalRequest::close()
{
    if (isPending()) {
        auto message = messageTo(object, requestInterface, QStringLiteral("Close"));
        message.setAutoStartService(false);
        bus.send(message);
        forget();
    }
}

void PortalRequest::leaveSession()
{
    left.push_back(std::exchange(object, {})); // which is still heard
    forget();
}

void PortalRequest::forget()
{
    ++generation;
    follow({});
    whenDone = nullptr;
}

void PortalRequest::finish(const PortalAnswer& answer)
{
    const auto done = std::move(whenDone);
    forget();
    if (done) {
        done(answer);
    }
}

} // namespace vorlin
