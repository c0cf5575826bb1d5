#include "Platform/Linux/Accessibility/AccessibleFocus.h"

#include "Platform/Linux/Accessibility/PlayedPrograms.h"
#include "Platform/RunUntil.h"
#include "Platform/Shared/QtMainLoop.h"
#include "Platform/Shared/ThreadPool.h"
#include "fakes/FakeDesktop.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vorlin {
namespace {

constexpr std::chrono::seconds longPatience{30};

class AccessibleFocusTest : public testing::Test {
protected:
    AccessibleFocusTest()
    {
        unknown.chord.keyCode = 1;
        begin(longPatience);
        EXPECT_TRUE(runUntil([&] { return ours.get() && ours.get()->isConnected(); }));
    }
    void begin(std::chrono::milliseconds patience)
    {
        focus = std::make_unique<AccessibleFocus>(
            ours,
            [this](std::string_view file, std::string_view name) {
                names = {std::string(file), std::string(name)};
                return PasteChord{.keyCode = 2};
            },
            unknown, patience);
    }
    /// Looks; whether a window is known then.
    bool knows()
    {
        bool found = false;
        focus->look([&] { found = true; });
        EXPECT_TRUE(runUntil([&] { return found; }));
        EXPECT_EQ(focus->pasteChord().keyCode, focus->window() ? 2 : 1);
        return focus->window().has_value();
    }

