#include "Platform/Linux/Keys/ActionsOnlyTap.h"

#include "fakes/FakeEventTap.h"

#include <gtest/gtest.h>

namespace vorlin {
namespace {

TEST(ActionsOnlyTap, promisesNoKeyAndTellsOfNone)
{
    FakeEventTap x11;
    ActionsOnlyTap tap(x11);
    EXPECT_EQ(tap.watchable({keyCodes::f9, 0, false}), KeyWatch::nothing);
    EXPECT_TRUE(tap.losesReleases());
    int told = 0;
    EXPECT_TRUE(tap.start([&](KeyEventType, const KeyEvent&) { return ++told > 0; }));
    EXPECT_EQ(tap.conflict().get(), KeyConflict::unwatched);
    tap.setInterest({Hotkey{keyCodes::f9, 0, false}, true});
    EXPECT_EQ(x11.interest, KeyInterest{}) << "nothing is to be grabbed";
    EXPECT_FALSE(x11.keyDown(keyCodes::f9));
    EXPECT_EQ(told, 0);
    tap.stop();
    EXPECT_FALSE(x11.isRunning());
    EXPECT_EQ(tap.conflict().get(), KeyConflict::none);
}

TEST(ActionsOnlyTap, knowsTheLayoutsAndStartsWithoutThemToo)
{
    FakeEventTap x11;
    x11.typing = {keyCodes::rightOption};
    ActionsOnlyTap tap(x11);
    EXPECT_TRUE(tap.typesCharacters(keyCodes::rightOption));
    EXPECT_FALSE(tap.typesCharacters(keyCodes::rightControl));
    const auto changes = tap.layoutChanges().get();
    x11.noteLayoutChange();
    EXPECT_EQ(tap.layoutChanges().get(), changes + 1);
    x11.allowed = false;
    EXPECT_TRUE(tap.start([](KeyEventType, const KeyEvent&) { return true; }));
}

} // namespace
} // namespace vorlin
