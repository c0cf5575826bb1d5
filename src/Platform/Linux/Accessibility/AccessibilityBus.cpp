#include "Platform/Linux/Accessibility/AccessibilityBus.h"

#include "Platform/Linux/Portal/BusSocket.h"

#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QTimer>

#include <chrono>
#include <memory>
#include <utility>

namespace vorlin {

namespace {

const QString busName = QStringLiteral("org.a11y.Bus");
const QString busPath = QStringLiteral("/org/a11y/bus");
const QString statusInterface = QStringLiteral("org.a11y.Status");
const QString isEnabled = QStringLiteral("IsEnabled");
const QString properties = QStringLiteral("org.freedesktop.DBus.Properties");

/// A bus that ends us at once is not asked without a pause.
constexpr std::chrono::seconds pause{1};

QString freshName()
{
    static unsigned count = 0;
    return "accessibility " + QString::number(++count);
}

} // namespace

AccessibilityBus::AccessibilityBus(const QDBusConnection& session, Workers& workers, Executor& loop)
    : session(session), workers(workers), loop(loop), name(session, busName)
{
    // By the name of no sender, which Qt would wait to learn the owner of.
    this->session.connect({}, busPath, properties, "PropertiesChanged", {statusInterface},
                          "sa{sv}as", this,
                          SLOT(propertiesChanged(QString, QVariantMap, QStringList, QDBusMessage)));
    connect(&name, &BusName::ownerChanged, this, &AccessibilityBus::follow);
}

AccessibilityBus::~AccessibilityBus()
{
    leave();
}

void AccessibilityBus::follow(const QString& next)
{
    owner = next;
    take(false);
    if (!owner.isEmpty()) {
        askWhetherOn();
    }
}

void AccessibilityBus::askWhetherOn()
{
    ask(properties, "Get", {statusInterface, isEnabled},
        [this](const QVariant& answer) { take(answer.value<QDBusVariant>().variant().toBool()); });
}

void AccessibilityBus::take(bool isOn)
{
    ++generation;
    if (!isOn) {
        leave();
    } else if (!connection) {
        ask(busName, "GetAddress", {}, [this](const QVariant& answer) { open(answer.toString()); });
    }
}

void AccessibilityBus::open(const QString& address)
{
    const auto opened = std::make_shared<std::optional<QDBusConnection>>();
    const auto ownName = freshName();
    workers.runPatiently(
        WorkPriority::normal,
        [opened, address, ownName] { *opened = openBus(address.toStdString(), ownName); }, loop,
        [this, token = lifetime.token(), opened, ownName, asked = generation] {
            if (!token.expired() && asked == generation) {
                connection = *opened;
                if (connection) {
                    connection->connect({}, "/org/freedesktop/DBus/Local",
                                        "org.freedesktop.DBus.Local", "Disconnected", this,
                                        SLOT(disconnected()));
                    disconnected(); // it may have been before
                }
            } else {
                QDBusConnection::disconnectFromBus(ownName);
            }
        });
}

/// Is also told late of a connection that was left.
void AccessibilityBus::disconnected()
{
    if (connection && !connection->isConnected()) {
        leave();
        returnLater();
    }
}

void AccessibilityBus::returnLater()
{
    QTimer::singleShot(pause, this, [this, asked = generation] {
        if (asked == generation) {
            askWhetherOn();
        }
    });
}

void AccessibilityBus::leave()
{
    if (connection) {
        QDBusConnection::disconnectFromBus(connection->name());
        connection.reset();
    }
}

void AccessibilityBus::ask(const QString& interface, const QString& method,
                           const QVariantList& arguments,
                           std::function<void(const QVariant&)> answered)
{
    auto message = QDBusMessage::createMethodCall(owner, busPath, interface, method);
    message.setAutoStartService(false);
    message.setArguments(arguments);
    auto* watcher = new QDBusPendingCallWatcher(session.asyncCall(message), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, watcher, asked = generation, answered = std::move(answered)] {
                watcher->deleteLater();
                const auto reply = watcher->reply();
                if (asked == generation && reply.type() == QDBusMessage::ReplyMessage) {
                    answered(reply.arguments().value(0));
                }
            });
}

void AccessibilityBus::propertiesChanged(const QString& /*interface*/, const QVariantMap& values,
                                         const QStringList& invalid, const QDBusMessage& message)
{
    if (message.service() != owner) { // anyone may send such a signal
        return;
    }
    if (values.contains(isEnabled)) {
        take(values.value(isEnabled).toBool());
    } else if (invalid.contains(isEnabled)) {
        ++generation;
        askWhetherOn();
    }
}

} // namespace vorlin
