#include "Platform/Linux/Portal/RemoteDesktopPoster.h"

#include "Hotkey.h"
#include "Platform/Linux/Portal/PlayedPortal.h"
#include "Platform/RunUntil.h"
#include "fakes/FakeDesktop.h"

#include <QStringList>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vorlin {
namespace {

using Access = RemoteDesktopPoster::Access;
using Response = PlayedPortal::Response;

class RemoteDesktopPosterTest : public testing::Test {
protected:
    RemoteDesktopPosterTest()
    {
        portal->watchesKeys(); // it makes sessions
        portal->answers["SelectDevices"] = [this](const QDBusMessage& message) {
            const auto options = qdbus_cast<QVariantMap>(message.arguments().constLast());
            tokens.push_back(options.value("restore_token").toString().toStdString());
            EXPECT_EQ(options.value("types").toUInt(), 1U);
            EXPECT_EQ(options.value("persist_mode").toUInt(), 2U);
            return Response{};
        };
        starts("token 1");
        begin();
    }
    void begin(std::chrono::milliseconds patience = std::chrono::minutes(1))
    {
        poster.reset();
        registry = std::make_unique<HostRegistry>(ours.bus, "org.example.App");
        poster = std::make_unique<RemoteDesktopPoster>(
            ours.bus, *registry, memory, [this](std::uint16_t) { return place; }, patience);
        EXPECT_TRUE(runUntil([&] { return poster->access().get() != Access::unknown; }));
    }
    void starts(const std::string& token)
    {
        portal->answers["Start"] = [token](const QDBusMessage&) {
            return Response{
                .results = {{"devices", 1U}, {"restore_token", QString::fromStdString(token)}}};
        };
    }
    bool ask()
    {
        bool answered = false;
        poster->ask([&] { answered = true; });
        return runUntil([&] { return answered; });
    }
    bool isReady()
    {
        return runUntil([&] { return poster->readiness() == KeyReadiness::ready; });
    }
    bool open() { return ask() && (poster->prepare(), isReady()); }
    void closeSession()
    {
        portal->emitSignal("org.freedesktop.portal.Session", "Closed", {QVariantMap()},
                           portal->session);
    }
    /// Control+Shift and the V key, down and up.
    void postChord()
    {
        for (const bool down : {true, false}) {
            poster->post(keyCodes::v, down, eventFlags::maskControl | eventFlags::maskShift);
        }
    }
    /// The symbols, and places, that were pressed (1) and released (0) by now.
    std::vector<std::string> posted() const
    {
        std::vector<std::string> keys;
        for (const auto& call : portal->calls) {
            if (call.starts_with("Notify")) {
                const bool isPlace = call.starts_with("NotifyKeyboardKeycode");
                keys.push_back((isPlace ? "place " : "") + call.substr(call.find(' ') + 1));
            }
        }
        return keys;
    }
    bool posts(std::size_t count)
    {
        return runUntil([&] { return posted().size() == count; });
    }

