#include "Platform/Linux/Keys/TapFixture.h"

#include <csignal>
#include <set>
#include <stdexcept>
#include <vector>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vorlin {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class X11TapStopTest : public TapFixture {
protected:
    /// No grab is left and no key is down.
    void expectKeyboardIsFree()
    {
        EXPECT_TRUE(typist.couldGrabKeyboard());
        for (const auto key : {keys::f8, keys::space, keys::escape}) {
            EXPECT_TRUE(typist.couldGrabKey(key, XCB_INPUT_MODIFIER_MASK_ANY)) << int{key};
        }
        EXPECT_TRUE(typist.pressed().none());
        EXPECT_EQ(typist.modifiers(), 0U);
    }
};

TEST_F(X11TapStopTest, nothingIsGrabbedBeforeItIsOfInterest)
{
    ASSERT_TRUE(eventTap.start([](auto, const auto&) { return true; }));
    expectKeyboardIsFree();
}

TEST_F(X11TapStopTest, interestIsAppliedAtOnceAndTakenBackAtOnce)
{
    start(f8);
    setEscapeActive(true);
    EXPECT_FALSE(typist.couldGrabKey(keys::f8, 0));
    EXPECT_FALSE(typist.couldGrabKey(keys::f8, lock | numLock));
    EXPECT_FALSE(typist.couldGrabKey(keys::escape, control));
    eventTap.setInterest({optionSpace, false});
    EXPECT_TRUE(typist.couldGrabKey(keys::f8, XCB_INPUT_MODIFIER_MASK_ANY));
    EXPECT_TRUE(typist.couldGrabKey(keys::escape, XCB_INPUT_MODIFIER_MASK_ANY));
    EXPECT_FALSE(typist.couldGrabKey(keys::space, alt));
    EXPECT_TRUE(typist.couldGrabKey(keys::space, 0));
    eventTap.setInterest({});
    expectKeyboardIsFree();
}

TEST_F(X11TapStopTest, stopWhileHeldTellsNoReleaseAndFreesTheKeyboard)
{
    start(f8);
    press(keys::f8);
    ASSERT_TRUE(waitUntil([&] { return monitor->presses == 1; }));
    eventTap.stop();
    tap(keys::a);
    release(keys::f8);
    EXPECT_THAT(seen(), ElementsAre(down(keys::a), up(keys::a)));
    EXPECT_EQ(monitor->releases, 0);
    expectKeyboardIsFree();
}

TEST_F(X11TapStopTest, stopBeforeAKeyWasJudgedPassesItOn)
{
    start(f8);
    typist.press(keys::f8);
    typist.release(keys::f8);
    typist.tap(keys::a);
    eventTap.stop();
    EXPECT_THAT(seen(), ElementsAre(down(keys::f8), up(keys::f8), down(keys::a), up(keys::a)));
    EXPECT_EQ(monitor->presses, 0);
    expectKeyboardIsFree();
}

TEST_F(X11TapStopTest, stopFromInsideTheHandlerSwallowsThatKeyOnly)
{
    start(f8);
    monitor->onAction = [&] { eventTap.stop(); };
    press(keys::f8);
    tap(keys::a);
    release(keys::f8);
    EXPECT_THAT(seen(), ElementsAre(down(keys::a), up(keys::a)));
    expectKeyboardIsFree();
}

TEST_F(X11TapStopTest, stopFromInsideTheHandlerAtTheReleaseLeavesNothing)
{
    start(f8);
    monitor->onAction = [&] {
        if (!monitor->isDown) {
            eventTap.stop();
        }
    };
    tap(keys::f8);
    tap(keys::a);
    EXPECT_THAT(seen(), ElementsAre(down(keys::a), up(keys::a)));
    expectKeyboardIsFree();
}

