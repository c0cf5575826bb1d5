#include "Platform/Linux/Desktop/SessionLock.h"

#include "Platform/RunUntil.h"
#include "Platform/Shared/Descriptor.h"
#include "Platform/Shared/QtMainLoop.h"
#include "Platform/Shared/ThreadPool.h"
#include "PlayedBus.h"

#include <gtest/gtest.h>

#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QStringList>

#include <memory>
#include <vector>

#include <sys/socket.h>
#include <sys/un.h>

namespace vorlin {
namespace {

const QString gnome = QStringLiteral("org.gnome.ScreenSaver");
const QString freedesktop = QStringLiteral("org.freedesktop.ScreenSaver");
const QStringList everyName = {freedesktop, gnome, "org.cinnamon.ScreenSaver",
                               "org.mate.ScreenSaver", "org.xfce.ScreenSaver"};
const QString login = QStringLiteral("org.freedesktop.login1");
const QString loginPath = QStringLiteral("/org/freedesktop/login1");
const QString ownSession = QStringLiteral("/org/freedesktop/login1/session/_31");

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

/// systemd's logind.
class PlayedLogin final : public PlayedService {
public:
    explicit PlayedLogin(const PlayedBus& on, bool locked) : PlayedService(on, login)
    {
        answers[loginPath.toStdString() + " GetSession"] =
            QVariant::fromValue(QDBusObjectPath(ownSession));
        answers[ownSession.toStdString() + " Get"] = hint(locked);
    }
    void setLocked(bool locked, const QString& session = ownSession)
    {
        program.emitSignal(
            session, "org.freedesktop.DBus.Properties", "PropertiesChanged",
            {"org.freedesktop.login1.Session", QVariantMap{{"LockedHint", locked}}, QStringList()});
    }
    void prepareForSleep(bool begins)
    {
        program.emitSignal(loginPath, "org.freedesktop.login1.Manager", "PrepareForSleep",
                           {begins});
    }

private:
    static QVariant hint(bool locked) { return QVariant::fromValue(QDBusVariant(locked)); }
};

class SessionLockTest : public testing::Test {
protected:
    SessionLockTest() { variables["DBUS_SYSTEM_BUS_ADDRESS"] = systemBus.address; }

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
    /// Until what is said to us by now has been taken in.
    void letItAsk(PlayedSaver& saver)
    {
        saver.setActive(true);
        ASSERT_TRUE(comesToBe(true));
        saver.setActive(false);
        ASSERT_TRUE(comesToBe(false));
        told.clear();
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

TEST_F(SessionLockTest, nobodyIsAwayWhereNothingSaysSo)
{
    PlayedSaver saver(sessionBus, gnome, false);
    PlayedLogin logind(systemBus, false);
    start();
    EXPECT_FALSE(lock->isAway().get());
    logind.prepareForSleep(true); // whenever it is listened to
    runUntil([&] {
        logind.prepareForSleep(true);
        return lock->isAway().get();
    });
    EXPECT_EQ(told, std::vector{true});
}

TEST_F(SessionLockTest, aScreenSaverThatIsActiveAtTheStartCounts)
{
    for (const QString& name : everyName) {
        PlayedSaver saver(sessionBus, name, true);
        start();
        EXPECT_TRUE(comesToBe(true)) << name.toStdString();
        lock.reset();
    }
}

TEST_F(SessionLockTest, followsEachScreenSaver)
{
    start();
    for (const QString& name : everyName) {
        PlayedSaver saver(sessionBus, name, true);
        ASSERT_TRUE(comesToBe(true)) << "it has come later";
        saver.setActive(false);
        ASSERT_TRUE(comesToBe(false));
        saver.setActive(true);
        ASSERT_TRUE(comesToBe(true));
        saver.setActive(false);
        ASSERT_TRUE(comesToBe(false));
    }
}

TEST_F(SessionLockTest, aScreenSaverThatGoesAwayCountsAsUnlocked)
{
    auto saver = std::make_unique<PlayedSaver>(sessionBus, gnome, true);
    start();
    ASSERT_TRUE(comesToBe(true));
    saver.reset();
    EXPECT_TRUE(comesToBe(false));
}

TEST_F(SessionLockTest, aBusThatEndsCountsAsUnlocked)
{
    PlayedSaver saver(sessionBus, gnome, true);
    PlayedLogin logind(systemBus, true);
    start();
    ASSERT_TRUE(comesToBe(true));
    sessionBus.end();
    systemBus.end();
    EXPECT_TRUE(comesToBe(false));
}

TEST_F(SessionLockTest, whatAnotherProgramSaysDoesNotCount)
{
    PlayedSaver saver(sessionBus, gnome, false);
    start();
    letItAsk(saver);
    PlayedProgram impostor(sessionBus, "impostor");
    impostor.emitSignal(saver.path, gnome, "ActiveChanged", {true});
    takeIn();
    EXPECT_TRUE(told.empty());
    saver.setActive(true);
    ASSERT_TRUE(comesToBe(true));
    impostor.emitSignal("/org/freedesktop/DBus", "org.freedesktop.DBus", "NameOwnerChanged",
                        {gnome, saver.program.bus.baseService(), ""});
    takeIn();
    EXPECT_EQ(told, std::vector{true});
}

TEST_F(SessionLockTest, aScreenSaverThatDoesNotAnswerCountsOnceItSpeaks)
{
    PlayedSaver saver(sessionBus, gnome, false);
    saver.answers.clear();
    start();
    ASSERT_TRUE(runUntil([&] { return saver.open.contains(saver.question()); }));
    saver.program.emitSignal(saver.path, gnome, "ActiveChanged", {true});
    ASSERT_TRUE(comesToBe(true));
    // Its answer, given before, comes late.
    saver.program.bus.send(saver.open.at(saver.question()).createReply(false));
    PlayedProgram::roundTrip(saver.program.bus);
    takeIn();
    EXPECT_TRUE(lock->isAway().get());
}

TEST_F(SessionLockTest, aSessionThatIsLockedAtTheStartCountsUntilItIsUnlocked)
{
    PlayedLogin logind(systemBus, true);
    start();
    ASSERT_TRUE(comesToBe(true));
    logind.setLocked(false, "/org/freedesktop/login1/session/_32");
    logind.prepareForSleep(true);
    logind.prepareForSleep(false);
    logind.setLocked(false);
    EXPECT_TRUE(comesToBe(false));
    logind.setLocked(true);
    EXPECT_TRUE(comesToBe(true));
    EXPECT_EQ(told, (std::vector{true, false, true}));
}

TEST_F(SessionLockTest, isAwayFromBeforeTheMachineSleepsUntilItIsAwake)
{
    PlayedLogin logind(systemBus, true);
    start();
    ASSERT_TRUE(comesToBe(true));
    logind.prepareForSleep(true);
    logind.setLocked(false);
    logind.setLocked(true, "/org/freedesktop/login1/session/_32");
    logind.prepareForSleep(false);
    EXPECT_TRUE(comesToBe(false));
    logind.prepareForSleep(true);
    EXPECT_TRUE(comesToBe(true));
    EXPECT_EQ(told, (std::vector{true, false, true}));
}

TEST_F(SessionLockTest, aLogindThatGoesAwayCountsAsUnlocked)
{
    auto logind = std::make_unique<PlayedLogin>(systemBus, true);
    start();
    ASSERT_TRUE(comesToBe(true));
    logind.reset();
    EXPECT_TRUE(comesToBe(false));
    logind = std::make_unique<PlayedLogin>(systemBus, true);
    EXPECT_TRUE(comesToBe(true)) << "it has come again";
}

TEST_F(SessionLockTest, isAwayAsLongAsOneOfThemSaysSo)
{
    PlayedSaver first(sessionBus, gnome, false);
    PlayedSaver second(sessionBus, freedesktop, false);
    PlayedLogin logind(systemBus, true);
    start();
    ASSERT_TRUE(comesToBe(true));
    logind.setLocked(false);
    ASSERT_TRUE(comesToBe(false));
    letItAsk(first);
    letItAsk(second);
    logind.setLocked(true);
    ASSERT_TRUE(comesToBe(true));
    first.setActive(true);
    takeIn();
    logind.setLocked(false);
    second.setActive(true);
    first.setActive(false);
    takeIn();
    second.setActive(false);
    EXPECT_TRUE(comesToBe(false));
    EXPECT_EQ(told, (std::vector{true, false}));
}

TEST_F(SessionLockTest, withoutASessionBusLogindCounts)
{
    PlayedLogin logind(systemBus, true);
    start(false);
    EXPECT_TRUE(comesToBe(true));
}

TEST_F(SessionLockTest, withoutASystemBusTheScreenSaverCounts)
{
    for (const std::string address :
         {"unix:path=/nonexistent/bus", "tcp:host=localhost,port=1", "", "unix:path="}) {
        variables["DBUS_SYSTEM_BUS_ADDRESS"] = address;
        PlayedSaver saver(sessionBus, gnome, true);
        start();
        EXPECT_TRUE(comesToBe(true)) << address;
        lock.reset();
    }
}

TEST_F(SessionLockTest, aSystemBusThatDoesNotAnswerHoldsUpNothing)
{
    const TemporaryFolder folder;
    const auto file = (folder / "silent").string();
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    file.copy(static_cast<char*>(address.sun_path), file.size());
    const Descriptor silent(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    ASSERT_EQ(::bind(silent.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
              0);
    ASSERT_EQ(::listen(silent.number(), 1), 0);
    variables["DBUS_SYSTEM_BUS_ADDRESS"] = "unix:path=" + file;
    PlayedSaver saver(sessionBus, gnome, true);
    start();
    EXPECT_TRUE(comesToBe(true));
    saver.setActive(false);
    EXPECT_TRUE(comesToBe(false));
}

} // namespace
} // namespace vorlin
