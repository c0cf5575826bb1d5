#include "Platform/Linux/Keys/SwayFocus.h"

#include "Hotkey.h"
#include "Platform/Linux/Sway/PlayedSway.h"
#include "Platform/Linux/Sway/PrivateSway.h"
#include "Platform/Linux/Sway/TestKeyboard.h"
#include "Platform/RunUntil.h"
#include "Platform/Shared/QtMainLoop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace vorlin {
namespace {

using namespace eventFlags;

constexpr PasteChord usual{9, maskControl, PasteSource::clipboard};
constexpr PasteChord terminal{9, maskControl | maskShift, PasteSource::clipboard, true};
constexpr PasteChord xterm{114, maskShift, PasteSource::primarySelection, true};

TEST(SwayFocusTest, theFocusedWindowIsFollowed)
{
    PrivateSway sway("default_border none\n");
    const TestKeyboard keyboard(sway.display());
    QtMainLoop loop;
    SwaySocket socket(sway.socket(), loop);
    SwayFocus focus(socket, loop);
    ASSERT_TRUE(runUntil([&] { return focus.focusedArea().has_value(); })) << "the workspace's";
    EXPECT_EQ(focus.window(), std::nullopt);
    EXPECT_EQ(focus.pasteChord(), usual);
    EXPECT_FALSE(focus.isKnown());

    sway.spawn("foot");
    ASSERT_TRUE(runUntil([&] { return focus.window().has_value(); }));
    const auto first = focus.window();
    EXPECT_TRUE(focus.isKnown());
    EXPECT_EQ(focus.pasteChord(), terminal);

    sway.spawn("foot --app-id=editor");
    ASSERT_TRUE(runUntil([&] { return focus.window() != first; }));
    EXPECT_EQ(focus.pasteChord(), usual);
    const auto right = focus.focusedArea();
    sway.message("focus left");
    ASSERT_TRUE(runUntil([&] { return focus.window() == first; }));
    EXPECT_LT(focus.focusedArea()->x, right->x);
    EXPECT_EQ(focus.pasteChord(), terminal);

    sway.message("workspace 2");
    ASSERT_TRUE(runUntil([&] { return focus.window() == std::nullopt; })) << "an empty one";
    EXPECT_EQ(focus.pasteChord(), usual);
    sway.message("workspace 1");
    ASSERT_TRUE(runUntil([&] { return focus.window() == first; }));
    sway.message("kill");
    ASSERT_TRUE(runUntil([&] { return focus.window().has_value() && focus.window() != first; }));
    sway.message("kill");
    ASSERT_TRUE(runUntil([&] { return focus.window() == std::nullopt; }));
}

TEST(SwayFocusTest, aLookKnowsThatALauncherHasTheKeyboard)
{
    PrivateSway sway("default_border none\n");
    const TestKeyboard keyboard(sway.display());
    QtMainLoop loop;
    SwaySocket socket(sway.socket(), loop);
    SwayFocus focus(socket, loop, std::chrono::minutes(1));
    const auto looked = [&] {
        bool found = false;
        focus.look([&] { found = true; });
        return runUntil([&] { return found; }) ? focus.window() : std::nullopt;
    };
    sway.spawn("foot");
    ASSERT_TRUE(runUntil([&] { return focus.window().has_value(); }));
    const auto terminal = focus.window();
    const auto place = focus.focusedArea();
    EXPECT_EQ(looked(), terminal);
    sway.spawn("wofi --show run");
    ASSERT_TRUE(runUntil([&] { return looked() == std::nullopt; }));
    EXPECT_FALSE(focus.isKnown());
    EXPECT_EQ(focus.pasteChord(), usual);
    EXPECT_EQ(focus.focusedArea(), place) << "the overlay stays on the screen";
}

class PlayedFocusTest : public testing::Test {
protected:
    PlayedFocusTest()
    {
        sway.answer = [this](const PlayedSway::Request& request) -> std::optional<std::string> {
            return request.type == static_cast<std::uint32_t>(SwayRequest::getTree)
                       ? tree
                       : R"({"success":true})";
        };
    }

    bool becomes(std::optional<std::uint64_t> window)
    {
        return runUntil([&] { return focus.window() == window; });
    }

