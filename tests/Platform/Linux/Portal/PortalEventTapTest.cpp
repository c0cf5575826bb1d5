#include "Platform/Linux/Portal/PortalAccess.h"

#include "Platform/Linux/Portal/PlayedPortal.h"
#include "Platform/RunUntil.h"
#include "fakes/FakeDesktop.h"
#include "simulation/SimulatedLoop.h"

#include <QDBusConnectionInterface>
#include <QDBusVirtualObject>
#include <QStringList>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vorlin {
namespace {

using namespace std::chrono_literals;
using Events = std::vector<std::string>;
using Response = PlayedPortal::Response;

const Hotkey f9{101, 0, false};
const Hotkey controlD{2, eventFlags::maskControl, false};

/// Does what the portals are asked for, and notes which sessions it is told to end.
class PlayedBackend final : public QDBusVirtualObject {
public:
    explicit PlayedBackend(QDBusConnection bus)
    {
        bus.registerVirtualObject("/", this, QDBusConnection::SubPath);
    }

    QStringList closed;

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& /*from*/) override
    {
        if (message.interface() == "org.freedesktop.impl.portal.Session" &&
            message.member() == "Close") {
            closed.push_back(message.path());
        }
        return message.member() != "Introspect"; // which Qt answers
    }
    /// What it says that it serves.
    QString interfaces = "<interface name='org.freedesktop.impl.portal.GlobalShortcuts'/>";
    QString introspect(const QString& /*path*/) const override
    {
        wasAsked = true;
        return interfaces;
    }
    mutable bool wasAsked = false;
};

class PortalEventTapTest : public testing::Test {
protected:
    PortalEventTapTest()
    {
        portal.answers["BindShortcuts"] = [this](const QDBusMessage& message) {
            const auto list =
                qdbus_cast<PortalShortcuts>(message.arguments().at(1).value<QDBusArgument>());
            sessions[list.front().id] = portal.session;
            return Response{.results =
                                PlayedPortal::bound({{list.front().id.toStdString(), "Press it"}})};
        };
        portal.watchesKeys();
        backend.bus.registerService("org.freedesktop.impl.portal.desktop.played");
    }
    void start(const Hotkey& hotkey)
    {
        access.eventTap().choose(hotkey);
        EXPECT_TRUE(access.eventTap().start([this](KeyEventType type, const KeyEvent& event) {
            const bool isModifier = type == KeyEventType::flagsChanged;
            events.push_back((isModifier                      ? "modifier "
                              : type == KeyEventType::keyDown ? "down "
                                                              : "up ") +
                             std::to_string(event.keyCode) + (event.autorepeat ? " again" : "") +
                             (event.flags == 0 ? "" : " " + std::to_string(event.flags)));
            return true;
        }));
        access.eventTap().setInterest({hotkey, false});
    }
    void signal(const QString& name, const QString& id, const QString& session,
                qulonglong timestamp = 0)
    {
        portal.emitSignal("org.freedesktop.portal.GlobalShortcuts", name,
                          {QVariant::fromValue(QDBusObjectPath(session)), id,
                           QVariant::fromValue(timestamp), QVariantMap()});
        portal.takeIn(ours.bus);
        portal.takeIn(oursForEscape.bus);
    }
    bool isWatched()
    {
        const auto before = portal.count("BindShortcuts dictate");
        return runUntil([&] { return portal.count("BindShortcuts dictate") > before; }) &&
               (portal.takeIn(ours.bus), true);
    }
    bool hasConflict(KeyConflict conflict)
    {
        return runUntil([&] { return access.eventTap().conflict().get() == conflict; });
    }
    void grant(const std::string& key) { memory.setConsent("key", key, PortalConsent::granted); }
    /// The chord is given, and Escape, unless they are played otherwise.
    void grantTheRest()
    {
        memory.setConsent("chord", "keyboard", PortalConsent::granted);
        memory.setConsent("escape", "cancel", PortalConsent::granted);
    }
    bool isGranted()
    {
        return runUntil([&] { return access.isGranted(); });
    }

    PlayedBus bus;
    PlayedProgram ours{bus, "ours"};
    PlayedProgram oursForEscape{bus, "ours for Escape"};
    PlayedPortal portal{bus};
    FakeDefaults state;
    /// By what was bound in them.
    std::map<QString, QString> sessions;
    PlayedProgram backend{bus, "back end"};
    PortalMemory memory{state, "desktop"};
    SimulatedLoop loop;
    PortalAccess access{ours.bus, oursForEscape.bus,
                        state,    "desktop",
                        loop,     [](std::uint16_t) { return std::nullopt; }};
    Events events;
};

