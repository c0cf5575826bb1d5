#include "Platform/Linux/Keys/SwayEventTap.h"

#include "Platform/Linux/Sway/PlayedSway.h"
#include "Platform/RunUntil.h"
#include "Platform/Shared/QtMainLoop.h"
#include "Platform/Shared/ThreadPool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <memory>

namespace vorlin {
namespace {

using testing::HasSubstr;

/// What a tap makes of answers that a real sway does not give on request.
class SwayTapAnswersTest : public testing::Test {
protected:
    SwayTapAnswersTest()
    {
        sway.answer = [this](const PlayedSway::Request& request) -> std::optional<std::string> {
            switch (static_cast<SwayRequest>(request.type)) {
            case SwayRequest::runCommand: return results(request.payload);
            case SwayRequest::subscribe: return R"({"success":true})";
            case SwayRequest::getInputs: return inputs;
            case SwayRequest::getConfig: return configuration;
            case SwayRequest::getVersion: return R"({"loaded_config_file_name":"/nonexistent"})";
            case SwayRequest::getBindingState: return bindingState;
            default: return std::nullopt;
            }
        };
        socket = std::make_unique<SwaySocket>(sway.path(), loop);
        newTap();
    }

    void newTap()
    {
        tap = std::make_unique<SwayEventTap>(SwayEventTap::Needs{
            *socket, loop, workers, {}, {"/nonexistent", sway.path(), sway.path() + ".ledger"}});
    }

    std::string results(const std::string& commands) const
    {
        nlohmann::json result = nlohmann::json::array();
        for (std::size_t at = 0; at != std::string::npos; at = commands.find(';', at + 1)) {
            const auto end = commands.find(';', at + 1);
            const auto one = commands.substr(at, end - at);
            const bool bad = !refuses.empty() && one.find("+" + refuses + " ") != std::string::npos;
            result.push_back({{"success", !bad}});
        }
        return result.dump();
    }

    void start(const Hotkey& hotkey, bool escape)
    {
        ASSERT_TRUE(tap->start([this](KeyEventType type, const KeyEvent& event) {
            told += std::to_string(static_cast<std::uint32_t>(type)) + " " +
                    std::to_string(event.keyCode) + ";";
            return true;
        }));
        tap->setInterest({hotkey, escape});
    }

    static constexpr Hotkey f9{101, 0, false};

