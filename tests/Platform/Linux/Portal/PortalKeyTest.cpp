#include "Platform/Linux/Portal/PortalKey.h"

#include "Platform/Linux/Portal/PlayedPortal.h"
#include "Platform/RunUntil.h"
#include "fakes/FakeDesktop.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vorlin {
namespace {

using enum PortalKeyState;
using Response = PlayedPortal::Response;
using Told = std::vector<std::string>;

const WantedShortcut f9{"dictate-F9", "Dictate", "F9"};
const WantedShortcut f8{"dictate-F8", "Dictate", "F8"};

class PortalKeyTest : public testing::Test {
protected:
    PortalKeyTest() { begin(); }

    /// The program starts, or starts again.
    void begin()
    {
        key.reset();
        registry = std::make_unique<HostRegistry>(ours.bus, "org.example.App");
        key = std::make_unique<PortalKey>(
            ours.bus, *registry, "key", memory,
            PortalKey::Callbacks{
                .pressed = [this](bool again) { told.emplace_back(again ? "again" : "pressed"); },
                .released = [this] { told.emplace_back("released"); }});
    }
    bool comesTo(PortalKeyState state)
    {
        return runUntil([&] { return key->state().get() == state; });
    }
    /// The person gives what is bound; the desktop says so with this code.
    void binds(unsigned code = 0)
    {
        portal->answers["BindShortcuts"] = [code](const QDBusMessage& message) {
            const auto list =
                qdbus_cast<PortalShortcuts>(message.arguments().at(1).value<QDBusArgument>());
            return Response{.code = code,
                            .results =
                                PlayedPortal::bound({{list.front().id.toStdString(), "Press it"}})};
        };
    }
    void refuses(unsigned code)
    {
        portal->answers["BindShortcuts"] = [code](const QDBusMessage&) {
            return Response{.code = code};
        };
    }
    void signal(const QString& name, const QString& id, const QString& session)
    {
        portal->emitSignal("org.freedesktop.portal.GlobalShortcuts", name,
                           {QVariant::fromValue(QDBusObjectPath(session)), id,
                            QVariant::fromValue(qulonglong(1)), QVariantMap()});
        portal->takeIn(ours.bus);
    }
    void signal(const QString& name) { signal(name, "dictate-F9", portal->session); }
    bool ask(const WantedShortcut& wanted)
    {
        bool answered = false;
        key->ask(wanted, [&] { answered = true; });
        return runUntil([&] { return answered; });
    }

