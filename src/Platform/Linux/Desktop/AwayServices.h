#pragma once

#include "Platform/Linux/Desktop/BusName.h"

#include <QDBusMessage>
#include <QStringList>
#include <QVariantMap>

#include <cstdint>
#include <functional>

namespace vorlin {

/// A service on a bus that says whether the person is away. While nobody owns its name, they are
/// not. Nothing waits for it. Main loop.
class AwayService : public QObject {
    Q_OBJECT

public:
    AwayService(const QDBusConnection& bus, const QString& name);

    virtual bool isAway() const = 0;

Q_SIGNALS:
    /// Perhaps.
    void changed();

protected:
    /// Asks a new owner what it says.
    virtual void begin() = 0;
    /// Forgets all that the one before has said.
    virtual void forget() = 0;

    /// A connection to listen on, to whoever speaks: Qt waits for the bus where it is to find the
    /// sender by itself, and ends the program when the bus is gone.
    QDBusConnection& connection() { return bus; }
    /// Whether the owner has sent it: anyone may send a signal.
    bool isItsOwn(const QDBusMessage& message) const { return message.service() == owner; }
    /// Asks the owner. An answer that is older than a signal, or an error, is dropped.
    void ask(const QString& path, const QString& interface, const QString& method,
             const QVariantList& arguments, std::function<void(const QVariant&)> answered);
    /// It has told something by itself.
    void noteSignal() { ++signalCount; }

private:
    void follow(const QString& next);

    QDBusConnection bus;
    BusName name;
    QString owner;
    std::uint64_t signalCount = 0;
};

/// A screen saver: away while it is active, which is also what a locked screen says.
class ScreenSaver final : public AwayService {
    Q_OBJECT

public:
    /// `name` is also its interface's.
    ScreenSaver(const QDBusConnection& bus, const QString& name, const QString& path);

    bool isAway() const override { return active; }

private Q_SLOTS:
    void activeChanged(bool now, const QDBusMessage& message);

private:
    void begin() override;
    void forget() override { active = false; }

    const QString interface;
    const QString path;
    bool active = false;
};

/// systemd's logind: away while this session says that it is locked, and from before the machine
/// sleeps until it is awake.
class LoginSession final : public AwayService {
    Q_OBJECT

public:
    explicit LoginSession(const QDBusConnection& bus);

    bool isAway() const override { return locked || asleep; }

private Q_SLOTS:
    void prepareForSleep(bool begins, const QDBusMessage& message);
    void propertiesChanged(const QString& interface, const QVariantMap& values,
                           const QStringList& invalid, const QDBusMessage& message);

private:
    void begin() override;
    void forget() override { locked = asleep = false; }
    void askForLock();

    /// The session's object: its signals come from there, not from the name it was asked for by.
    QString session;
    bool locked = false;
    bool asleep = false;
};

} // namespace vorlin