TEST_F(PortalEventTapTest, tellsOfTheHotkeyAsThePersonPressesIt)
{
    grant("dictate-CTRL+d");
    start(controlD);
    ASSERT_TRUE(isWatched());
    const auto id = QString("dictate-CTRL+d");
    signal("Activated", id, portal.session);
    signal("Deactivated", id, portal.session);
    EXPECT_EQ(events, (Events{"down 2 262144", "up 2"}));
}

TEST_F(PortalEventTapTest, whatTriggersTheKeyIsToldInTheDesktopsWords)
{
    grant("dictate-F9");
    start(f9);
    ASSERT_TRUE(isWatched());
    EXPECT_EQ(access.eventTap().trigger().get(), "Press it");
    access.eventTap().stop();
    EXPECT_EQ(access.eventTap().trigger().get(), "");
}

TEST_F(PortalEventTapTest, aPressLongAfterTheLastIsNoRepeat)
{
    grant("dictate-F9");
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
    grant("dictate-F9");
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

TEST_F(PortalEventTapTest, aPressThatComesLateIsARepeatByTheDesktopsTime)
{
    grant("dictate-F9");
    start(f9);
    ASSERT_TRUE(isWatched());
    signal("Activated", "dictate-F9", portal.session, 5000);
    loop.advance(3s); // the program was busy
    signal("Activated", "dictate-F9", portal.session, 5600);
    signal("Activated", "dictate-F9", portal.session, 6700);
    EXPECT_EQ(events, (Events{"down 101", "down 101 again", "down 101"}));
}

TEST_F(PortalEventTapTest, eachKeyIsAskedForUnderItsOwnName)
{
    grant("dictate-F9");
    grantTheRest();
    start(f9);
    ASSERT_TRUE(isWatched());
    access.eventTap().setInterest({f9, true});
    ASSERT_TRUE(runUntil([&] { return portal.count("BindShortcuts cancel") == 1; }));
    for (std::size_t i = 0; i < portal.calls.size(); ++i) {
        const auto& call = portal.calls[i];
        if (call == "Register org.vorlin.Vorlin" || call.starts_with("BindShortcuts dictate")) {
            EXPECT_EQ(portal.callers[i], ours.bus.baseService()) << call;
        } else if (call == "Register org.vorlin.Vorlin.Escape" ||
                   call.starts_with("BindShortcuts cancel")) {
            EXPECT_EQ(portal.callers[i], oursForEscape.bus.baseService()) << call;
        }
    }
}

TEST_F(PortalEventTapTest, escapeThatWasNotGivenIsAConflict)
{
    grant("dictate-F9");
    start(f9);
    ASSERT_TRUE(hasConflict(KeyConflict::escapeUnasked));
    EXPECT_TRUE(access.canAsk());
    access.eventTap().setInterest({f9, true});
    portal.takeIn(oursForEscape.bus);
    EXPECT_TRUE(hasConflict(KeyConflict::escapeUnasked));
    EXPECT_EQ(portal.count("BindShortcuts cancel"), 0);
    access.ask(f9);
    ASSERT_TRUE(hasConflict(KeyConflict::none));
    EXPECT_EQ(portal.count("BindShortcuts cancel"), 1);
}

TEST_F(PortalEventTapTest, escapeIsAConflictUntilItIsGivenAlsoWhileNoKeyIsWatched)
{
    grant("dictate-F9");
    memory.setConsent("chord", "keyboard", PortalConsent::granted);
    start(f9);
    ASSERT_TRUE(isWatched());
    access.eventTap().stop();
    ASSERT_TRUE(hasConflict(KeyConflict::escapeUnasked));
    EXPECT_TRUE(access.canAsk());
    access.ask(f9);
    EXPECT_TRUE(hasConflict(KeyConflict::none));
    EXPECT_FALSE(access.canAsk());
}

TEST_F(PortalEventTapTest, aKeyThatMustBeAskedForIsAConflictUntilItIs)
{
    start(f9);
    ASSERT_TRUE(hasConflict(KeyConflict::hotkeyUnasked));
    access.eventTap().stop();
    EXPECT_EQ(access.eventTap().conflict().get(), KeyConflict::hotkeyUnasked);
    EXPECT_TRUE(access.canAsk());
    access.ask(f9);
    EXPECT_TRUE(hasConflict(KeyConflict::none));
}

TEST_F(PortalEventTapTest, aKeyThatWasRefusedIsNoConsentForAll)
{
    grantTheRest();
    start(f9);
    ASSERT_TRUE(hasConflict(KeyConflict::hotkeyUnasked));
    EXPECT_FALSE(access.isGranted());
    access.ask(f9);
    EXPECT_TRUE(isGranted());
    EXPECT_FALSE(access.canAsk());
}

TEST_F(PortalEventTapTest, whatIsOnlyUnaskedIsNotRefused)
{
    EXPECT_FALSE(access.isUnrefused()) << "nobody has answered yet";
    start(f9);
    ASSERT_TRUE(runUntil([&] { return access.isUnrefused(); }));
    EXPECT_FALSE(access.isGranted());
    portal.takeIn(ours.bus);
    EXPECT_EQ(portal.count("BindShortcuts"), 0);
    memory.setConsent("key", "dictate-F9", PortalConsent::refused);
    EXPECT_FALSE(access.isUnrefused());
    memory.setConsent("key", "dictate-F9", PortalConsent::granted);
    EXPECT_TRUE(access.isUnrefused());
    portal.answers["SelectDevices"] = [](const QDBusMessage&) { return Response{}; };
    portal.answers["Start"] = [](const QDBusMessage&) { return Response{.code = 1}; };
    access.ask(f9);
    EXPECT_TRUE(runUntil([&] { return !access.isUnrefused(); })) << "the chord";
}

TEST_F(PortalEventTapTest, whatAKeyNeedsIsKnownAsSoonAsItIsChosenAlsoWhileNothingIsWatched)
{
    grant("dictate-F9");
    grantTheRest();
    access.eventTap().choose(controlD);
    ASSERT_TRUE(hasConflict(KeyConflict::hotkeyUnasked));
    EXPECT_FALSE(access.isGranted());
    EXPECT_TRUE(access.canAsk());
    access.eventTap().choose(f9);
    EXPECT_EQ(access.eventTap().conflict().get(), KeyConflict::none);
    EXPECT_TRUE(isGranted());
    EXPECT_FALSE(access.canAsk());
}

TEST_F(PortalEventTapTest, aKeyThatAnotherProgramHasIsAConflict)
{
    portal.watchesKeys({{"dictate-F9", ""}});
    start(f9);
    EXPECT_TRUE(hasConflict(KeyConflict::hotkeyTaken));
}

TEST_F(PortalEventTapTest, aBackEndThatEndsIsAskedForTheKeyAgain)
{
    grant("dictate-F9");
    start(f9);
    ASSERT_TRUE(isWatched());
    signal("Activated", "dictate-F9", portal.session);
    backend.bus.unregisterService("org.freedesktop.impl.portal.desktop.played");
    ASSERT_TRUE(runUntil([&] { return events.size() == 2; }));
    portal.takeIn(ours.bus);
    EXPECT_EQ(portal.count("Close"), 0) << "it would start another one too early";
    EXPECT_TRUE(isWatched());
    EXPECT_EQ(events, (Events{"down 101", "up 101"}));
}

TEST_F(PortalEventTapTest, aBackEndThatServesNoKeysCostsNoneWhenItEnds)
{
    PlayedProgram another{bus, "another back end"};
    PlayedBackend files{another.bus};
    files.interfaces = "<interface name='org.freedesktop.impl.portal.FileChooser'/>";
    another.bus.registerService("org.freedesktop.impl.portal.desktop.files");
    grant("dictate-F9");
    start(f9);
    ASSERT_TRUE(isWatched());
    ASSERT_TRUE(runUntil([&] { return files.wasAsked; }));
    PlayedProgram::roundTrip(another.bus);
    portal.takeIn(ours.bus);
    signal("Activated", "dictate-F9", portal.session);
    another.bus.unregisterService("org.freedesktop.impl.portal.desktop.files");
    PlayedProgram::roundTrip(another.bus);
    portal.takeIn(ours.bus);
    EXPECT_EQ(events, Events{"down 101"}) << "what is held stays held";
    EXPECT_EQ(portal.count("CreateSession"), 1);
}

TEST_F(PortalEventTapTest, aSessionThatThePortalsLeaveToTheirBackEndIsEndedThere)
{
    PlayedBackend served(backend.bus);
    grant("dictate-F9");
    start(f9);
    ASSERT_TRUE(isWatched());
    const auto left = portal.session;
    portal.program.bus.interface()->unregisterService("org.freedesktop.portal.Desktop");
    ASSERT_TRUE(runUntil([&] { return !served.closed.empty(); }));
    EXPECT_EQ(served.closed, QStringList{left});
    EXPECT_EQ(portal.count("Close"), 0);
}

TEST_F(PortalEventTapTest, modifiersAloneCannotBeWatched)
{
    auto& tap = access.eventTap();
    EXPECT_EQ(tap.watchable(Hotkey{}), KeyWatch::nothing);
    EXPECT_EQ(tap.watchable(f9), KeyWatch::pressesAndReleases);
    EXPECT_EQ(tap.watchable(controlD), KeyWatch::pressesAndReleases);
    EXPECT_TRUE(tap.losesReleases());
}

TEST_F(PortalEventTapTest, inTheStoredModifiersPlaceAKeyIsWatchedThatThePersonChoosesInTheDesktop)
{
    grantTheRest();
    auto& tap = access.eventTap();
    const Hotkey rightControl{keyCodes::rightControl, 0, true};
    start(rightControl);
    ASSERT_TRUE(hasConflict(KeyConflict::hotkeyUnasked));
    EXPECT_TRUE(access.canAsk());
    EXPECT_FALSE(access.isGranted());
    EXPECT_EQ(tap.watchable(rightControl), KeyWatch::nothing);
    EXPECT_EQ(portal.count("BindShortcuts"), 0);
    const auto before = tap.layoutChanges().get();
    access.ask(rightControl);
    ASSERT_TRUE(hasConflict(KeyConflict::none));
    EXPECT_EQ(portal.count("BindShortcuts dictate="), 1) << "without a key of ours";
    EXPECT_EQ(tap.watchable(rightControl), KeyWatch::pressesAndReleases);
    EXPECT_EQ(tap.watchable(Hotkey{}), KeyWatch::nothing) << "no other one";
    EXPECT_GT(tap.layoutChanges().get(), before);
    EXPECT_EQ(tap.trigger().get(), "Press it");
    signal("Activated", "dictate", sessions["dictate"]);
    signal("Deactivated", "dictate", sessions["dictate"]);
    EXPECT_EQ(events, (Events{"modifier 62 262144", "modifier 62"}));
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
    access.ask(f9); // again: nothing more is asked meanwhile
    portal.takeIn(ours.bus);
    EXPECT_EQ(portal.count("Start"), 1);
    portal.respond({.results = {{"devices", 1U}, {"restore_token", "token"}}});
    ASSERT_TRUE(runUntil([&] { return portal.count("BindShortcuts") == 2; }));
    ASSERT_TRUE(
        runUntil([&] { return memory.consent("escape", "cancel") == PortalConsent::granted; }));
    EXPECT_TRUE(access.isGranted());
    signal("Activated", "dictate-F9", sessions["dictate-F9"]);
    EXPECT_EQ(events, Events{"down 101"});
}

TEST_F(PortalEventTapTest, noPortalForTheChordIsNoConsentAndSaysSo)
{
    portal.deviceTypes = 0;
    grant("dictate-F9");
    memory.setConsent("escape", "cancel", PortalConsent::granted);
    EXPECT_TRUE(access.canAsk()) << "who answers later may have it";
    start(f9);
    ASSERT_TRUE(isWatched());
    EXPECT_FALSE(access.isGranted());
    EXPECT_FALSE(access.isUnrefused());
    EXPECT_TRUE(runUntil([&] { return !access.canAsk(); }));
    EXPECT_EQ(access.obstacle(), "This desktop does not let Vorlin type into other apps.");
}

TEST_F(PortalEventTapTest, withoutAnyPortalsNothingCanBeAskedForAndThePersonIsToldWhy)
{
    start(f9);
    portal.program.bus.interface()->unregisterService("org.freedesktop.portal.Desktop");
    ASSERT_TRUE(hasConflict(KeyConflict::unwatched));
    EXPECT_FALSE(access.isGranted());
    EXPECT_TRUE(runUntil([&] { return !access.canAsk(); }));
    EXPECT_THAT(access.obstacle(), testing::HasSubstr("Install xdg-desktop-portal"));
}

TEST_F(PortalEventTapTest, whereNoPortalWatchesKeysThoseThatThePersonBindsAreLeft)
{
    portal.hasKeys = false;
    grantTheRest();
    start(f9);
    ASSERT_TRUE(hasConflict(KeyConflict::unwatched));
    EXPECT_TRUE(isGranted()) << "the chord is, and no key needs a question";
    EXPECT_FALSE(access.canAsk());
    EXPECT_EQ(access.obstacle(), "");
    EXPECT_EQ(access.eventTap().watchable(f9), KeyWatch::nothing);
    EXPECT_GT(access.eventTap().layoutChanges().get(), 0U) << "the default key may be another";
}

TEST_F(PortalEventTapTest, aChordThatGoesAnotherWayIsNotAskedFor)
{
    PlayedProgram keys{bus, "keys without a chord"};
    PlayedProgram escape{bus, "Escape without a chord"};
    PortalAccess own{keys.bus, escape.bus, state, "desktop", loop, std::nullopt};
    EXPECT_EQ(own.keyPoster(), nullptr);
    EXPECT_TRUE(own.isGranted()) << "until portals are known to want to ask";
    own.eventTap().choose(f9);
    ASSERT_TRUE(runUntil([&] { return own.canAsk(); }));
    EXPECT_FALSE(own.isGranted());
    own.ask(f9);
    ASSERT_TRUE(runUntil([&] { return !own.canAsk(); }));
    EXPECT_TRUE(own.isGranted());
    EXPECT_EQ(portal.count("Start"), 0);
}

TEST_F(PortalEventTapTest, whatIsStoppedTellsNothing)
{
    grant("dictate-F9");
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