    QtMainLoop loop;
    ThreadPool workers{[] {}};
    PlayedSway sway;
    std::string inputs = "[]";
    std::string configuration = R"({"config":"# nothing\n"})";
    std::string bindingState = R"({"name":"default"})";
    /// The key that no binding can be made of.
    std::string refuses;
    std::unique_ptr<SwaySocket> socket;
    std::unique_ptr<SwayEventTap> tap;
    std::string told;
};

TEST_F(SwayTapAnswersTest, whatIsRefusedIsAConflictAndNotAskedForAgain)
{
    refuses = "75";
    start(f9, true);
    ASSERT_TRUE(runUntil([this] { return tap->conflict().get() == KeyConflict::hotkeyTaken; }));
    const auto asked = sway.commands().size();
    tap->setInterest({f9, false});
    ASSERT_TRUE(runUntil([&] { return sway.commands().size() > asked; }));
    EXPECT_EQ(sway.commands().back().find(" bindcode"), std::string::npos);
}

TEST_F(SwayTapAnswersTest, aConfigurationThatIsNoTextIsReadAllTheSame)
{
    configuration = "{\"config\":\"# caf\xe9\\nbindcode 75 nop mine\\n\"}";
    start({96, 0, false}, false);
    ASSERT_TRUE(runUntil([this] { return sway.commands().size() == 1; }));
    EXPECT_EQ(sway.connections, 1);
    tap->setInterest({f9, false});
    EXPECT_TRUE(runUntil([this] { return tap->conflict().get() == KeyConflict::hotkeyTaken; }));
}

TEST_F(SwayTapAnswersTest, refusedEscapeIsTold)
{
    refuses = "9";
    start(f9, true);
    ASSERT_TRUE(runUntil([this] { return tap->conflict().get() == KeyConflict::escapeTaken; }));
}

TEST_F(SwayTapAnswersTest, aKeyThatIsRefusedIsNotWatchableAndThatIsNews)
{
    EXPECT_EQ(tap->watchable(f9), KeyWatch::pressesAndReleases);
    refuses = "75";
    const auto changes = tap->layoutChanges().get();
    start(f9, false);
    ASSERT_TRUE(runUntil([&] { return tap->layoutChanges().get() > changes; }));
    EXPECT_EQ(tap->watchable(f9), KeyWatch::nothing);
    EXPECT_EQ(tap->conflict().get(), KeyConflict::hotkeyTaken) << "and not that there is no key";
}

TEST_F(SwayTapAnswersTest, whatNobodyTookIsAskedAgainAndNothingIsBoundBefore)
{
    ASSERT_TRUE(runUntil([this] { return sway.requests.size() >= 5; }));
    configuration = R"({"config":"bindcode 75 nop mine\n"})";
    for (const std::size_t size : {10000U, 1000U, 100U, 10U, 0U}) {
        for (int i = 0; i < (size == 10000 ? 200 : 12); ++i) { // until no more fits
            socket->ask(SwayRequest::getVersion, std::string(size, ' '),
                        [](const nlohmann::json*) {});
        }
    }
    newTap();
    start(f9, false);
    ASSERT_TRUE(runUntil([this] { return tap->conflict().get() == KeyConflict::hotkeyTaken; }));
    EXPECT_THAT(sway.commands(), testing::IsEmpty());
}

TEST_F(SwayTapAnswersTest, aKeyboardThatComesWhileTheConfigurationIsReadIsNoticed)
{
    // Every answer is followed by a keyboard that its next one knows.
    const auto usual = sway.answer;
    int asked = 0;
    sway.answer = [&](const PlayedSway::Request& request) -> std::optional<std::string> {
        if (request.type != static_cast<std::uint32_t>(SwayRequest::getInputs) || ++asked > 2) {
            return usual(request);
        }
        const auto reply = usual(request);
        inputs = R"([{"type":"keyboard","identifier":"1:1:AT","xkb_layout_names":["German"]}])";
        sway.send(swayFrame(request.type, *reply));
        sway.event(SwayEvent::input, R"({"change":"added"})");
        return std::nullopt;
    };
    sway.event(SwayEvent::workspace, R"({"change":"reload"})");
    EXPECT_TRUE(runUntil([this] { return tap->typesCharacters(keyCodes::rightOption); }));
}

TEST_F(SwayTapAnswersTest, inAModeWhoseNameCannotBeWrittenNoKeyIsHad)
{
    start(f9, false);
    ASSERT_TRUE(runUntil([this] { return sway.commands().size() == 1; }));
    sway.event(SwayEvent::mode, R"({"change":"[r]esize"})");
    ASSERT_TRUE(runUntil([this] { return tap->conflict().get() == KeyConflict::hotkeyTaken; }));
    tap->setInterest({std::nullopt, true});
    ASSERT_TRUE(runUntil([this] { return tap->conflict().get() == KeyConflict::escapeTaken; }));
    sway.event(SwayEvent::mode, R"({"change":"default"})");
    ASSERT_TRUE(runUntil([this] { return tap->conflict().get() == KeyConflict::none; }));
}

TEST_F(SwayTapAnswersTest, escapeIsTakenAlsoWhereItIsWithTheKeyHeld)
{
    configuration = R"({"config":"bindcode Mod1+9 nop mine\n"})";
    newTap();
    start({keyCodes::rightOption, 0, true}, true);
    ASSERT_TRUE(runUntil([this] { return tap->conflict().get() == KeyConflict::escapeTaken; }));
    tap->setInterest({Hotkey{keyCodes::rightControl, 0, true}, true});
    ASSERT_TRUE(runUntil([this] { return tap->conflict().get() == KeyConflict::none; }));
}

TEST_F(SwayTapAnswersTest, onANewConnectionTheKeysAreBoundAnew)
{
    start(f9, true);
    ASSERT_TRUE(runUntil([this] { return sway.commands().size() == 1; }));
    sway.hangUp();
    ASSERT_TRUE(runUntil([this] { return sway.commands().size() == 2; }));
    EXPECT_EQ(sway.commands()[0], sway.commands()[1]);
}

TEST_F(SwayTapAnswersTest, aConnectionThatIsLostInTheMidstOfABindingIsMadeGood)
{
    const auto usual = sway.answer;
    sway.answer = [&, hung = false](
                      const PlayedSway::Request& request) mutable -> std::optional<std::string> {
        if (request.type == static_cast<std::uint32_t>(SwayRequest::runCommand) && !hung) {
            hung = true;
            sway.hangUp();
            return std::nullopt;
        }
        return usual(request);
    };
    start(f9, false);
    ASSERT_TRUE(runUntil([this] { return sway.commands().size() == 2; }));
    EXPECT_EQ(sway.commands()[0], sway.commands()[1]);
}

TEST_F(SwayTapAnswersTest, theLayoutsOfRealKeyboardsSayWhatRightAltDoes)
{
    start(f9, false);
    ASSERT_TRUE(runUntil([this] { return sway.commands().size() == 1; }));
    EXPECT_FALSE(tap->typesCharacters(keyCodes::rightOption));
    const auto changes = tap->layoutChanges().get();

    inputs = R"([{"type":"keyboard","identifier":"0:0:wlr_virtual_keyboard_v1",
                  "xkb_layout_names":["German"]},
                 {"type":"pointer","xkb_layout_names":["German"]},{"type":"keyboard"},7])";
    sway.event(SwayEvent::input, R"({"change":"added"})");
    inputs = R"json([{"type":"keyboard","identifier":"1:1:AT_Keyboard",
                      "xkb_layout_names":["English (US)","German (no dead keys)",3]}])json";
    sway.event(SwayEvent::input, R"({"change":"xkb_keymap"})");
    ASSERT_TRUE(runUntil([&] { return tap->layoutChanges().get() > changes; }));
    EXPECT_TRUE(tap->typesCharacters(keyCodes::rightOption));
    EXPECT_FALSE(tap->typesCharacters(keyCodes::rightControl));
}

TEST_F(SwayTapAnswersTest, nonsenseIsPassedOver)
{
    bindingState = "7";
    start(f9, false);
    ASSERT_TRUE(runUntil([this] { return sway.commands().size() == 1; }));
    EXPECT_THAT(sway.commands().back(), HasSubstr("mode \"default\" bindcode"));
    for (const auto* details :
         {"{}", R"({"change":5,"binding":{"command":7}})", R"({"change":"run","binding":"x"})"}) {
        for (const auto event : {SwayEvent::binding, SwayEvent::mode, SwayEvent::workspace,
                                 SwayEvent::input, SwayEvent::shutdown, SwayEvent::window}) {
            sway.event(event, details);
        }
    }
    sway.event(SwayEvent::mode, R"({"change":"a\"; exec rm"})");
    sway.event(SwayEvent::mode, R"({"change":"work"})");
    ASSERT_TRUE(runUntil([this] {
        return sway.commands().back().find("mode \"work\" bindcode") != std::string::npos;
    }));
    EXPECT_EQ(told, "");
}

} // namespace
} // namespace vorlin
