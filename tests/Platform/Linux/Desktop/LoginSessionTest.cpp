#include "SessionLockFixture.h"

namespace vorlin {
namespace {

using Names = std::vector<std::string>;

const QString another = QStringLiteral("/org/freedesktop/login1/session/_32");

/// What systemd's logind says of the session, and who says it.
class LoginSessionTest : public SessionLockFixture {
protected:
    /// Until logind was asked whether the session is locked, which it still is to answer.
    bool asksForTheLock(PlayedLogin& logind)
    {
        return runUntil([&] { return logind.open.contains(PlayedLogin::question()); });
    }
    void answer(PlayedLogin& logind, bool locked)
    {
        const auto question = logind.open.extract(PlayedLogin::question()).mapped();
        logind.program.bus.send(question.createReply(PlayedLogin::hint(locked)));
        PlayedProgram::roundTrip(logind.program.bus);
        takeInFromSystem();
    }
    /// Until what was said is taken in, and so is what logind answers to what it was asked then.
    void settle(PlayedLogin& logind)
    {
        takeInFromSystem();
        PlayedProgram::roundTrip(logind.program.bus);
        QCoreApplication::sendPostedEvents();
        PlayedProgram::roundTrip(logind.program.bus);
        takeInFromSystem();
    }
    /// The person is there, and all questions were answered.
    void unlock(PlayedLogin& logind)
    {
        ASSERT_TRUE(comesToBe(true));
        logind.setLocked(false);
        ASSERT_TRUE(comesToBe(false));
        told.clear();
    }
};

TEST_F(LoginSessionTest, aSessionThatIsNotLockedCountsAsWhatItIs)
{
    PlayedLogin logind(systemBus, false);
    logind.answers.clear();
    start();
    ASSERT_TRUE(asksForTheLock(logind));
    answer(logind, false);
    EXPECT_TRUE(told.empty());
    logind.setLocked(true);
    EXPECT_TRUE(comesToBe(true));
}

TEST_F(LoginSessionTest, aSessionThatIsLockedAtTheStartCountsUntilItIsUnlocked)
{
    PlayedLogin logind(systemBus, true);
    start();
    ASSERT_TRUE(comesToBe(true));
    logind.setLocked(false, another);
    logind.prepareForSleep(true);
    logind.prepareForSleep(false);
    logind.setLocked(false);
    EXPECT_TRUE(comesToBe(false));
    logind.setLocked(true);
    EXPECT_TRUE(comesToBe(true));
    EXPECT_EQ(told, (std::vector{true, false, true}));
}

TEST_F(LoginSessionTest, isAwayFromTheNoticeOfSleepToThatOfWaking)
{
    PlayedLogin logind(systemBus, true);
    start();
    ASSERT_TRUE(comesToBe(true));
    logind.prepareForSleep(true);
    logind.setLocked(false);
    logind.setLocked(true, another);
    logind.prepareForSleep(false);
    EXPECT_TRUE(comesToBe(false));
    logind.prepareForSleep(true);
    EXPECT_TRUE(comesToBe(true));
    EXPECT_EQ(told, (std::vector{true, false, true}));
}

TEST_F(LoginSessionTest, aLogindThatGoesAwayCountsAsUnlocked)
{
    auto logind = std::make_unique<PlayedLogin>(systemBus, true);
    start();
    ASSERT_TRUE(comesToBe(true));
    logind.reset();
    EXPECT_TRUE(comesToBe(false));
    logind = std::make_unique<PlayedLogin>(systemBus, true);
    EXPECT_TRUE(comesToBe(true)) << "it has come again";
}

TEST_F(LoginSessionTest, aLogindThatGoesAwayBeforeItSaysThatTheMachineIsAwakeCountsAsAwake)
{
    auto logind = std::make_unique<PlayedLogin>(systemBus, true);
    start();
    unlock(*logind);
    logind->prepareForSleep(true);
    ASSERT_TRUE(comesToBe(true));
    logind.reset();
    EXPECT_TRUE(comesToBe(false));
}

TEST_F(LoginSessionTest, whatAnotherProgramSaysDoesNotCount)
{
    PlayedLogin logind(systemBus, true);
    start();
    unlock(logind);
    PlayedProgram somebody(systemBus, "impostor");
    LoginVoice impostor(somebody);
    impostor.prepareForSleep(true);
    impostor.setLocked(true);
    impostor.propertiesChanged({}, {"LockedHint"}); // logind would still say that it is locked
    settle(logind);
    EXPECT_TRUE(told.empty());
}

TEST_F(LoginSessionTest, aHintThatIsSaidToHaveChangedIsAskedFor)
{
    PlayedLogin logind(systemBus, true);
    start();
    unlock(logind);
    logind.propertiesChanged({}, {"IdleHint", "LockedHint"});
    EXPECT_TRUE(comesToBe(true));
}

TEST_F(LoginSessionTest, anAnswerThatIsOlderThanWhatItHasSaidSinceDoesNotCount)
{
    PlayedLogin logind(systemBus, false);
    logind.answers.clear();
    start();
    ASSERT_TRUE(asksForTheLock(logind));
    logind.setLocked(true);
    ASSERT_TRUE(comesToBe(true));
    answer(logind, false);
    EXPECT_EQ(told, std::vector{true});
}

TEST_F(LoginSessionTest, theSessionIsTheOneThatTheEnvironmentNames)
{
    PlayedLogin logind(systemBus, true);
    logind.sessions = {{"auto", another}, {"1", LoginVoice::session}};
    variables["XDG_SESSION_ID"] = "1";
    start();
    EXPECT_TRUE(comesToBe(true));
    EXPECT_EQ(logind.asked, (Names{"1"}));
}

TEST_F(LoginSessionTest, aSessionThatEndedLongAgoIsNotTheOne)
{
    PlayedLogin logind(systemBus, true);
    variables["XDG_SESSION_ID"] = "1";
    start();
    EXPECT_TRUE(comesToBe(true));
    EXPECT_EQ(logind.asked, (Names{"1", "auto"}));
}

TEST_F(LoginSessionTest, whereThereIsNoSessionTheMachineStillSleepsAndANewOneIsLookedFor)
{
    for (const bool wakesUp : {true, false}) {
        PlayedLogin logind(systemBus, true);
        logind.sessions.clear();
        told.clear();
        start();
        ASSERT_TRUE(runUntil([&] { return !logind.asked.empty(); }));
        settle(logind);
        logind.prepareForSleep(true);
        ASSERT_TRUE(comesToBe(true));
        logind.prepareForSleep(false);
        ASSERT_TRUE(comesToBe(false));
        ASSERT_TRUE(runUntil([&] { return logind.asked.size() == 2; }));
        settle(logind);
        logind.sessions["auto"] = LoginVoice::session;
        wakesUp ? logind.prepareForSleep(false) : logind.sessionNew();
        EXPECT_TRUE(comesToBe(true)) << "it is locked";
        logind.prepareForSleep(false);
        logind.sessionNew();
        settle(logind);
        EXPECT_EQ(logind.asked.size(), 3U) << "it is known";
        lock.reset();
    }
}

} // namespace
} // namespace vorlin
