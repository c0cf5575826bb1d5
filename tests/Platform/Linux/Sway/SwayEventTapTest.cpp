#include "DefaultHotkey.h"
#include "Platform/Linux/Sway/TapFixture.h"
#include "Wording.h"

#include "HotkeyMonitor.h"

namespace vorlin {
namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr HardwareKey f9Key = KEY_F9 + 8;

class SwayEventTapTest : public SwayTapFixture {};

TEST_F(SwayEventTapTest, aKeyIsToldAtItsPressAndAtItsRelease)
{
    startSway("");
    startAndBind(f9);
    keyboard->press(KEY_F9);
    EXPECT_THAT(heard(), ElementsAre("down 101"));
    keyboard->release(KEY_F9);
    EXPECT_THAT(heard(), ElementsAre("up 101"));
}

TEST_F(SwayEventTapTest, onlyExactlyTheHotkeysModifiersCount)
{
    startSway("");
    startAndBind({keyCodes::space, eventFlags::maskControl | eventFlags::maskAlternate, false});
    keyboard->tap(KEY_SPACE);
    keyboard->press(KEY_LEFTCTRL);
    keyboard->tap(KEY_SPACE);
    keyboard->press(KEY_LEFTALT);
    EXPECT_THAT(heard(), IsEmpty());
    keyboard->press(KEY_SPACE);
    keyboard->release(KEY_LEFTALT);
    keyboard->release(KEY_SPACE);
    EXPECT_THAT(heard(), ElementsAre("down 49", "up 49")) << "in whichever order";
}

TEST_F(SwayEventTapTest, aLoneModifierIsToldBySideAndWithOthersHeld)
{
    startSway("");
    startAndBind(rightAlt);
    keyboard->tap(KEY_LEFTALT);
    EXPECT_THAT(heard(), IsEmpty());
    keyboard->tap(KEY_RIGHTALT);
    EXPECT_THAT(heard(), ElementsAre("alt 61", "no alt 61"));
    keyboard->press(KEY_LEFTSHIFT);
    keyboard->tap(KEY_RIGHTALT);
    keyboard->release(KEY_LEFTSHIFT);
    EXPECT_THAT(heard(), ElementsAre("alt 61", "no alt 61"));
    keyboard->press(KEY_LEFTALT);
    keyboard->tap(KEY_RIGHTALT);
    EXPECT_THAT(heard(), ElementsAre("alt 61", "no alt 61"));
}

TEST_F(SwayEventTapTest, altGrIsToldWhereItTypesOtherCharacters)
{
    startSway("");
    keyboard.reset();
    keyboard.emplace(sway->display(), "de");
    startAndBind(rightAlt, true);
    keyboard->press(KEY_RIGHTALT);
    keyboard->tap(KEY_ESC);
    EXPECT_THAT(heard(), ElementsAre("alt 61", "down 53"));
}

TEST_F(SwayEventTapTest, capsLockAndNumLockDoNotMatter)
{
    startSway("");
    startAndBind(f9);
    keyboard->tap(KEY_CAPSLOCK);
    keyboard->tap(KEY_NUMLOCK);
    keyboard->tap(KEY_F9);
    EXPECT_THAT(heard(), ElementsAre("down 101", "up 101"));
}

TEST_F(SwayEventTapTest, everyPressIsToldAlsoWhenTheReleaseBeforeItWasLost)
{
    startSway("");
    startAndBind(f9, true);
    EXPECT_TRUE(tap->losesReleases());
    for (int round = 0; round < 3; ++round) {
        keyboard->press(KEY_F9);
        keyboard->tap(KEY_ESC);
        keyboard->release(KEY_F9);
        EXPECT_THAT(heard(), ElementsAre("down 101", "down 53"));
        tap->setInterest({f9, false});
        awaitUnbound(hardwareKeys::escape);
        keyboard->press(KEY_F9);
        keyboard->tap(KEY_A);
        keyboard->release(KEY_F9);
        EXPECT_THAT(heard(), ElementsAre("down 101"));
        keyboard->tap(KEY_F9);
        EXPECT_THAT(heard(), ElementsAre("down 101", "up 101"));
        tap->setInterest({f9, true});
        awaitBound(hardwareKeys::escape);
    }
    EXPECT_TRUE(sway->isAlive());
}

TEST_F(SwayEventTapTest, afterAHoldAndEscapeTheNextHoldIsAHold)
{
    startSway("");
    std::string happened;
    bool dictates = false;
    HotkeyMonitor monitor(*tap);
    monitor.escapeActive = [&] { return dictates; };
    monitor.onPress = [&] {
        happened += "press ";
        dictates = true;
        monitor.updateInterest();
    };
    monitor.onRelease = [&] {
        happened += "release ";
        dictates = false;
        monitor.updateInterest();
    };
    monitor.onEscape = [&] {
        happened += "escape ";
        dictates = false;
        monitor.updateInterest();
    };
    for (const auto& hotkey : {f9, rightAlt}) {
        const auto key = *hardwareKey(hotkey.keyCode) - 8U; // the kernel's number
        ASSERT_TRUE(monitor.start(hotkey));
        awaitBound(*hardwareKey(hotkey.keyCode));
        for (int round = 0; round < 3; ++round) {
            happened.clear();
            keyboard->press(key);
            sync();
            awaitBound(hardwareKeys::escape);
            keyboard->tap(KEY_ESC);
            keyboard->release(key);
            sync();
            EXPECT_EQ(happened, "press escape ");
            keyboard->press(key);
            sync();
            keyboard->release(key);
            sync();
            EXPECT_EQ(happened, "press escape press release ");
            awaitUnbound(hardwareKeys::escape);
        }
    }
    EXPECT_TRUE(sway->isAlive());
}

TEST_F(SwayEventTapTest, escapeIsToldWhateverIsHeldAndBelongsToProgramsAgainAfterwards)
{
    startSway("");
    startAndBind(rightAlt, true);
    keyboard->press(KEY_RIGHTALT);
    keyboard->tap(KEY_ESC);
    keyboard->press(KEY_LEFTSHIFT);
    keyboard->tap(KEY_ESC);
    keyboard->release(KEY_LEFTSHIFT);
    keyboard->release(KEY_RIGHTALT);
    keyboard->tap(KEY_ESC);
    EXPECT_THAT(heard(), ElementsAre("alt 61", "down 53", "down 53", "down 53"));

    tap->setInterest({rightAlt, false});
    awaitUnbound(hardwareKeys::escape);
    fires();
    keyboard->tap(KEY_ESC);
    EXPECT_THAT(fires(), IsEmpty());
}

TEST_F(SwayEventTapTest, aKeyThatIsLetGoOfAfterTheTapStoppedLeavesNothingBehind)
{
    startSway("");
    startAndBind(f9);
    keyboard->press(KEY_F9);
    EXPECT_THAT(heard(), ElementsAre("down 101"));
    tap->stop();
    sync();
    EXPECT_TRUE(isWrittenDown(f9Key)) << "sway still points to the release";
    keyboard->release(KEY_F9);
    awaitUnbound(f9Key);
    fires();
    keyboard->tap(KEY_F9);
    EXPECT_THAT(fires(), IsEmpty());
    EXPECT_THAT(told, IsEmpty());
    EXPECT_TRUE(sway->isAlive());
}

TEST_F(SwayEventTapTest, anotherHotkeyWorksAtOnceAlsoWhileTheOldOneIsHeld)
{
    startSway("");
    startAndBind(f9);
    keyboard->press(KEY_F9);
    heard();
    tap->setInterest({rightAlt, false});
    awaitBound(hardwareKeys::rightAlt);
    keyboard->press(KEY_RIGHTALT);
    keyboard->release(KEY_RIGHTALT);
    EXPECT_THAT(heard(), ElementsAre("alt 61", "no alt 61"));
    keyboard->release(KEY_F9);
    EXPECT_TRUE(sway->isAlive());
}

TEST_F(SwayEventTapTest, aReloadForgetsNothing)
{
    startSway("");
    startAndBind(f9, true);
    ASSERT_TRUE(sway->message("reload").empty() || sway->isAlive());
    ASSERT_TRUE(runUntil([this] {
        keyboard->tap(KEY_F9);
        keyboard->tap(KEY_ESC);
        const auto all = heard();
        return std::ranges::count(all, "down 101") == 1 && std::ranges::count(all, "down 53") == 1;
    }));
}

TEST_F(SwayEventTapTest, whatOtherProgramsBoundToNothingIsNotOurs)
{
    startSway("bindsym F8 nop vorlin-0123456789abcdef0123456789abcdef p 75 0\n"
              "bindsym F7 nop\n");
    startAndBind(f9);
    keyboard->tap(KEY_F8);
    keyboard->tap(KEY_F7);
    EXPECT_THAT(fires(), SizeIs(2));
    EXPECT_THAT(heard(), IsEmpty());
}

TEST_F(SwayEventTapTest, theDefaultKeyIsOneThatThePersonHasNotBound)
{
    startSway("bindsym Alt_R nop mine");
    ASSERT_TRUE(runUntil([this] { return tap->layoutChanges().get() > 0; }));
    EXPECT_EQ(tap->watchable(rightAlt), KeyWatch::nothing);
    EXPECT_EQ(defaultHotkey(linuxWording().defaultKeys, *tap),
              (Hotkey{keyCodes::rightControl, 0, true}));
}

TEST_F(SwayEventTapTest, theKeyWorksInEveryModeOfThePersons)
{
    startSway("mode \"resize\" {\n bindsym Escape mode \"default\"\n}\nbindsym F8 mode \"resize\"");
    startAndBind(f9, true);
    EXPECT_EQ(tap->conflict().get(), KeyConflict::none);
    keyboard->tap(KEY_F8);
    ASSERT_TRUE(runUntil([this] { return tap->conflict().get() == KeyConflict::escapeTaken; }));
    sync();
    keyboard->tap(KEY_F9);
    EXPECT_THAT(heard(), ElementsAre("down 101", "up 101"));
    keyboard->tap(KEY_ESC);
    ASSERT_TRUE(runUntil([this] { return tap->conflict().get() == KeyConflict::none; }));
    EXPECT_THAT(heard(), IsEmpty());
    keyboard->tap(KEY_ESC);
    EXPECT_THAT(heard(), ElementsAre("down 53"));
    tap->stop();
    awaitUnbound(f9Key);
    fires();
    keyboard->tap(KEY_F8);
    keyboard->tap(KEY_F9);
    EXPECT_THAT(fires(), Each("mode \"resize\""));
}

TEST_F(SwayEventTapTest, whatALaterStartFindsItTakesBack)
{
    startSway("");
    const SwayLedger ledger{"vorlin-old", {{"default", {{f9Key, 0, false}, {f9Key, 0, true}}}}};
    std::string commands;
    appendBind(commands, "default", {f9Key, 0, false}, ledger.token);
    appendBind(commands, "default", {f9Key, 0, true}, ledger.token);
    sway->message("'" + commands + "'");
    ASSERT_TRUE(ledger.write(guardPaths().ledger));
    keyboard->tap(KEY_F9);
    EXPECT_THAT(fires(), SizeIs(2));

    newTap();
    awaitUnbound(f9Key);
    keyboard->tap(KEY_F9);
    EXPECT_THAT(fires(), IsEmpty());
}

TEST_F(SwayEventTapTest, theEndOfTheTapLeavesNothingBehind)
{
    startSway("");
    startAndBind(f9, true);
    tap.reset();
    EXPECT_FALSE(std::filesystem::exists(guardPaths().ledger));
    keyboard->tap(KEY_F9);
    keyboard->tap(KEY_ESC);
    EXPECT_THAT(fires(), IsEmpty());
}

struct Own {
    const char* what;
    const char* configuration;
    /// The kernel's number of the key, and of a modifier to hold.
    unsigned key;
    unsigned modifier;
    KeyConflict conflict;
};

class SwayOwnBindingTest : public SwayTapFixture, public testing::WithParamInterface<Own> {};

TEST_P(SwayOwnBindingTest, isNeitherReplacedNorTakenAway)
{
    const auto& own = GetParam();
    startSway(own.configuration);
    start(f9, true);
    if (own.conflict == KeyConflict::hotkeyTaken) {
        awaitBound(hardwareKeys::escape);
    } else {
        awaitBound(f9Key);
    }
    EXPECT_EQ(tap->conflict().get(), own.conflict);
    const auto use = [&] {
        fires();
        if (own.modifier != 0) {
            keyboard->press(own.modifier);
        }
        keyboard->tap(own.key);
        if (own.modifier != 0) {
            keyboard->release(own.modifier);
        }
        return fires();
    };
    EXPECT_THAT(use(), ElementsAre("nop mine"));
    tap->setInterest({f9, false});
    EXPECT_THAT(use(), ElementsAre("nop mine"));
    tap.reset();
    EXPECT_THAT(use(), ElementsAre("nop mine"));
    EXPECT_THAT(heard(), IsEmpty());
}

constexpr auto escapeTaken = KeyConflict::escapeTaken;
constexpr auto hotkeyTaken = KeyConflict::hotkeyTaken;
constexpr auto none = KeyConflict::none;

INSTANTIATE_TEST_SUITE_P(
    Forms, SwayOwnBindingTest,
    testing::Values(
        Own{"plain", "bindsym Escape nop mine", KEY_ESC, 0, escapeTaken},
        Own{"case", "bindsym escape nop mine", KEY_ESC, 0, escapeTaken},
        Own{"inhibited", "bindsym --inhibited Escape nop mine", KEY_ESC, 0, escapeTaken},
        Own{"locked", "bindsym --locked --no-repeat Escape nop mine", KEY_ESC, 0, escapeTaken},
        Own{"release", "bindsym --release Escape nop mine", KEY_ESC, 0, escapeTaken},
        Own{"toCode", "bindsym --to-code Escape nop mine", KEY_ESC, 0, escapeTaken},
        Own{"toCodeInhibited", "bindsym --inhibited --to-code Escape nop mine", KEY_ESC, 0,
            escapeTaken},
        Own{"code", "bindcode 9 nop mine", KEY_ESC, 0, escapeTaken},
        Own{"codeInhibited", "bindcode --inhibited 9 nop mine", KEY_ESC, 0, escapeTaken},
        Own{"block", "bindsym --inhibited {\n  Escape nop mine\n}", KEY_ESC, 0, escapeTaken},
        Own{"variable", "set $leave Escape\nbindsym $leave nop mine", KEY_ESC, 0, escapeTaken},
        Own{"modifier", "set $mod Mod4\nbindsym $mod+Escape nop mine", KEY_ESC, KEY_LEFTMETA, none},
        Own{"hotkey", "bindsym F9 nop mine", KEY_F9, 0, hotkeyTaken},
        Own{"hotkeyCode", "bindcode --inhibited 75 nop mine", KEY_F9, 0, hotkeyTaken},
        Own{"hotkeyModifier", "bindsym Shift+F9 nop mine", KEY_F9, KEY_LEFTSHIFT, none}),
    [](const auto& each) { return each.param.what; });

TEST_F(SwayEventTapTest, aBindingMadeWhileWeRunComesBackUnharmed)
{
    startSway("");
    startAndBind(f9, true);
    sway->message("'bindcode --inhibited 9 nop mine'");
    keyboard->tap(KEY_ESC);
    EXPECT_THAT(heard(), ElementsAre("down 53"));
    tap->setInterest({f9, false});
    awaitUnbound(hardwareKeys::escape);
    fires();
    keyboard->tap(KEY_ESC);
    EXPECT_THAT(fires(), ElementsAre("nop mine"));
}

TEST_F(SwayEventTapTest, withoutSwayItDoesNotStart)
{
    SwaySocket nobody("/nonexistent/socket", loop);
    SwayEventTap deaf({nobody, loop, workers, {}, {GUARD_PROGRAM, "", "/nonexistent/ledger"}});
    EXPECT_FALSE(deaf.start([](KeyEventType, const KeyEvent&) { return false; }));
}

TEST_F(SwayEventTapTest, whatCanBeWatched)
{
    startSway("");
    const auto both = KeyWatch::pressesAndReleases;
    EXPECT_EQ(tap->watchable(f9), both);
    EXPECT_EQ(tap->watchable(rightAlt), both);
    EXPECT_EQ(tap->watchable({keyCodes::rightControl, 0, true}), both);
    EXPECT_EQ(tap->watchable({keyCodes::function, 0, true}), KeyWatch::nothing);
    EXPECT_EQ(tap->watchable({57, 0, true}), KeyWatch::nothing) << "Caps Lock";
    EXPECT_EQ(tap->watchable({127, 0, false}), KeyWatch::nothing) << "no such key";
}

} // namespace
} // namespace vorlin