TEST_F(X11TapStopTest, restartFromInsideTheHandlerWorks)
{
    start(f8);
    int restarts = 0;
    monitor->onAction = [&] {
        ++restarts;
        monitor->hotkey = optionSpace;
        monitor->isDown = false;
        ASSERT_TRUE(eventTap.start(monitor->handler()));
        eventTap.setInterest(monitor->interest());
        monitor->onAction = [] {};
    };
    tap(keys::f8);
    ASSERT_TRUE(waitUntil([&] { return restarts == 1; }));
    seen();
    tap(keys::f8);
    press(keys::leftAlt);
    tap(keys::space);
    release(keys::leftAlt);
    EXPECT_THAT(seen(), ElementsAre(down(keys::f8), up(keys::f8), down(keys::leftAlt),
                                    up(keys::leftAlt, alt)));
    EXPECT_EQ(monitor->presses, 2);
    eventTap.stop();
    expectKeyboardIsFree();
}

TEST_F(X11TapStopTest, changingTheHotkeyWhileItIsHeldLeavesNoKeyStuck)
{
    start(f8);
    press(keys::f8);
    ASSERT_TRUE(waitUntil([&] { return monitor->presses == 1; }));
    start(optionSpace);
    release(keys::f8);
    press(keys::leftAlt);
    tap(keys::space);
    release(keys::leftAlt);
    seen();
    EXPECT_EQ(monitor->presses, 1);
    EXPECT_EQ(monitor->releases, 1);
    eventTap.stop();
    expectKeyboardIsFree();
}

TEST_F(X11TapStopTest, aHotkeyNoLongerOfInterestWhileHeldIsSwallowedToItsEnd)
{
    start(f8);
    press(keys::f8);
    ASSERT_TRUE(waitUntil([&] { return monitor->presses == 1; }));
    eventTap.setInterest({});
    release(keys::f8);
    EXPECT_THAT(seen(), IsEmpty());
    EXPECT_EQ(monitor->releases, 1);
    expectKeyboardIsFree();
}

TEST_F(X11TapStopTest, aHandlerThatThrowsDoesNotStopTheKeyboard)
{
    ASSERT_TRUE(eventTap.start([](KeyEventType type, const KeyEvent&) -> bool {
        if (type == KeyEventType::keyDown) {
            throw std::runtime_error("handler");
        }
        return false;
    }));
    eventTap.setInterest({f8, false});
    typist.press(keys::f8);
    EXPECT_THROW((void)waitUntil([] { return false; }), std::runtime_error);
    release(keys::f8);
    tap(keys::a);
    EXPECT_THAT(seen(), ElementsAre(down(keys::f8), up(keys::f8), down(keys::a), up(keys::a)));
}

TEST_F(X11TapStopTest, aDestroyedTapLeavesNothing)
{
    int presses = 0;
    {
        X11EventTap other(keyboard, loop);
        ASSERT_TRUE(other.start([&](KeyEventType type, const KeyEvent&) {
            presses += type == KeyEventType::keyDown ? 1 : 0;
            return true;
        }));
        other.setInterest({f8, true});
        press(keys::f8);
        ASSERT_TRUE(waitUntil([&] { return presses == 1; }));
    }
    release(keys::f8);
    seen();
    expectKeyboardIsFree();
}

TEST_F(X11TapStopTest, itStartsAgainAfterAStop)
{
    for (int round = 1; round <= 20; ++round) {
        start(f8);
        tap(keys::f8);
        EXPECT_THAT(seen(), IsEmpty());
        EXPECT_EQ(monitor->presses, 1);
        eventTap.stop();
        tap(keys::f8);
        EXPECT_THAT(seen(), ElementsAre(down(keys::f8), up(keys::f8)));
    }
    expectKeyboardIsFree();
}

/// The open sockets of this process.
std::set<int> openSockets()
{
    std::set<int> result;
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        struct stat status {};
        if (fstat(descriptor, &status) == 0 && S_ISSOCK(status.st_mode)) {
            result.insert(descriptor);
        }
    }
    return result;
}

