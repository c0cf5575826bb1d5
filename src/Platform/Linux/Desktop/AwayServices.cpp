#include "Platform/Linux/Desktop/AwayServices.h"

#include <QDBusPendingCallWatcher>
#include <QDBusVariant>

#include <utility>

namespace vorlin {

namespace {

const QString loginPath = QStringLiteral("/org/freedesktop/login1");
const QString loginManager = QStringLiteral("org.freedesktop.login1.Manager");
const QString loginSession = QStringLiteral("org.freedesktop.login1.Session");
const QString properties = QStringLiteral("org.freedesktop.DBus.Properties");
const QString lockedHint = QStringLiteral("LockedHint");

} // namespace

AwayService::AwayService(const QDBusConnection& bus, const QString& name)
    : bus(bus), name(bus, name)
{
    connect(&this->name, &BusName::ownerChanged, this, &AwayService::follow);
}

void AwayService::follow(const QString& next)
{
    owner = next;
    noteSignal(); // no answer of the one before counts
    forget();
    if (!owner.isEmpty()) {
        begin();
    }
    Q_EMIT changed();
}

void AwayService::ask(const QString& path, const QString& interface, const QString& method,
                      const QVariantList& arguments, std::function<void(const QVariant&)> answered,
                      std::function<void()> refused)
{
    auto message = QDBusMessage::createMethodCall(owner, path, interface, method);
    message.setArguments(arguments);
    auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(message), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this,
            [this, answer, asked = signalCount, answered = std::move(answered),
             refused = std::move(refused)] {
                answer->deleteLater();
                const auto reply = answer->reply();
                if (asked != signalCount) {
                    return;
                }
                if (reply.type() == QDBusMessage::ReplyMessage) {
                    answered(reply.arguments().value(0));
                    Q_EMIT changed();
                } else {
                    refused();
                }
            });
}

ScreenSaver::ScreenSaver(const QDBusConnection& bus, const QString& name, const QString& path)
    : AwayService(bus, name), interface(name), path(path)
{
    // Some tell it from several objects.
    connection().connect({}, {}, interface, "ActiveChanged", this,
                         SLOT(activeChanged(bool, QDBusMessage)));
}

void ScreenSaver::begin()
{
    ask(path, interface, "GetActive", {},
        [this](const QVariant& answer) { active = answer.toBool(); });
}

void ScreenSaver::activeChanged(bool now, const QDBusMessage& message)
{
    if (!isItsOwn(message)) {
        return;
    }
    noteSignal();
    active = now;
    Q_EMIT changed();
}

LoginSession::LoginSession(const QDBusConnection& bus, const std::optional<std::string>& id)
    : AwayService(bus, "org.freedesktop.login1")
{
    if (id) {
        names.push_back(QString::fromStdString(*id));
    }
    names.push_back("auto");
    connection().connect({}, loginPath, loginManager, "SessionNew", this,
                         SLOT(sessionNew(QString, QDBusObjectPath, QDBusMessage)));
    connection().connect({}, loginPath, loginManager, "PrepareForSleep", this,
                         SLOT(prepareForSleep(bool, QDBusMessage)));
    connection().connect({}, {}, properties, "PropertiesChanged", {loginSession}, "sa{sv}as", this,
                         SLOT(propertiesChanged(QString, QVariantMap, QStringList, QDBusMessage)));
}

void LoginSession::begin()
{
    askForSession(names);
}

void LoginSession::forget()
{
    session.clear();
    locked = asleep = false;
}

void LoginSession::askForSession(QStringList left)
{
    if (left.isEmpty()) {
        return;
    }
    const QString name = left.takeFirst();
    const auto take = [this](const QVariant& answer) {
        session = answer.value<QDBusObjectPath>().path();
        askForLock();
    };
    const auto askOn = [this, left] { askForSession(left); };
    ask(loginPath, loginManager, "GetSession", {name}, take, askOn);
}

void LoginSession::askForLock()
{
    ask(session, properties, "Get", {loginSession, lockedHint}, [this](const QVariant& answer) {
        locked = answer.value<QDBusVariant>().variant().toBool();
    });
}

void LoginSession::prepareForSleep(bool begins, const QDBusMessage& message)
{
    if (!isItsOwn(message)) {
        return;
    }
    asleep = begins;
    Q_EMIT changed();
    if (!asleep && session.isEmpty()) {
        askForSession(names);
    }
}

void LoginSession::sessionNew(const QString& /*id*/, const QDBusObjectPath& /*path*/,
                              const QDBusMessage& message)
{
    if (isItsOwn(message) && session.isEmpty()) {
        askForSession(names);
    }
}

void LoginSession::propertiesChanged(const QString& /*interface*/, const QVariantMap& values,
                                     const QStringList& invalid, const QDBusMessage& message)
{
    if (!isItsOwn(message) || message.path() != session) {
        return;
    }
    if (values.contains(lockedHint)) {
        noteSignal();
        locked = values.value(lockedHint).toBool();
        Q_EMIT changed();
    } else if (invalid.contains(lockedHint)) {
        noteSignal();
        askForLock();
    }
}

} // namespace vorlin
