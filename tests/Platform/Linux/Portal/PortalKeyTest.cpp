#include "Platform/Linux/Portal/PortalKeyFixture.h"

namespace vorlin {
namespace {

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

TEST_F(PortalKeyTest, whatWasTakenBackInTheDesktopsSettingsIsNotAskedForAgain)
{
    portal->watchesKeys();
    grant(f9);
    refuses(1);
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
    stranger.emitSignal(portal->session, "org.freedesktop.portal.Session", "Closed",
                        {QVariantMap()});
    portal->takeIn(ours.bus);
    EXPECT_EQ(told, Told());
    EXPECT_EQ(key->state().get(), bound);
}

TEST_F(PortalKeyTest, anotherTriggerThatThePersonChoosesIsTold)
{
    portal->watchesKeys({{"dictate-F9", "F9"}});
    key->want(f9);
    ASSERT_TRUE(comesTo(bound));
    tellOfChange({{"dictate-F9", "Meta+D"}});
    EXPECT_EQ(key->trigger().get(), "Meta+D");
}

} // namespace
} // namespace vorlin
