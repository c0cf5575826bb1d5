#include "Platform/Linux/Keys/VirtualKeyboardPoster.h"

#include "Hotkey.h"
#include "Platform/Linux/Wayland/PrivateCompositor.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <linux/input-event-codes.h>

namespace vorlin {

using namespace eventFlags;
using testing::ElementsAre;
using testing::Not;

namespace {

using Told = std::vector<std::string>;

/// What the log of a program that writes down all that its keyboard tells says of keys: "press v",
/// "release v", and "held 4" when other modifiers hold, as XKB counts them.
Told keysIn(const QByteArray& log)
{
    Told told;
    std::string held = "held 0";
    QString verb;
    for (const QString& line : QString::fromUtf8(log).split('\n')) {
        const QString value = line.section(':', 1).trimmed();
        if (line.contains(" key: ")) {
            verb = line.contains("(pressed)") ? "press " : "release ";
        } else if (line.contains(" sym: ")) {
            told.push_back((verb + value.section(' ', 0, 0)).toStdString());
        } else if (line.contains(" depressed: ")) {
            const auto now = "held " + std::to_string(value.left(8).toUInt(nullptr, 16));
            if (now != held) {
                told.push_back(held = now);
            }
        }
    }
    return told;
}

class VirtualKeyboard : public testing::Test {
protected:
    explicit VirtualKeyboard(const QString& layout = "us") : person(layout)
    {
        poster.emplace(connection);
        watcher.emplace(QStringList{"stdbuf", "-oL", "wev", "-f", "wl_keyboard"});
        EXPECT_TRUE(runUntil([this] { return watcher->written().contains("enter"); }));
    }

    void post(std::uint16_t key, std::uint64_t flags)
    {
        poster->post(key, true, flags);
        poster->post(key, false, flags);
        EXPECT_TRUE(connection.sync(std::chrono::seconds(30)));
    }

    /// All that was told, once `last` was.
    Told toldUntil(const std::string& last)
    {
        EXPECT_TRUE(runUntil([&] {
            return std::ranges::count(keysIn(watcher->written()), last) > 0;
        })) << watcher->written().toStdString();
        return keysIn(watcher->written());
    }

    /// All that was told until the person typed a letter, which is the last.
    Told toldUntilTyping(int key, const std::string& letter)
    {
        person.press(key);
        person.release(key);
        return toldUntil("release " + letter);
    }

    const PrivateCompositor compositor;
    Person person;
    WaylandConnection connection;
    std::optional<VirtualKeyboardPoster> poster;
    std::optional<SessionProgram> watcher;
};

class VirtualKeyboardBesideCyrillic : public VirtualKeyboard {
protected:
    VirtualKeyboardBesideCyrillic() : VirtualKeyboard("ru") {}
};

constexpr std::uint16_t f5 = 96;

} // namespace

TEST_F(VirtualKeyboard, pressesAChordAsAPersonDoes)
{
    ASSERT_TRUE(poster->available());
    post(keyCodes::v, maskControl | maskShift);
    EXPECT_THAT(toldUntilTyping(KEY_A, "a"),
                ElementsAre("press Control_L", "press Shift_L", "held 5", "press V", "release V",
                            "release Shift_L", "release Control_L", "held 0", "press a",
                            "release a"));
}

TEST_F(VirtualKeyboard, saysWhenAChordGoes)
{
    int chords = 0;
    poster->onChord = [&] { ++chords; };
    post(keyCodes::v, maskControl | maskShift);
    EXPECT_EQ(chords, 1);
    post(f5, 0);
    EXPECT_EQ(chords, 1);
}

TEST_F(VirtualKeyboard, pressesInsertToo)
{
    post(keyCodes::insert, maskShift);
    EXPECT_THAT(toldUntilTyping(KEY_A, "a"),
                ElementsAre("press Shift_L", "held 1", "press Insert", "release Insert",
                            "release Shift_L", "held 0", "press a", "release a"));
}

TEST_F(VirtualKeyboard, whatThePersonHoldsIsNoPartOfTheChord)
{
    person.press(KEY_RIGHTALT);
    person.press(KEY_LEFTSHIFT);
    post(keyCodes::v, maskControl);
    person.release(KEY_LEFTSHIFT);
    person.release(KEY_RIGHTALT);
    EXPECT_THAT(toldUntilTyping(KEY_A, "a"),
                ElementsAre("press Alt_R", "held 8", "press Shift_L", "held 9", "held 0",
                            "press Control_L", "held 4", "press v", "release v",
                            "release Control_L", "held 0", "held 9", "release Shift_L", "held 8",
                            "release Alt_R", "held 0", "press a", "release a"));
}

TEST_F(VirtualKeyboardBesideCyrillic, pressesTheSameChord)
{
    person.press(KEY_A);
    post(keyCodes::v, maskControl);
    person.release(KEY_A);
    EXPECT_THAT(toldUntil("release Cyrillic_ef"),
                ElementsAre("press Cyrillic_ef", "press Control_L", "held 4", "press v",
                            "release v", "release Control_L", "held 0", "release Cyrillic_ef"));
}

TEST_F(VirtualKeyboard, skipsKeysThatItDoesNotHave)
{
    post(f5, 0);
    EXPECT_THAT(toldUntilTyping(KEY_A, "a"), ElementsAre("press a", "release a"));
}

TEST_F(VirtualKeyboard, leavesNoKeyDownWhenItGoes)
{
    poster->post(keyCodes::v, true, maskControl);
    poster.reset();
    EXPECT_THAT(toldUntilTyping(KEY_A, "a"),
                ElementsAre("press Control_L", "held 4", "press v", "release v",
                            "release Control_L", "held 0", "press a", "release a"));
}

TEST(VirtualKeyboardAlone, isNotAvailableWithoutACompositor)
{
    qputenv("WAYLAND_DISPLAY", "no-such-socket");
    WaylandConnection connection;
    VirtualKeyboardPoster poster(connection);
    EXPECT_FALSE(poster.available());
    poster.post(keyCodes::v, true, maskControl);
    poster.post(keyCodes::v, false, maskControl);
}

} // namespace vorlin
