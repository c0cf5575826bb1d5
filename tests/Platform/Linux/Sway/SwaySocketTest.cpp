#include "Platform/Linux/Sway/SwaySocket.h"

#include "Platform/Linux/Sway/PlayedSway.h"
#include "Platform/RunUntil.h"
#include "Platform/Shared/QtMainLoop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <unistd.h>

namespace vorlin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SwaySocketTest : public testing::Test {
protected:
    void ask(SwaySocket& socket, SwayRequest request, const std::string& name)
    {
        socket.ask(request, name, [this, name](const nlohmann::json* answer) {
            told.push_back(name + "=" + (answer != nullptr ? answer->dump() : "none"));
        });
    }

    bool tells(std::size_t count)
    {
        return runUntil([this, count] { return told.size() >= count; });
    }

    QtMainLoop loop;
    PlayedSway sway;
    std::vector<std::string> told;
};

TEST_F(SwaySocketTest, isOfTheProcessThatListensThere)
{
    EXPECT_TRUE(isSwaySocketOf(sway.path(), getpid()));
    EXPECT_FALSE(isSwaySocketOf(sway.path(), getppid())) << "another sway's";
    EXPECT_TRUE(isSwaySocketOf(sway.path(), 0)) << "where the system does not tell";
    EXPECT_FALSE(isSwaySocketOf(sway.path() + ".gone", getpid())) << "a sway's that has ended";
    EXPECT_FALSE(isSwaySocketOf("", 0));
}

TEST_F(SwaySocketTest, answersComeToWhoAskedAndEventsBetweenThemShiftNothing)
{
    SwaySocket socket(sway.path(), loop);
    EXPECT_TRUE(socket.connected().get());
    const auto watching = socket.observe([this](SwayEvent event, const nlohmann::json& details) {
        told.push_back((event == SwayEvent::binding ? "binding " : "other ") + details.dump());
    });
    const auto usual = sway.answer;
    sway.answer = [&](const PlayedSway::Request& request) -> std::optional<std::string> {
        if (request.payload == "a") {
            sway.event(SwayEvent::binding, R"({"n":1})");
        }
        return request.payload.size() == 1 ? "\"" + request.payload + "!\"" : *usual(request);
    };
    ask(socket, SwayRequest::runCommand, "a");
    ask(socket, SwayRequest::getTree, "b");
    EXPECT_THAT(told, IsEmpty()) << "never inside the call";
    ASSERT_TRUE(tells(3));
    EXPECT_THAT(told, ElementsAre(R"(binding {"n":1})", R"(a="a!")", R"(b="b!")"));
}

TEST_F(SwaySocketTest, aLostConnectionLeavesNoAnswerForTheNextQuestion)
{
    SwaySocket socket(sway.path(), loop);
    const auto usual = sway.answer;
    sway.answer = [&](const PlayedSway::Request& request) -> std::optional<std::string> {
        if (request.payload == "lost") {
            sway.hangUp();
            return std::nullopt;
        }
        return request.payload == "new" ? "\"new!\"" : usual(request);
    };
    ask(socket, SwayRequest::runCommand, "lost");
    ask(socket, SwayRequest::runCommand, "behind");
    ASSERT_TRUE(tells(2));
    EXPECT_THAT(told, ElementsAre("lost=none", "behind=none"));
    EXPECT_FALSE(socket.connected().get());

    ASSERT_TRUE(runUntil([&] { return socket.connected().get(); }));
    ask(socket, SwayRequest::runCommand, "new");
    ASSERT_TRUE(tells(3));
    EXPECT_EQ(told.back(), R"(new="new!")");
}

TEST_F(SwaySocketTest, withoutSwayTheAnswerIsNoneAndItComesOnceSwayIsThere)
{
    sway.close();
    SwaySocket socket(sway.path(), loop);
    EXPECT_FALSE(socket.connected().get());
    ask(socket, SwayRequest::getTree, "early");
    EXPECT_THAT(told, IsEmpty());
    ASSERT_TRUE(tells(1));
    EXPECT_THAT(told, ElementsAre("early=none"));
    sway.listen();
    EXPECT_TRUE(runUntil([&] { return socket.connected().get(); }));
}

TEST_F(SwaySocketTest, nonsenseEndsTheConnectionAndTheNextOneWorks)
{
    SwaySocket socket(sway.path(), loop);
    ASSERT_TRUE(runUntil([&] { return sway.requests.size() == 1; }));
    const std::string nonsense[] = {
        "HTTP/1.1 400 Bad Request\r\n",
        swayFrame(0, "[{\"success\":true}]"), // nobody asked
        std::string("i3-ipc\xff\xff\xff\xff\0\0\0\0", 14),
    };
    int connections = 1;
    for (const auto& bytes : nonsense) {
        sway.send(bytes);
        ++connections;
        ASSERT_TRUE(runUntil([&] { return sway.connections == connections; })) << bytes;
        ASSERT_TRUE(runUntil([&] { return socket.connected().get(); }));
    }
    const auto usual = sway.answer;
    sway.answer = [&](const PlayedSway::Request& request) -> std::optional<std::string> {
        return request.payload == "torn" ? R"({"x":)" : usual(request);
    };
    ask(socket, SwayRequest::runCommand, "torn");
    ASSERT_TRUE(tells(1));
    EXPECT_EQ(told.back(), "torn=none");
}

TEST_F(SwaySocketTest, bytesThatAreNoTextCostTheirLettersOnly)
{
    SwaySocket socket(sway.path(), loop);
    const auto watching = socket.observe([this](SwayEvent, const nlohmann::json& details) {
        told.push_back("event=" + details.dump());
    });
    const auto usual = sway.answer;
    sway.answer = [&](const PlayedSway::Request& request) -> std::optional<std::string> {
        return request.payload == "tree" ? "{\"name\":\"caf\xe9\"}" : usual(request);
    };
    ask(socket, SwayRequest::getTree, "tree");
    ASSERT_TRUE(tells(1));
    sway.event(SwayEvent::window, "{\"title\":\"\xff\"}");
    ASSERT_TRUE(tells(2));
    EXPECT_THAT(told, ElementsAre(R"(tree={"name":"caf?"})", R"(event={"title":"?"})"));
    EXPECT_EQ(sway.connections, 1);
}

TEST_F(SwaySocketTest, drainingWaitsForTheAnswersButNotForLong)
{
    SwaySocket socket(sway.path(), loop);
    ask(socket, SwayRequest::getTree, "never");
    EXPECT_FALSE(socket.drain(std::chrono::milliseconds(20)));
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(SwaySocketTest, anObserverMayGoAndAskInsideAnEvent)
{
    SwaySocket socket(sway.path(), loop);
    Subscription watching;
    watching = socket.observe([&](SwayEvent, const nlohmann::json&) {
        ask(socket, SwayRequest::runCommand, "nop");
        watching.reset();
    });
    ASSERT_TRUE(runUntil([&] { return sway.requests.size() == 1; }));
    sway.event(SwayEvent::input, "{}");
    sway.event(SwayEvent::input, "{}");
    sway.event(SwayEvent::input, "[]");
    ASSERT_TRUE(tells(1));
    EXPECT_THAT(told, ElementsAre(R"(nop=[{"success":true}])"));
}

} // namespace
} // namespace vorlin
