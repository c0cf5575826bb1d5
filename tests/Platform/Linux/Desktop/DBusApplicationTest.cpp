#include "Platform/Linux/Desktop/DBusApplication.h"

#include "Platform/RunUntil.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QProcess>

#include <sys/inotify.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>
#include <memory>
#include <optional>

namespace vorlin {
namespace {

/// A process whose standard output is kept; ended with the test.
class Program {
public:
    Program(const QString& program, const QStringList& arguments,
            const QProcessEnvironment& environment)
    {
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        // A test that crashes leaves nothing running.
        process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
        process.start(program, arguments);
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    ~Program()
    {
        process.kill();
        process.waitForFinished();
    }

    bool comesToSay(const QByteArray& text)
    {
        return runUntil([&] {
            said += process.readAllStandardOutput();
            return said.contains(text);
        });
    }

    /// Its exit status once it has ended; -1 when it was killed or does not end.
    int status()
    {
        runUntil([&] { return process.state() == QProcess::NotRunning; });
        said += process.readAllStandardOutput();
        const bool ended =
            process.state() == QProcess::NotRunning && process.exitStatus() == QProcess::NormalExit;
        return ended ? process.exitCode() : -1;
    }

    void send(int signal) { ::kill(static_cast<pid_t>(process.processId()), signal); }
    bool runs() const { return process.state() == QProcess::Running; }

    QByteArray said;

private:
    QProcess process;
};

class DBusApplicationTest : public testing::Test {
protected:
    DBusApplicationTest()
    {
        environment = QProcessEnvironment::systemEnvironment();
        environment.insert("XDG_RUNTIME_DIR", QString::fromStdString(folder.path()));
        environment.insert("DISPLAY", ":4711");
        environment.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    }

    std::unique_ptr<Program> startBus()
    {
        const auto socket = QString::fromStdString(folder / "bus");
        auto bus = std::make_unique<Program>("dbus-daemon",
                                             QStringList{"--session", "--nofork", "--print-address",
                                                         "--address=unix:path=" + socket},
                                             environment);
        EXPECT_TRUE(bus->comesToSay("\n"));
        environment.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + socket);
        return bus;
    }

    std::unique_ptr<Program> startInstance(const QStringList& arguments = {})
    {
        return std::make_unique<Program>(INSTANCE_PROGRAM, arguments, environment);
    }

    /// The answer of the instance on the bus.
    QDBusMessage call(const QString& interface, const QString& method,
                      const QVariantList& arguments = {})
    {
        auto message = QDBusMessage::createMethodCall(
            DBusApplication::serviceName, DBusApplication::objectPath, interface, method);
        message.setArguments(arguments);
        auto bus =
            QDBusConnection::connectToBus(environment.value("DBUS_SESSION_BUS_ADDRESS"), "test");
        const auto answer = bus.call(message);
        QDBusConnection::disconnectFromBus("test");
        return answer;
    }

