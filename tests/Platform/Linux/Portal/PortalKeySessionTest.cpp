#include "Platform/Linux/Portal/PortalKeyFixture.h"

namespace vorlin {
namespace {

TEST_F(PortalKeyTest, aSessionThatTheDesktopEndsIsOpenedAnew)
{
    portal->watchesKeys({{"dictate-F9", "F9"}});
    key->want(f9);
    ASSERT_TRUE(comesTo(bound));
    signal("Activated");
    const auto before = portal->session;
    portal->emitSignal("org.freedesktop.portal.Session", "Closed", {QVariantMap()}, before);
    ASSERT_TRUE(runUntil([&] { return portal->count("ListShortcuts") == 2; }));
    EXPECT_EQ(told, (Told{"pressed", "released"}));
    ASSERT_TRUE(comesTo(bound));
    signal("Activated", "dictate-F9", before);
    signal("Activated");
    EXPECT_EQ(told, (Told{"pressed", "released", "pressed"}));
}

TEST_F(PortalKeyTest, aSessionThatFailsIsOpenedAnewWithoutAQuestion)
{
    portal->watchesKeys();
    grant(f9);
    for (const auto* method : {"CreateSession", "ListShortcuts", "BindShortcuts"}) {
        portal->watchesKeys();
        refuses(2);
        const auto works = portal->answers[method];
        portal->answers[method] = [](const QDBusMessage&) { return Response{.code = 2}; };
        const int before = portal->count(method);
        key->want(f9);
        ASSERT_TRUE(runUntil([&] { return portal->count(method) >= before + 2; })) << method;
        EXPECT_EQ(memory.consent("key", f9.id), PortalConsent::granted) << method;
        EXPECT_TRUE(key->isGranted(f9));
        portal->answers[method] = works;
        binds();
        EXPECT_TRUE(comesTo(bound)) << method;
        key->want(std::nullopt);
    }
}

TEST_F(PortalKeyTest, aBackEndThatIsReplacedHasTheKeyAgain)
{
    portal->watchesKeys({{"dictate-F9", "F9"}});
    key->want(f9);
    ASSERT_TRUE(comesTo(bound));
    signal("Activated");
    key->reopen();
    EXPECT_EQ(told, (Told{"pressed", "released"}));
    ASSERT_TRUE(comesTo(bound));
    EXPECT_EQ(portal->count("CreateSession"), 2);
    EXPECT_TRUE(closesSessions(1));
}

TEST_F(PortalKeyTest, aBackEndThatIsReplacedIsAskedNothingAtOnceAndTakesTheQuestionBack)
{
    times.retry = std::chrono::minutes(1);
    begin();
    portal->watchesKeys({{"dictate-F9", "F9"}});
    key->want(f9);
    ASSERT_TRUE(comesTo(bound));
    portal->answers["BindShortcuts"] = [](const QDBusMessage&) { return std::nullopt; };
    bool answered = false;
    key->ask(f8, [&] { answered = true; });
    ASSERT_TRUE(runUntil([&] { return portal->count("BindShortcuts") == 1; }));
    portal->takeIn(ours.bus);
    const auto before = portal->calls.size();
    key->reopen();
    portal->takeIn(ours.bus);
    EXPECT_EQ(portal->calls.size(), before);
    EXPECT_FALSE(answered) << "the next question would follow";
}

TEST_F(PortalKeyTest, aDesktopWithoutPortalsIsOneWithoutSuchAPortal)
{
    portal.reset();
    begin();
    key->want(f9);
    ASSERT_TRUE(comesTo(missing));
    EXPECT_TRUE(ask(f9)) << "nothing is left to ask";
    portal = std::make_unique<PlayedPortal>(bus);
    portal->watchesKeys({{"dictate-F9", "F9"}});
    EXPECT_TRUE(comesTo(bound));
}

TEST_F(PortalKeyTest, portalsThatEndWhileAKeyIsBoundTakeNoConsentAlong)
{
    portal->watchesKeys();
    grant(f9);
    holds("BindShortcuts");
    portal.reset();
    ASSERT_TRUE(runUntil([&] { return registry->portal().isEmpty(); }));
    EXPECT_EQ(memory.consent("key", f9.id), PortalConsent::granted);
    portal = std::make_unique<PlayedPortal>(bus);
    portal->watchesKeys();
    binds();
    EXPECT_TRUE(comesTo(bound));
}

TEST_F(PortalKeyTest, aSessionThatOpensWhenItIsNotWantedAnyMoreIsClosedThen)
{
    portal->watchesKeys();
    holds("CreateSession");
    key->want(std::nullopt);
    portal->takeIn(ours.bus);
    EXPECT_EQ(portal->count("Close"), 0);
    portal->respond(portal->opened());
    EXPECT_TRUE(closesSessions(1));
    EXPECT_EQ(portal->count("ListShortcuts"), 0);
}

TEST_F(PortalKeyTest, aKeyThatIsBoundWhenItIsNotWantedAnyMoreIsGivenBackThen)
{
    portal->watchesKeys();
    grant(f9);
    holds("BindShortcuts");
    key->want(std::nullopt);
    portal->takeIn(ours.bus);
    EXPECT_EQ(portal->count("Close"), 0);
    signal("Activated");
    portal->respond({.results = PlayedPortal::bound({{"dictate-F9", "F9"}})});
    EXPECT_TRUE(closesSessions(1));
    EXPECT_EQ(key->state().get(), unknown);
    EXPECT_EQ(told, Told());
    EXPECT_TRUE(key->isGranted(f9));
}

TEST_F(PortalKeyTest, whatIsWantedAgainMeanwhileIsOpenedOnceTheOtherIsGone)
{
    portal->watchesKeys();
    grant(f9);
    holds("BindShortcuts");
    key->want(f8);
    key->want(std::nullopt);
    key->want(f9);
    portal->takeIn(ours.bus);
    EXPECT_EQ(portal->count("CreateSession"), 1);
    const auto bind = portal->calls.size();
    portal->respond({.results = PlayedPortal::bound({{"dictate-F9", "F9"}})});
    binds();
    ASSERT_TRUE(comesTo(bound));
    EXPECT_EQ(portal->count("CreateSession"), 2);
    EXPECT_EQ(portal->calls.at(bind), "Close session");
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

TEST_F(PortalKeyTest, aDesktopWithoutSuchAPortalStaysOneUntilItsPortalsAreOthers)
{
    portal->hasKeys = false;
    begin();
    ASSERT_TRUE(comesTo(missing));
    grant(f9);
    for (int i = 0; i < 3; ++i) {
        key->want(f9);
        portal->takeIn(ours.bus);
        EXPECT_EQ(key->state().get(), missing);
        EXPECT_FALSE(key->isGranted(f9));
        key->want(std::nullopt);
        EXPECT_EQ(key->state().get(), missing);
        EXPECT_FALSE(key->isGranted(f9));
    }
    EXPECT_EQ(portal->count("CreateSession"), 0);
    EXPECT_FALSE(key->needsQuestion(f9));
    portal.reset();
    ASSERT_TRUE(comesTo(unknown));
    portal = std::make_unique<PlayedPortal>(bus);
    portal->watchesKeys({{"dictate-F9", "F9"}});
    key->want(f9);
    EXPECT_TRUE(comesTo(bound));
}

TEST_F(PortalKeyTest, portalsThatRefuseOurNameAreAskedForNothing)
{
    portal->refusedName = "org.example.App";
    portal->watchesKeys({{"dictate-F9", "F9"}});
    begin();
    key->want(f9);
    ASSERT_TRUE(comesTo(missing));
    EXPECT_TRUE(ask(f9)) << "nothing is left to ask";
    EXPECT_EQ(portal->count("CreateSession"), 0);
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
    EXPECT_TRUE(runUntil([&] { return portal->count("CreateSession") >= 3; }));
    EXPECT_EQ(key->state().get(), unknown);
}

TEST_F(PortalKeyTest, aDesktopWithoutSuchAPortalIsTold)
{
    key->want(f9);
    EXPECT_TRUE(comesTo(missing));
    EXPECT_FALSE(key->isGranted(f9));
    EXPECT_TRUE(ask(f9)) << "nothing is left to ask";
}

} // namespace
} // namespace vorlin
