#include "Platform/Linux/Accessibility/AccessibilityBus.h"

#include "Platform/Linux/Accessibility/PlayedPrograms.h"
#include "Platform/Linux/SilentBus.h"
#include "Platform/RunUntil.h"
#include "Platform/Shared/QtMainLoop.h"
#include "Platform/Shared/ThreadPool.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vorlin {
namespace {

class AccessibilityBusTest : public testing::Test {
protected:
    void play(bool isOn) { status = std::make_unique<PlayedStatus>(session, isOn, bus.address); }
    void begin() { ours = std::make_unique<AccessibilityBus>(us.bus, workers, loop); }
    /// All that was asked, and answered, by now has been taken in.
    void takeIn()
    {
        for (int round = 0; round < 3; ++round) {
            PlayedProgram::roundTrip(us.bus);
            QCoreApplication::processEvents();
            if (status) {
                PlayedProgram::roundTrip(status->program.bus);
                QCoreApplication::processEvents();
            }
        }
    }
    bool isThere()
    {
        return runUntil([&] { return ours->get() && ours->get()->isConnected(); });
    }
    bool isGone()
    {
        return runUntil([&] { return !ours->get(); });
    }

    PlayedBus session;
    PlayedBus bus;
    PlayedProgram us{session, "us"};
    ThreadPool workers{[] {}};
    QtMainLoop loop;
    std::unique_ptr<PlayedStatus> status;
    std::unique_ptr<AccessibilityBus> ours;
};

TEST_F(AccessibilityBusTest, whereItIsOnItsBusIsConnectedTo)
{
    play(true);
    begin();
    EXPECT_TRUE(isThere());
}

TEST_F(AccessibilityBusTest, whereItIsOffNobodyIsAskedForItsBus)
{
    play(false);
    begin();
    ASSERT_TRUE(runUntil([&] { return !status->asked.empty(); }));
    takeIn();
    EXPECT_EQ(status->asked, (std::vector<std::string>{"Get"}))
        << "the bus would be started for who asks where it is";
    EXPECT_FALSE(ours->get());
}

TEST_F(AccessibilityBusTest, whereNobodyHasItsNameNobodyIsStarted)
{
    const auto script = [&](const char* name) {
        const auto file = session.folder / name;
        std::ofstream(file) << "#!/bin/sh\ntouch " << file.string() << ".started\n";
        std::filesystem::permissions(file, std::filesystem::perms::owner_all);
        return file.string();
    };
    session.starts("org.a11y.Bus", script("first"));
    session.starts("org.example.Later", script("later"));
    begin();
    takeIn();
    us.bus.send(QDBusMessage::createMethodCall("org.example.Later", "/", "org.example", "Start"));
    const auto isStarted = [&](const char* name) {
        return std::filesystem::exists(session.folder / (std::string(name) + ".started"));
    };
    ASSERT_TRUE(runUntil([&] { return isStarted("later"); }));
    EXPECT_FALSE(isStarted("first"));
    EXPECT_FALSE(ours->get());
}

TEST_F(AccessibilityBusTest, itIsFollowedWhereItIsSwitchedOnAndOff)
{
    play(false);
    begin();
    takeIn();
    status->tell(true);
    EXPECT_TRUE(isThere());
    status->tell(false);
    EXPECT_TRUE(isGone());
    status->tell(true);
    EXPECT_TRUE(isThere());
}

TEST_F(AccessibilityBusTest, whoeverElseSaysThatItIsOnDoesNotCount)
{
    play(false);
    begin();
    takeIn();
    PlayedProgram another(session, "another");
    status->tell(true, another);
    takeIn();
    EXPECT_EQ(status->asked, (std::vector<std::string>{"Get"}));
}

TEST_F(AccessibilityBusTest, anAnswerThatIsOlderThanASignalIsDropped)
{
    play(true);
    status->answers.erase("/org/a11y/bus Get");
    begin();
    const std::string question = "/org/a11y/bus Get";
    ASSERT_TRUE(runUntil([&] { return status->open.contains(question); }));
    status->tell(false);
    takeIn();
    status->program.bus.send(
        status->open.at(question).createReply(QVariant::fromValue(QDBusVariant(true))));
    takeIn();
    EXPECT_EQ(status->asked, (std::vector<std::string>{"Get"}));
}

TEST_F(AccessibilityBusTest, anotherOwnerOfTheNameIsAskedAnew)
{
    play(true);
    begin();
    ASSERT_TRUE(isThere());
    status.reset();
    EXPECT_TRUE(isGone());
    play(true);
    EXPECT_TRUE(isThere());
}

TEST_F(AccessibilityBusTest, aBusThatEndsIsLeftAndTheOneThatIsThereThenIsConnectedTo)
{
    play(true);
    begin();
    ASSERT_TRUE(isThere());
    const PlayedBus another;
    status->answers["/org/a11y/bus GetAddress"] = QString::fromStdString(another.address);
    bus.end();
    EXPECT_TRUE(isGone());
    EXPECT_TRUE(isThere());
}

TEST_F(AccessibilityBusTest, aBusThatEndsIsNotConnectedToAnewWhereItIsOffByThen)
{
    play(true);
    begin();
    ASSERT_TRUE(isThere());
    status->answers["/org/a11y/bus Get"] = QVariant::fromValue(QDBusVariant(false));
    const auto before = status->asked.size();
    bus.end();
    ASSERT_TRUE(runUntil([&] { return status->asked.size() > before; }));
    takeIn();
    EXPECT_FALSE(ours->get());
    EXPECT_EQ(status->asked.back(), "Get");
}

TEST_F(AccessibilityBusTest, whatMakesNoSenseIsNoBus)
{
    for (const std::string address :
         {"", "unix:path=/nonexistent/bus", "tcp:host=localhost,port=1", "unix:abstract=nobody"}) {
        status.reset();
        play(true);
        status->answers["/org/a11y/bus GetAddress"] = QString::fromStdString(address);
        begin();
        ASSERT_TRUE(runUntil([&] { return status->asked.size() == 2; }));
        takeIn();
        EXPECT_FALSE(ours->get()) << address;
    }
    for (const QVariant& nonsense :
         {QVariant(7), QVariant(true), QVariant(QStringList{"IsEnabled"})}) {
        status.reset();
        play(false);
        status->answers["/org/a11y/bus Get"] = nonsense;
        status->answers["/org/a11y/bus GetAddress"] = 7;
        begin();
        ASSERT_TRUE(runUntil([&] { return !status->asked.empty(); }));
        takeIn();
        EXPECT_FALSE(ours->get());
    }
}

TEST_F(AccessibilityBusTest, aBusThatDoesNotAnswerHoldsUpNothing)
{
    const TemporaryFolder folder;
    const SilentBus silent(folder / "");
    play(true);
    status->answers["/org/a11y/bus GetAddress"] = QString::fromStdString(silent.address());
    begin();
    ASSERT_TRUE(runUntil([&] { return status->asked.size() == 2; }));
    takeIn();
    EXPECT_FALSE(ours->get());
    status->answers["/org/a11y/bus GetAddress"] = QString::fromStdString(bus.address);
    status->tell(true);
    EXPECT_TRUE(isThere()) << "the next one that answers";
}

} // namespace
} // namespace vorlin
