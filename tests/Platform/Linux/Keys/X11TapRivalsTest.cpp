#include "Platform/Linux/Keys/TapFixture.h"

namespace vorlin {
namespace {

using namespace eventFlags;
using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

/// Another program has asked the server for keys before us.
class X11TapRivalsTest : public TapFixture {
protected:
    void expectNoEscapeSeen()
    {
        for (const auto& each : seen()) {
            EXPECT_NE(each.key, keys::escape) << each;
        }
    }

    TestClient rival;
};

TEST_F(X11TapRivalsTest, aKeyTakenByAnotherProgramIsNamedAndTheRestWorks)
{
    ASSERT_TRUE(rival.grabKey(keys::f8, 0));
    start(f8);
    setEscapeActive(true);
    EXPECT_EQ(eventTap.conflict().get(), KeyConflict::hotkeyTaken);
    tap(keys::escape);
    tap(keys::f8);
    EXPECT_THAT(seen(), IsEmpty());
    EXPECT_EQ(monitor->escapes, 1);
    EXPECT_EQ(monitor->presses, 0);
    eventTap.setInterest({rightOption, false});
    EXPECT_EQ(eventTap.conflict().get(), KeyConflict::none);
}

TEST_F(X11TapRivalsTest, aConflictIsToldWhenItComesAndWhenItGoes)
{
    std::vector<KeyConflict> told;
    const auto watch = eventTap.conflict().observe([&](KeyConflict next) { told.push_back(next); });
    ASSERT_TRUE(rival.grabKey(keys::f8, 0));
    start(f8);
    EXPECT_THAT(told, ElementsAre(KeyConflict::hotkeyTaken));
    eventTap.stop();
    EXPECT_THAT(told, ElementsAre(KeyConflict::hotkeyTaken, KeyConflict::none));
    EXPECT_EQ(eventTap.conflict().get(), KeyConflict::none);
}

/// As window managers take their keys.
TEST_F(X11TapRivalsTest, ofClassicGrabsAndOursTheLatestCounts)
{
    ASSERT_TRUE(rival.grabCoreKey(keys::space, alt));
    start(optionSpace);
    EXPECT_EQ(eventTap.conflict().get(), KeyConflict::none);
    press(keys::leftAlt);
    tap(keys::space);
    EXPECT_EQ(monitor->presses, 1);
    ASSERT_TRUE(rival.grabCoreKey(keys::space, alt));
    tap(keys::space);
    EXPECT_EQ(monitor->presses, 1) << "they have it";
    tap(keys::space);
    release(keys::leftAlt);
    EXPECT_EQ(monitor->presses, 2) << "which is noticed, and taken back";
    EXPECT_EQ(monitor->releases, 2);
}

TEST_F(X11TapRivalsTest, aHotkeyIsOursFromItsModifierOnWhoeverTookItMeanwhile)
{
    start(optionSpace);
    tap(keys::a);
    loop.advance(1min);
    ASSERT_TRUE(rival.grabCoreKey(keys::space, alt));
    press(keys::leftAlt);
    tap(keys::space);
    EXPECT_EQ(monitor->presses, 1);
    release(keys::leftAlt);
    press(keys::leftAlt);
    for (int afterMs = 10; afterMs <= 200; afterMs += 10) {
        ASSERT_TRUE(rival.grabCoreKey(keys::space, alt)); // because of that press, sooner or later
        loop.advance(10ms);
    }
    tap(keys::space);
    release(keys::leftAlt);
    EXPECT_EQ(monitor->presses, 2);
    EXPECT_EQ(rival.grabbedPresses(), 0);
}

TEST_F(X11TapRivalsTest, fromAWindowManagerThatComesLaterTheHotkeyIsTakenBack)
{
    start(f8);
    tap(keys::a);
    loop.advance(1min);
    rival.becomeManager();
    settle();
    for (const int afterMs : {20, 80, 400, 1500, 5000}) { // as slow as it may be
        ASSERT_TRUE(rival.grabCoreKey(keys::f8, 0));
        loop.advance(std::chrono::milliseconds(afterMs));
        tap(keys::f8);
    }
    EXPECT_EQ(monitor->presses, 5);
    EXPECT_EQ(eventTap.conflict().get(), KeyConflict::hotkeyShared);
    EXPECT_EQ(rival.grabbedPresses(), 0);
}

TEST_F(X11TapRivalsTest, aHotkeyThatAWindowManagerHasTooIsOursAndNamedOnceTheyAreDone)
{
    ASSERT_TRUE(rival.grabCoreKey(keys::space, alt));
    start(optionSpace);
    loop.advance(2s);
    EXPECT_EQ(eventTap.conflict().get(), KeyConflict::hotkeyShared);
    press(keys::leftAlt);
    tap(keys::space);
    release(keys::leftAlt);
    EXPECT_EQ(monitor->presses, 1);
    eventTap.setInterest({rightOption, false});
    EXPECT_EQ(eventTap.conflict().get(), KeyConflict::none);
}

TEST_F(X11TapRivalsTest, askingWhoElseHasAKeyTakesItFromNobody)
{
    start(optionSpace);
    loop.advance(2s);
    EXPECT_EQ(eventTap.conflict().get(), KeyConflict::none) << "our own does not count";
    EXPECT_TRUE(rival.couldGrabCoreKey(keys::space, alt)) << "it was given back";
    eventTap.stop();
    ASSERT_TRUE(rival.grabCoreKey(keys::space, alt));
    start(optionSpace);
    loop.advance(2s);
    TestClient third;
    EXPECT_FALSE(third.couldGrabCoreKey(keys::space, alt)) << "theirs stays";
}

TEST_F(X11TapRivalsTest, aHotkeyLostToAClassicGrabIsTakenBackWithEveryKeyThatIsItsModifier)
{
    PrivateDisplay::setLayout("us -option ctrl:nocaps");
    start({keyCodes::space, maskControl, false});
    press(keys::capsLock); // from another device than the layout's: the map changes
    ASSERT_TRUE(rival.grabCoreKey(keys::space, control));
    tap(keys::space);
    EXPECT_EQ(monitor->presses, 0) << "they have it";
    tap(keys::space);
    release(keys::capsLock);
    EXPECT_EQ(monitor->presses, 1);
    EXPECT_EQ(monitor->releases, 1);
}

TEST_F(X11TapRivalsTest, keysThatWindowManagersTakeAnewWithTheLayoutAreTakenBackInTime)
{
    start(optionSpace);
    int grabs = 0;
    const auto watch = eventTap.layoutChanges().observe(
        [&](std::size_t) { grabs += rival.grabCoreKey(keys::space, alt) ? 1 : 0; });
    PrivateDisplay::setLayout("de");
    ASSERT_TRUE(waitUntil([&] { return grabs > 0; }));
    tap(keys::a); // from another device than the layout's: the map changes once more
    for (const int afterMs : {20, 80, 400, 1500, 5000}) { // as slow as they may be
        ASSERT_TRUE(rival.grabCoreKey(keys::space, alt));
        loop.advance(std::chrono::milliseconds(afterMs));
        press(keys::leftAlt);
        tap(keys::space);
        release(keys::leftAlt);
    }
    EXPECT_EQ(monitor->presses, 5);
}

TEST_F(X11TapRivalsTest, escapeIsSwallowedWhereAnotherProgramHasACombinationOfIt)
{
    ASSERT_TRUE(rival.grabKey(keys::escape, alt));
    start(f8);
    setEscapeActive(true);
    tap(keys::escape);
    press(keys::leftShift);
    press(keys::leftControl);
    tap(keys::escape);
    release(keys::leftControl);
    release(keys::leftShift);
    tap(keys::capsLock);
    tap(keys::numLock);
    tap(keys::escape);
    expectNoEscapeSeen();
    EXPECT_EQ(monitor->escapes, 3);
    EXPECT_EQ(eventTap.conflict().get(), KeyConflict::none);
}

TEST_F(X11TapRivalsTest, theCombinationItselfCancelsAndGoesToTheProgramThatHasIt)
{
    ASSERT_TRUE(rival.grabKey(keys::escape, alt));
    start(rightOption);
    press(keys::rightAlt);
    setEscapeActive(true);
    tap(keys::escape);
    ASSERT_TRUE(waitUntil([&] { return monitor->escapes == 1; }));
    release(keys::rightAlt);
    expectNoEscapeSeen();
    EXPECT_EQ(rival.grabbedPresses(), 1);
}

TEST_F(X11TapRivalsTest, whatWasGrabbedCombinationByCombinationIsGivenBack)
{
    ASSERT_TRUE(rival.grabKey(keys::escape, alt));
    start(f8);
    setEscapeActive(true);
    TestClient third;
    EXPECT_FALSE(third.couldGrabKey(keys::escape, 0));
    EXPECT_FALSE(third.couldGrabKey(keys::escape, shift | numLock));
    setEscapeActive(false);
    tap(keys::escape);
    EXPECT_THAT(seen(), ElementsAre(down(keys::escape), up(keys::escape)));
    EXPECT_TRUE(third.couldGrabKey(keys::escape, 0));
    EXPECT_TRUE(third.couldGrabKey(keys::escape, shift | numLock));
}

TEST_F(X11TapRivalsTest, escapeAloneTakenByAnotherProgramIsNamed)
{
    ASSERT_TRUE(rival.grabKey(keys::escape, 0));
    start(f8);
    setEscapeActive(true);
    EXPECT_EQ(eventTap.conflict().get(), KeyConflict::escapeTaken);
    press(keys::leftShift);
    tap(keys::escape);
    release(keys::leftShift);
    expectNoEscapeSeen();
    EXPECT_EQ(monitor->escapes, 1);
}

TEST_F(X11TapRivalsTest, aHotkeyWorksWithTheSideThatNobodyElseHas)
{
    PrivateDisplay::setLayout("de");
    ASSERT_TRUE(rival.grabKey(keys::space, level3));
    start(optionSpace);
    EXPECT_EQ(eventTap.conflict().get(), KeyConflict::hotkeyTaken);
    press(keys::leftAlt);
    tap(keys::space);
    release(keys::leftAlt);
    EXPECT_THAT(seen(), ElementsAre(down(keys::leftAlt), up(keys::leftAlt, alt)));
    EXPECT_EQ(monitor->presses, 1);
}

TEST_F(X11TapRivalsTest, aHotkeyThatNoKeyHasIsNamed)
{
    start({200, maskControl, false});
    EXPECT_EQ(eventTap.conflict().get(), KeyConflict::hotkeyMissing);
}

TEST_F(X11TapRivalsTest, aKeyWantedInNoStateIsRefused)
{
    X11KeyGrabs grabs({.readable = [] {}, .lost = [] {}}, keyboard.devices().master);
    grabs.want({{keys::f8, {}}});
    EXPECT_THAT(grabs.refused(), ElementsAre(keys::f8));
    grabs.want({{keys::f8, {0}}});
    EXPECT_THAT(grabs.refused(), IsEmpty());
}

} // namespace
} // namespace vorlin
