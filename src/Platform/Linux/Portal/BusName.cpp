#include "Platform/Linux/Portal/BusName.h"

#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <utility>

namespace vorlin {

namespace {

const QString busName = QStringLiteral("org.freedesktop.DBus");
const QString busPath = QStringLiteral("/org/freedesktop/DBus");

} // namespace

BusName::BusName(const QDBusConnection& bus, const QString& name) : bus(bus)
{
    // Not by a QDBusServiceWatcher: it waits for the bus, and ends the program when that is gone.
    this->bus.connect({}, busPath, busName, "NameOwnerChanged", {name}, "sss", this,
                      SLOT(nameOwnerChanged(QString, QString, QString, QDBusMessage)));
    this->bus.connect({}, "/org/freedesktop/DBus/Local", "org.freedesktop.DBus.Local",
                      "Disconnected", this, SLOT(busGone()));
    ask(name);
}

void BusName::ask(const QString& name)
{
    auto message = QDBusMessage::createMethodCall(busName, busPath, busName, "GetNameOwner");
    message << name;
    auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(message), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<QString> reply = *answer;
        if (!told && !reply.isError()) {
            take(reply.value());
        }
    });
}

void BusName::nameOwnerChanged(const QString& /*name*/, const QString& old, const QString& next,
                               const QDBusMessage& message)
{
    if (message.service() == busName) { // anyone may send such a signal
        if (!std::exchange(told, true)) {
            take(old); // that there was another one matters, too
        }
        take(next);
    }
}

void BusName::take(const QString& next)
{
    if (next != owner) {
        owner = next;
        Q_EMIT ownerChanged(owner);
    }
}

} // namespace vorlin
