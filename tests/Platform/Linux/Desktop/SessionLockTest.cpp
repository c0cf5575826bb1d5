#include "SessionLockFixture.h"

#include "Platform/Linux/SilentBus.h"

namespace vorlin {
namespace {

const QString gnome = QStringLiteral("org.gnome.ScreenSaver");
const QString freedesktop = QStringLiteral("org.freedesktop.ScreenSaver");
const QStringList everyName = {freedesktop, gnome, "org.cinnamon.ScreenSaver",
                               "org.mate.ScreenSaver", "org.xfce.ScreenSaver"};

class SessionLockTest : public SessionLockFixture {
protected:
    /// Until what is said to us by now has been taken in.
    void letItAsk(PlayedSaver& saver)
    {
        saver.setActive(true);
        ASSERT_TRUE(comesToBe(true));
        saver.setActive(false);
        ASSERT_TRUE(comesToBe(false));
        told.clear();
    }
};

TEST_F(SessionLockTest, aScreenSaverThatIsNotActiveCountsAsWhatItIs)
{
    PlayedSaver saver(sessionBus, gnome, false);
    saver.answers.clear();
    start();
    ASSERT_TRUE(runUntil([&] { return saver.open.contains(saver.question()); }));
    saver.program.bus.send(saver.open.at(saver.question()).createReply(false));
    PlayedProgram::roundTrip(saver.program.bus);
    takeIn();
    EXPECT_TRUE(told.empty());
    EXPECT_FALSE(lock->isAway().get());
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
    const SilentBus silent(folder / "");
    variables["DBUS_SYSTEM_BUS_ADDRESS"] = silent.address();
    PlayedSaver saver(sessionBus, gnome, true);
    start();
    EXPECT_TRUE(comesToBe(true));
    saver.setActive(false);
    EXPECT_TRUE(comesToBe(false));
}

} // namespace
} // namespace vorlin
