#include "Platform/macOS/MacEventTap.h"

#include "CGEvent.h"
#include "Runtime.h"

namespace vorlin {
namespace {

using standins::Fate;
using standins::taken;
using Calls = std::vector<std::string>;

const Calls startCalls = {"CGEventTapCreate 1 0 0 7168", "CFMachPortCreateRunLoopSource 0",
                          "CFRunLoopAddSource kCFRunLoopCommonModes", "CGEventTapEnable on"};
const Calls stopCalls = {"CGEventTapEnable off", "CFMachPortInvalidate",
                         "CFRunLoopRemoveSource kCFRunLoopCommonModes"};

Calls both(Calls first, const Calls& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

class MacEventTapTest : public testing::Test {
protected:
    MacEventTapTest() { standins::events() = {}; }
    ~MacEventTapTest() override { standins::events() = {}; }

    /// What becomes of an event of this key.
    static Fate send(KeyEventType type, std::int64_t keyCode = 49, std::uint64_t flags = 0,
                     bool autorepeat = false)
    {
        CGEventRef event = standins::keyEvent(keyCode, flags, autorepeat);
        const Fate fate = standins::send(static_cast<CGEventType>(type), event);
        CFRelease(event);
        return fate;
    }

    /// Keeps what the tap tells, and answers `swallows`.
    MacEventTap::Handler keep()
    {
        return [this](KeyEventType type, const KeyEvent& event) {
            told.emplace_back(type, event);
            return swallows;
        };
    }

    std::vector<std::pair<KeyEventType, KeyEvent>> told;
    bool swallows = false;
    MacEventTap tap;
};

TEST_F(MacEventTapTest, startsAnActiveTapOfTheSessionAtItsHeadThatTheMainLoopWatches)
{
    EXPECT_TRUE(tap.start(keep()));
    EXPECT_EQ(taken(), startCalls);
}

TEST_F(MacEventTapTest, saysSoWhereTheSystemAllowsNoTapAndLeavesNothing)
{
    standins::events().refusesTaps = true;
    const long before = standins::alive();
    EXPECT_FALSE(tap.start(keep()));
    EXPECT_EQ(taken(), Calls{startCalls[0]});
    EXPECT_EQ(standins::alive(), before);
    tap.stop();
    tap.enable();
    EXPECT_EQ(taken(), Calls());
}

TEST_F(MacEventTapTest, saysSoWhereTheMainLoopCannotWatchTheTapAndLeavesNothing)
{
    standins::events().refusesPortSources = true;
    const long before = standins::alive();
    EXPECT_FALSE(tap.start(keep()));
    EXPECT_EQ(taken(), (Calls{startCalls[0], startCalls[1], "CFMachPortInvalidate"}));
    EXPECT_EQ(standins::alive(), before);
    tap.stop();
    tap.enable();
    EXPECT_EQ(taken(), Calls());
}

TEST_F(MacEventTapTest, stopsByDisablingAndInvalidatingThePortAndRemovingItsSource)
{
    EXPECT_TRUE(tap.start(keep()));
    const long before = standins::alive();
    taken();
    tap.stop();
    EXPECT_EQ(taken(), stopCalls);
    EXPECT_EQ(standins::alive(), before - 2) << "the port and its source are given back";
    EXPECT_EQ(send(KeyEventType::keyDown), Fate::unseen);
    tap.stop();
    EXPECT_EQ(taken(), Calls()) << "stopping twice is stopping once";
}

TEST_F(MacEventTapTest, stopsWhenItGoes)
{
    auto other = std::make_unique<MacEventTap>();
    EXPECT_TRUE(other->start(keep()));
    taken();
    other.reset();
    EXPECT_EQ(taken(), stopCalls);
}

TEST_F(MacEventTapTest, startsAgainThroughAStop)
{
    EXPECT_TRUE(tap.start(keep()));
    taken();
    EXPECT_TRUE(tap.start(keep()));
    EXPECT_EQ(taken(), both(stopCalls, startCalls));
    EXPECT_EQ(send(KeyEventType::keyDown), Fate::passedOn);
    EXPECT_EQ(told.size(), 1U);
}

TEST_F(MacEventTapTest, tellsTheCodeTheFlagsAndTheRepeatOfAKey)
{
    EXPECT_TRUE(tap.start(keep()));
    for (const auto type :
         {KeyEventType::keyDown, KeyEventType::keyUp, KeyEventType::flagsChanged}) {
        for (const bool autorepeat : {false, true}) {
            told.clear();
            taken();
            send(type, 61, 0x80140, autorepeat);
            EXPECT_EQ(taken(), (Calls{"CGEventGetIntegerValueField 9", "CGEventGetFlags",
                                      "CGEventGetIntegerValueField 8"}));
            ASSERT_EQ(told.size(), 1U);
            EXPECT_EQ(told[0].first, type);
            EXPECT_EQ(told[0].second.keyCode, 61);
            EXPECT_EQ(told[0].second.flags, 0x80140U);
            EXPECT_EQ(told[0].second.autorepeat, autorepeat);
        }
    }
}

TEST_F(MacEventTapTest, swallowsWhatTheHandlerWantsAndPassesTheRestOnUnchanged)
{
    EXPECT_TRUE(tap.start(keep()));
    EXPECT_EQ(send(KeyEventType::keyDown), Fate::passedOn);
    swallows = true;
    EXPECT_EQ(send(KeyEventType::keyDown), Fate::swallowed);
    EXPECT_EQ(told.size(), 2U);
}

TEST_F(MacEventTapTest, readsNoFieldOfAnEventThatTellsThatTheTapIsOff)
{
    EXPECT_TRUE(tap.start(keep()));
    for (const auto type :
         {KeyEventType::tapDisabledByTimeout, KeyEventType::tapDisabledByUserInput}) {
        told.clear();
        taken();
        EXPECT_EQ(standins::send(static_cast<CGEventType>(type), nullptr), Fate::passedOn);
        EXPECT_EQ(taken(), Calls());
        ASSERT_EQ(told.size(), 1U);
        EXPECT_EQ(told[0].first, type);
        EXPECT_EQ(told[0].second.keyCode, 0);
        EXPECT_EQ(told[0].second.flags, 0U);
        EXPECT_FALSE(told[0].second.autorepeat);
        EXPECT_EQ(send(KeyEventType::keyDown), Fate::unseen) << "it is off";
        taken();
        tap.enable();
        EXPECT_EQ(taken(), Calls{"CGEventTapEnable on"});
        EXPECT_EQ(send(KeyEventType::keyDown), Fate::passedOn);
    }
}

TEST_F(MacEventTapTest, passesOnEventsOfOtherTypesUnseen)
{
    EXPECT_TRUE(tap.start(keep()));
    taken();
    swallows = true;
    constexpr auto mouseDown = static_cast<KeyEventType>(1);
    EXPECT_EQ(send(mouseDown), Fate::passedOn);
    EXPECT_TRUE(told.empty());
    EXPECT_EQ(taken(), Calls());
}

TEST_F(MacEventTapTest, passesOnWhatComesWithoutItsData)
{
    EXPECT_TRUE(tap.start(keep()));
    standins::events().forgetsUserInfo = true;
    swallows = true;
    EXPECT_EQ(send(KeyEventType::keyDown), Fate::passedOn);
    EXPECT_TRUE(told.empty());
}

TEST_F(MacEventTapTest, aStopFromInsideTheHandlerSwallowsThatKeyOnly)
{
    EXPECT_TRUE(tap.start([this](KeyEventType, const KeyEvent&) {
        tap.stop();
        return true;
    }));
    EXPECT_EQ(send(KeyEventType::keyDown), Fate::swallowed);
    EXPECT_EQ(send(KeyEventType::keyUp), Fate::unseen);
}

TEST_F(MacEventTapTest, aStartFromInsideTheHandlerWorks)
{
    EXPECT_TRUE(tap.start([this](KeyEventType, const KeyEvent&) {
        EXPECT_TRUE(tap.start(keep()));
        return true;
    }));
    EXPECT_EQ(send(KeyEventType::keyDown), Fate::swallowed);
    EXPECT_EQ(send(KeyEventType::keyUp), Fate::passedOn);
    EXPECT_EQ(told.size(), 1U);
}

TEST_F(MacEventTapTest, aKeyOnAnotherThreadThanTheMainOneEndsTheProgram)
{
    EXPECT_TRUE(tap.start(keep()));
    EXPECT_DEATH(std::thread([] { send(KeyEventType::keyDown); }).join(), "Vorlin/HotkeyMonitor");
}

TEST_F(MacEventTapTest, hasNothingToGrabBeforehandAndNoKeyThatTypesOtherCharacters)
{
    EXPECT_TRUE(tap.start(keep()));
    taken();
    tap.setInterest({Hotkey(), true});
    for (const std::uint16_t option : {58, 61}) {
        EXPECT_FALSE(tap.typesCharacters(option));
    }
    EXPECT_EQ(taken(), Calls());
}

} // namespace
} // namespace vorlin