    PlayedBus bus;
    PlayedProgram ours{bus, "ours"};
    std::unique_ptr<PlayedPortal> portal = std::make_unique<PlayedPortal>(bus);
    FakeDefaults state;
    PortalMemory memory{state, "one"};
    std::unique_ptr<HostRegistry> registry;
    std::unique_ptr<PortalKey> key;
    Told told;
};

TEST_F(PortalKeyTest, whatTheDesktopHasBoundAlreadyIsWatchedWithoutAQuestion)
{
    portal->watchesKeys({{"dictate-F9", "F9"}});
    key->want(f9);
    ASSERT_TRUE(comesTo(bound));
    EXPECT_EQ(key->trigger().get(), "F9");
    EXPECT_EQ(portal->count("BindShortcuts"), 0);
    EXPECT_TRUE(key->isGranted(f9));
    signal("Activated");
    signal("Deactivated");
    EXPECT_EQ(told, (Told{"pressed", "released"}));
}

TEST_F(PortalKeyTest, wantingAKeyAsksNobody)
{
    portal->watchesKeys();
    binds();
    key->want(f9);
    ASSERT_TRUE(comesTo(unasked));
    portal->takeIn(ours.bus);
    EXPECT_EQ(portal->count("BindShortcuts"), 0);
    EXPECT_FALSE(key->isGranted(f9));
}

TEST_F(PortalKeyTest, whatWasGrantedOnceIsBoundAtEachStartWithoutBeingWishedFor)
{
    portal->watchesKeys();
    binds();
    key->want(f9);
    ASSERT_TRUE(comesTo(unasked));
    ASSERT_TRUE(ask(f9));
    EXPECT_EQ(key->state().get(), bound);
    EXPECT_EQ(key->trigger().get(), "Press it");
    EXPECT_EQ(portal->calls.back(), "BindShortcuts dictate-F9=F9");
    begin();
    key->want(f9);
    ASSERT_TRUE(comesTo(bound));
    EXPECT_EQ(portal->count("BindShortcuts"), 2);
}

TEST_F(PortalKeyTest, whatWasGrantedOnOneDesktopIsAskedForOnAnother)
{
    portal->watchesKeys();
    binds();
    ASSERT_TRUE(ask(f9));
    PortalMemory other{state, "another"};
    EXPECT_EQ(memory.consent("key", f9.id), PortalConsent::granted);
    EXPECT_EQ(other.consent("key", f9.id), PortalConsent::unasked);
}

TEST_F(PortalKeyTest, anotherKeyIsAskedForAnew)
{
    portal->watchesKeys();
    binds();
    key->want(f9);
    ASSERT_TRUE(ask(f9));
    key->want(f8);
    ASSERT_TRUE(comesTo(unasked));
    EXPECT_EQ(portal->count("BindShortcuts"), 1);
    ASSERT_TRUE(ask(f8));
    EXPECT_EQ(key->state().get(), bound);
}

TEST_F(PortalKeyTest, aFailureThatTellsOfABoundKeyIsNone)
{
    portal->watchesKeys();
    binds(/*code=*/2);
    key->want(f9);
    ASSERT_TRUE(ask(f9));
    EXPECT_EQ(key->state().get(), bound);
    EXPECT_TRUE(key->isGranted(f9));
}

TEST_F(PortalKeyTest, aSuccessThatTellsNothingIsLookedUp)
{
    portal->watchesKeys();
    portal->answers["BindShortcuts"] = [this](const QDBusMessage&) {
        portal->watchesKeys({{"dictate-F9", "F9"}});
        return Response{};
    };
    key->want(f9);
    ASSERT_TRUE(ask(f9));
    EXPECT_EQ(key->state().get(), bound);
    EXPECT_EQ(key->trigger().get(), "F9");
}

TEST_F(PortalKeyTest, aRefusalIsRememberedUntilThePersonWishesIt)
{
    for (const unsigned code : {1U, 2U}) {
        portal->watchesKeys();
        refuses(code);
        key->want(f9);
        ASSERT_TRUE(ask(f9));
        EXPECT_EQ(key->state().get(), refused);
        EXPECT_FALSE(key->isGranted(f9));
        const auto before = portal->count("BindShortcuts");
        begin();
        key->want(f9);
        ASSERT_TRUE(comesTo(refused));
        EXPECT_EQ(portal->count("BindShortcuts"), before);
        binds();
        ASSERT_TRUE(ask(f9));
        EXPECT_EQ(key->state().get(), bound);
    }
}

TEST_F(PortalKeyTest, whatWasTakenBackInTheDesktopsSettingsIsNotAskedForAgain)
{
    portal->watchesKeys();
    memory.setConsent("key", f9.id, PortalConsent::granted);
    refuses(2);
    key->want(f9);
    ASSERT_TRUE(comesTo(unasked));
    begin();
    key->want(f9);
    ASSERT_TRUE(comesTo(unasked));
    EXPECT_EQ(portal->count("BindShortcuts"), 1);
}

TEST_F(PortalKeyTest, aKeyThatAnotherProgramHasIsTaken)
{
    portal->watchesKeys({{"dictate-F9", ""}});
    key->want(f9);
    EXPECT_TRUE(comesTo(taken));
}

TEST_F(PortalKeyTest, aDesktopWithoutSuchAPortalIsTold)
{
    key->want(f9);
    EXPECT_TRUE(comesTo(missing));
    EXPECT_FALSE(key->isGranted(f9));
    EXPECT_TRUE(ask(f9)) << "nothing is left to ask";
}

TEST_F(PortalKeyTest, whatIsNotWantedAnyMoreIsGivenBack)
{
    portal->watchesKeys({{"dictate-F9", "F9"}});
    key->want(f9);
    ASSERT_TRUE(comesTo(bound));
    key->want(std::nullopt);
    ASSERT_TRUE(runUntil([&] { return portal->count("Close") == 1; }));
    signal("Activated");
    EXPECT_EQ(told, Told());
    EXPECT_EQ(key->state().get(), unknown);
}

TEST_F(PortalKeyTest, whatIsOnlyAskedForIsGivenBack)
{
    portal->watchesKeys();
    binds();
    ASSERT_TRUE(ask(f9));
    EXPECT_TRUE(runUntil([&] { return portal->count("Close") == 1; }));
    EXPECT_TRUE(key->isGranted(f9));
}

TEST_F(PortalKeyTest, pressesRepeatUntilTheRelease)
{
    portal->watchesKeys({{"dictate-F9", "F9"}});
    key->want(f9);
    ASSERT_TRUE(comesTo(bound));
    for (const auto* name : {"Activated", "Activated", "Deactivated", "Deactivated", "Activated"}) {
        signal(name);
    }
    EXPECT_EQ(told, (Told{"pressed", "again", "released", "pressed"}));
}

TEST_F(PortalKeyTest, otherKeysSessionsAndSendersAreNotOurs)
{
    portal->watchesKeys({{"dictate-F9", "F9"}, {"dictate-F8", "F8"}});
    key->want(f9);
    ASSERT_TRUE(comesTo(bound));
    signal("Activated", "dictate-F8", portal->session);
    signal("Activated", "dictate-F9", "/org/freedesktop/portal/desktop/session/1_1/other");
    PlayedProgram stranger(bus, "stranger");
    stranger.emitSignal("/org/freedesktop/portal/desktop", "org.freedesktop.portal.GlobalShortcuts",
                        "Activated",
                        {QVariant::fromValue(QDBusObjectPath(portal->session)), "dictate-F9",
                         QVariant::fromValue(qulonglong(1)), QVariantMap()});
    portal->takeIn(ours.bus);
    EXPECT_EQ(told, Told());
}

TEST_F(PortalKeyTest, anotherTriggerThatThePersonChoosesIsTold)
{
    portal->watchesKeys({{"dictate-F9", "F9"}});
    key->want(f9);
    ASSERT_TRUE(comesTo(bound));
    portal->emitSignal("org.freedesktop.portal.GlobalShortcuts", "ShortcutsChanged",
                       {QVariant::fromValue(QDBusObjectPath(portal->session)),
                        PlayedPortal::bound({{"dictate-F9", "Meta+D"}})["shortcuts"]});
    ASSERT_TRUE(runUntil([&] { return key->trigger().get() == "Meta+D"; }));
}

TEST_F(PortalKeyTest, aPortalThatRestartsHasTheSameKeyAgainWithoutAQuestion)
{
    portal->watchesKeys();
    binds();
    key->want(f9);
    ASSERT_TRUE(ask(f9));
    signal("Activated");
    portal.reset();
    ASSERT_TRUE(comesTo(unknown));
    EXPECT_EQ(told, (Told{"pressed", "released"})) << "its release may never be told";
    EXPECT_EQ(key->trigger().get(), "");
    portal = std::make_unique<PlayedPortal>(bus);
    portal->watchesKeys();
    binds();
    ASSERT_TRUE(comesTo(bound));
    EXPECT_EQ(portal->count("CreateSession"), 1);
    signal("Activated");
    EXPECT_EQ(told.back(), "pressed");
}

TEST_F(PortalKeyTest, aSessionThatTheDesktopEndsIsOver)
{
    portal->watchesKeys({{"dictate-F9", "F9"}});
    key->want(f9);
    ASSERT_TRUE(comesTo(bound));
    signal("Activated");
    portal->emitSignal("org.freedesktop.portal.Session", "Closed", {QVariantMap()},
                       portal->session);
    ASSERT_TRUE(comesTo(unasked));
    EXPECT_EQ(told, (Told{"pressed", "released"}));
}

TEST_F(PortalKeyTest, nonsenseIsNoKey)
{
    portal->watchesKeys();
    portal->answers["ListShortcuts"] = [](const QDBusMessage&) {
        return Response{.results = {{"shortcuts", "dictate-F9"}}};
    };
    key->want(f9);
    EXPECT_TRUE(comesTo(unasked));
    portal->answers["CreateSession"] = [](const QDBusMessage&) {
        return Response{.results = {{"session_handle", 7}}};
    };
    key->want(f8);
    EXPECT_TRUE(comesTo(missing));
}

} // namespace
} // namespace vorlin
