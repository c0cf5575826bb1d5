#include "Platform/Linux/Desktop/DBusApplication.h"

#include <QCoreApplication>
#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QThread>

#include <cstdio>
#include <utility>

namespace vorlin {

/// org.freedesktop.Application; its method names are the interface's.
class ApplicationInterface final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    ApplicationInterface(QObject& object, std::function<void()> onActivate,
                         std::function<void(const std::string&)> onAction)
        : QDBusAbstractAdaptor(&object), onActivate(std::move(onActivate)),
          onAction(std::move(onAction))
    {
    }

public Q_SLOTS:
    // NOLINTBEGIN(readability-identifier-naming)
    void Activate(const QVariantMap& /*platformData*/) { onActivate(); }
    void Open(const QStringList& /*uris*/, const QVariantMap& /*platformData*/) { onActivate(); }
    void ActivateAction(const QString& name, const QVariantList& /*parameter*/,
                        const QVariantMap& /*platformData*/)
    {
        onAction(name.toStdString());
    }
    // NOLINTEND(readability-identifier-naming)

private:
    std::function<void()> onActivate;
    std::function<void(const std::string&)> onAction;
};

namespace {

constexpr int answerTimeoutMs = 2000;
constexpr int claimTimeoutMs = 3000;
constexpr int retryMs = 50;

enum class Told { yes, nobodyThere };

/// Tells the instance that owns the name that another one was started.
Told tellTheOther(const QDBusConnection& bus)
{
    auto message =
        QDBusMessage::createMethodCall(DBusApplication::serviceName, DBusApplication::objectPath,
                                       "org.freedesktop.Application", "Activate");
    message << QVariantMap();
    message.setAutoStartService(false);
    const auto reply = bus.call(message, QDBus::Block, answerTimeoutMs);
    if (reply.type() != QDBusMessage::ErrorMessage) {
        return Told::yes;
    }
    // One that ends meanwhile, or hangs, gives no reply.
    const auto kind = QDBusError(reply).type();
    const bool gone = kind == QDBusError::ServiceUnknown || kind == QDBusError::NoReply ||
                      kind == QDBusError::Disconnected ||
                      reply.errorName() == "org.freedesktop.DBus.Error.NameHasNoOwner";
    return gone ? Told::nobodyThere : Told::yes;
}

} // namespace

DBusApplication::DBusApplication(const Environment& environment)
    : lock(InstanceLock::pathFor(environment))
{
}

DBusApplication::~DBusApplication()
{
    auto bus = QDBusConnection::sessionBus();
    if (bus.isConnected()) {
        bus.unregisterObject(objectPath);
        // Not by unregisterService(), which would wait for a bus that hangs.
        auto release = QDBusMessage::createMethodCall(
            "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "ReleaseName");
        release << serviceName;
        bus.send(release);
    }
}

bool DBusApplication::becomeOnlyInstance(std::function<void()> onActivate)
{
    const auto act = [this](const std::string& name) {
        if (onAction) {
            onAction(name);
        }
    };
    new ApplicationInterface(object, std::move(onActivate), act); // `object` owns it
    auto bus = QDBusConnection::sessionBus();
    if (bus.isConnected()) {
        // Before the name is ours: who finds the name must find the object.
        bus.registerObject(objectPath, &object);
    }
    const QDeadlineTimer deadline(claimTimeoutMs);
    while (true) {
        const auto result = claim();
        if (result == Claim::ours) {
            return true;
        }
        if (result == Claim::theirs || deadline.hasExpired()) {
            if (result != Claim::theirs) {
                std::fputs("vorlin: Vorlin is running on this display already\n", stderr);
            }
            bus.unregisterObject(objectPath);
            lock.release();
            return false;
        }
        QThread::msleep(retryMs);
    }
}

DBusApplication::Claim DBusApplication::claim()
{
    auto bus = QDBusConnection::sessionBus();
    const bool lockedOut = lock.take() == InstanceLock::Outcome::heldElsewhere;
    if (!bus.isConnected()) {
        return lockedOut ? Claim::unclear : Claim::ours;
    }
    if (!lockedOut) {
        const auto reply = bus.interface()->registerService(
            serviceName, QDBusConnectionInterface::DontQueueService,
            QDBusConnectionInterface::DontAllowReplacement);
        if (!reply.isValid() || reply == QDBusConnectionInterface::ServiceRegistered) {
            return Claim::ours; // a bus that gives no names is no bus
        }
    }
    return tellTheOther(bus) == Told::yes ? Claim::theirs : Claim::unclear;
}

void DBusApplication::quit()
{
    // Through the queue: it counts even when the loop does not run yet.
    QMetaObject::invokeMethod(QCoreApplication::instance(), &QCoreApplication::quit,
                              Qt::QueuedConnection);
}

} // namespace vorlin

#include "DBusApplication.moc"
