#include "Platform/Linux/Keys/TapFixture.h"

#include <xcb/xinput.h>

namespace vorlin {
namespace {

using namespace eventFlags;
using testing::ElementsAre;
using testing::IsEmpty;

using X11TapLayoutTest = TapFixture;

TEST_F(X11TapLayoutTest, rightAltIsOptionWhereTheLayoutMakesItLevelThree)
{
    PrivateDisplay::setLayout("de");
    start(rightOption);
    press(keys::rightAlt);
    ASSERT_TRUE(waitUntil([&] { return window.seen().size() >= 3; }));
    release(keys::rightAlt);
    EXPECT_THAT(seen(), ElementsAre(down(keys::rightAlt), down(keys::silent, level3),
                                    up(keys::silent, level3), up(keys::rightAlt, level3)));
    EXPECT_THAT(monitor->told, ElementsAre(flagsChanged(61, maskAlternate), flagsChanged(61, 0)));
}

TEST_F(X11TapLayoutTest, eitherAltMakesOptionSpaceOnAGermanKeyboard)
{
    PrivateDisplay::setLayout("de");
    start(optionSpace);
    for (const auto key : {keys::leftAlt, keys::rightAlt}) {
        press(key);
        tap(keys::space);
        release(key);
    }
    press(keys::leftAlt);
    press(keys::rightAlt);
    tap(keys::space);
    release(keys::rightAlt);
    release(keys::leftAlt);
    for (const auto& each : seen()) {
        EXPECT_NE(each.key, keys::space);
    }
    EXPECT_EQ(monitor->presses, 3);
    EXPECT_EQ(monitor->releases, 3);
}

TEST_F(X11TapLayoutTest, whetherAKeyTypesCharactersIsToldAnewWithEachLayout)
{
    start(rightOption);
    EXPECT_FALSE(eventTap.typesCharacters(keyCodes::rightOption));
    std::vector<bool> told;
    const auto watch = eventTap.layoutChanges().observe([&](std::size_t) {
        told.push_back(eventTap.typesCharacters(keyCodes::rightOption));
        EXPECT_FALSE(eventTap.typesCharacters(keyCodes::rightControl));
    });
    PrivateDisplay::setLayout("de");
    ASSERT_TRUE(waitUntil([&] { return !told.empty() && told.back(); }));
    PrivateDisplay::setLayout("us");
    ASSERT_TRUE(waitUntil([&] { return !told.back(); }));
}

TEST_F(X11TapLayoutTest, aLayoutSetWhileRunningIsFollowed)
{
    start(optionSpace);
    PrivateDisplay::setLayout("de");
    // Until the new layout is known the key may pass.
    ASSERT_TRUE(waitUntil([&] {
        press(keys::rightAlt);
        tap(keys::space);
        release(keys::rightAlt);
        seen();
        return monitor->presses > 0;
    }));
    monitor->presses = 0;
    PrivateDisplay::setLayout("us");
    ASSERT_TRUE(waitUntil([&] {
        press(keys::rightAlt);
        tap(keys::space);
        release(keys::rightAlt);
        seen();
        return monitor->presses > 0;
    }));
    EXPECT_TRUE(typist.pressed().none());
}

TEST_F(X11TapLayoutTest, aSecondLayoutGroupChangesNothing)
{
    PrivateDisplay::setLayout("us,de -option grp:caps_toggle");
    start(optionSpace);
    tap(keys::capsLock);
    press(keys::rightAlt);
    tap(keys::space);
    release(keys::rightAlt);
    press(keys::leftAlt);
    tap(keys::space);
    release(keys::leftAlt);
    seen();
    EXPECT_EQ(monitor->presses, 2);
    EXPECT_EQ(monitor->releases, 2);
}

TEST_F(X11TapLayoutTest, anotherMasterKeyboardDisturbsNothing)
{
    start(f8);
    struct {
        xcb_input_add_master_t change;
        char name[8];
    } request{{XCB_INPUT_HIERARCHY_CHANGE_TYPE_ADD_MASTER, (sizeof(xcb_input_add_master_t) + 8) / 4,
               5, 1, 1},
              "other"};
    xcb_input_xi_change_hierarchy(typist.get(), 1,
                                  reinterpret_cast<const xcb_input_hierarchy_change_t*>(&request));
    typist.sync();
    press(keys::f8);
    tap(keys::a);
    release(keys::f8);
    EXPECT_THAT(seen(), ElementsAre(down(keys::a), up(keys::a)));
    EXPECT_EQ(monitor->presses, 1);
    EXPECT_EQ(monitor->releases, 1);
}

} // namespace
} // namespace vorlin
