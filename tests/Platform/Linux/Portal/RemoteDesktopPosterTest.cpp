#include "Platform/Linux/Portal/RemoteDesktopPoster.h"

#include "Hotkey.h"
#include "Platform/Linux/Portal/PlayedPortal.h"
#include "Platform/RunUntil.h"
#include "fakes/FakeDesktop.h"

#include <gtest/gtest.h>

#include <chrono>
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
        poster = std::make_unique<RemoteDesktopPoster>(ours.bus, *registry, memory, patience);
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
    /// The symbols that were pressed (1) and released (0) by now.
    std::vector<std::string> posted()
    {
        portal->takeIn(ours.bus);
        std::vector<std::string> keys;
        for (const auto& call : portal->calls) {
            if (call.starts_with("Notify")) {
                keys.push_back(call.substr(call.find(' ') + 1));
            }
        }
        return keys;
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
};

TEST_F(RemoteDesktopPosterTest, preparingAsksNobody)
{
    EXPECT_EQ(poster->access().get(), Access::unasked);
    poster->prepare();
    portal->takeIn(ours.bus);
    EXPECT_EQ(portal->count("CreateSession"), 0);
    EXPECT_EQ(poster->readiness(), KeyReadiness::never);
    poster->post(keyCodes::v, true, eventFlags::maskControl);
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

TEST_F(RemoteDesktopPosterTest, chordsGoByWhatTheKeysType)
{
    ASSERT_TRUE(ask());
    poster->prepare();
    ASSERT_TRUE(isReady());
    poster->post(keyCodes::v, true, eventFlags::maskControl | eventFlags::maskShift);
    poster->post(keyCodes::v, false, eventFlags::maskControl | eventFlags::maskShift);
    const std::string control = std::to_string(0xffe3);
    const std::string shift = std::to_string(0xffe1);
    const std::string v = std::to_string('v');
    EXPECT_EQ(posted(), (std::vector<std::string>{control + " 1", shift + " 1", v + " 1", v + " 0",
                                                  shift + " 0", control + " 0"}));
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

TEST_F(RemoteDesktopPosterTest, aQuestionDuringADictationIsTakenBack)
{
    ASSERT_TRUE(ask());
    portal->answers["Start"] = [](const QDBusMessage&) { return std::nullopt; };
    begin(std::chrono::milliseconds(1));
    portal->takeIn(ours.bus);
    portal->calls.clear();
    poster->prepare();
    for (int steps = 0; steps < 10 && portal->calls.size() < 3; ++steps) {
        portal->takeIn(ours.bus); // while no timer runs out
    }
    ASSERT_EQ(portal->calls.back().substr(0, 5), "Start");
    ASSERT_TRUE(runUntil([&] { return poster->readiness() == KeyReadiness::never; }));
    EXPECT_TRUE(runUntil([&] { return portal->count("Close") == 2; })) << "dialog and session";
    EXPECT_EQ(poster->access().get(), Access::unasked);
}

TEST_F(RemoteDesktopPosterTest, theDesktopMayEndTheSession)
{
    ASSERT_TRUE(ask());
    poster->prepare();
    ASSERT_TRUE(isReady());
    portal->emitSignal("org.freedesktop.portal.Session", "Closed", {QVariantMap()},
                       portal->session);
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