    PlayedBus bus;
    PlayedProgram ours{bus, "ours"};
    std::unique_ptr<PlayedPortal> portal = std::make_unique<PlayedPortal>(bus);
    FakeDefaults state;
    PortalMemory memory{state, "desktop"};
    std::unique_ptr<HostRegistry> registry;
    std::unique_ptr<RemoteDesktopPoster> poster;
    /// With which sessions were to be restored.
    std::vector<std::string> tokens;
    /// Of every key; nothing: it is not known.
    std::optional<std::uint32_t> place;
    const std::string control = std::to_string(0xffe3);
    const std::string shift = std::to_string(0xffe1);
    const std::string v = std::to_string('v');
};

TEST_F(RemoteDesktopPosterTest, preparingAsksNobody)
{
    EXPECT_EQ(poster->access().get(), Access::unasked);
    poster->prepare();
    portal->takeIn(ours.bus);
    EXPECT_EQ(portal->count("CreateSession"), 0);
    EXPECT_EQ(poster->readiness(), KeyReadiness::never);
    poster->post(keyCodes::v, true, eventFlags::maskControl);
    portal->takeIn(ours.bus);
    EXPECT_TRUE(posted().empty());
}

TEST_F(RemoteDesktopPosterTest, thePersonIsAskedOnceAndTheTokenServesFromThenOn)
{
    ASSERT_TRUE(ask());
    EXPECT_EQ(poster->access().get(), Access::granted);
    EXPECT_TRUE(runUntil([&] { return portal->count("Close") == 1; })) << "nothing is to be typed";
    starts("token 2");
    begin();
    EXPECT_EQ(poster->access().get(), Access::granted);
    poster->prepare();
    ASSERT_TRUE(isReady());
    poster->rest();
    starts("token 3");
    poster->prepare();
    ASSERT_TRUE(isReady());
    EXPECT_EQ(tokens, (std::vector<std::string>{"", "token 1", "token 2"}));
}

TEST_F(RemoteDesktopPosterTest, theSessionIsOpenFromPrepareToRest)
{
    ASSERT_TRUE(ask());
    portal->takeIn(ours.bus);
    portal->calls.clear();
    poster->prepare();
    EXPECT_EQ(poster->readiness(), KeyReadiness::soon);
    ASSERT_TRUE(isReady());
    EXPECT_EQ(portal->count("Close"), 0);
    poster->rest();
    EXPECT_EQ(poster->readiness(), KeyReadiness::never);
    EXPECT_TRUE(runUntil([&] { return portal->count("Close") == 1; }));
}

TEST_F(RemoteDesktopPosterTest, aSessionThatOpensWhenItIsNotWantedAnyMoreKeepsItsToken)
{
    ASSERT_TRUE(ask());
    portal->takeIn(ours.bus);
    portal->answers["Start"] = [](const QDBusMessage&) { return std::nullopt; };
    portal->calls.clear();
    poster->prepare();
    ASSERT_TRUE(runUntil([&] { return portal->count("Start") == 1; }));
    poster->rest();
    portal->takeIn(ours.bus);
    EXPECT_EQ(portal->count("Close"), 0);
    portal->respond({.results = {{"devices", 1U}, {"restore_token", "token 2"}}});
    EXPECT_TRUE(runUntil([&] { return portal->count("Close") == 1; }));
    EXPECT_EQ(memory.token("chord"), "token 2");
}

TEST_F(RemoteDesktopPosterTest, aKeyWithoutAPlaceGoesByWhatItTypes)
{
    ASSERT_TRUE(open());
    postChord();
    ASSERT_TRUE(posts(6));
    EXPECT_EQ(posted(), (std::vector<std::string>{control + " 1", shift + " 1", v + " 1", v + " 0",
                                                  shift + " 0", control + " 0"}));
}

TEST_F(RemoteDesktopPosterTest, aKeyGoesByItsPlaceWhereThatIsKnown)
{
    place = 47;
    ASSERT_TRUE(open());
    poster->post(keyCodes::v, true, eventFlags::maskControl);
    poster->post(keyCodes::v, false, eventFlags::maskControl);
    ASSERT_TRUE(posts(4));
    EXPECT_EQ(posted(), (std::vector<std::string>{control + " 1", "place 47 1", "place 47 0",
                                                  control + " 0"}));
}

TEST_F(RemoteDesktopPosterTest, eachKeyWaitsForTheOneBeforeAndTheSessionsEndForAll)
{
    ASSERT_TRUE(open());
    portal->calls.clear();
    portal->holdsReplies = true;
    postChord();
    poster->rest();
    for (std::size_t sent = 1; sent <= 6; ++sent) {
        ASSERT_TRUE(posts(sent));
        portal->takeIn(ours.bus);
        EXPECT_EQ(portal->calls.size(), sent);
        EXPECT_EQ(poster->readiness(), KeyReadiness::soon);
        portal->reply();
    }
    ASSERT_TRUE(runUntil([&] { return portal->calls.size() == 7; }));
    EXPECT_EQ(portal->calls.back(), "Close session");
}

TEST_F(RemoteDesktopPosterTest, whoeverIsWantedAgainMeanwhileKeepsTheSession)
{
    ASSERT_TRUE(open());
    portal->calls.clear();
    postChord();
    poster->rest();
    poster->prepare();
    ASSERT_TRUE(isReady());
    portal->takeIn(ours.bus);
    EXPECT_EQ(portal->calls.size(), 6U);
}

TEST_F(RemoteDesktopPosterTest, aKeyThatDoesNotGoDownLetsTheOthersGo)
{
    ASSERT_TRUE(open());
    portal->calls.clear();
    portal->holdsReplies = true;
    postChord();
    ASSERT_TRUE(posts(1));
    portal->reply();
    ASSERT_TRUE(posts(2));
    portal->reply(/*well=*/false);
    portal->holdsReplies = false;
    ASSERT_TRUE(posts(4));
    ASSERT_TRUE(isReady());
    EXPECT_EQ(posted(), (std::vector<std::string>{control + " 1", shift + " 1", shift + " 0",
                                                  control + " 0"}));
}

TEST_F(RemoteDesktopPosterTest, aReleaseThatFailsIsSentAgainBeforeTheSessionEnds)
{
    ASSERT_TRUE(open());
    portal->calls.clear();
    portal->holdsReplies = true;
    postChord();
    poster->rest();
    for (std::size_t sent = 1; sent <= 9; ++sent) {
        ASSERT_TRUE(posts(sent));
        portal->takeIn(ours.bus);
        EXPECT_EQ(portal->calls.size(), sent);
        portal->reply(/*well=*/sent <= 3 || sent == 5 || sent == 7);
    }
    EXPECT_EQ(posted(), (std::vector<std::string>{control + " 1", shift + " 1", v + " 1", v + " 0",
                                                  v + " 0", shift + " 0", shift + " 0",
                                                  control + " 0", control + " 0"}));
    ASSERT_TRUE(posts(10)) << "a third time";
    portal->reply(/*well=*/false);
    ASSERT_TRUE(runUntil([&] { return portal->calls.size() == 11; }));
    EXPECT_EQ(portal->calls.back(), "Close session");
}

TEST_F(RemoteDesktopPosterTest, aReleaseThatFailedIsSentAgainAtTheEnd)
{
    ASSERT_TRUE(open());
    portal->calls.clear();
    portal->holdsReplies = true;
    postChord();
    for (std::size_t sent = 1; sent <= 4; ++sent) {
        ASSERT_TRUE(posts(sent));
        portal->reply();
    }
    ASSERT_TRUE(posts(5));
    portal->reply(/*well=*/false);
    ASSERT_TRUE(posts(6));
    portal->holdsReplies = false;
    portal->reply(/*well=*/false);
    poster.reset();
    ASSERT_TRUE(runUntil([&] { return portal->count("Close session") == 1; }));
    EXPECT_EQ(posted().back(), control + " 0");
    EXPECT_EQ(posted().at(posted().size() - 2), shift + " 0");
}

TEST_F(RemoteDesktopPosterTest, saysWhenTheChordsKeyGoesOnceItsModifiersAreDown)
{
    ASSERT_TRUE(open());
    std::vector<std::size_t> before;
    poster->onChord = [&] { before.push_back(posted().size()); };
    postChord();
    ASSERT_TRUE(posts(6));
    EXPECT_EQ(before, (std::vector<std::size_t>{2})) << "Control and Shift";
}

TEST_F(RemoteDesktopPosterTest, aSessionThatPortalsLeaveBehindIsTold)
{
    ASSERT_TRUE(ask());
    poster->prepare();
    ASSERT_TRUE(isReady());
    QStringList left;
    QObject::connect(poster.get(), &RemoteDesktopPoster::orphaned,
                     [&](const QString& session) { left.push_back(session); });
    const QString session = portal->session;
    portal.reset();
    ASSERT_TRUE(runUntil([&] { return poster->access().get() == Access::unknown; }));
    EXPECT_EQ(left, QStringList{session});
}

TEST_F(RemoteDesktopPosterTest, whatIsDownAtTheEndIsLetGoBeforeTheSessionEnds)
{
    ASSERT_TRUE(open());
    portal->calls.clear();
    poster->post(keyCodes::v, true, eventFlags::maskControl);
    ASSERT_TRUE(posts(2));
    ASSERT_TRUE(isReady());
    poster.reset();
    ASSERT_TRUE(runUntil([&] { return portal->calls.size() == 5; }));
    EXPECT_EQ(posted(),
              (std::vector<std::string>{control + " 1", v + " 1", v + " 0", control + " 0"}));
    EXPECT_EQ(portal->calls.back(), "Close session");
}

TEST_F(RemoteDesktopPosterTest, whatHasNotGoneOutByTheEndDoesNotGoOutAtTheEnd)
{
    ASSERT_TRUE(open());
    int chords = 0;
    poster->onChord = [&] { ++chords; };
    portal->holdsReplies = true;
    poster->post(keyCodes::v, true, eventFlags::maskControl);
    ASSERT_TRUE(posts(1));
    portal->holdsReplies = false;
    portal->reply();
    PlayedProgram::roundTrip(portal->program.bus);
    PlayedProgram::roundTrip(ours.bus); // it is answered, and nobody has heard of it
    poster.reset();
    ASSERT_TRUE(runUntil([&] { return portal->calls.back() == "Close session"; }));
    EXPECT_EQ(chords, 0);
    EXPECT_EQ(posted(), (std::vector<std::string>{control + " 1", control + " 0"}));
}

TEST_F(RemoteDesktopPosterTest, onlyThePortalEndsTheSession)
{
    ASSERT_TRUE(open());
    PlayedProgram stranger(bus, "stranger");
    stranger.emitSignal(portal->session, "org.freedesktop.portal.Session", "Closed",
                        {QVariantMap()});
    portal->takeIn(ours.bus);
    EXPECT_EQ(poster->readiness(), KeyReadiness::ready);
}

TEST_F(RemoteDesktopPosterTest, aFailureIsNoRefusal)
{
    portal->answers["Start"] = [](const QDBusMessage&) { return Response{.code = 2}; };
    ASSERT_TRUE(ask());
    EXPECT_EQ(poster->access().get(), Access::unasked);
    starts("token 1");
    ASSERT_TRUE(ask());
    portal->answers["CreateSession"] = [](const QDBusMessage&) { return Response{.code = 2}; };
    poster->prepare();
    ASSERT_TRUE(runUntil([&] { return poster->readiness() == KeyReadiness::never; }));
    EXPECT_EQ(poster->access().get(), Access::granted);
    EXPECT_EQ(memory.token("chord"), "token 1");
}

TEST_F(RemoteDesktopPosterTest, askingTwiceAsksOnce)
{
    portal->answers["Start"] = [](const QDBusMessage&) { return std::nullopt; };
    int first = 0;
    int second = 0;
    poster->ask([&] { ++first; });
    ASSERT_TRUE(runUntil([&] { return portal->count("Start") == 1; }));
    poster->ask([&] { ++second; });
    portal->takeIn(ours.bus);
    portal->respond({.results = {{"devices", 1U}, {"restore_token", "token"}}});
    ASSERT_TRUE(runUntil([&] { return second == 1; }));
    EXPECT_EQ(first, 0);
    EXPECT_EQ(portal->count("Start"), 1);
}

TEST_F(RemoteDesktopPosterTest, portalsThatRefuseOurNameAreAskedForNothing)
{
    portal->refusedName = "org.example.App";
    portal->calls.clear();
    begin();
    EXPECT_EQ(poster->access().get(), Access::missing);
    EXPECT_EQ(portal->count("Get"), 0);
}

TEST_F(RemoteDesktopPosterTest, aRefusalIsRememberedUntilThePersonWishesIt)
{
    portal->answers["Start"] = [](const QDBusMessage&) { return Response{.code = 1}; };
    ASSERT_TRUE(ask());
    EXPECT_EQ(poster->access().get(), Access::refused);
    begin();
    EXPECT_EQ(poster->access().get(), Access::refused);
    poster->prepare();
    portal->takeIn(ours.bus);
    EXPECT_EQ(portal->count("CreateSession"), 1);
    poster->rest();
    starts("token");
    ASSERT_TRUE(ask());
    EXPECT_EQ(poster->access().get(), Access::granted);
}

TEST_F(RemoteDesktopPosterTest, consentWithoutAKeyboardIsNone)
{
    portal->answers["Start"] = [](const QDBusMessage&) {
        return Response{.results = {{"devices", 0U}, {"restore_token", "token"}}};
    };
    ASSERT_TRUE(ask());
    EXPECT_EQ(poster->access().get(), Access::refused);
}

TEST_F(RemoteDesktopPosterTest, whatIsNotToBeRememberedIsAskedForAgain)
{
    portal->answers["Start"] = [](const QDBusMessage&) {
        return Response{.results = {{"devices", 1U}}};
    };
    ASSERT_TRUE(ask());
    EXPECT_EQ(poster->access().get(), Access::unasked);
}

TEST_F(RemoteDesktopPosterTest, anAnswerThatIsLateIsNotWaitedForAndCountsWhenItComes)
{
    ASSERT_TRUE(ask());
    for (const auto* method : {"CreateSession", "SelectDevices", "Start"}) {
        begin(std::chrono::milliseconds(1));
        portal->takeIn(ours.bus);
        portal->calls.clear();
        const auto works = std::exchange(portal->answers[method],
                                         [](const QDBusMessage&) { return std::nullopt; });
        poster->prepare();
        ASSERT_TRUE(runUntil([&] { return portal->count(method) == 1; })) << method;
        ASSERT_TRUE(runUntil([&] { return poster->isLate(); })) << method;
        EXPECT_EQ(poster->readiness(), KeyReadiness::never) << method;
        EXPECT_EQ(poster->access().get(), Access::granted) << method;
        EXPECT_EQ(portal->count("Close"), 0) << method;
        portal->answers[method] = works;
        if (std::string(method) == "CreateSession") {
            portal->respond(portal->opened());
        } else if (std::string(method) == "SelectDevices") {
            portal->respond({});
        } else {
            portal->respond({.results = {{"devices", 1U}, {"restore_token", "token 2"}}});
        }
        EXPECT_TRUE(isReady()) << method;
        EXPECT_FALSE(poster->isLate()) << method;
    }
    EXPECT_EQ(memory.token("chord"), "token 2");
}

TEST_F(RemoteDesktopPosterTest, whoWaitsInVainMayAskAnew)
{
    ASSERT_TRUE(ask());
    begin(std::chrono::milliseconds(1));
    portal->takeIn(ours.bus);
    portal->calls.clear();
    portal->answers["CreateSession"] = [](const QDBusMessage&) { return std::nullopt; };
    poster->prepare();
    ASSERT_TRUE(runUntil([&] { return poster->isLate() && portal->count("CreateSession") == 1; }));
    portal->takeIn(ours.bus);
    const auto left = portal->session;
    portal->answers["CreateSession"] = [this](const QDBusMessage&) { return portal->opened(); };
    ASSERT_TRUE(ask());
    EXPECT_TRUE(isReady());
    portal->respond({.results = {{"session_handle", left}}});
    EXPECT_TRUE(runUntil([&] { return portal->count("Close session") == 1; }))
        << "what comes after all is not left open";
    EXPECT_EQ(poster->readiness(), KeyReadiness::ready);
}

TEST_F(RemoteDesktopPosterTest, aSessionThatFailsCostsNoConsent)
{
    ASSERT_TRUE(ask());
    portal->answers["Start"] = [](const QDBusMessage&) { return Response{.code = 2}; };
    poster->prepare();
    ASSERT_TRUE(runUntil([&] { return poster->readiness() == KeyReadiness::never; }));
    EXPECT_EQ(poster->access().get(), Access::granted);
    poster->rest();
    starts("token 2");
    poster->prepare();
    EXPECT_TRUE(isReady());
}

TEST_F(RemoteDesktopPosterTest, aQuestionThatEndsWithoutAnAnswerDoesNotComeBackByItself)
{
    for (const bool closes : {false, true}) {
        starts("token 1");
        ASSERT_TRUE(ask());
        begin(std::chrono::milliseconds(1));
        portal->takeIn(ours.bus);
        portal->calls.clear();
        portal->answers["Start"] = [](const QDBusMessage&) { return std::nullopt; };
        poster->prepare();
        ASSERT_TRUE(runUntil([&] { return portal->count("Start") == 1 && poster->isLate(); }));
        portal->takeIn(ours.bus);
        if (closes) {
            closeSession();
        } else {
            portal->respond({.code = 2});
        }
        EXPECT_TRUE(runUntil([&] { return poster->access().get() == Access::unasked; }));
        EXPECT_EQ(memory.token("chord"), std::nullopt);
        poster->rest();
        poster->prepare();
        portal->takeIn(ours.bus);
        EXPECT_EQ(portal->count("CreateSession"), 1);
    }
}

TEST_F(RemoteDesktopPosterTest, aQuestionThatGoesWithTheProgramOrThePortalsDoesNotComeBackByItself)
{
    for (const bool portalsGo : {false, true}) {
        starts("token 1");
        ASSERT_TRUE(ask());
        begin(std::chrono::milliseconds(1));
        portal->takeIn(ours.bus);
        portal->calls.clear();
        portal->answers["Start"] = [](const QDBusMessage&) { return std::nullopt; };
        poster->prepare();
        ASSERT_TRUE(runUntil([&] { return portal->count("Start") == 1 && poster->isLate(); }));
        EXPECT_EQ(poster->access().get(), Access::granted) << "until then the answer counts";
        EXPECT_EQ(memory.consent("chord", "keyboard"), PortalConsent::unasked)
            << "whichever way the program ends";
        if (portalsGo) {
            portal.reset();
            ASSERT_TRUE(runUntil([&] { return poster->access().get() == Access::unknown; }));
            portal = std::make_unique<PlayedPortal>(bus);
        } else {
            begin(std::chrono::milliseconds(1));
        }
        ASSERT_TRUE(runUntil([&] { return poster->access().get() == Access::unasked; }));
        EXPECT_EQ(memory.token("chord"), std::nullopt);
    }
}

TEST_F(RemoteDesktopPosterTest, aSessionThatEndsBeforeAQuestionCostsNoConsent)
{
    ASSERT_TRUE(ask());
    begin(std::chrono::milliseconds(1));
    portal->answers["SelectDevices"] = [](const QDBusMessage&) { return std::nullopt; };
    const int before = portal->count("SelectDevices");
    poster->prepare();
    ASSERT_TRUE(
        runUntil([&] { return portal->count("SelectDevices") == before + 1 && poster->isLate(); }));
    portal->takeIn(ours.bus);
    closeSession();
    ASSERT_TRUE(runUntil([&] { return !poster->isLate(); }));
    EXPECT_EQ(poster->access().get(), Access::granted);
    EXPECT_EQ(memory.token("chord"), "token 1");
}

TEST_F(RemoteDesktopPosterTest, aDesktopWithoutPortalsIsTold)
{
    portal.reset();
    begin();
    EXPECT_EQ(poster->access().get(), Access::missing);
    EXPECT_TRUE(ask()) << "nothing is left to ask";
}

TEST_F(RemoteDesktopPosterTest, theDesktopMayEndTheSession)
{
    ASSERT_TRUE(ask());
    poster->prepare();
    ASSERT_TRUE(isReady());
    closeSession();
    EXPECT_TRUE(runUntil([&] { return poster->readiness() == KeyReadiness::never; }));
    poster->rest();
    poster->prepare();
    EXPECT_TRUE(isReady());
}

TEST_F(RemoteDesktopPosterTest, aPortalThatRestartsServesAgain)
{
    ASSERT_TRUE(ask());
    poster->prepare();
    ASSERT_TRUE(isReady());
    portal.reset();
    ASSERT_TRUE(runUntil([&] { return poster->access().get() == Access::unknown; }));
    EXPECT_EQ(poster->readiness(), KeyReadiness::never);
    portal = std::make_unique<PlayedPortal>(bus);
    portal->watchesKeys();
    portal->answers["SelectDevices"] = [](const QDBusMessage&) { return Response{}; };
    starts("token 2");
    EXPECT_TRUE(isReady());
}

TEST_F(RemoteDesktopPosterTest, aDesktopWithoutSuchAPortalIsTold)
{
    portal->deviceTypes = 0;
    begin();
    EXPECT_EQ(poster->access().get(), Access::missing);
    EXPECT_TRUE(ask()) << "nothing is left to ask";
}

} // namespace
} // namespace vorlin
