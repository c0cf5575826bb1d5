#include "Platform/Linux/Portal/PortalKeyFixture.h"

namespace vorlin {
namespace {

TEST_F(PortalKeyTest, portalsThatEndWhileThePersonIsAskedTakeTheQuestionBack)
{
    portal->watchesKeys();
    portal->answers["BindShortcuts"] = [](const QDBusMessage&) { return std::nullopt; };
    bool answered = false;
    key->ask(f9, [&] { answered = true; });
    ASSERT_TRUE(runUntil([&] { return portal->count("BindShortcuts") == 1; }));
    portal->takeIn(ours.bus);
    portal.reset();
    ASSERT_TRUE(runUntil([&] { return registry->portal().isEmpty(); }));
    EXPECT_EQ(memory.consent("key", f9.id), PortalConsent::unasked);
    portal = std::make_unique<PlayedPortal>(bus);
    portal->watchesKeys();
    ASSERT_TRUE(runUntil([&] { return key->portal().get() == KeysPortal::there; }));
    portal->takeIn(ours.bus);
    EXPECT_FALSE(answered);
    EXPECT_EQ(portal->count("CreateSession"), 0);
}

TEST_F(PortalKeyTest, anAnswerThatIsLateIsNoRefusalAndCountsWhenItComes)
{
    times.patience = std::chrono::milliseconds(1);
    for (const auto* method : {"CreateSession", "ListShortcuts", "BindShortcuts"}) {
        begin();
        portal->watchesKeys();
        binds();
        grant(f9);
        const auto works = portal->answers[method];
        holds(method);
        const auto closed = portal->count("Close");
        ASSERT_TRUE(comesTo(unanswered)) << method;
        EXPECT_TRUE(key->isGranted(f9)) << method;
        EXPECT_TRUE(key->needsQuestion(f9)) << "the person need not wait";
        EXPECT_EQ(portal->count("Close"), closed) << method;
        QDBusMessage late = QDBusMessage::createMethodCall("a.b", "/a", "a.b", "a");
        if (std::string(method) == "BindShortcuts") {
            portal->respond({.results = PlayedPortal::bound({{"dictate-F9", "F9"}})});
        } else {
            portal->respond(*works(late));
        }
        ASSERT_TRUE(comesTo(bound)) << method;
        EXPECT_FALSE(key->needsQuestion(f9)) << method;
    }
}

TEST_F(PortalKeyTest, aRefusalThatIsLateIsOne)
{
    times.patience = std::chrono::milliseconds(1);
    begin();
    portal->watchesKeys();
    grant(f9);
    holds("BindShortcuts");
    ASSERT_TRUE(comesTo(unanswered));
    portal->respond({.code = 1});
    ASSERT_TRUE(comesTo(unasked));
    EXPECT_EQ(memory.consent("key", f9.id), PortalConsent::unasked);
}

TEST_F(PortalKeyTest, aQuestionThatEndsWithoutAnAnswerDoesNotComeBackByItself)
{
    times.patience = std::chrono::milliseconds(1);
    for (const bool closes : {false, true}) {
        begin();
        portal->watchesKeys();
        grant(f9);
        holds("BindShortcuts");
        ASSERT_TRUE(outlastsPatience());
        ASSERT_EQ(key->state().get(), unanswered);
        portal->calls.clear();
        endWithoutAnAnswer(closes);
        ASSERT_TRUE(comesTo(unasked));
        EXPECT_EQ(memory.consent("key", f9.id), PortalConsent::unasked);
        portal->takeIn(ours.bus);
        EXPECT_EQ(portal->count("CreateSession"), 0);
        EXPECT_EQ(portal->count("BindShortcuts"), 0);
    }
}

TEST_F(PortalKeyTest, aQuestionThatGoesWithTheProgramDoesNotComeBackByItself)
{
    times.patience = std::chrono::milliseconds(1);
    for (const bool wanted : {true, false}) {
        begin();
        portal->watchesKeys();
        grant(f9);
        holds("BindShortcuts");
        if (!wanted) {
            key->want(std::nullopt);
        }
        ASSERT_TRUE(runUntil([&] {
            return memory.consent("key", f9.id) == PortalConsent::unasked;
        })) << "whichever way the program ends";
        EXPECT_TRUE(key->isGranted(f9)) << "until then the answer counts";
        begin();
        portal->calls.clear();
        key->want(f9);
        ASSERT_TRUE(comesTo(unasked));
        portal->takeIn(ours.bus);
        EXPECT_EQ(portal->count("BindShortcuts"), 0);
    }
}

TEST_F(PortalKeyTest, aQuestionThatGoesWithThePortalsDoesNotComeBackByItself)
{
    times.patience = std::chrono::milliseconds(1);
    begin();
    portal->watchesKeys();
    grant(f9);
    holds("BindShortcuts");
    ASSERT_TRUE(outlastsPatience());
    portal.reset();
    ASSERT_TRUE(runUntil([&] { return registry->portal().isEmpty(); }));
    portal = std::make_unique<PlayedPortal>(bus);
    portal->watchesKeys();
    binds();
    ASSERT_TRUE(comesTo(unasked));
    EXPECT_FALSE(key->isGranted(f9));
    EXPECT_EQ(portal->count("BindShortcuts"), 0);
}

TEST_F(PortalKeyTest, whatIsBoundLateAndNotWantedAnyMoreStaysGiven)
{
    times.patience = std::chrono::milliseconds(1);
    begin();
    portal->watchesKeys();
    grant(f9);
    holds("BindShortcuts");
    ASSERT_TRUE(outlastsPatience());
    key->want(std::nullopt);
    portal->respond({.results = PlayedPortal::bound({{"dictate-F9", "F9"}})});
    ASSERT_TRUE(closesSessions(1));
    EXPECT_EQ(memory.consent("key", f9.id), PortalConsent::granted);
}

TEST_F(PortalKeyTest, aSessionThatEndsBeforeAQuestionIsOpenedAnew)
{
    times.patience = std::chrono::milliseconds(1);
    begin();
    portal->watchesKeys();
    holds("ListShortcuts");
    ASSERT_TRUE(outlastsPatience());
    portal->watchesKeys({{"dictate-F9", "F9"}});
    endWithoutAnAnswer(/*closes=*/true);
    EXPECT_TRUE(comesTo(bound)) << "nobody was asked for a key that nobody was to be asked for";
}

TEST_F(PortalKeyTest, whoeverAsksWhileTheDesktopAsksAlreadyIsAnsweredByThat)
{
    times.patience = std::chrono::milliseconds(1);
    for (const unsigned code : {0U, 1U, 2U}) {
        begin();
        portal->watchesKeys();
        grant(f9);
        holds("BindShortcuts");
        ASSERT_TRUE(outlastsPatience());
        if (code == 1) {
            key->want(std::nullopt); // which gives nothing back yet
        }
        portal->calls.clear();
        bool answered = false;
        key->ask(f9, [&] { answered = true; });
        portal->takeIn(ours.bus);
        EXPECT_EQ(portal->calls, std::vector<std::string>()) << "a second dialog, a dead key";
        portal->respond(
            {.code = code,
             .results = code == 0 ? PlayedPortal::bound({{"dictate-F9", "F9"}}) : QVariantMap()});
        ASSERT_TRUE(runUntil([&] { return answered; })) << code;
        EXPECT_EQ(memory.consent("key", f9.id), code == 0   ? PortalConsent::granted
                                                : code == 1 ? PortalConsent::refused
                                                            : PortalConsent::unasked);
        key->want(f9);
        ASSERT_TRUE(comesTo(code == 0 ? bound : code == 1 ? refused : unasked)) << code;
        EXPECT_EQ(portal->count("BindShortcuts"), 0) << code;
    }
}

TEST_F(PortalKeyTest, whoeverAsksOnceMoreIsAskedAnewWhereNoAnswerEverComes)
{
    times.patience = std::chrono::milliseconds(1);
    begin();
    portal->watchesKeys();
    grant(f9);
    holds("BindShortcuts");
    ASSERT_TRUE(outlastsPatience());
    int first = 0;
    key->ask(f9, [&] { ++first; });
    binds();
    ASSERT_TRUE(ask(f9)) << "the desktop has lost what it was asked for";
    EXPECT_EQ(first, 0);
    EXPECT_EQ(portal->count("Close session"), 1);
    EXPECT_EQ(memory.consent("key", f9.id), PortalConsent::granted);
    key->want(f9);
    EXPECT_TRUE(comesTo(bound));
}

TEST_F(PortalKeyTest, aKeyThatGoesWithWhoServesThePortalsIsBoundAnew)
{
    portal->watchesKeys();
    grant(f9);
    holds("BindShortcuts");
    binds();
    key->reopen();
    ASSERT_TRUE(comesTo(bound)) << "no answer to the first comes any more";
    EXPECT_TRUE(closesSessions(1));
}

TEST_F(PortalKeyTest, aQuestionThatGoesWithWhoServesThePortalsIsAskedForAnewByThePersonOnly)
{
    times.patience = std::chrono::milliseconds(1);
    begin();
    portal->watchesKeys();
    grant(f9);
    holds("BindShortcuts");
    ASSERT_TRUE(outlastsPatience());
    portal->calls.clear();
    key->reopen();
    ASSERT_TRUE(comesTo(unasked));
    EXPECT_EQ(portal->count("BindShortcuts"), 0);
    EXPECT_TRUE(key->needsQuestion(f9));
    binds();
    ASSERT_TRUE(ask(f9));
    EXPECT_EQ(key->state().get(), bound);
}

TEST_F(PortalKeyTest, whoeverAsksWhereThePortalWasMissingHasItLookedForAnew)
{
    portal->hasKeys = false;
    ASSERT_TRUE(comesTo(missing));
    ASSERT_TRUE(ask(f9)) << "it still is";
    EXPECT_EQ(key->state().get(), missing);
    portal->hasKeys = true;
    portal->watchesKeys();
    binds();
    key->want(f9);
    ASSERT_TRUE(ask(f9));
    EXPECT_EQ(key->state().get(), bound);
}

TEST_F(PortalKeyTest, aQuestionForAnotherKeyFollowsTheOneThatIsNotAnswered)
{
    times.patience = std::chrono::milliseconds(1);
    begin();
    portal->watchesKeys();
    grant(f9);
    holds("BindShortcuts");
    ASSERT_TRUE(outlastsPatience());
    portal->calls.clear();
    bool answered = false;
    key->ask(f8, [&] { answered = true; });
    portal->takeIn(ours.bus);
    EXPECT_EQ(portal->calls, std::vector<std::string>());
    portal->respond({.results = PlayedPortal::bound({{"dictate-F9", "F9"}})});
    binds();
    ASSERT_TRUE(runUntil([&] { return answered; }));
    EXPECT_EQ(portal->calls.front(), "Close session");
    EXPECT_EQ(memory.consent("key", f8.id), PortalConsent::granted);
}

TEST_F(PortalKeyTest, aQuestionForWhatIsNotWantedAnyMoreEndsWithoutAnAnswerOnce)
{
    times.patience = std::chrono::milliseconds(1);
    for (const bool closes : {false, true}) {
        begin();
        portal->watchesKeys();
        grant(f9);
        holds("BindShortcuts");
        portal->calls.clear();
        key->want(std::nullopt);
        key->want(f9);
        ASSERT_TRUE(comesTo(unanswered));
        endWithoutAnAnswer(closes);
        ASSERT_TRUE(comesTo(unasked));
        EXPECT_EQ(memory.consent("key", f9.id), PortalConsent::unasked);
        EXPECT_EQ(portal->count("BindShortcuts"), 0);
    }
}

TEST_F(PortalKeyTest, aRefusalOfWhatIsNotWantedAnyMoreIsNotAskedForAgain)
{
    times.patience = std::chrono::milliseconds(1);
    begin();
    portal->watchesKeys();
    grant(f9);
    holds("BindShortcuts");
    ASSERT_TRUE(comesTo(unanswered));
    key->want(std::nullopt);
    key->want(f9);
    EXPECT_TRUE(comesTo(unanswered)) << "the question is still there";
    portal->takeIn(ours.bus);
    EXPECT_EQ(portal->count("BindShortcuts"), 1);
    portal->respond({.code = 1});
    ASSERT_TRUE(comesTo(unasked));
    EXPECT_EQ(portal->count("BindShortcuts"), 1);
}

TEST_F(PortalKeyTest, whoWaitsInVainMayAskAnew)
{
    times.patience = std::chrono::milliseconds(1);
    begin();
    portal->watchesKeys();
    grant(f9);
    holds("CreateSession");
    ASSERT_TRUE(comesTo(unanswered));
    const auto left = portal->session;
    portal->answers["CreateSession"] = [this](const QDBusMessage&) { return portal->opened(); };
    binds();
    ASSERT_TRUE(ask(f9));
    EXPECT_EQ(key->state().get(), bound);
    portal->respond({.results = {{"session_handle", left}}});
    EXPECT_TRUE(closesSessions(1)) << "what comes after all is not left open";
    EXPECT_EQ(key->state().get(), bound);
}

TEST_F(PortalKeyTest, askingTwiceAsksOnce)
{
    portal->watchesKeys();
    portal->answers["BindShortcuts"] = [](const QDBusMessage&) { return std::nullopt; };
    int first = 0;
    int second = 0;
    key->ask(f9, [&] { ++first; });
    ASSERT_TRUE(runUntil([&] { return portal->count("BindShortcuts") == 1; }));
    key->ask(f9, [&] { ++second; });
    key->want(f9); // nor does what comes besides disturb it
    key->want(std::nullopt);
    key->want(f9);
    portal->takeIn(ours.bus);
    EXPECT_EQ(first + second, 0);
    EXPECT_EQ(portal->count("Close"), 0);
    portal->respond({.results = PlayedPortal::bound({{"dictate-F9", "F9"}})});
    ASSERT_TRUE(runUntil([&] { return second == 1; }));
    EXPECT_EQ(first, 0);
    EXPECT_EQ(portal->count("CreateSession"), 1);
    EXPECT_EQ(key->state().get(), bound);
}

TEST_F(PortalKeyTest, aQuestionForAnotherKeyIsFollowedByTheWantedOne)
{
    portal->watchesKeys({{"dictate-F9", "F9"}});
    portal->answers["BindShortcuts"] = [](const QDBusMessage&) { return std::nullopt; };
    bool answered = false;
    key->ask(f8, [&] { answered = true; });
    ASSERT_TRUE(runUntil([&] { return portal->count("BindShortcuts") == 1; }));
    key->want(f9);
    portal->respond({.code = 1});
    ASSERT_TRUE(runUntil([&] { return answered; }));
    EXPECT_TRUE(comesTo(bound));
    EXPECT_EQ(memory.consent("key", f8.id), PortalConsent::refused);
}

TEST_F(PortalKeyTest, askingForWhatIsGrantedForgetsNothing)
{
    portal->watchesKeys();
    binds();
    key->want(f9);
    ASSERT_TRUE(ask(f9));
    ASSERT_TRUE(ask(f9));
    EXPECT_EQ(portal->count("BindShortcuts"), 1) << "it is bound";
    key->want(std::nullopt);
    portal->answers["BindShortcuts"] = [](const QDBusMessage&) { return std::nullopt; };
    key->ask(f9, [] {});
    ASSERT_TRUE(runUntil([&] { return portal->count("BindShortcuts") == 2; }));
    EXPECT_EQ(memory.consent("key", f9.id), PortalConsent::granted);
}

TEST_F(PortalKeyTest, whatIsKeptOfARefusalIsNoConsent)
{
    portal->watchesKeys({{"dictate-F9", ""}});
    memory.setConsent("key", f9.id, PortalConsent::refused);
    key->want(f9);
    ASSERT_TRUE(comesTo(refused));
    EXPECT_FALSE(key->isGranted(f9));
}

TEST_F(PortalKeyTest, aRefusalIsRememberedUntilThePersonWishesIt)
{
    for (const unsigned code : {0U, 1U}) {
        memory.setConsent("key", f9.id, PortalConsent::unasked);
        begin();
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

TEST_F(PortalKeyTest, whatIsOnlyAskedForIsGivenBack)
{
    portal->watchesKeys();
    binds();
    ASSERT_TRUE(ask(f9));
    EXPECT_TRUE(runUntil([&] { return portal->count("Close") == 1; }));
    EXPECT_TRUE(key->isGranted(f9));
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

TEST_F(PortalKeyTest, whatWasGrantedOnOneDesktopIsAskedForOnAnother)
{
    portal->watchesKeys();
    binds();
    ASSERT_TRUE(ask(f9));
    PortalMemory other{state, "another"};
    EXPECT_EQ(memory.consent("key", f9.id), PortalConsent::granted);
    EXPECT_EQ(other.consent("key", f9.id), PortalConsent::unasked);
}

TEST_F(PortalKeyTest, aKeyThatThePersonRemovesIsAskedForAnew)
{
    portal->watchesKeys({{"dictate-F9", "F9"}});
    key->want(f9);
    ASSERT_TRUE(comesTo(bound));
    tellOfChange({{"other", "F7"}});
    EXPECT_EQ(key->state().get(), unasked);
    EXPECT_EQ(key->trigger().get(), "");
    EXPECT_EQ(memory.consent("key", f9.id), PortalConsent::unasked);
    EXPECT_TRUE(closesSessions(1));
}

} // namespace
} // namespace vorlin
