#include "Platform/Linux/Keys/X11KeyPoster.h"

#include "Platform/Linux/Keys/TapFixture.h"

#include <array>
#include <chrono>

namespace vorlin {
namespace {

using namespace eventFlags;
using testing::ElementsAre;
using testing::IsEmpty;

class X11KeyPosterTest : public TapFixture {
protected:
    void post(std::uint16_t keyCode, std::uint64_t flags)
    {
        poster.post(keyCode, true, flags);
        poster.post(keyCode, false, flags);
        keyboard.server().sync();
    }

    /// The key events of `key` alone.
    static std::vector<SeenKey> of(HardwareKey key, std::vector<SeenKey> all)
    {
        std::erase_if(all, [&](const auto& each) { return each.key != key; });
        return all;
    }

    X11KeyPoster poster{keyboard};
};

TEST_F(X11KeyPosterTest, aChordIsSeenWithItsModifier)
{
    post(keyCodes::v, maskControl);
    EXPECT_THAT(seen(), ElementsAre(down(keys::leftControl), down(keys::v, control),
                                    up(keys::v, control), up(keys::leftControl, control)));
    EXPECT_TRUE(typist.pressed().none());
}

TEST_F(X11KeyPosterTest, everyModifierCanBePosted)
{
    post(keyCodes::insert, maskShift);
    EXPECT_THAT(of(keys::insert, seen()),
                ElementsAre(down(keys::insert, shift), up(keys::insert, shift)));
    post(keyCodes::v, maskControl | maskShift | maskAlternate | maskCommand);
    const auto all = control | shift | alt | super;
    EXPECT_THAT(of(keys::v, seen()), ElementsAre(down(keys::v, all), up(keys::v, all)));
    post(keyCodes::v, 0);
    EXPECT_THAT(seen(), ElementsAre(down(keys::v), up(keys::v)));
    EXPECT_TRUE(typist.pressed().none());
}

TEST_F(X11KeyPosterTest, heldModifiersAreLiftedAndPutBack)
{
    for (const auto key : {keys::rightAlt, keys::leftAlt, keys::leftShift, keys::rightSuper}) {
        press(key);
        seen();
        const auto before = typist.modifiers();
        post(keyCodes::v, maskControl);
        EXPECT_EQ(typist.modifiers(), before) << int{key};
        EXPECT_TRUE(typist.pressed()[key]);
        EXPECT_THAT(of(keys::v, seen()), ElementsAre(down(keys::v, control), up(keys::v, control)));
        release(key);
        seen();
        EXPECT_EQ(typist.modifiers(), 0U);
        EXPECT_TRUE(typist.pressed().none());
    }
}

TEST_F(X11KeyPosterTest, modifiersHeldOnTheHardwareKeyboardAreLiftedAndPutBackAndLetGo)
{
    typist.useHardwareKeyboard();
    for (const auto key : {keys::rightAlt, keys::leftShift, keys::leftSuper, keys::rightControl}) {
        press(key);
        seen();
        post(keyCodes::insert, maskShift);
        EXPECT_THAT(of(keys::insert, seen()),
                    ElementsAre(down(keys::insert, shift), up(keys::insert, shift)));
        EXPECT_TRUE(typist.pressed()[key]) << int{key};
        release(key);
        seen();
        EXPECT_EQ(typist.modifiers(), 0U);
        EXPECT_TRUE(typist.pressed().none());
    }
    // Nor does the posting device still hold them.
    TestClient other;
    other.tap(keys::rightAlt);
    EXPECT_THAT(seen(), ElementsAre(down(keys::rightAlt), up(keys::rightAlt, alt)));
}

TEST_F(X11KeyPosterTest, aModifierLetGoBetweenLiftingAndPuttingBackStaysUp)
{
    typist.useHardwareKeyboard();
    press(keys::rightAlt);
    seen();
    poster.post(keyCodes::v, true, maskControl);
    keyboard.server().flush();
    typist.release(keys::rightAlt);
    poster.post(keyCodes::v, false, maskControl);
    seen();
    EXPECT_TRUE(typist.pressed().none());
}

TEST_F(X11KeyPosterTest, aModifierLetGoWhileItIsPutBackDoesNotStick)
{
    typist.useHardwareKeyboard();
    press(keys::rightAlt);
    seen();
    keyboard.sync();
    keyboard.lift(keys::rightAlt);
    keyboard.server().flush();
    // The server sees this first, we have not seen it yet.
    typist.release(keys::rightAlt);
    EXPECT_TRUE(keyboard.putBack(keys::rightAlt));
    keyboard.server().sync();
    EXPECT_TRUE(typist.pressed()[keys::rightAlt]);
    ASSERT_TRUE(waitUntil([&] { return typist.pressed().none(); }));
    EXPECT_EQ(typist.modifiers(), 0U);
}

TEST_F(X11KeyPosterTest, aLiftedAltIsNoCommandToTheProgram)
{
    press(keys::leftAlt);
    seen();
    post(keyCodes::v, maskControl);
    release(keys::leftAlt);
    EXPECT_THAT(seen(),
                ElementsAre(down(keys::silent, alt), up(keys::silent, alt), up(keys::leftAlt, alt),
                            down(keys::leftControl), down(keys::v, control), up(keys::v, control),
                            up(keys::leftControl, control), down(keys::leftAlt),
                            down(keys::silent, alt), up(keys::silent, alt),
                            up(keys::leftAlt, alt)));
}

TEST_F(X11KeyPosterTest, aHeldControlServesAndMayBeLetGoMeanwhile)
{
    typist.useHardwareKeyboard();
    press(keys::leftControl);
    seen();
    poster.post(keyCodes::v, true, maskControl);
    keyboard.server().flush();
    typist.release(keys::leftControl);
    poster.post(keyCodes::v, false, maskControl);
    EXPECT_THAT(of(keys::v, seen()), ElementsAre(down(keys::v, control), up(keys::v, control)));
    EXPECT_TRUE(typist.pressed().none());
}

TEST_F(X11KeyPosterTest, aKeyThatIsHeldIsPostedAllTheSame)
{
    typist.useHardwareKeyboard();
    press(keys::v);
    seen();
    post(keyCodes::v, maskControl);
    EXPECT_THAT(of(keys::v, seen()),
                ElementsAre(up(keys::v), down(keys::v, control), up(keys::v, control)));
    release(keys::v);
    seen();
    EXPECT_TRUE(typist.pressed().none());
}

TEST_F(X11KeyPosterTest, lockedModifiersDoNotDisturbAndStayLocked)
{
    PrivateDisplay::setLayout("us -option shift:both_capslock -option lv3:ralt_switch");
    keyboard.setLocks(XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_4, XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_4);
    keyboard.sync();
    ASSERT_EQ(typist.modifiers(), shift | super);
    post(keyCodes::v, maskControl);
    EXPECT_THAT(of(keys::v, seen()), ElementsAre(down(keys::v, control), up(keys::v, control)));
    EXPECT_EQ(typist.modifiers(), shift | super);
}

TEST_F(X11KeyPosterTest, capsLockStaysOn)
{
    tap(keys::capsLock);
    seen();
    post(keyCodes::v, maskControl);
    EXPECT_THAT(of(keys::v, seen()),
                ElementsAre(down(keys::v, control | lock), up(keys::v, control | lock)));
    EXPECT_EQ(typist.modifiers(), lock);
}

TEST_F(X11KeyPosterTest, theKeyThatTypesTheLetterIsPosted)
{
    PrivateDisplay::setLayout("us -variant dvorak");
    serveLoop();
    post(keyCodes::v, maskControl);
    EXPECT_THAT(of(60, seen()), ElementsAre(down(60, control), up(60, control)));
    PrivateDisplay::setLayout("de");
    ASSERT_TRUE(waitUntil([&] {
        post(16, maskControl); // y
        const auto events = window.takeSeen(typist, keys::x);
        return !of(keys::z, events).empty();
    }));
}

TEST_F(X11KeyPosterTest, withoutALatinLetterThePositionIsPosted)
{
    PrivateDisplay::setLayout("ru");
    serveLoop();
    post(16, maskControl); // y
    EXPECT_THAT(of(29, seen()), ElementsAre(down(29, control), up(29, control)));
}

TEST_F(X11KeyPosterTest, withoutALatinVTheOtherChordThatPastesIsPosted)
{
    constexpr HardwareKey insert = 118;
    PrivateDisplay::setLayout("ru");
    serveLoop();
    post(keyCodes::v, maskControl);
    const auto events = seen();
    EXPECT_THAT(of(insert, events), ElementsAre(down(insert, shift), up(insert, shift)));
    EXPECT_TRUE(of(keys::v, events).empty());
    PrivateDisplay::setLayout("us,ru");
    ASSERT_TRUE(waitUntil([&] {
        post(keyCodes::v, maskControl);
        return !of(keys::v, window.takeSeen(typist, keys::x)).empty();
    }));
}

TEST_F(X11KeyPosterTest, levelThreeIsLiftedOnAGermanKeyboard)
{
    PrivateDisplay::setLayout("de");
    serveLoop();
    press(keys::rightAlt);
    seen();
    post(keyCodes::v, maskControl);
    EXPECT_THAT(of(keys::v, seen()), ElementsAre(down(keys::v, control), up(keys::v, control)));
    EXPECT_EQ(typist.modifiers(), level3);
    release(keys::rightAlt);
    seen();
    EXPECT_EQ(typist.modifiers(), 0U);
}

TEST_F(X11KeyPosterTest, whatIsPostedIsNotToldByTheTap)
{
    start(rightOption);
    press(keys::rightAlt);
    ASSERT_TRUE(waitUntil([&] { return monitor->presses == 1; }));
    post(keyCodes::v, maskControl);
    post(keyCodes::v, maskControl | maskAlternate);
    EXPECT_THAT(of(keys::v, seen()),
                ElementsAre(down(keys::v, control), up(keys::v, control),
                            down(keys::v, control | alt), up(keys::v, control | alt)));
    release(keys::rightAlt);
    ASSERT_TRUE(waitUntil([&] { return monitor->releases == 1; }));
    seen();
    EXPECT_THAT(monitor->told, ElementsAre(flagsChanged(61, maskAlternate), flagsChanged(61, 0)));
    EXPECT_TRUE(typist.pressed().none());
}

TEST_F(X11KeyPosterTest, aChordReachesTheProgramWhileTheHotkeysKeyIsHeld)
{
    for (const auto& hotkey : {f8, optionSpace}) {
        start(hotkey);
        const bool withAlt = hotkey == optionSpace;
        const auto key = withAlt ? keys::space : keys::f8;
        if (withAlt) {
            press(keys::rightAlt);
        }
        press(key);
        ASSERT_TRUE(waitUntil([&] { return monitor->presses == 1; }));
        post(keyCodes::v, maskControl);
        EXPECT_THAT(of(keys::v, seen()), ElementsAre(down(keys::v, control), up(keys::v, control)));
        release(key);
        if (withAlt) {
            release(keys::rightAlt);
        }
        for (const auto& each : seen()) {
            EXPECT_NE(each.key, key);
        }
        EXPECT_EQ(monitor->presses, 1);
        EXPECT_EQ(monitor->releases, 1);
        EXPECT_TRUE(typist.pressed().none());
    }
}

TEST_F(X11KeyPosterTest, aHotkeyThatIsThePasteChordIsNotPressedByPasting)
{
    start({keyCodes::v, maskControl, false});
    post(keyCodes::v, maskControl);
    EXPECT_THAT(of(keys::v, seen()), ElementsAre(down(keys::v, control), up(keys::v, control)));
    EXPECT_EQ(monitor->presses, 0);
    press(keys::leftControl);
    tap(keys::v);
    release(keys::leftControl);
    EXPECT_THAT(of(keys::v, seen()), IsEmpty());
    EXPECT_EQ(monitor->presses, 1);
}

TEST_F(X11KeyPosterTest, postingFromInsideTheHandlerWorks)
{
    start(f8);
    monitor->onAction = [&] { post(keyCodes::v, maskControl); };
    tap(keys::f8);
    EXPECT_THAT(of(keys::v, seen()), ElementsAre(down(keys::v, control), up(keys::v, control),
                                                 down(keys::v, control), up(keys::v, control)));
    EXPECT_EQ(monitor->releases, 1);
}

TEST_F(X11KeyPosterTest, aChordIsSentInOnePiece)
{
    post(keyCodes::v, maskControl); // reads the layout
    seen();
    poster.post(keyCodes::v, true, maskControl);
    typist.sync();
    EXPECT_TRUE(typist.pressed().none()) << "a death here would leave keys down";
    poster.post(keyCodes::v, false, maskControl);
    EXPECT_THAT(of(keys::v, seen()), ElementsAre(down(keys::v, control), up(keys::v, control)));
}

TEST_F(X11KeyPosterTest, aKeyUpThatNeverCameIsMadeUpFor)
{
    poster.post(keyCodes::v, true, maskControl);
    ASSERT_TRUE(waitUntil([&] { return typist.pressed().test(keys::v); }));
    post(keyCodes::insert, maskShift);
    seen();
    EXPECT_TRUE(typist.pressed().none());
}

TEST_F(X11KeyPosterTest, aKeyThatDoesNotExistIsSkipped)
{
    post(0x3FF, maskControl);
    post(0xFFFF, maskControl);
    EXPECT_THAT(seen(), IsEmpty());
}

TEST_F(X11KeyPosterTest, aDeadServerIsNoTrouble)
{
    press(keys::leftAlt);
    poster.post(keyCodes::v, true, maskControl);
    display.kill();
    poster.post(keyCodes::v, false, maskControl);
    post(keyCodes::v, maskControl);
    ASSERT_TRUE(waitUntil([&] { return !keyboard.available().get(); }));
    post(keyCodes::v, maskControl);
}

} // namespace
} // namespace vorlin