    TemporaryFolder folder;
    QProcessEnvironment environment;
};

TEST_F(DBusApplicationTest, aSecondStartActivatesTheFirstAndEndsWithSuccess)
{
    const auto bus = startBus();
    const auto first = startInstance();
    ASSERT_TRUE(first->comesToSay("first\n"));
    for (int i = 0; i < 2; ++i) {
        first->said.clear();
        const auto second = startInstance();
        EXPECT_EQ(second->status(), 0);
        EXPECT_EQ(second->said, "second\n");
        EXPECT_TRUE(first->comesToSay("activated\n"));
    }
}

TEST_F(DBusApplicationTest, theBusOffersTheDesktopsInterface)
{
    const auto bus = startBus();
    const auto first = startInstance();
    ASSERT_TRUE(first->comesToSay("first\n"));
    const QString interface = "org.freedesktop.Application";
    const auto hears = [&](const QString& method, const QVariantList& arguments) {
        first->said.clear();
        EXPECT_EQ(call(interface, method, arguments).type(), QDBusMessage::ReplyMessage);
        return first->comesToSay("activated\n");
    };
    EXPECT_TRUE(hears("Activate", {QVariantMap{{"desktop-startup-id", "x"}}}));
    EXPECT_TRUE(hears("Open", {QStringList("file:///a"), QVariantMap()}));
    EXPECT_EQ(call(interface, "ActivateAction", {"x", QVariantList(), QVariantMap()}).type(),
              QDBusMessage::ReplyMessage);
    EXPECT_TRUE(first->comesToSay("action x\n"));
    EXPECT_EQ(call(interface, "Activate", {"wrong"}).type(), QDBusMessage::ErrorMessage);
    const auto introspection =
        call("org.freedesktop.DBus.Introspectable", "Introspect").arguments().value(0).toString();
    EXPECT_TRUE(introspection.contains("<interface name=\"org.freedesktop.Application\">"));
    EXPECT_TRUE(introspection.contains("\"a{sv}\"")) << introspection.toStdString();
}

TEST_F(DBusApplicationTest, oneThatHasEndedMakesRoomForTheNext)
{
    const auto bus = startBus();
    const auto first = startInstance();
    ASSERT_TRUE(first->comesToSay("first\n"));
    first->send(SIGTERM);
    EXPECT_EQ(first->status(), 0);
    EXPECT_TRUE(first->said.contains("quitting\n"));
    EXPECT_TRUE(startInstance()->comesToSay("first\n"));
}

TEST_F(DBusApplicationTest, oneThatWasKilledMakesRoomForTheNext)
{
    const auto bus = startBus();
    const auto first = startInstance();
    ASSERT_TRUE(first->comesToSay("first\n"));
    first->send(SIGKILL);
    first->status();
    EXPECT_TRUE(startInstance()->comesToSay("first\n"));
}

/// Waits until some process has opened `file` as often as said.
bool isOpened(const std::filesystem::path& file, int times)
{
    const int watch = ::inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    ::inotify_add_watch(watch, file.c_str(), IN_CLOSE);
    int seen = 0;
    const bool enough = runUntil([&] {
        inotify_event event{}; // events of a watched file carry no name: all of one size
        seen += ::read(watch, &event, sizeof event) == sizeof event ? 1 : 0;
        return seen >= times;
    });
    ::close(watch);
    return enough;
}

TEST_F(DBusApplicationTest, aStartWhileTheOtherIsJustEndingBecomesTheFirst)
{
    const auto bus = startBus();
    const auto path = folder / "vorlin-:4711.lock";
    std::optional<InstanceLock> ending(path); // off the bus already, its lock still held
    ASSERT_EQ(ending->take(), InstanceLock::Outcome::taken);
    const auto second = startInstance();
    ASSERT_TRUE(isOpened(path, 1)); // it has tried once in vain
    ending.reset();
    EXPECT_TRUE(second->comesToSay("first\n"));
}

TEST_F(DBusApplicationTest, oneThatHangsStillKeepsASecondFromRunning)
{
    const auto bus = startBus();
    const auto first = startInstance();
    ASSERT_TRUE(first->comesToSay("first\n"));
    first->send(SIGSTOP);
    const auto second = startInstance();
    EXPECT_EQ(second->status(), 0);
    EXPECT_EQ(second->said, "second\n");
    first->send(SIGCONT);
    EXPECT_TRUE(first->comesToSay("activated\n"));
}

TEST_F(DBusApplicationTest, withoutABusItRunsAndIsStillTheOnlyOneOfItsDisplay)
{
    const auto first = startInstance();
    ASSERT_TRUE(first->comesToSay("first\n"));
    const auto second = startInstance();
    EXPECT_EQ(second->status(), 0);
    EXPECT_EQ(second->said, "second\n");
    environment.insert("DISPLAY", ":4712");
    EXPECT_TRUE(startInstance()->comesToSay("first\n")) << "another display is another desktop";
    EXPECT_TRUE(first->runs());
}

TEST_F(DBusApplicationTest, anotherBusOnTheSameDisplayMakesNoSecondOne)
{
    const auto first = startInstance();
    ASSERT_TRUE(first->comesToSay("first\n"));
    const auto bus = startBus();
    EXPECT_EQ(startInstance()->status(), 0);
    EXPECT_TRUE(first->runs());
}

TEST_F(DBusApplicationTest, withoutBusAndRuntimeFolderItStillRuns)
{
    environment.insert("XDG_RUNTIME_DIR", "/nonexistent");
    EXPECT_TRUE(startInstance()->comesToSay("first\n"));
}

TEST_F(DBusApplicationTest, aBusThatEndsDoesNotEndTheProgram)
{
    auto bus = startBus();
    const auto first = startInstance();
    ASSERT_TRUE(first->comesToSay("first\n"));
    bus.reset();
    const auto second = startInstance(); // the lock still knows
    EXPECT_EQ(second->status(), 0);
    EXPECT_EQ(second->said, "second\n");
    EXPECT_TRUE(first->runs());
    first->send(SIGINT);
    EXPECT_EQ(first->status(), 0);
}

TEST_F(DBusApplicationTest, quittingBeforeTheLoopRunsStillQuits)
{
    const auto first = startInstance({"quit"});
    EXPECT_EQ(first->status(), 0);
    EXPECT_TRUE(first->said.contains("first\n"));
}

} // namespace
} // namespace vorlin