    QtMainLoop loop;
    PlayedSway sway;
    std::string tree = R"({"id":1,"nodes":[{"id":7,"focused":true,"pid":5,"app_id":"foot"}]})";
    SwaySocket socket{sway.path(), loop};
    SwayFocus focus{socket, loop, std::chrono::minutes(1)};
};

TEST_F(PlayedFocusTest, aWindowWhoseNameIsNoTextHasTheFocusAllTheSame)
{
    tree = "{\"id\":1,\"nodes\":[{\"id\":7,\"name\":\"\xe9\",\"focused\":true,\"pid\":5}]}";
    ASSERT_TRUE(becomes(7));
    sway.event(SwayEvent::window, "{\"change\":\"focus\",\"container\":"
                                  "{\"id\":8,\"name\":\"\xe9\",\"focused\":true,\"pid\":6}}");
    ASSERT_TRUE(becomes(8));
    EXPECT_EQ(sway.connections, 1);
}

TEST_F(PlayedFocusTest, anXWaylandWindowIsKnownByItsClass)
{
    ASSERT_TRUE(becomes(7));
    EXPECT_EQ(focus.pasteChord(), terminal);
    sway.event(SwayEvent::window, R"({"change":"focus","container":{"id":8,"pid":6,"app_id":null,
        "window_properties":{"class":"XTerm","instance":"xterm"}}})");
    ASSERT_TRUE(becomes(8));
    EXPECT_EQ(focus.pasteChord(), xterm);
    EXPECT_EQ(focus.focusedArea(), std::nullopt);
}

TEST_F(PlayedFocusTest, whereSwayDoesNotTellNoWindowIsKnown)
{
    ASSERT_TRUE(becomes(7));
    sway.close();
    sway.hangUp();
    ASSERT_TRUE(becomes(std::nullopt));
    EXPECT_EQ(focus.pasteChord(), usual);
    sway.listen();
    ASSERT_TRUE(becomes(7));
}

TEST_F(PlayedFocusTest, aLookEndsWhenSwayHasAnsweredIt)
{
    ASSERT_TRUE(becomes(7));
    tree = R"({"id":1,"nodes":[{"id":7,"focused":false,"pid":5,"app_id":"foot"}]})";
    std::vector<std::optional<std::uint64_t>> found;
    for (int look = 0; look < 2; ++look) {
        focus.look([&] { found.push_back(focus.window()); });
    }
    EXPECT_TRUE(found.empty());
    ASSERT_TRUE(runUntil([&] { return found.size() == 2; }));
    EXPECT_THAT(found, testing::Each(std::nullopt)) << "no event told of it";
    EXPECT_EQ(focus.window(), std::nullopt);
}

TEST_F(PlayedFocusTest, aLookEndsThoughSwayIsGone)
{
    ASSERT_TRUE(becomes(7));
    sway.answer = [](const PlayedSway::Request&) { return std::nullopt; };
    bool found = false;
    focus.look([&] { found = true; });
    sway.close();
    sway.hangUp();
    ASSERT_TRUE(runUntil([&] { return found; }));
    found = false;
    focus.look([&] { found = true; });
    ASSERT_TRUE(runUntil([&] { return found; }));
    EXPECT_EQ(focus.window(), std::nullopt);
}

TEST_F(PlayedFocusTest, aLookWaitsForNoSwayThatHangs)
{
    SwayFocus impatient(socket, loop, std::chrono::milliseconds(1));
    ASSERT_TRUE(runUntil([&] { return impatient.window() == 7; }));
    sway.answer = [](const PlayedSway::Request&) { return std::nullopt; };
    bool found = false;
    impatient.look([&] { found = true; });
    ASSERT_TRUE(runUntil([&] { return found; }));
    EXPECT_EQ(impatient.window(), 7);
}

TEST_F(PlayedFocusTest, nonsenseIsNoWindow)
{
    ASSERT_TRUE(becomes(7));
    for (const auto* nonsense :
         {"7", "[]", "{}", R"({"focused":true})", R"({"focused":true,"pid":1,"id":-1})",
          R"({"focused":true,"pid":1,"id":"x"})", R"({"nodes":[1,[],{"nodes":{}}]})"}) {
        tree = R"({"id":1,"nodes":[{"id":7,"focused":true,"pid":5,"app_id":"foot"}]})";
        sway.event(SwayEvent::window, R"({"change":"close"})");
        ASSERT_TRUE(becomes(7));
        tree = nonsense;
        sway.event(SwayEvent::window, R"({"change":"close"})");
        EXPECT_TRUE(becomes(std::nullopt)) << nonsense;
    }
    sway.event(SwayEvent::window, R"({"change":"focus","container":{"id":9,"pid":6,"app_id":5,
        "rect":{"x":0,"y":0,"width":99999999999,"height":5},"window_properties":7}})");
    ASSERT_TRUE(becomes(9));
    EXPECT_EQ(focus.focusedArea(), std::nullopt);
}

} // namespace
} // namespace vorlin
