#include "Platform/Linux/Keys/X11Keymap.h"

#include "Hotkey.h"
#include "Platform/Linux/Keys/TestClient.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include <xkbcommon/xkbcommon.h>

namespace vorlin {
namespace {

using namespace eventFlags;

X11Keymap layout(const char* layouts, const char* variants = "", const char* options = "")
{
    const std::unique_ptr<xkb_context, decltype(&xkb_context_unref)> context(
        xkb_context_new(XKB_CONTEXT_NO_FLAGS), xkb_context_unref);
    const xkb_rule_names names{"evdev", "pc105", layouts, variants, options};
    const std::unique_ptr<xkb_keymap, decltype(&xkb_keymap_unref)> keymap(
        xkb_keymap_new_from_names(context.get(), &names, XKB_KEYMAP_COMPILE_NO_FLAGS),
        xkb_keymap_unref);
    return X11Keymap(keymap.get());
}

bool contains(const std::vector<XModifiers>& states, XModifiers state)
{
    return std::ranges::find(states, state) != states.end();
}

TEST(X11Keymap, rightAltTypesCharactersWhereAnyLayoutHasItForItsThirdLevel)
{
    EXPECT_FALSE(layout("us").choosesLevel(keys::rightAlt));
    EXPECT_TRUE(layout("de").choosesLevel(keys::rightAlt));
    EXPECT_TRUE(layout("us,de").choosesLevel(keys::rightAlt)) << "whichever is in use";
    for (const auto key : {keys::leftAlt, keys::rightControl, keys::rightSuper, keys::leftShift}) {
        EXPECT_FALSE(layout("de").choosesLevel(key)) << int{key};
    }
}

TEST(X11Keymap, modifierKeysAreThoseThatActWhileHeld)
{
    const auto us = layout("us");
    for (const auto key : {keys::leftShift, keys::rightShift, keys::leftControl, keys::rightControl,
                           keys::leftAlt, keys::rightAlt, keys::leftSuper, keys::rightSuper}) {
        EXPECT_TRUE(us.isModifier(key)) << int{key};
    }
    EXPECT_FALSE(us.isModifier(keys::capsLock));
    EXPECT_FALSE(us.isModifier(keys::numLock));
    EXPECT_FALSE(us.isModifier(keys::v));
    EXPECT_TRUE(layout("us", "", "ctrl:nocaps").isModifier(keys::capsLock));
}

TEST(X11Keymap, rightAltIsAltOrLevelThree)
{
    EXPECT_EQ(layout("us").modifiersOf(keys::rightAlt), XModifiers{XCB_MOD_MASK_1});
    EXPECT_EQ(layout("de").modifiersOf(keys::rightAlt), XModifiers{XCB_MOD_MASK_5});
    EXPECT_EQ(layout("us,de").modifiersOf(keys::leftAlt), XModifiers{XCB_MOD_MASK_1});
}

TEST(X11Keymap, statesOfAHotkeyIncludeBothSidesAndLocks)
{
    const auto de = layout("de");
    const auto option = de.statesFor(maskAlternate);
    EXPECT_TRUE(contains(option, XCB_MOD_MASK_1));
    EXPECT_TRUE(contains(option, XCB_MOD_MASK_5));
    EXPECT_TRUE(contains(option, XCB_MOD_MASK_1 | XCB_MOD_MASK_5));
    EXPECT_TRUE(contains(option, XCB_MOD_MASK_1 | XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2));
    EXPECT_FALSE(contains(option, 0));
    EXPECT_FALSE(contains(option, XCB_MOD_MASK_1 | XCB_MOD_MASK_SHIFT));
    const auto both = layout("us,de").statesFor(maskAlternate);
    EXPECT_TRUE(contains(both, XCB_MOD_MASK_1));
    EXPECT_TRUE(contains(both, XCB_MOD_MASK_5));
    const auto none = layout("us").statesFor(0);
    EXPECT_TRUE(contains(none, 0));
    EXPECT_FALSE(contains(none, XCB_MOD_MASK_1));
    EXPECT_FALSE(contains(none, XCB_MOD_MASK_4));
    EXPECT_FALSE(contains(none, XCB_MOD_MASK_CONTROL));
}

TEST(X11Keymap, aSideThatIsNoModifierTakesNoPart)
{
    for (const auto* options :
         {"grp:toggle", "grp:lalt_toggle", "grp:alts_toggle", "grp:win_space_toggle"}) {
        const auto states = layout("us,ru", "", options).statesFor(maskAlternate);
        EXPECT_TRUE(contains(states, XCB_MOD_MASK_1)) << options;
        EXPECT_FALSE(contains(states, 0)) << options;
    }
    for (const auto* options : {"grp:rctrl_toggle", "grp:lctrl_toggle", "ctrl:swapcaps"}) {
        const auto states = layout("us,ru", "", options).statesFor(maskControl);
        EXPECT_TRUE(contains(states, XCB_MOD_MASK_CONTROL)) << options;
        EXPECT_FALSE(contains(states, 0)) << options;
    }
    EXPECT_FALSE(contains(layout("us", "", "compose:ralt").statesFor(maskAlternate), 0));
}

TEST(X11Keymap, whatOnlyTheKeysOfAnotherModifierSetIsNoStateOfThisOne)
{
    const auto swapped = layout("us", "", "altwin:swap_alt_win");
    const auto option = swapped.statesFor(maskAlternate);
    EXPECT_TRUE(contains(option, XCB_MOD_MASK_4));
    EXPECT_FALSE(contains(option, XCB_MOD_MASK_1)) << "a window manager may hold Alt+Space";
    const auto command = swapped.statesFor(maskCommand);
    EXPECT_TRUE(contains(command, XCB_MOD_MASK_1));
    EXPECT_FALSE(contains(command, XCB_MOD_MASK_4));
    // Caps Lock is nobody's side: Control from there counts.
    EXPECT_TRUE(
        contains(layout("us", "", "ctrl:swapcaps").statesFor(maskControl), XCB_MOD_MASK_CONTROL));
}

TEST(X11Keymap, anUnknownLayoutStillHasStates)
{
    EXPECT_TRUE(contains(X11Keymap().statesFor(maskAlternate), XCB_MOD_MASK_1));
}

TEST(X11Keymap, heldKeysCountByPositionAndTheRestByEffect)
{
    const auto us = layout("us");
    EXPECT_EQ(us.joinedFlags(0, 0), 0U);
    EXPECT_EQ(us.joinedFlags(0, XCB_MOD_MASK_1), maskAlternate);
    EXPECT_EQ(us.joinedFlags(maskControl, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT),
              maskControl | maskShift);
    EXPECT_EQ(us.joinedFlags(maskCommand, 0), maskCommand);
    EXPECT_EQ(us.joinedFlags(0, XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2 | XCB_MOD_MASK_5), 0U);
    EXPECT_EQ(layout("de").joinedFlags(maskAlternate, XCB_MOD_MASK_5), maskAlternate);
    EXPECT_EQ(layout("us", "", "altwin:swap_alt_win").joinedFlags(maskAlternate, XCB_MOD_MASK_4),
              maskAlternate);
    EXPECT_EQ(layout("us", "", "ctrl:nocaps").joinedFlags(0, XCB_MOD_MASK_CONTROL), maskControl);
}

TEST(X11Keymap, controlIsFoundByPositionFirst)
{
    EXPECT_EQ(layout("us").keysFor(maskControl).front(), keys::leftControl);
    EXPECT_EQ(layout("us").keysFor(maskShift).front(), keys::leftShift);
    EXPECT_EQ(layout("us").keysFor(maskCommand).front(), keys::leftSuper);
    EXPECT_EQ(layout("de").keysFor(maskAlternate).front(), keys::leftAlt);
    const auto swapped = layout("us", "", "ctrl:swapcaps").keysFor(maskControl);
    EXPECT_EQ(std::ranges::count(swapped, keys::leftControl), 0) << "it is Caps Lock";
    EXPECT_EQ(swapped.front(), keys::rightControl);
}

TEST(X11Keymap, letterKeysFollowTheLayout)
{
    EXPECT_EQ(layout("us").keyTyping('v', 0), keys::v);
    EXPECT_EQ(layout("us", "dvorak").keyTyping('v', 0), 60);
    EXPECT_EQ(layout("de").keyTyping('y', 0), keys::z);
    EXPECT_EQ(layout("ru").keyTyping('v', 0), std::nullopt);
    EXPECT_EQ(layout("us,ru", ",").keyTyping('v', 1), keys::v);
    EXPECT_EQ(layout("us,ru", "dvorak,").keyTyping('v', 1), 60);
    EXPECT_EQ(layout("us,us", ",dvorak").keyTyping('v', 0), keys::v);
    EXPECT_EQ(layout("us,us", ",dvorak").keyTyping('v', 1), 60);
    EXPECT_EQ(X11Keymap().keyTyping('v', 0), std::nullopt);
    EXPECT_TRUE(layout("ru").lacksLetter('v'));
    EXPECT_FALSE(layout("us,ru", ",").lacksLetter('v'));
    EXPECT_FALSE(X11Keymap().lacksLetter('v')) << "who knows";
}

TEST(X11Keymap, aLetterMayHaveAKeyInEachLayout)
{
    using Keys = std::vector<HardwareKey>;
    EXPECT_EQ(layout("us,ru", ",").keysTyping('v'), Keys{keys::v});
    EXPECT_EQ(layout("ru,us", ",dvorak").keysTyping('v'), Keys{60});
    EXPECT_EQ(layout("us,de", ",").keysTyping('v'), Keys{keys::v});
    EXPECT_EQ(layout("us,us", ",dvorak").keysTyping('v'), (Keys{keys::v, 60}));
    EXPECT_EQ(layout("ru").keysTyping('v'), Keys());
    EXPECT_EQ(X11Keymap().keysTyping('v'), Keys());
}

TEST(X11Keymap, theSilentKeyHasNoSymbol)
{
    for (const auto* name : {"us", "de", "fr", "ru", "jp", "br"}) {
        EXPECT_EQ(layout(name).silentKey(), keys::silent) << name;
    }
}

} // namespace
} // namespace vorlin
