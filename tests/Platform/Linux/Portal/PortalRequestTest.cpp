#include "Platform/Linux/Portal/PortalRequest.h"

#include "Platform/Linux/Portal/PlayedPortal.h"
#include "Platform/RunUntil.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>

namespace vorlin {
namespace {

using End = PortalAnswer::End;

class PortalRequestTest : public testing::Test {
protected:
    void send()
    {
        answer.reset();
        request.send("org.freedesktop.portal.Any", "Do", {"this"}, {{"option", 1}},
                     [this](const PortalAnswer& given) { answer = given; });
    }
    bool isAnswered()
    {
        return runUntil([&] { return answer.has_value(); });
    }

    PlayedBus bus;
    PlayedProgram ours{bus, "ours"};
    std::unique_ptr<PlayedPortal> portal = std::make_unique<PlayedPortal>(bus);
    PortalRequest request{ours.bus};
    std::optional<PortalAnswer> answer;
};

TEST_F(PortalRequestTest, isAnsweredBySignal)
{
    portal->answers["Do"] = [](const QDBusMessage&) { return std::nullopt; };
    send();
    ASSERT_TRUE(runUntil([&] { return !portal->calls.empty(); }));
    portal->takeIn(ours.bus);
    EXPECT_FALSE(answer);
    portal->respond({.code = 0, .results = {{"result", "good"}}});
    ASSERT_TRUE(isAnswered());
    EXPECT_TRUE(answer->succeeded());
    EXPECT_EQ(answer->results.value("result"), "good");
}

TEST_F(PortalRequestTest, anAnswerAheadOfTheReplyCounts)
{
    portal->answers["Do"] = [](const QDBusMessage&) {
        return PlayedPortal::Response{.code = 1, .early = true};
    };
    send();
    ASSERT_TRUE(isAnswered());
    EXPECT_EQ(answer->end, End::answered);
    EXPECT_EQ(answer->code, 1U);
}

TEST_F(PortalRequestTest, aMethodThatIsNotThereIsRefused)
{
    send();
    ASSERT_TRUE(isAnswered());
    EXPECT_EQ(answer->end, End::refused);
}

TEST_F(PortalRequestTest, whatFailsForAnotherReasonIsNoMissingMethod)
{
    EXPECT_TRUE(portals::isUnknown(QDBusError(QDBusError::UnknownMethod, "")));
    EXPECT_FALSE(portals::isUnknown(QDBusError(QDBusError::Failed, "")));
    portal->answers["Do"] = [](const QDBusMessage&) { return std::nullopt; };
    portal->failing = "Do";
    send();
    ASSERT_TRUE(isAnswered());
    EXPECT_EQ(answer->end, End::failed);
}

TEST_F(PortalRequestTest, portalsThatHaveNotHeardWhoAsksAreSentNothing)
{
    const HostRegistry registry(ours.bus, "org.example.App");
    ASSERT_TRUE(runUntil([&] { return !registry.portal().isEmpty(); }));
    PortalRequest named(ours.bus, &registry);
    portal.reset();
    portal = std::make_unique<PlayedPortal>(bus);
    bool isOver = false; // before this program has heard of it
    named.send("org.freedesktop.portal.Any", "Do", {}, {},
               [&](const PortalAnswer&) { isOver = true; });
    ASSERT_TRUE(runUntil([&] { return isOver && portal->count("Register") == 1; }));
    portal->takeIn(ours.bus);
    EXPECT_EQ(portal->count("Do"), 0);
}

TEST_F(PortalRequestTest, withoutPortalsItIsNotAnswered)
{
    portal.reset();
    send();
    ASSERT_TRUE(isAnswered());
    EXPECT_NE(answer->end, End::answered);
}

TEST_F(PortalRequestTest, aPortalThatGoesTakesItAlong)
{
    portal->answers["Do"] = [](const QDBusMessage&) { return std::nullopt; };
    send();
    ASSERT_TRUE(runUntil([&] { return !portal->calls.empty(); }));
    portal->takeIn(ours.bus);
    portal.reset();
    ASSERT_TRUE(isAnswered());
    EXPECT_EQ(answer->end, End::gone);
}

TEST_F(PortalRequestTest, onlyThePortalCanAnswer)
{
    portal->answers["Do"] = [](const QDBusMessage&) { return std::nullopt; };
    QString object;
    portal->answers["Do"] = [&](const QDBusMessage& message) {
        auto sender = message.service().mid(1);
        sender.replace('.', '_');
        object = "/org/freedesktop/portal/desktop/request/" + sender + "/" +
                 qdbus_cast<QVariantMap>(message.arguments().constLast())
                     .value("handle_token")
                     .toString();
        return std::nullopt;
    };
    send();
    ASSERT_TRUE(runUntil([&] { return !portal->calls.empty(); }));
    PlayedProgram stranger(bus, "stranger");
    stranger.emitSignal(object, "org.freedesktop.portal.Request", "Response",
                        {0U, QVariantMap{{"result", "false"}}});
    portal->takeIn(ours.bus);
    EXPECT_FALSE(answer);
    portal->respond({.code = 0, .results = {{"result", "true"}}});
    ASSERT_TRUE(isAnswered());
    EXPECT_EQ(answer->results.value("result"), "true");
}

TEST_F(PortalRequestTest, aRequestThatIsClosedIsNotAnswered)
{
    portal->answers["Do"] = [](const QDBusMessage&) { return std::nullopt; };
    send();
    ASSERT_TRUE(runUntil([&] { return !portal->calls.empty(); }));
    request.close();
    ASSERT_TRUE(runUntil([&] { return portal->count("Close") == 1; }));
    portal->respond({});
    portal->takeIn(ours.bus);
    EXPECT_FALSE(answer);
    request.close(); // there is none
    portal->takeIn(ours.bus);
    EXPECT_EQ(portal->count("Close"), 1);
}

TEST_F(PortalRequestTest, aSessionThatIsLeftIsEndedAlsoWhereItWasMadeJustThen)
{
    portal->answers["Do"] = [](const QDBusMessage&) { return std::nullopt; };
    send();
    ASSERT_TRUE(runUntil([&] { return portal->count("Do") == 1; }));
    portal->takeIn(ours.bus);
    portal->respond({.results = {{"session_handle", "/any/session/1"}}});
    PlayedProgram::roundTrip(portal->program.bus);
    PlayedProgram::roundTrip(ours.bus); // it is answered, and nobody has heard of it
    request.leaveSession();
    EXPECT_TRUE(runUntil([&] { return portal->count("Close session") == 1; }));
    EXPECT_FALSE(answer);
}

TEST_F(PortalRequestTest, aBusThatEndsEndsIt)
{
    portal->answers["Do"] = [](const QDBusMessage&) { return std::nullopt; };
    send();
    ASSERT_TRUE(runUntil([&] { return !portal->calls.empty(); }));
    bus.end();
    EXPECT_TRUE(isAnswered());
}

} // namespace
} // namespace vorlin
