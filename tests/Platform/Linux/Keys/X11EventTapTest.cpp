#include "Platform/Linux/Keys/TapFixture.h"

namespace vorlin {
namespace {

using namespace eventFlags;
using testing::ElementsAre;
using testing::IsEmpty;

using X11EventTapTest = TapFixture;

TEST_F(X11EventTapTest, theHotkeysKeyIsSwallowed)
{
    start(f8);
    tap(keys::a);
    press(keys::f8);
    ASSERT_TRUE(waitUntil([&] { return monitor->presses == 1; }));
    EXPECT_EQ(monitor->releases, 0);
    release(keys::f8);
    ASSERT_TRUE(waitUntil([&] { return monitor->releases == 1; }));
    tap(keys::b);
    EXPECT_THAT(seen(), ElementsAre(down(keys::a), up(keys::a), down(keys::b), up(keys::b)));
    EXPECT_THAT(monitor->told, ElementsAre(keyDown(100), keyUp(100)));
}

TEST_F(X11EventTapTest, theHotkeyWithModifiersIsSwallowedAndItsModifiersAreNot)
{
    start(optionSpace);
    press(keys::leftAlt);
    tap(keys::space);
    release(keys::leftAlt);
    EXPECT_THAT(seen(), ElementsAre(down(keys::leftAlt), up(keys::leftAlt, alt)));
    EXPECT_THAT(monitor->told,
                ElementsAre(flagsChanged(58, maskAlternate), keyDown(49, maskAlternate),
                            keyUp(49, maskAlternate), flagsChanged(58, 0)));
}

TEST_F(X11EventTapTest, aModifierReleasedFirstReachesTheProgramAndTheKeyUpDoesNot)
{
    start(optionSpace);
    press(keys::rightAlt);
    press(keys::space);
    release(keys::rightAlt);
    release(keys::space);
    EXPECT_THAT(seen(), ElementsAre(down(keys::rightAlt), up(keys::rightAlt, alt)));
    EXPECT_EQ(monitor->presses, 1);
    EXPECT_EQ(monitor->releases, 1);
    EXPECT_TRUE(typist.couldGrabKeyboard());
}

TEST_F(X11EventTapTest, extraOrMissingModifiersPassThrough)
{
    start(optionSpace);
    tap(keys::space);
    press(keys::leftShift);
    press(keys::leftAlt);
    tap(keys::space);
    release(keys::leftAlt);
    release(keys::leftShift);
    EXPECT_THAT(seen(), ElementsAre(down(keys::space), up(keys::space), down(keys::leftShift),
                                    down(keys::leftAlt, shift), down(keys::space, shift | alt),
                                    up(keys::space, shift | alt), up(keys::leftAlt, shift | alt),
                                    up(keys::leftShift, shift)));
    EXPECT_EQ(monitor->presses, 0);
}

TEST_F(X11EventTapTest, theHotkeyWorksWithCapsLockAndNumLockOn)
{
    start(optionSpace);
    tap(keys::capsLock);
    tap(keys::numLock);
    seen();
    press(keys::leftAlt);
    tap(keys::space);
    release(keys::leftAlt);
    EXPECT_THAT(seen(), ElementsAre(down(keys::leftAlt, lock | numLock),
                                    up(keys::leftAlt, alt | lock | numLock)));
    EXPECT_EQ(monitor->presses, 1);
}

TEST_F(X11EventTapTest, aHeldHotkeyDoesNotRepeatInTheProgram)
{
    PrivateDisplay::repeatSoon();
    typist.useHardwareKeyboard();
    start(f8);
    press(keys::f8);
    ASSERT_TRUE(waitUntil([&] { return monitor->presses == 1; }));
    // Long enough for another key to begin to repeat.
    press(keys::a);
    ASSERT_TRUE(waitUntil([&] { return window.seen().size() >= 7; }));
    release(keys::a);
    release(keys::f8);
    for (const auto& each : seen()) {
        EXPECT_EQ(each.key, keys::a);
    }
    EXPECT_EQ(monitor->presses, 1);
    EXPECT_EQ(monitor->releases, 1);
}

TEST_F(X11EventTapTest, repeatsAreToldAsSuch)
{
    PrivateDisplay::repeatSoon();
    int presses = 0;
    int repeats = 0;
    ASSERT_TRUE(eventTap.start([&](KeyEventType type, const KeyEvent& event) {
        if (type == KeyEventType::keyDown) {
            ++(event.autorepeat ? repeats : presses);
        }
        return false;
    }));
    eventTap.setInterest({f8, false});
    typist.press(keys::f8);
    ASSERT_TRUE(waitUntil([&] { return repeats >= 3; }));
    typist.release(keys::f8);
    seen();
    EXPECT_EQ(presses, 1);
}

TEST_F(X11EventTapTest, keysTypedWhileTheHotkeyIsHeldReachTheProgram)
{
    start(f8);
    press(keys::f8);
    tap(keys::a);
    press(keys::leftShift);
    tap(keys::b);
    release(keys::leftShift);
    release(keys::f8);
    tap(keys::x);
    EXPECT_THAT(seen(), ElementsAre(down(keys::a), up(keys::a), down(keys::leftShift),
                                    down(keys::b, shift), up(keys::b, shift),
                                    up(keys::leftShift, shift), down(keys::x), up(keys::x)));
    EXPECT_EQ(monitor->releases, 1);
    EXPECT_TRUE(typist.couldGrabKeyboard());
}

TEST_F(X11EventTapTest, loneModifiersAreSeenAndNeverSwallowed)
{
    start({62, 0, true});
    press(keys::rightControl);
    ASSERT_TRUE(waitUntil([&] { return monitor->presses == 1; }));
    tap(keys::a);
    release(keys::rightControl);
    EXPECT_THAT(seen(), ElementsAre(down(keys::rightControl), down(keys::a, control),
                                    up(keys::a, control), up(keys::rightControl, control)));
    EXPECT_THAT(monitor->told, ElementsAre(flagsChanged(62, maskControl), flagsChanged(62, 0)));
}

TEST_F(X11EventTapTest, aSilentKeyIsSeenBetweenALoneAltAndItsRelease)
{
    start(rightOption);
    press(keys::rightAlt);
    ASSERT_TRUE(waitUntil([&] { return window.seen().size() >= 3; }));
    release(keys::rightAlt);
    EXPECT_THAT(seen(), ElementsAre(down(keys::rightAlt), down(keys::silent, alt),
                                    up(keys::silent, alt), up(keys::rightAlt, alt)));
    EXPECT_THAT(monitor->told, ElementsAre(flagsChanged(61, maskAlternate), flagsChanged(61, 0)))
        << "what we posted was told";
}

TEST_F(X11EventTapTest, aSilentKeyIsPostedForALoneSuperToo)
{
    start({54, 0, true});
    press(keys::rightSuper);
    ASSERT_TRUE(waitUntil([&] { return window.seen().size() >= 3; }));
    release(keys::rightSuper);
    EXPECT_THAT(seen(), ElementsAre(down(keys::rightSuper), down(keys::silent, super),
                                    up(keys::silent, super), up(keys::rightSuper, super)));
}

TEST_F(X11EventTapTest, leftAndRightAreToldApart)
{
    start(rightOption);
    tap(keys::leftAlt);
    seen();
    EXPECT_EQ(monitor->presses, 0);
    EXPECT_THAT(monitor->told, ElementsAre(flagsChanged(58, maskAlternate), flagsChanged(58, 0)));
    monitor->told.clear();
    press(keys::leftAlt);
    press(keys::rightAlt);
    release(keys::leftAlt);
    release(keys::rightAlt);
    seen();
    EXPECT_THAT(monitor->told,
                ElementsAre(flagsChanged(58, maskAlternate), flagsChanged(61, maskAlternate),
                            flagsChanged(58, maskAlternate), flagsChanged(61, 0)));
}

TEST_F(X11EventTapTest, escapeReachesProgramsWhenIdle)
{
    start(rightOption);
    tap(keys::escape);
    EXPECT_THAT(seen(), ElementsAre(down(keys::escape), up(keys::escape)));
    EXPECT_TRUE(typist.couldGrabKey(keys::escape, XCB_INPUT_MODIFIER_MASK_ANY));
}

TEST_F(X11EventTapTest, escapeIsSwallowedWhileActiveAndNotAfterwards)
{
    start(rightOption);
    setEscapeActive(true);
    monitor->onAction = [&] { setEscapeActive(false); };
    tap(keys::escape);
    tap(keys::a);
    EXPECT_THAT(seen(), ElementsAre(down(keys::a), up(keys::a)));
    EXPECT_EQ(monitor->escapes, 1);
    EXPECT_TRUE(typist.couldGrabKey(keys::escape, XCB_INPUT_MODIFIER_MASK_ANY));
    tap(keys::escape);
    EXPECT_THAT(seen(), ElementsAre(down(keys::escape), up(keys::escape)));
    EXPECT_EQ(monitor->escapes, 1);
}

TEST_F(X11EventTapTest, escapeIsSwallowedWithAnyModifiersAndWithTheHotkeyHeld)
{
    start(rightOption);
    setEscapeActive(true);
    press(keys::rightAlt);
    tap(keys::escape);
    press(keys::leftShift);
    press(keys::leftControl);
    tap(keys::escape);
    release(keys::leftControl);
    release(keys::leftShift);
    release(keys::rightAlt);
    for (const auto& each : seen()) {
        EXPECT_NE(each.key, keys::escape);
    }
    EXPECT_EQ(monitor->escapes, 2);
    EXPECT_EQ(monitor->presses, 1);
    EXPECT_EQ(monitor->releases, 1);
}

TEST_F(X11EventTapTest, escapeIsSwallowedWhileTheHotkeysKeyIsHeld)
{
    start(f8);
    press(keys::f8);
    setEscapeActive(true);
    monitor->onAction = [&] { setEscapeActive(false); };
    press(keys::escape);
    ASSERT_TRUE(waitUntil([&] { return monitor->escapes == 1; }));
    release(keys::f8);
    tap(keys::a);
    release(keys::escape);
    EXPECT_THAT(seen(), ElementsAre(down(keys::a), up(keys::a)));
    EXPECT_EQ(monitor->releases, 1);
    EXPECT_TRUE(typist.couldGrabKeyboard());
}

TEST_F(X11EventTapTest, aSwallowedEscapeThatIsHeldDoesNotReachTheProgramLater)
{
    PrivateDisplay::repeatSoon();
    start(rightOption);
    setEscapeActive(true);
    monitor->onAction = [&] { setEscapeActive(false); };
    press(keys::escape);
    ASSERT_EQ(monitor->escapes, 1);
    EXPECT_FALSE(typist.pressed()[keys::escape]) << "it could repeat";
    release(keys::escape);
    EXPECT_THAT(seen(), IsEmpty());
}

TEST_F(X11EventTapTest, escapeIsToldWhileAMenuHasTheKeyboard)
{
    start(f8);
    setEscapeActive(true);
    ASSERT_TRUE(window.client().grabKeyboard());
    tap(keys::escape);
    tap(keys::f8);
    ASSERT_TRUE(waitUntil([&] { return monitor->escapes == 1; }));
    window.client().ungrabKeyboard();
    seen();
    EXPECT_EQ(monitor->presses, 0);
    tap(keys::escape);
    EXPECT_THAT(seen(), IsEmpty());
    EXPECT_EQ(monitor->escapes, 2);
}

TEST_F(X11EventTapTest, whatTheHandlerRefusesIsReplayedUnchanged)
{
    int asked = 0;
    ASSERT_TRUE(eventTap.start([&](KeyEventType type, const KeyEvent&) {
        asked += type == KeyEventType::keyDown ? 1 : 0;
        return false;
    }));
    eventTap.setInterest({f8, true});
    tap(keys::a);
    tap(keys::f8);
    tap(keys::b);
    press(keys::leftShift);
    tap(keys::escape);
    release(keys::leftShift);
    EXPECT_THAT(seen(),
                ElementsAre(down(keys::a), up(keys::a), down(keys::f8), up(keys::f8), down(keys::b),
                            up(keys::b), down(keys::leftShift), down(keys::escape, shift),
                            up(keys::escape, shift), up(keys::leftShift, shift)));
    EXPECT_EQ(asked, 2);
}

TEST_F(X11EventTapTest, keysOfTheHardwareKeyboardAreWatchedLikePostedOnes)
{
    typist.useHardwareKeyboard();
    start(optionSpace);
    press(keys::leftAlt);
    tap(keys::space);
    release(keys::leftAlt);
    EXPECT_THAT(seen(), ElementsAre(down(keys::leftAlt), up(keys::leftAlt, alt)));
    EXPECT_EQ(monitor->presses, 1);
    EXPECT_EQ(monitor->releases, 1);
}

} // namespace
} // namespace vorlin
