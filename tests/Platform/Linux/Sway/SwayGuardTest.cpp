#include "Platform/Linux/Sway/TapFixture.h"

#include <QProcess>

#include <csignal>

namespace vorlin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr HardwareKey f9Key = KEY_F9 + 8;

class SwayGuardTest : public SwayTapFixture {
protected:
    void SetUp() override
    {
        startSway("bindsym F8 nop mine\n");
        tap.reset();
    }

    void startProgram()
    {
        const auto paths = guardPaths();
        program.start(TAP_PROGRAM, {QString::fromStdString(paths.socket),
                                    QString::fromStdString(paths.program.string()),
                                    QString::fromStdString(paths.ledger.string())});
        ASSERT_TRUE(program.waitForStarted());
        // Written down first, bound then.
        ASSERT_TRUE(runUntil([this] {
            return isWrittenDown(hardwareKeys::escape) && isWrittenDown(f9Key) && answers();
        }));
    }

    bool answers()
    {
        keyboard->tap(KEY_ESC);
        return !fires().empty();
    }

    void killProgram()
    {
        ASSERT_GT(program.processId(), 0);
        ::kill(static_cast<pid_t>(program.processId()), SIGKILL);
        ASSERT_TRUE(program.waitForFinished());
    }

    QProcess program;
};

TEST_F(SwayGuardTest, takesTheBindingsBackFromAProgramThatWasKilled)
{
    ASSERT_NO_FATAL_FAILURE(startProgram());
    killProgram();
    awaitUnbound(f9Key);
    keyboard->tap(KEY_F9);
    keyboard->tap(KEY_ESC);
    keyboard->tap(KEY_F8);
    EXPECT_THAT(fires(), ElementsAre("nop mine"));
}

TEST_F(SwayGuardTest, waitsForAKeyThatIsHeldMeanwhile)
{
    ASSERT_NO_FATAL_FAILURE(startProgram());
    keyboard->press(KEY_F9);
    EXPECT_THAT(fires(), ElementsAre("ours"));
    QByteArray said; // the guard was told before
    ASSERT_TRUE(runUntil([&] { return (said += program.readAll()).contains("told 101"); }));
    killProgram();
    ASSERT_TRUE(runUntil([this] { return !answers(); })) << "Escape is given back at once";
    EXPECT_TRUE(isWrittenDown(f9Key));
    keyboard->tap(KEY_F8); // sway then forgets what it pointed to, and nothing is told
    keyboard->release(KEY_F9);
    fires();
    keyboard->tap(KEY_F9);
    EXPECT_THAT(fires(), ElementsAre("ours")) << "the release that is still bound, and no press";
    awaitUnbound(f9Key);
    keyboard->tap(KEY_F9);
    EXPECT_THAT(fires(), IsEmpty());
    EXPECT_TRUE(sway->isAlive());
}

TEST_F(SwayGuardTest, aLaterStartWaitsForAKeyThatIsStillHeld)
{
    const auto paths = guardPaths();
    program.start(TAP_PROGRAM, {QString::fromStdString(paths.socket), "/nonexistent/guard",
                                QString::fromStdString(paths.ledger.string())});
    ASSERT_TRUE(program.waitForStarted());
    ASSERT_TRUE(runUntil([this] { return isWrittenDown(f9Key) && answers(); }));
    keyboard->press(KEY_F9);
    QByteArray said;
    ASSERT_TRUE(runUntil([&] { return (said += program.readAll()).contains("told 101"); }));
    killProgram();
    newTap();
    awaitUnbound(hardwareKeys::escape);
    EXPECT_TRUE(isWrittenDown(f9Key)) << "sway points to the binding of its release";
    fires();
    keyboard->release(KEY_F9);
    EXPECT_THAT(fires(), ElementsAre("ours"));
    awaitUnbound(f9Key);
    keyboard->tap(KEY_F9);
    EXPECT_THAT(fires(), IsEmpty());
    EXPECT_TRUE(sway->isAlive());
}

TEST_F(SwayGuardTest, leavesAloneWhatALaterProgramHasWrittenDown)
{
    ASSERT_NO_FATAL_FAILURE(startProgram());
    const SwayLedger later{"vorlin-later", {{"default", {{f9Key, 0, false}}}}};
    ASSERT_TRUE(later.write(guardPaths().ledger));
    killProgram();
    // The guard of a program after it is through only when it has looked.
    newTap();
    awaitUnbound(f9Key);
    EXPECT_TRUE(sway->isAlive());
}

TEST_F(SwayGuardTest, aGuardThatIsMissingIsMadeGoodByTheNextStart)
{
    const auto paths = guardPaths();
    program.start(TAP_PROGRAM, {QString::fromStdString(paths.socket), "/nonexistent/guard",
                                QString::fromStdString(paths.ledger.string())});
    ASSERT_TRUE(program.waitForStarted());
    ASSERT_TRUE(runUntil([this] { return isWrittenDown(hardwareKeys::escape) && answers(); }));
    killProgram();
    EXPECT_TRUE(answers()) << "nobody was there to take it back";
    newTap();
    awaitUnbound(f9Key);
    EXPECT_FALSE(answers());
}

} // namespace
} // namespace vorlin
