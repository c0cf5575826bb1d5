#include "Platform/Linux/Portal/PortalRequest.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>

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
    const auto path = value.metaType() == QMetaType::fromType<QDBusObjectPath>()
                          ? value.value<QDBusObjectPath>().path()
                          : value.toString();
    return path.startsWith('/') ? path : QString();
}

void portals::closeSession(QDBusConnection bus, const QString& session)
{
    auto message = QDBusMessage::createMethodCall(portals::service, session, sessionInterface,
                                                  QStringLiteral("Close"));
    message.setAutoStartService(false);
    bus.send(message);
}

PortalRequest::PortalRequest(const QDBusConnection& bus) : bus(bus), name(bus, portals::service)
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
    auto message =
        QDBusMessage::createMethodCall(portals::service, portals::path, interface, method);
    message.setArguments(arguments + QVariantList{options});
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(message), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, mine = generation] {
        watcher->deleteLater();
        if (mine == generation) {
            replied(watcher->reply());
        }
    });
}

void PortalRequest::replied(const QDBusMessage& reply)
{
    if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != "o") {
        finish({PortalAnswer::End::refused, 2, {}});
        return;
    }
    follow(reply.arguments().constFirst().value<QDBusObjectPath>().path());
}

/// Hears what is said on the object of the request, which old portals name themselves: by the name
/// of no sender, which Qt would wait to learn the owner of.
void PortalRequest::follow(const QString& path)
{
    if (path == object) {
        return;
    }
    const auto slot = SLOT(responded(QDBusMessage));
    if (!object.isEmpty()) {
        bus.disconnect({}, object, requestInterface, "Response", this, slot);
    }
    object = path;
    if (!object.isEmpty()) {
        bus.connect({}, object, requestInterface, "Response", this, slot);
    }
}

void PortalRequest::responded(const QDBusMessage& message)
{
    // Anyone may send such a signal.
    if (message.service() == portal && message.path() == object &&
        message.signature() == "ua{sv}") {
        const auto arguments = message.arguments();
        finish({PortalAnswer::End::answered, arguments[0].toUInt(),
                qdbus_cast<QVariantMap>(arguments[1])});
    }
}

void PortalRequest::ownerChanged(const QString& owner)
{
    if (!std::exchange(portal, owner).isEmpty() && isPending()) {
        finish({PortalAnswer::End::gone, 2, {}});
    }
}

void PortalRequest::close()
{
    if (isPending()) {
        auto message = QDBusMessage::createMethodCall(portals::service, object, requestInterface,
                                                      QStringLiteral("Close"));
        message.setAutoStartService(false);
        bus.send(message);
        forget();
    }
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
