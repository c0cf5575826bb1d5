#include "Platform/Linux/Portal/PortalAccess.h"

#include "Platform/Linux/Portal/PlayedPortal.h"
#include "Platform/RunUntil.h"
#include "fakes/FakeDesktop.h"
#include "simulation/SimulatedLoop.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vorlin {
namespace {

using namespace std::chrono_literals;
using Events = std::vector<std::string>;
using Response = PlayedPortal::Response;

const Hotkey f9{101, 0, false};
const Hotkey controlD{2, eventFlags::maskControl, false};

class PortalEventTapTest : public testing::Test {
protected:
    PortalEventTapTest()
    {
        portal.answers["BindShortcuts"] = [](const QDBusMessage& message) {
            const auto list =
                qdbus_cast<PortalShortcuts>(message.arguments().at(1).value<QDBusArgument>());
            return Response{.results =
                                PlayedPortal::bound({{list.front().id.toStdString(), "Press it"}})};
        };
        portal.watchesKeys();
    }
    void start(const Hotkey& hotkey)
    {
        EXPECT_TRUE(access.eventTap().start([this](KeyEventType type, const KeyEvent& event) {
            events.push_back((type == KeyEventType::keyDown ? "down " : "up ") +
                             std::to_string(event.keyCode) + (event.autorepeat ? " again" : "") +
                             (event.flags == 0 ? "" : " " + std::to_string(event.flags)));
            return true;
        }));
        access.eventTap().setInterest({hotkey, false});
    }
    void signal(const QString& name, const QString& id, const QString& session)
    {
        portal.emitSignal("org.freedesktop.portal.GlobalShortcuts", name,
                          {QVariant::fromValue(QDBusObjectPath(session)), id,
                           QVariant::fromValue(qulonglong(1)), QVariantMap()});
        portal.takeIn(ours.bus);
        portal.takeIn(oursForEscape.bus);
    }
    bool isWatched()
    {
        return runUntil([&] { return access.trigger().get() == "Press it"; });
    }

