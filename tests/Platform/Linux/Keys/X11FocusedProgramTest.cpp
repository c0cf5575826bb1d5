#include "Platform/Linux/Keys/X11FocusedProgram.h"

#include "Hotkey.h"
#include "Platform/Linux/Keys/PrivateDisplay.h"
#include "Platform/Linux/Keys/TestClient.h"
#include "Platform/Linux/Keys/X11Keyboard.h"

#include <gtest/gtest.h>

#include <string_view>

namespace vorlin {
namespace {

using namespace eventFlags;

constexpr PasteChord usual{9, maskControl, PasteSource::clipboard};
constexpr PasteChord terminal{9, maskControl | maskShift, PasteSource::clipboard, true};
constexpr PasteChord xterm{114, maskShift, PasteSource::primarySelection, true};

class X11FocusedProgramTest : public testing::Test {
protected:
    void setActiveWindow(xcb_window_t window)
    {
        constexpr std::string_view name = "_NET_ACTIVE_WINDOW";
        const XcbPointer<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(
            other.get(), xcb_intern_atom(other.get(), 0, name.size(), name.data()), nullptr));
        xcb_change_property(other.get(), XCB_PROP_MODE_REPLACE, other.root(), atom->atom,
                            XCB_ATOM_WINDOW, 32, 1, &window);
        other.sync();
    }

    PrivateDisplay display;
    X11Keyboard keyboard;
    X11FocusedProgram program{keyboard.server()};
    TestClient other;
};

TEST_F(X11FocusedProgramTest, theFocusedWindowsClassDecides)
{
    TestWindow window("xterm", "XTerm");
    EXPECT_EQ(program.pasteChord(), xterm);
    window.setClass("konsole", "konsole");
    EXPECT_EQ(program.pasteChord(), terminal);
    window.setClass("editor", "Editor");
    EXPECT_EQ(program.pasteChord(), usual);
}

TEST_F(X11FocusedProgramTest, aFocusedWindowInsideTheProgramsCounts)
{
    TestWindow window("urxvt", "URxvt");
    window.focus(window.addChild());
    EXPECT_EQ(program.pasteChord(), xterm);
}

TEST_F(X11FocusedProgramTest, theFocusComesBeforeTheActiveWindow)
{
    TestWindow first("xterm", "XTerm");
    TestWindow second("konsole", "konsole");
    setActiveWindow(first.id());
    EXPECT_EQ(program.pasteChord(), terminal);
    xcb_set_input_focus(other.get(), XCB_INPUT_FOCUS_NONE, XCB_INPUT_FOCUS_POINTER_ROOT,
                        XCB_CURRENT_TIME);
    other.sync();
    EXPECT_EQ(program.pasteChord(), xterm);
}

TEST_F(X11FocusedProgramTest, aWindowThatIsGoneIsAnUnknownProgram)
{
    xcb_window_t gone = XCB_NONE;
    {
        TestWindow window("xterm", "XTerm");
        gone = window.id();
    }
    setActiveWindow(gone);
    other.sync();
    EXPECT_EQ(program.pasteChord(), usual);
    EXPECT_TRUE(keyboard.server().isAlive());
}

TEST_F(X11FocusedProgramTest, nothingFocusedOrWithoutAClassIsAnUnknownProgram)
{
    EXPECT_EQ(program.pasteChord(), usual);
    TestWindow window;
    EXPECT_EQ(program.pasteChord(), usual);
    window.setClass("", "");
    EXPECT_EQ(program.pasteChord(), usual);
}

TEST_F(X11FocusedProgramTest, aServerThatDoesNotAnswerIsNotWaitedForLong)
{
    TestWindow window("xterm", "XTerm");
    xcb_grab_server(other.get());
    other.sync();
    EXPECT_EQ(program.pasteChord(), usual) << "the server was busy, and answered";
    xcb_ungrab_server(other.get());
    other.sync();
    EXPECT_EQ(program.pasteChord(), xterm);
}

TEST_F(X11FocusedProgramTest, theFocusedWindowKeepsItsNumber)
{
    EXPECT_EQ(program.window(), std::nullopt);
    TestWindow first("editor", "Editor");
    const auto number = program.window();
    EXPECT_NE(number, std::nullopt);
    first.focus(first.addChild());
    EXPECT_EQ(program.window(), number) << "another part of the same window";
    {
        TestWindow second("editor", "Editor");
        EXPECT_NE(program.window(), std::nullopt);
        EXPECT_NE(program.window(), number);
    }
    first.focus(first.id());
    EXPECT_EQ(program.window(), number);
    first.focus(other.root());
    EXPECT_EQ(program.window(), std::nullopt) << "no window of any program";
}

TEST_F(X11FocusedProgramTest, onXWaylandNoWindowIsKnownAndTheClassDecidesAsEver)
{
    X11FocusedProgram there(keyboard.server(), X11FocusedProgram::Reach::xwayland);
    TestWindow window("xterm", "XTerm");
    EXPECT_EQ(there.window(), std::nullopt);
    EXPECT_EQ(there.pasteChord(), xterm);
    TestWindow editor("editor", "Editor");
    auto lookedAtFirst = usual; // by the compositor
    lookedAtFirst.looksFirst = true;
    EXPECT_EQ(there.pasteChord(), lookedAtFirst);
}

TEST_F(X11FocusedProgramTest, aDeadServerIsAnUnknownProgram)
{
    {
        TestWindow window("xterm", "XTerm");
        EXPECT_EQ(program.pasteChord(), xterm);
    }
    display.kill();
    EXPECT_EQ(program.pasteChord(), usual);
    EXPECT_EQ(program.window(), std::nullopt);
}

} // namespace
} // namespace vorlin
