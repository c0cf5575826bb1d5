#pragma once

#include "Platform/Linux/Portal/BusName.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QStringList>
#include <QVariantMap>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

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
    /// Asks the owner. An answer that is older than a signal is dropped; `refused` is told of an
    /// error.
    void ask(
        const QString& path, const QString& interface, const QString& method,
        const QVariantList& arguments, std::function<void(const QVariant&)> answered,
        std::function<void()> refused = [] {});
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

/// systemd's logind: away while this session says that it is locked, and while the machine sleeps.
class LoginSession final : public AwayService {
    Q_OBJECT

public:
    /// `id` is what logind calls the session, as far as known: where it knows none by that name
    /// the session is the one this process is in, or else the person's first on a display. While
    /// there is none at all it is asked for again when one is new, and when the machine wakes up.
    LoginSession(const QDBusConnection& bus, const std::optional<std::string>& id);

    bool isAway() const override { return locked || asleep; }

private Q_SLOTS:
    void prepareForSleep(bool begins, const QDBusMessage& message);
    void sessionNew(const QString& id, const QDBusObjectPath& path, const QDBusMessage& message);
    void propertiesChanged(const QString& interface, const QVariantMap& values,
                           const QStringList& invalid, const QDBusMessage& message);

private:
    void begin() override;
    void forget() override;
    void askForSession(QStringList left);
    void askForLock();

    /// What to ask for the session by, one after the other.
    QStringList names;
    /// The session's object: its signals come from there, not from the name it was asked for by.
    /// Empty while none is known.
    QString session;
    bool locked = false;
    bool asleep = false;
};

} // namespace vorlin