    PlayedBus bus;
    PlayedProgram ours{bus, "ours"};
    PlayedProgram oursForEscape{bus, "ours for Escape"};
    PlayedPortal portal{bus};
    FakeDefaults state;
    PortalMemory memory{state, "desktop"};
    SimulatedLoop loop;
    PortalAccess access{ours.bus, oursForEscape.bus, state, "desktop", loop};
    Events events;
};

TEST_F(PortalEventTapTest, tellsOfTheHotkeyAsThePersonPressesIt)
{
    memory.setConsent("key", "dictate-CTRL+d", PortalConsent::granted);
    start(controlD);
    ASSERT_TRUE(isWatched());
    const auto id = QString("dictate-CTRL+d");
    signal("Activated", id, portal.session);
    signal("Deactivated", id, portal.session);
    EXPECT_EQ(events, (Events{"down 2 262144", "up 2"}));
}

TEST_F(PortalEventTapTest, aPressLongAfterTheLastIsNoRepeat)
{
    memory.setConsent("key", "dictate-F9", PortalConsent::granted);
    start(f9);
    ASSERT_TRUE(isWatched());
    signal("Activated", "dictate-F9", portal.session);
    loop.advance(600ms);
    signal("Activated", "dictate-F9", portal.session);
    loop.advance(1s); // its release was lost
    signal("Activated", "dictate-F9", portal.session);
    EXPECT_EQ(events, (Events{"down 101", "down 101 again", "down 101"}));
}

TEST_F(PortalEventTapTest, escapeIsWatchedUnderItsOwnNameWhileADictationRuns)
{
    memory.setConsent("key", "dictate-F9", PortalConsent::granted);
    memory.setConsent("escape", "cancel", PortalConsent::granted);
    start(f9);
    ASSERT_TRUE(isWatched());
    EXPECT_EQ(portal.count("Register org.vorlin.Vorlin.Escape"), 1);
    const auto hotkeySession = portal.session;
    access.eventTap().setInterest({f9, true});
    ASSERT_TRUE(runUntil([&] { return portal.count("BindShortcuts") == 2; }));
    portal.takeIn(oursForEscape.bus);
    EXPECT_NE(portal.session, hotkeySession);
    EXPECT_EQ(access.eventTap().conflict().get(), KeyConflict::none);
    signal("Activated", "cancel", portal.session);
    EXPECT_EQ(events, Events{"down 53"});
    access.eventTap().setInterest({f9, false});
    ASSERT_TRUE(runUntil([&] { return portal.count("Close") == 1; }));
    signal("Activated", "cancel", portal.session);
    signal("Activated", "dictate-F9", hotkeySession);
    EXPECT_EQ(events, (Events{"down 53", "down 101"}));
}

TEST_F(PortalEventTapTest, escapeThatWasNotGivenIsAConflictWhileItIsWanted)
{
    start(f9);
    access.eventTap().setInterest({f9, true});
    ASSERT_TRUE(
        runUntil([&] { return access.eventTap().conflict().get() == KeyConflict::escapeTaken; }));
    access.eventTap().setInterest({f9, false});
    EXPECT_EQ(access.eventTap().conflict().get(), KeyConflict::none);
}

TEST_F(PortalEventTapTest, aKeyThatAnotherProgramHasIsAConflict)
{
    portal.watchesKeys({{"dictate-F9", ""}});
    start(f9);
    EXPECT_TRUE(
        runUntil([&] { return access.eventTap().conflict().get() == KeyConflict::hotkeyTaken; }));
}

TEST_F(PortalEventTapTest, modifiersAloneCannotBeWatched)
{
    auto& tap = access.eventTap();
    EXPECT_EQ(tap.watchable(Hotkey{}), KeyWatch::nothing);
    EXPECT_EQ(tap.watchable(f9), KeyWatch::pressesAndReleases);
    EXPECT_EQ(tap.watchable(controlD), KeyWatch::pressesAndReleases);
    EXPECT_TRUE(tap.losesReleases());
    start(Hotkey{});
    EXPECT_EQ(tap.conflict().get(), KeyConflict::hotkeyMissing);
}

TEST_F(PortalEventTapTest, startingAgainAndAgainAsksNobodyAndRepeatsNothing)
{
    for (int i = 0; i < 3; ++i) {
        start(f9);
        ASSERT_TRUE(runUntil([&] { return portal.count("ListShortcuts") == 1; }));
        portal.takeIn(ours.bus);
    }
    EXPECT_EQ(portal.count("BindShortcuts"), 0);
    EXPECT_EQ(portal.count("CreateSession"), 1);
    EXPECT_EQ(portal.count("ListShortcuts"), 1);
}

TEST_F(PortalEventTapTest, thePersonIsAskedForKeyChordAndEscapeOneAfterTheOther)
{
    portal.answers["SelectDevices"] = [](const QDBusMessage&) { return Response{}; };
    portal.answers["Start"] = [](const QDBusMessage&) { return std::nullopt; };
    start(f9);
    ASSERT_TRUE(runUntil([&] { return portal.count("ListShortcuts") == 1; }));
    portal.takeIn(ours.bus);
    EXPECT_FALSE(access.isGranted());
    access.ask(f9);
    ASSERT_TRUE(runUntil([&] { return portal.count("Start") == 1; }));
    portal.takeIn(ours.bus);
    EXPECT_EQ(portal.count("BindShortcuts"), 1);
    EXPECT_FALSE(access.isGranted());
    portal.respond({.results = {{"devices", 1U}, {"restore_token", "token"}}});
    ASSERT_TRUE(runUntil([&] { return portal.count("BindShortcuts") == 2; }));
    ASSERT_TRUE(
        runUntil([&] { return memory.consent("escape", "cancel") == PortalConsent::granted; }));
    EXPECT_TRUE(access.isGranted());
    EXPECT_TRUE(isWatched());
}

TEST_F(PortalEventTapTest, noPortalForTheChordIsNoConsent)
{
    portal.deviceTypes = 0;
    memory.setConsent("key", "dictate-F9", PortalConsent::granted);
    start(f9);
    ASSERT_TRUE(isWatched());
    EXPECT_FALSE(access.isGranted());
}

TEST_F(PortalEventTapTest, whatIsStoppedTellsNothing)
{
    memory.setConsent("key", "dictate-F9", PortalConsent::granted);
    start(f9);
    ASSERT_TRUE(isWatched());
    signal("Activated", "dictate-F9", portal.session);
    access.eventTap().stop();
    signal("Deactivated", "dictate-F9", portal.session);
    EXPECT_EQ(events, Events{"down 101"});
    EXPECT_TRUE(runUntil([&] { return portal.count("Close") == 1; }));
}

} // namespace
} // namespace vorlin
