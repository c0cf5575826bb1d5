#include "Platform/Linux/Keys/ToplevelFocus.h"

#include "Hotkey.h"
#include "Platform/Linux/Wayland/PrivateCompositor.h"
#include "Platform/RunUntil.h"
#include "fakes/FakeDesktop.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <utility>

namespace vorlin {
namespace {

using namespace eventFlags;

constexpr PasteChord usual{9, maskControl, PasteSource::clipboard};
constexpr PasteChord terminal{9, maskControl | maskShift, PasteSource::clipboard, true};

TEST(ToplevelFocusTest, theFocusedWindowIsFollowed)
{
    PrivateCompositor compositor;
    const Person person;
    WaylandConnection connection;
    ASSERT_TRUE(ToplevelFocus::isOffered(connection));
    FakeFocusedProgram unknown;
    ToplevelFocus focus(connection, unknown);
    EXPECT_TRUE(connection.sync(std::chrono::seconds(10)));
    EXPECT_EQ(focus.window(), std::nullopt);
    EXPECT_EQ(focus.pasteChord(), unknown.chord) << "no window is no program";

    std::optional<SessionProgram> first(std::in_place, QStringList{"foot"});
    ASSERT_TRUE(runUntil([&] { return focus.window().has_value(); }));
    const auto window = focus.window();
    EXPECT_EQ(focus.pasteChord(), terminal);
    EXPECT_FALSE(focus.isKnown()) << "what is no window may have the keyboard";

    std::optional<SessionProgram> second(std::in_place, QStringList{"foot", "--app-id=editor"});
    ASSERT_TRUE(runUntil([&] { return focus.window() && focus.window() != window; }));
    EXPECT_EQ(focus.pasteChord(), usual);

    second.reset();
    ASSERT_TRUE(runUntil([&] { return focus.window() == window; }));
    EXPECT_EQ(focus.pasteChord(), terminal);
    first.reset();
    ASSERT_TRUE(runUntil([&] { return !focus.window(); }));
}

TEST(ToplevelFocusTest, aCompositorThatIsGoneTellsNothing)
{
    PrivateCompositor compositor;
    const Person person;
    WaylandConnection connection;
    FakeFocusedProgram unknown;
    ToplevelFocus focus(connection, unknown);
    const SessionProgram program({"foot"});
    ASSERT_TRUE(runUntil([&] { return focus.window().has_value(); }));
    compositor.kill();
    EXPECT_TRUE(runUntil([&] { return !focus.window(); }));
}

} // namespace
} // namespace vorlin