TEST_F(X11TapStopTest, aConnectionOfTheTapThatBreaksAloneIsOpenedAgain)
{
    const auto before = openSockets();
    start(f8);
    for (const int descriptor : openSockets()) {
        if (!before.contains(descriptor)) {
            shutdown(descriptor, SHUT_RDWR);
        }
    }
    // The tap must not notice yet, so the loop waits.
    int asked = 0;
    while (!typist.couldGrabKey(keys::f8, 0)) {
        ASSERT_LT(++asked, 100000);
    }
    ASSERT_TRUE(waitUntil([&] { return !typist.couldGrabKey(keys::f8, 0); }));
    tap(keys::f8);
    EXPECT_THAT(seen(), IsEmpty());
    EXPECT_EQ(monitor->presses, 1);
}

TEST_F(X11TapStopTest, aServerThatDiesStopsTheTapAndNotTheProcess)
{
    start(f8);
    press(keys::f8);
    ASSERT_TRUE(waitUntil([&] { return monitor->presses == 1; }));
    display.kill();
    ASSERT_TRUE(waitUntil([&] { return !keyboard.available().get(); }));
    eventTap.setInterest({optionSpace, true});
    eventTap.stop();
    EXPECT_FALSE(eventTap.start(monitor->handler()));
    keyboard.post(keys::a, true);
    keyboard.server().flush();
}

TEST_F(X11TapStopTest, aServerThatDiesIsNoticedByTheNextCall)
{
    start(f8);
    display.kill();
    eventTap.setInterest({optionSpace, true});
    EXPECT_FALSE(eventTap.start(monitor->handler()));
}

/// A process with a tap on F8, to be killed.
class Victim {
public:
    explicit Victim(const char* behaviour)
    {
        int ends[2];
        if (pipe(ends) != 0) {
            abort();
        }
        process = fork();
        if (process == 0) {
            dup2(ends[1], STDOUT_FILENO);
            execl("/proc/self/exe", "victim", victimOption.data(), behaviour, nullptr);
            _exit(127);
        }
        close(ends[1]);
        output = ends[0];
        fcntl(output, F_SETFL, O_NONBLOCK);
    }
    ~Victim()
    {
        kill();
        close(output);
    }
    void kill()
    {
        if (process > 0) {
            ::kill(process, SIGKILL);
            waitpid(process, nullptr, 0);
            process = -1;
        }
    }
    bool said(const std::string& line)
    {
        char text[256];
        const auto length = read(output, text, sizeof text);
        heard.append(text, length > 0 ? static_cast<std::size_t>(length) : 0);
        return heard.find(line + "\n") != std::string::npos;
    }

private:
    pid_t process;
    int output;
    std::string heard;
};

TEST_F(X11TapStopTest, aTapKilledWithTheHotkeyHeldLeavesNothingStuck)
{
    Victim victim("holds");
    ASSERT_TRUE(waitUntil([&] { return victim.said("ready"); }));
    press(keys::f8);
    ASSERT_TRUE(waitUntil([&] { return victim.said("pressed"); }));
    ASSERT_TRUE(waitUntil([&] { return !typist.pressed()[keys::f8]; })) << "not swallowed";
    victim.kill();
    tap(keys::a);
    release(keys::f8);
    EXPECT_THAT(seen(), ElementsAre(down(keys::a), up(keys::a)));
    expectKeyboardIsFree();
}

TEST_F(X11TapStopTest, aTapKilledWhileTheKeyboardWaitsForItLeavesNothingStuck)
{
    Victim victim("hangs");
    ASSERT_TRUE(waitUntil([&] { return victim.said("ready"); }));
    press(keys::f8);
    ASSERT_TRUE(waitUntil([&] { return victim.said("pressed"); }));
    tap(keys::a);
    EXPECT_THAT(window.seen(), IsEmpty());
    victim.kill();
    release(keys::f8);
    EXPECT_THAT(seen(), ElementsAre(down(keys::a), up(keys::a), up(keys::f8)));
    expectKeyboardIsFree();
}

} // namespace
} // namespace vorlin
