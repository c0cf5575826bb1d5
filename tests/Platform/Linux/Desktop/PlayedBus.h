#pragma once

#include "TemporaryFolder.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include <sys/prctl.h>

namespace vorlin {

/// A bus of its own for one test.
class PlayedBus {
public:
    PlayedBus()
    {
        // A test that crashes leaves nothing running.
        daemon.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
        daemon.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        std::filesystem::create_directories(services);
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert("XDG_DATA_HOME", QString::fromStdString(folder.path().string()));
        daemon.setProcessEnvironment(environment);
        daemon.start("dbus-daemon", {"--session", "--nofork", "--print-address",
                                     "--address=" + QString::fromStdString(address)});
        daemon.waitForReadyRead();
    }
    PlayedBus(const PlayedBus&) = delete;
    PlayedBus& operator=(const PlayedBus&) = delete;
    ~PlayedBus() { end(); }

    /// Has the bus start `command`, of an absolute path, for who calls `name` while nobody has it.
    void starts(const std::string& name, const std::string& command) const
    {
        std::ofstream(services / (name + ".service"))
            << "[D-BUS Service]\nName=" << name << "\nExec=" << command << "\n";
    }

    void end()
    {
        daemon.kill();
        daemon.waitForFinished();
    }

    TemporaryFolder folder;
    const std::string address = "unix:path=" + (folder / "bus").string();

private:
    std::filesystem::path services = folder / "dbus-1/services";
    QProcess daemon;
};

/// Another program's connection to a bus.
class PlayedProgram {
public:
    PlayedProgram(const PlayedBus& on, const QString& name)
        : bus(QDBusConnection::connectToBus(QString::fromStdString(on.address),
                                            name + QString::fromStdString(on.address)))
    {
    }
    PlayedProgram(const PlayedProgram&) = delete;
    PlayedProgram& operator=(const PlayedProgram&) = delete;
    ~PlayedProgram() { QDBusConnection::disconnectFromBus(bus.name()); }

    /// Sends a signal; the bus has it when this returns.
    void emitSignal(const QString& path, const QString& interface, const QString& name,
                    const QVariantList& arguments)
    {
        auto signal = QDBusMessage::createSignal(path, interface, name);
        signal.setArguments(arguments);
        bus.send(signal);
        roundTrip(bus);
    }

    /// All that the bus has for this connection so far has been read when this returns.
    static void roundTrip(const QDBusConnection& on)
    {
        on.call(QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                               "org.freedesktop.DBus", "GetId"));
    }

    QDBusConnection bus;
};

/// A service that answers each method as the test says, and nothing to the others.
class PlayedService : public QDBusVirtualObject {
public:
    PlayedService(const PlayedBus& on, const QString& name) : program(on, name)
    {
        program.bus.registerVirtualObject("/", this, QDBusConnection::SubPath);
        program.bus.registerService(name);
    }

    /// By "path member".
    std::map<std::string, QVariant> answers;
    /// Questions without an answer, by the same.
    std::map<std::string, QDBusMessage> open;
    PlayedProgram program;

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& from) override
    {
        const auto question = (message.path() + " " + message.member()).toStdString();
        message.setDelayedReply(true);
        const auto answer = answers.find(question);
        if (answer == answers.end()) {
            open.emplace(question, message);
        } else {
            from.send(message.createReply(answer->second));
        }
        return true;
    }
    QString introspect(const QString& /*path*/) const override { return {}; }
};

} // namespace vorlin
