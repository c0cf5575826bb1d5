#include "Platform/Linux/Keys/X11KeyAccess.h"

#include "Platform/Linux/Keys/PrivateDisplay.h"
#include "Platform/Linux/Keys/X11EventTap.h"
#include "Platform/Linux/Keys/X11FocusedProgram.h"
#include "Platform/Linux/Keys/X11KeyPoster.h"
#include "simulation/SimulatedLoop.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace vorlin {
namespace {

TEST(X11KeyAccess, aDisplayThatCanDoItGrantsIt)
{
    const PrivateDisplay display;
    X11Keyboard keyboard;
    const X11KeyAccess access(keyboard);
    EXPECT_TRUE(access.granted().get());
}

TEST(X11KeyAccess, aDyingDisplayTakesItAwayAndSaysSo)
{
    PrivateDisplay display;
    X11Keyboard keyboard;
    const X11KeyAccess access(keyboard);
    int notices = 0;
    const auto subscription = access.granted().observe([&](bool granted) {
        ++notices;
        EXPECT_FALSE(granted);
    });
    display.kill();
    ASSERT_TRUE(waitUntil([&] { return !access.granted().get(); }));
    EXPECT_EQ(notices, 1);
}

TEST(X11KeyAccess, withoutADisplayNothingWorksAndNothingBreaks)
{
    setenv("DISPLAY", ":98765", 1);
    X11Keyboard keyboard;
    const X11KeyAccess access(keyboard);
    EXPECT_FALSE(access.granted().get());
    SimulatedLoop loop;
    X11EventTap tap(keyboard, loop);
    EXPECT_FALSE(tap.start([](auto, const auto&) { return true; }));
    tap.setInterest({Hotkey{100, 0, false}, true});
    EXPECT_EQ(tap.conflict().get(), KeyConflict::none);
    X11KeyPoster poster(keyboard);
    poster.post(keyCodes::v, true, eventFlags::maskControl);
    poster.post(keyCodes::v, false, eventFlags::maskControl);
    X11FocusedProgram program(keyboard.server());
    EXPECT_EQ(program.pasteChord().keyCode, keyCodes::v);
    tap.stop();
    unsetenv("DISPLAY");
}

} // namespace
} // namespace vorlin
