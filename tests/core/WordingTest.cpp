#include "Wording.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vorlin {
namespace {

using namespace eventFlags;

TEST(WordingTest, plainTextsStandAsTheyAre)
{
    EXPECT_EQ(plainWording()("Show in Finder"), "Show in Finder");
    EXPECT_EQ(plainWording().label(Hotkey{}), "Right ⌥ Option");
    EXPECT_EQ(plainWording().presets.size(), Hotkey::presets.size());
}

TEST(WordingTest, onLinuxOnlyWholeTextsAreReplaced)
{
    EXPECT_EQ(linuxWording()("Show in Finder"), "Show in Files");
    EXPECT_EQ(linuxWording()("Show in Finder "), "Show in Finder ");
    EXPECT_EQ(linuxWording()("Download"), "Download");
    EXPECT_EQ(linuxWording()(""), "");
}

TEST(WordingTest, onLinuxKeysAreCalledAsOnItsKeyboards)
{
    const auto label = [](const Hotkey& hotkey) { return linuxWording().label(hotkey); };
    EXPECT_EQ(label({61, 0, true}), "Right Alt");
    EXPECT_EQ(label({62, 0, true}), "Right Ctrl");
    EXPECT_EQ(label({54, 0, true}), "Right Super");
    EXPECT_EQ(label({49, maskAlternate, false}), "Alt+Space");
    EXPECT_EQ(label({40, maskControl | maskShift | maskCommand, false}), "Ctrl+Shift+Super+K");
    EXPECT_EQ(label({40, maskControl | maskAlternate | maskShift | maskCommand, false}),
              "Ctrl+Alt+Shift+Super+K");
    EXPECT_EQ(label({51, maskControl, false}), "Ctrl+Backspace");
    EXPECT_EQ(label({100, 0, false}), "F8");
    EXPECT_EQ(label({53, maskCommand, false}), "Super+Key 53");
    EXPECT_EQ(label({57, 0, true}), "Key 57");
    EXPECT_EQ(label({61, 0, false}), "Key 61") << "not pressed as a lone modifier";
}

TEST(WordingTest, theFirstDefaultKeyIsTheOneThatIsStoredForNone)
{
    EXPECT_EQ(plainWording().defaultKeys, std::vector{Hotkey{}});
    std::vector<std::string> labels;
    for (const Hotkey& key : linuxWording().defaultKeys) {
        labels.push_back(linuxWording().label(key));
    }
    EXPECT_EQ(labels, (std::vector<std::string>{"Right Alt", "Right Ctrl", "F9"}));
}

TEST(WordingTest, onLinuxThePresetsAreKeysThatItsKeyboardsHave)
{
    std::vector<std::string> labels;
    for (const Hotkey& preset : linuxWording().presets) {
        labels.push_back(linuxWording().label(preset));
    }
    EXPECT_EQ(labels,
              (std::vector<std::string>{"Right Alt", "Right Ctrl", "Right Super", "Alt+Space"}));
}

} // namespace
} // namespace vorlin
