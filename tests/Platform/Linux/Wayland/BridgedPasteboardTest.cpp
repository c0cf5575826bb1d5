#include "Platform/Linux/Pasteboard/BridgedPasteboard.h"

#include "Platform/Linux/Wayland/PrivateCompositor.h"
#include "Platform/Shared/QtMainLoop.h"

#include <csignal>

#include <gmock/gmock.h>

namespace vorlin {

namespace {

using testing::Contains;
using testing::Not;

class Bridged : public testing::Test {
protected:
    Bridged() { std::signal(SIGPIPE, SIG_IGN); }

    PasteboardSnapshot snapshot()
    {
        const auto reading = pasteboard.snapshot(PasteSource::clipboard);
        EXPECT_TRUE(runUntil([&] { return reading.await_ready(); }));
        return reading.await_resume();
    }

    PrivateCompositor compositor;
    Person person;
    QtMainLoop loop;
    WaylandConnection connection;
    DataControlPasteboard compositors{connection, loop, [] { return std::nullopt; }};
    X11Connection server{{.readable = [] {}, .lost = [] {}}};
    X11Pasteboard xwaylands{loop};
    BridgedPasteboard pasteboard{compositors, xwaylands, server, loop};
};

} // namespace

TEST_F(Bridged, aCopiedTextIsMarkedAsNothing)
{
    pasteboard.copyString(PasteSource::clipboard, "copied");
    EXPECT_EQ(compositor.output({"wl-paste", "--no-newline"}), "copied");
    EXPECT_THAT(compositors.types(PasteSource::clipboard), Contains("text/plain"));
    EXPECT_THAT(compositors.types(PasteSource::clipboard), Not(Contains(secrecyHint)));
}

TEST_F(Bridged, whatTheCompositorDoesNotTakeOverIsNotTheClipboard)
{
    compositor.output({"wl-copy", "seen by everybody"});
    // No window of XWayland's has the focus.
    const SessionProgram refused(
        {"sh", "-c", "printf %s refused | exec xclip -quiet -selection clipboard -i"});
    EXPECT_TRUE(runUntil([&] {
        return compositor.output({"xclip", "-selection", "clipboard", "-o"}) == "refused";
    }));
    ASSERT_EQ(compositor.output({"wl-paste", "--no-newline"}), "seen by everybody");
    const auto read = snapshot();
    ASSERT_EQ(read.size(), 1);
    const auto& text = read.front().at("text/plain");
    EXPECT_EQ(std::string(text.begin(), text.end()), "seen by everybody");
}

TEST(PassedOnTypes, areThoseOfTheOwnerByTheirNamesOnWayland)
{
    EXPECT_TRUE(arePassedOn({"text/plain;charset=utf-8", "image/png"},
                            {"TARGETS", "TIMESTAMP", "UTF8_STRING", "image/png"}));
    EXPECT_TRUE(arePassedOn({"text/plain;charset=utf-8", "text/plain"},
                            {"TARGETS", "UTF8_STRING", "STRING", "TEXT", "COMPOUND_TEXT"}));
    EXPECT_TRUE(arePassedOn({"text/plain;charset=utf-8"}, {"UTF8_STRING", "STRING"}));
}

TEST(PassedOnTypes, areNotAnotherOwners)
{
    EXPECT_FALSE(arePassedOn({}, {"TARGETS"}));
    EXPECT_FALSE(arePassedOn({"text/plain;charset=utf-8", "text/html"}, {"UTF8_STRING"}));
    EXPECT_FALSE(arePassedOn({"text/plain;charset=utf-8"}, {"UTF8_STRING", "text/html"}));
    EXPECT_FALSE(arePassedOn({"text/plain;charset=utf-8", "UTF8_STRING"}, {"UTF8_STRING"}));
}

} // namespace vorlin
