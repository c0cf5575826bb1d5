#include "Platform/Linux/Keys/TapFixture.h"

#include <algorithm>

namespace vorlin {
namespace {

using namespace eventFlags;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;

/// A keyboard on which a modifier is not where, or not what, it usually is.
struct ModifierSetUp {
    const char* name;
    const char* layout;
    /// Held with Space.
    std::uint64_t modifiers;
    HardwareKey key;
};

std::ostream& operator<<(std::ostream& out, const ModifierSetUp& setUp)
{
    return out << setUp.layout;
}

class X11TapModifiersTest : public TapFixture {
protected:
    bool sawSpace()
    {
        const auto all = seen();
        return std::ranges::any_of(all, [](const auto& each) { return each.key == keys::space; });
    }
};

class X11TapSetUpsTest : public X11TapModifiersTest,
                         public testing::WithParamInterface<ModifierSetUp> {};

TEST_P(X11TapSetUpsTest, theHotkeyIsSwallowedWithEveryKeyThatIsItsModifier)
{
    PrivateDisplay::setLayout(GetParam().layout);
    start({keyCodes::space, GetParam().modifiers, false});
    press(GetParam().key);
    tap(keys::space);
    release(GetParam().key);
    EXPECT_FALSE(sawSpace());
    EXPECT_EQ(monitor->presses, 1);
    EXPECT_EQ(monitor->releases, 1);
    EXPECT_TRUE(typist.couldGrabKeyboard());
}

INSTANTIATE_TEST_SUITE_P(
    , X11TapSetUpsTest,
    testing::Values(ModifierSetUp{"rightAltSwitches", "us,ru -option grp:toggle", maskAlternate,
                                  keys::leftAlt},
                    ModifierSetUp{"leftAltSwitches", "us,ru -option grp:lalt_toggle", maskAlternate,
                                  keys::rightAlt},
                    ModifierSetUp{"rightControlSwitches", "us,ru -option grp:rctrl_toggle",
                                  maskControl, keys::leftControl},
                    ModifierSetUp{"leftControlSwitches", "us,ru -option grp:lctrl_toggle",
                                  maskControl, keys::rightControl},
                    ModifierSetUp{"leftControlIsCapsLock", "us -option ctrl:swapcaps", maskControl,
                                  keys::rightControl},
                    ModifierSetUp{"capsLockIsLeftControl", "us -option ctrl:swapcaps", maskControl,
                                  keys::capsLock},
                    ModifierSetUp{"capsLockIsControlToo", "us -option ctrl:nocaps", maskControl,
                                  keys::capsLock},
                    ModifierSetUp{"altAndSuperChangedPlaces", "us -option altwin:swap_alt_win",
                                  maskAlternate, keys::leftAlt}),
    [](const auto& each) { return each.param.name; });

TEST_F(X11TapModifiersTest, aLatchedModifierCounts)
{
    typist.useStickyKeys();
    start(optionSpace);
    tap(keys::leftAlt);
    ASSERT_EQ(typist.modifiers(), alt);
    tap(keys::space);
    EXPECT_FALSE(sawSpace());
    EXPECT_EQ(monitor->presses, 1);
    EXPECT_EQ(monitor->releases, 1);
    EXPECT_THAT(monitor->told, Contains(keyDown(49, maskAlternate)));
    EXPECT_EQ(typist.modifiers(), 0U);
}

TEST_F(X11TapModifiersTest, aLatchedModifierIsJoinedWithAHeldOne)
{
    typist.useStickyKeys();
    start({keyCodes::space, maskControl | maskAlternate, false});
    tap(keys::leftControl);
    press(keys::leftAlt);
    tap(keys::space);
    release(keys::leftAlt);
    EXPECT_FALSE(sawSpace());
    EXPECT_EQ(monitor->presses, 1);
}

TEST_F(X11TapModifiersTest, withAnAltKeyThatIsNoModifierThePlainKeyIsNotAskedAbout)
{
    PrivateDisplay::setLayout("us -option compose:ralt");
    start(optionSpace);
    tap(keys::space);
    EXPECT_THAT(seen(), ElementsAre(down(keys::space), up(keys::space)));
    EXPECT_THAT(monitor->told, Not(Contains(keyDown(49))));
}

} // namespace
} // namespace vorlin