    PlayedBus session;
    PlayedBus bus;
    PlayedProgram us{session, "us"};
    ThreadPool workers{[] {}};
    QtMainLoop loop;
    PlayedStatus status{session, true, bus.address};
    PlayedRegistry registry{bus};
    AccessibilityBus ours{us.bus, workers, loop};
    FakeFocusedProgram unknown;
    /// Of the program whose chord was asked for last.
    std::pair<std::string, std::string> names;
    std::unique_ptr<AccessibleFocus> focus;
};

TEST_F(AccessibleFocusTest, theProgramOfTheActiveWindowIsKnownByTheNamesOfItsFileAndItsOwn)
{
    PlayedWindows editor(bus, "Editor", {false, true});
    PlayedWindows mail(bus, "Mail", {false});
    registry.list({mail.id(), editor.id()});
    EXPECT_FALSE(focus->window()) << "nobody has looked yet";
    EXPECT_TRUE(knows());
    EXPECT_EQ(names, std::pair(std::string("accessibility_tests"), std::string("Editor")));
}

TEST_F(AccessibleFocusTest, itIsNoReasonToForgetATextThatNobodyReads)
{
    PlayedWindows editor(bus, "Editor", {true});
    registry.list({editor.id()});
    ASSERT_TRUE(knows());
    EXPECT_FALSE(focus->isKnown());
}

TEST_F(AccessibleFocusTest, aProgramThatTellsNothingHasTheFocusWhereNoWindowIsActive)
{
    PlayedWindows editor(bus, "Editor", {true});
    registry.list({editor.id()});
    ASSERT_TRUE(knows());
    editor.setActive(false);
    EXPECT_FALSE(knows()) << "the editor was yesterday";
    editor.setActive(true);
    EXPECT_TRUE(knows());
}

TEST_F(AccessibleFocusTest, ofTwoActiveWindowsNoneIsKnown)
{
    PlayedWindows editor(bus, "Editor", {true, true});
    PlayedWindows mail(bus, "Mail", {true});
    registry.list({editor.id()});
    EXPECT_FALSE(knows());
    editor.setActive(false, 2);
    registry.list({editor.id(), mail.id()});
    EXPECT_FALSE(knows());
    mail.setActive(false);
    EXPECT_TRUE(knows());
}

TEST_F(AccessibleFocusTest, whoFramesTheWindowsOfOthersHasNoneOfItsOwn)
{
    PlayedWindows editor(bus, "Editor", {true});
    PlayedWindows frames(bus, "mutter-x11-frames", {true, false});
    registry.list({editor.id(), frames.id()});
    EXPECT_TRUE(knows());
    EXPECT_EQ(names.second, "Editor");
    editor.setActive(false);
    EXPECT_FALSE(knows()) << "what it frames is another's";
}

TEST_F(AccessibleFocusTest, aWindowKeepsItsNumber)
{
    PlayedWindows editor(bus, "Editor", {true, false});
    PlayedWindows mail(bus, "Mail", {false});
    registry.list({editor.id(), mail.id()});
    ASSERT_TRUE(knows());
    const auto first = focus->window();
    editor.setActive(false, 1);
    editor.setActive(true, 2);
    ASSERT_TRUE(knows());
    EXPECT_NE(focus->window(), first) << "another one of the same program";
    editor.setActive(false, 2);
    mail.setActive(true);
    ASSERT_TRUE(knows());
    EXPECT_NE(focus->window(), first) << "one of another program by the same path";
    mail.setActive(false);
    editor.setActive(true, 1);
    ASSERT_TRUE(knows());
    EXPECT_EQ(focus->window(), first);
}

TEST_F(AccessibleFocusTest, aProgramThatHangsMakesItUnknownAndIsNotWaitedFor)
{
    PlayedWindows editor(bus, "Editor", {true});
    PlayedWindows hanging(bus, "Hanging", {false});
    registry.list({editor.id(), hanging.id()});
    ASSERT_TRUE(knows());
    begin(std::chrono::milliseconds(300));
    const std::string question = "/window/1 GetState";
    hanging.answers.erase(question);
    EXPECT_FALSE(knows()) << "what had the focus before is not known either";
    ASSERT_TRUE(hanging.open.contains(question));
    hanging.program.bus.send(hanging.open.at(question).createReply(state(false)));
    PlayedProgram::roundTrip(*ours.get());
    QCoreApplication::processEvents();
    EXPECT_FALSE(focus->window()) << "it is too late";
}

TEST_F(AccessibleFocusTest, aProgramThatHasLeftIsNoObstacle)
{
    PlayedWindows editor(bus, "Editor", {true});
    registry.list({editor.id(), ":1.4711"});
    EXPECT_TRUE(knows());
}

TEST_F(AccessibleFocusTest, whatMakesNoSenseMakesItUnknown)
{
    PlayedWindows editor(bus, "Editor", {true});
    PlayedWindows odd(bus, "Odd", {false});
    registry.list({editor.id(), odd.id()});
    ASSERT_TRUE(knows());
    const auto well = odd.answers;
    const QList<AccessibleObject> many(300, {odd.id(), QDBusObjectPath("/window/1")});
    const std::vector<std::pair<std::string, QVariant>> answers = {
        {askForChildren, "nothing"},
        {askForChildren, 7},
        {askForChildren, objects({{"", QDBusObjectPath("/window/1")}})},
        {askForChildren, objects({{"org.example.Odd", QDBusObjectPath("/window/1")}})},
        {askForChildren, objects({{":not a name", QDBusObjectPath("/window/1")}})},
        {askForChildren, objects(many)},
        {"/window/1 GetState", true},
        {"/window/1 GetState", QVariant::fromValue(QList<unsigned>())},
        {"/window/1 GetState", QVariant::fromValue(QList<int>{2, 0})},
    };
    for (const auto& [question, answer] : answers) {
        odd.answers = well;
        odd.answers[question] = answer;
        EXPECT_FALSE(knows()) << question << " " << answer.typeName();
    }
    odd.answers = well;
    odd.answers[askForChildren] = objects({{odd.id(), QDBusObjectPath("/org/a11y/atspi/null")}});
    EXPECT_TRUE(knows()) << "that means none";
    registry.answers[askForChildren] = 7;
    EXPECT_FALSE(knows());
}

TEST_F(AccessibleFocusTest, thatThereAreTooManyWindowsInAllMakesItUnknown)
{
    PlayedWindows editor(bus, "Editor", {true});
    PlayedWindows one(bus, "One", std::vector<bool>(120));
    PlayedWindows two(bus, "Two", std::vector<bool>(120));
    PlayedWindows three(bus, "Three", std::vector<bool>(120));
    registry.list({editor.id(), one.id(), two.id()});
    EXPECT_TRUE(knows());
    registry.list({editor.id(), one.id(), two.id(), three.id()});
    EXPECT_FALSE(knows());
}

TEST_F(AccessibleFocusTest, aSearchThatIsAbandonedTellsNothing)
{
    PlayedWindows editor(bus, "Editor", {true});
    registry.list({editor.id()});
    std::vector<int> told;
    ActiveWindowSearch first(*ours.get(), longPatience, [&](const auto&) { told.push_back(1); });
    ActiveWindowSearch second(*ours.get(), longPatience, [&](const auto&) { told.push_back(2); });
    first.abandon();
    ASSERT_TRUE(runUntil([&] { return !told.empty(); }));
    EXPECT_EQ(told, std::vector<int>{2}) << "the first was asked for first";
}

TEST_F(AccessibleFocusTest, whereItIsOffALookEndsAtOnceAndKnowsNothing)
{
    PlayedWindows editor(bus, "Editor", {true});
    registry.list({editor.id()});
    ASSERT_TRUE(knows());
    status.tell(false);
    ASSERT_TRUE(runUntil([&] { return !ours.get(); }));
    bool found = false;
    focus->look([&] { found = true; });
    EXPECT_TRUE(found);
    EXPECT_FALSE(focus->window());
}

TEST_F(AccessibleFocusTest, aLookDuringAnotherOneEndsBothByWhatIsFoundThen)
{
    PlayedWindows editor(bus, "Editor", {true});
    registry.list({editor.id()});
    std::vector<int> ended;
    focus->look([&] { ended.push_back(1); });
    focus->look([&] { ended.push_back(2); });
    ASSERT_TRUE(runUntil([&] { return ended.size() == 2; }));
    EXPECT_TRUE(focus->window());
    EXPECT_EQ(ended, (std::vector<int>{1, 2}));
}

TEST_F(AccessibleFocusTest, aBusThatEndsMakesItUnknown)
{
    PlayedWindows editor(bus, "Editor", {true});
    registry.list({editor.id()});
    ASSERT_TRUE(knows());
    bus.end();
    EXPECT_FALSE(knows());
}

TEST_F(AccessibleFocusTest, whoeverWaitsWhenItGoesIsNotTold)
{
    PlayedWindows editor(bus, "Editor", {true});
    registry.list({editor.id()});
    bool told = false;
    focus->look([&] { told = true; });
    focus.reset();
    PlayedProgram::roundTrip(*ours.get());
    QCoreApplication::processEvents();
    EXPECT_FALSE(told);
}

} // namespace
} // namespace vorlin
