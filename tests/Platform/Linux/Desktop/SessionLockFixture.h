#pragma once

#include "Platform/Linux/Desktop/SessionLock.h"

#include "Platform/RunUntil.h"
#include "Platform/Shared/QtMainLoop.h"
#include "Platform/Shared/ThreadPool.h"
#include "PlayedBus.h"

#include <gtest/gtest.h>

#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QStringList>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vorlin {

/// The screen saver of a desktop.
class PlayedSaver final : public PlayedService {
public:
    PlayedSaver(const PlayedBus& on, const QString& name, bool active)
        : PlayedService(on, name), interface(name), path("/" + QString(name).replace('.', '/'))
    {
        answers[question()] = active;
    }
    std::string question() const { return path.toStdString() + " GetActive"; }
    void setActive(bool active)
    {
        answers[question()] = active;
        program.emitSignal(path, interface, "ActiveChanged", {active});
    }

    const QString interface;
    const QString path;
};

/// What a program says for systemd's logind, which it need not be.
class LoginVoice {
public:
    inline static const QString path = QStringLiteral("/org/freedesktop/login1");
    inline static const QString session = QStringLiteral("/org/freedesktop/login1/session/_31");

    explicit LoginVoice(PlayedProgram& speaker) : speaker(speaker) {}

    void setLocked(bool locked, const QString& of = session)
    {
        propertiesChanged({{"LockedHint", locked}}, {}, of);
    }
    void propertiesChanged(const QVariantMap& values, const QStringList& invalid,
                           const QString& of = session)
    {
        speaker.emitSignal(of, "org.freedesktop.DBus.Properties", "PropertiesChanged",
                           {"org.freedesktop.login1.Session", values, invalid});
    }
    void prepareForSleep(bool begins)
    {
        speaker.emitSignal(path, "org.freedesktop.login1.Manager", "PrepareForSleep", {begins});
    }
    void sessionNew()
    {
        speaker.emitSignal(
            path, "org.freedesktop.login1.Manager", "SessionNew",
            {"another", QVariant::fromValue(QDBusObjectPath(path + "/session/_33"))});
    }

private:
    PlayedProgram& speaker;
};

/// systemd's logind.
class PlayedLogin final : public PlayedService, public LoginVoice {
public:
    PlayedLogin(const PlayedBus& on, bool locked)
        : PlayedService(on, "org.freedesktop.login1"), LoginVoice(program)
    {
        answers[question()] = hint(locked);
    }
    static QVariant hint(bool locked) { return QVariant::fromValue(QDBusVariant(locked)); }
    static std::string question() { return session.toStdString() + " Get"; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& from) override
    {
        if (message.member() != "GetSession") {
            return PlayedService::handleMessage(message, from);
        }
        const auto name = message.arguments().value(0).toString().toStdString();
        asked.push_back(name);
        const auto found = sessions.find(name);
        from.send(found == sessions.end()
                      ? message.createErrorReply("org.freedesktop.login1.NoSuchSession", "None.")
                      : message.createReply(QVariant::fromValue(QDBusObjectPath(found->second))));
        return true;
    }

    /// By what one asks for them.
    std::map<std::string, QString> sessions = {{"auto", session}};
    std::vector<std::string> asked;
};

/// One who listens to the buses that the test plays.
class SessionLockFixture : public testing::Test {
protected:
    SessionLockFixture() { variables["DBUS_SYSTEM_BUS_ADDRESS"] = systemBus.address; }

    void start(bool withSessionBus = true)
    {
        if (withSessionBus) {
            ours.emplace(sessionBus, "ours");
        }
        lock = std::make_unique<SessionLock>(
            ours ? ours->bus : QDBusConnection("none"),
            [this](const char* name) -> std::optional<std::string> {
                const auto found = variables.find(name);
                return found == variables.end() ? std::nullopt : std::optional(found->second);
            },
            workers, loop);
        watch = lock->isAway().observe([this](bool away) { told.push_back(away); });
    }
    bool comesToBe(bool away)
    {
        return runUntil([&] { return lock->isAway().get() == away; });
    }
    /// Takes in what the session bus has brought.
    void takeIn()
    {
        PlayedProgram::roundTrip(ours->bus);
        QCoreApplication::sendPostedEvents();
    }
    /// What the system's bus has brought.
    void takeInFromSystem()
    {
        PlayedProgram::roundTrip(QDBusConnection(QString::fromStdString(systemBus.address)));
        QCoreApplication::sendPostedEvents();
    }

    PlayedBus sessionBus;
    PlayedBus systemBus;
    std::map<std::string, std::string> variables;
    QtMainLoop loop;
    ThreadPool workers{[] {}};
    std::optional<PlayedProgram> ours;
    std::unique_ptr<SessionLock> lock;
    Subscription watch;
    std::vector<bool> told;
};

} // namespace vorlin
