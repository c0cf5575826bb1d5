#include "Platform/Linux/Keys/TapFixture.h"

#include <bitset>
#include <random>

namespace vorlin {
namespace {

using testing::ElementsAreArray;

using X11TapTypingTest = TapFixture;

/// Not a function key: with Control and Alt the server itself acts on those.
constexpr Hotkey insert{keyCodes::insert, 0, false};

/// Random typing, and what a program without the hotkey would see of it.
struct Typing {
    std::vector<std::pair<HardwareKey, bool>> strokes;
    std::vector<SeenKey> visible;
    int hotkeyPresses = 0;

    Typing(unsigned seed, int count)
    {
        std::mt19937 random(seed);
        const HardwareKey choice[] = {
            keys::q,       keys::e,           keys::a,          keys::f,
            keys::x,       keys::v,           keys::b,          keys::space,
            keys::space,   keys::leftShift,   keys::insert,     keys::insert,
            keys::leftAlt, keys::leftControl, keys::rightShift, keys::rightAlt};
        for (int i = 0; i < count; ++i) {
            stroke(choice[random() % std::size(choice)]);
        }
        for (unsigned key = 0; key < held.size(); ++key) {
            if (held[key]) {
                stroke(static_cast<HardwareKey>(key));
            }
        }
    }

private:
    void stroke(HardwareKey key)
    {
        const bool isDown = !held[key];
        const auto state = modifiers();
        if (key == keys::insert && isDown) {
            swallowed = state == 0;
            hotkeyPresses += swallowed ? 1 : 0;
        }
        held[key] = isDown;
        strokes.emplace_back(key, isDown);
        if (key != keys::insert || !swallowed) {
            visible.push_back({key, isDown, state});
        }
    }

    unsigned modifiers() const
    {
        unsigned state = 0;
        if (held[keys::leftShift] || held[keys::rightShift]) {
            state |= XCB_MOD_MASK_SHIFT;
        }
        if (held[keys::leftControl]) {
            state |= XCB_MOD_MASK_CONTROL;
        }
        if (held[keys::leftAlt] || held[keys::rightAlt]) {
            state |= XCB_MOD_MASK_1;
        }
        return state;
    }

    std::bitset<256> held;
    bool swallowed = false;
};

/// What must arrive of keys that come faster than the tap can answer: everything but the
/// hotkey's key, whose bare release a program may then see. Of modifier keys' own events the
/// server reports, after a stop of the keyboard, the state behind the event.
std::vector<SeenKey> withoutHotkey(const std::vector<SeenKey>& all)
{
    std::vector<SeenKey> result;
    for (const auto& each : all) {
        const auto code = virtualKey(each.key);
        const bool modifier = code && isModifierKey(*code);
        if (each.key != keys::insert) {
            result.push_back({each.key, each.down, modifier ? 0 : each.state});
        }
    }
    return result;
}

TEST_F(X11TapTypingTest, thousandsOfKeysArriveUnchangedAndInOrder)
{
    start(insert);
    const Typing typing(1, 3000);
    for (const auto& [key, isDown] : typing.strokes) {
        isDown ? press(key) : release(key);
    }
    ASSERT_THAT(seen(), ElementsAreArray(typing.visible));
    EXPECT_EQ(monitor->presses, typing.hotkeyPresses);
    EXPECT_EQ(monitor->releases, typing.hotkeyPresses);
    EXPECT_GT(typing.hotkeyPresses, 5);
    EXPECT_TRUE(typist.pressed().none());
    EXPECT_TRUE(typist.couldGrabKeyboard());
}

TEST_F(X11TapTypingTest, keysTypedFasterThanTheTapAnswersLoseNothing)
{
    start(insert);
    for (unsigned seed = 1; seed <= 10; ++seed) {
        const Typing typing(seed, 1000);
        typist.typeAtOnce(typing.strokes);
        ASSERT_THAT(withoutHotkey(seen()), ElementsAreArray(withoutHotkey(typing.visible)))
            << "seed " << seed;
        EXPECT_TRUE(typist.pressed().none());
        EXPECT_EQ(typist.modifiers(), 0U);
        EXPECT_EQ(monitor->presses, monitor->releases);
    }
    EXPECT_TRUE(typist.couldGrabKeyboard());
}

TEST_F(X11TapTypingTest, typingWhileInterestChangesLosesNothing)
{
    start(insert);
    const Typing typing(99, 4000);
    const auto expected = withoutHotkey(typing.visible);
    int changes = 0;
    typist.typeAtOnce(typing.strokes);
    EXPECT_TRUE(waitUntil([&] {
        eventTap.setInterest({insert, ++changes % 2 == 0});
        return withoutHotkey(window.seen()).size() >= expected.size();
    }));
    ASSERT_THAT(withoutHotkey(seen()), ElementsAreArray(expected));
    EXPECT_TRUE(typist.pressed().none());
    EXPECT_TRUE(typist.couldGrabKeyboard());
}

} // namespace
} // namespace vorlin
