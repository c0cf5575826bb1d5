#include "Platform/Linux/Desktop/IdleInhibitor.h"

#include "Platform/RunUntil.h"
#include "PlayedBus.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace vorlin {
namespace {

using Calls = std::vector<std::string>;

const QString name = QStringLiteral("org.freedesktop.ScreenSaver");
const std::string inhibit = "/org/freedesktop/ScreenSaver Inhibit";

/// A desktop that would go idle. It grants the number 7 unless it is told to wait.
class PlayedDesktop final : public PlayedService {
public:
    explicit PlayedDesktop(const PlayedBus& on) : PlayedService(on, name) { answers[inhibit] = 7U; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& from) override
    {
        std::string call = message.member().toStdString();
        for (const QVariant& argument : message.arguments()) {
            call += " " + argument.toString().toStdString();
        }
        calls.push_back(call);
        return PlayedService::handleMessage(message, from);
    }
    /// What was asked first and not answered yet is granted.
    void grant(unsigned number)
    {
        program.bus.send(open.extract(inhibit).mapped().createReply(number));
    }

    Calls calls;
};

class IdleInhibitorTest : public testing::Test {
protected:
    /// Until all that was sent by now has been taken in.
    bool isAsked(const Calls& expected)
    {
        return runUntil([&] { return desktop->calls.size() >= expected.size(); }) && quiet() &&
               desktop->calls == expected;
    }
    bool quiet()
    {
        PlayedProgram::roundTrip(ours.bus);
        PlayedProgram::roundTrip(desktop->program.bus);
        QCoreApplication::sendPostedEvents();
        return true;
    }
    /// The answers that were given are known here.
    void takeIn()
    {
        PlayedProgram::roundTrip(desktop->program.bus);
        PlayedProgram::roundTrip(ours.bus);
        QCoreApplication::sendPostedEvents();
    }

    PlayedBus bus;
    PlayedProgram ours{bus, "ours"};
    std::unique_ptr<PlayedDesktop> desktop = std::make_unique<PlayedDesktop>(bus);
    std::unique_ptr<IdleInhibitor> inhibitor = std::make_unique<IdleInhibitor>(ours.bus);
};

TEST_F(IdleInhibitorTest, asksForAsLongAsItIsWanted)
{
    inhibitor->want(true);
    inhibitor->want(true);
    ASSERT_TRUE(isAsked({"Inhibit Vorlin Dictation"}));
    takeIn();
    inhibitor->want(false);
    inhibitor->want(false);
    ASSERT_TRUE(isAsked({"Inhibit Vorlin Dictation", "UnInhibit 7"}));
    inhibitor->want(true);
    EXPECT_TRUE(isAsked({"Inhibit Vorlin Dictation", "UnInhibit 7", "Inhibit Vorlin Dictation"}));
}

TEST_F(IdleInhibitorTest, whatIsGrantedAfterTheEndIsGivenBackAtOnce)
{
    desktop->answers.clear();
    inhibitor->want(true);
    ASSERT_TRUE(isAsked({"Inhibit Vorlin Dictation"}));
    inhibitor->want(false);
    desktop->grant(8);
    EXPECT_TRUE(isAsked({"Inhibit Vorlin Dictation", "UnInhibit 8"}));
}

TEST_F(IdleInhibitorTest, whatIsGrantedToAnOlderWishIsGivenBackAtOnce)
{
    desktop->answers.clear();
    inhibitor->want(true);
    ASSERT_TRUE(isAsked({"Inhibit Vorlin Dictation"}));
    inhibitor->want(false);
    desktop->answers[inhibit] = 9U;
    inhibitor->want(true);
    ASSERT_TRUE(isAsked({"Inhibit Vorlin Dictation", "Inhibit Vorlin Dictation"}));
    takeIn();
    desktop->grant(8);
    ASSERT_TRUE(isAsked({"Inhibit Vorlin Dictation", "Inhibit Vorlin Dictation", "UnInhibit 8"}));
    inhibitor->want(false);
    EXPECT_TRUE(isAsked(
        {"Inhibit Vorlin Dictation", "Inhibit Vorlin Dictation", "UnInhibit 8", "UnInhibit 9"}));
}

TEST_F(IdleInhibitorTest, itsEndGivesBackWhatWasGranted)
{
    inhibitor->want(true);
    ASSERT_TRUE(isAsked({"Inhibit Vorlin Dictation"}));
    takeIn();
    inhibitor.reset();
    EXPECT_TRUE(isAsked({"Inhibit Vorlin Dictation", "UnInhibit 7"}));
}

TEST_F(IdleInhibitorTest, aNumberOfOneThatIsGoneIsNotGivenToTheNext)
{
    inhibitor->want(true);
    ASSERT_TRUE(isAsked({"Inhibit Vorlin Dictation"}));
    takeIn();
    desktop.reset();
    desktop = std::make_unique<PlayedDesktop>(bus);
    inhibitor->want(false);
    inhibitor->want(true);
    EXPECT_TRUE(isAsked({"Inhibit Vorlin Dictation"}));
}

TEST_F(IdleInhibitorTest, withoutADesktopThatTakesItNothingHappens)
{
    desktop.reset();
    IdleInhibitor nowhere(QDBusConnection("none"));
    for (auto* each : {inhibitor.get(), &nowhere}) {
        each->want(true);
        PlayedProgram::roundTrip(ours.bus);
        QCoreApplication::sendPostedEvents();
        each->want(false);
    }
    desktop = std::make_unique<PlayedDesktop>(bus);
    inhibitor->want(true);
    EXPECT_TRUE(isAsked({"Inhibit Vorlin Dictation"}));
}

} // namespace
} // namespace vorlin
