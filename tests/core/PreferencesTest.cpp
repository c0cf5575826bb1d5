#include "Preferences.h"
#include "fakes/FakeDesktop.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace vorlin {
namespace {

class PreferencesTest : public testing::Test {
protected:
    FakeDefaults defaults;
    FakeLocale locale;
    Preferences preferences{defaults, locale};

    void storeHotkey(const std::string& text)
    {
        defaults.values["hotkey.v2"] = Bytes(text.begin(), text.end());
    }
};

TEST_F(PreferencesTest, anEmptyStoreReadsAsTheDefaults)
{
    EXPECT_EQ(preferences.hotkey(), (Hotkey{61, 0, true}));
    EXPECT_EQ(preferences.recordMode(), RecordMode::hold);
    EXPECT_TRUE(preferences.sounds());
    EXPECT_EQ(preferences.language(), "en-US");
    EXPECT_EQ(preferences.hudPosition(), HUDPosition::bottomCenter);
    EXPECT_EQ(preferences.hudMargin(), 56.0);
    EXPECT_EQ(preferences.hudScale(), 1.0);
    EXPECT_EQ(preferences.hudDisplay(), HUDDisplay::cursor);
    EXPECT_EQ(preferences.hudTextMode(), HUDTextMode::clip);
    EXPECT_TRUE(preferences.hudShowText());
    EXPECT_TRUE(preferences.hudShowEsc());
}

TEST_F(PreferencesTest, stringsMatchExactlyOrReadAsTheDefault)
{
    defaults.values["recordMode"] = "Toggle";
    defaults.values["hud.position"] = "center";
    defaults.values["hud.display"] = "MAIN";
    defaults.values["hud.textMode"] = "";
    EXPECT_EQ(preferences.recordMode(), RecordMode::hold);
    EXPECT_EQ(preferences.hudPosition(), HUDPosition::bottomCenter);
    EXPECT_EQ(preferences.hudDisplay(), HUDDisplay::cursor);
    EXPECT_EQ(preferences.hudTextMode(), HUDTextMode::clip);
    defaults.values["recordMode"] = "toggle";
    defaults.values["hud.display"] = "main";
    defaults.values["hud.textMode"] = "full";
    EXPECT_EQ(preferences.recordMode(), RecordMode::toggle);
    EXPECT_EQ(preferences.hudDisplay(), HUDDisplay::main);
    EXPECT_EQ(preferences.hudTextMode(), HUDTextMode::full);
}

TEST_F(PreferencesTest, everyCaseReadsBackFromItsStoredString)
{
    for (int i = 0; i < 9; ++i) {
        const auto position = static_cast<HUDPosition>(i);
        defaults.values["hud.position"] = std::string(rawValue(position));
        EXPECT_EQ(preferences.hudPosition(), position);
    }
    for (const auto mode : recordModes) {
        defaults.values["recordMode"] = std::string(rawValue(mode));
        EXPECT_EQ(preferences.recordMode(), mode);
    }
    EXPECT_EQ(rawValue(HUDPosition::middleRight), "middleRight");
    EXPECT_EQ(rawValue(HUDDisplay::main), "main");
    EXPECT_EQ(rawValue(HUDTextMode::full), "full");
}

TEST_F(PreferencesTest, valuesOfTheWrongTypeReadAsTheDefault)
{
    defaults.values["hud.scale"] = "1.5";
    defaults.values["hud.margin"] = true;
    defaults.values["sounds"] = 0.0;
    defaults.values["language"] = 1.0;
    defaults.values["recordMode"] = true;
    EXPECT_EQ(preferences.hudScale(), 1.0);
    EXPECT_EQ(preferences.hudMargin(), 56.0);
    EXPECT_TRUE(preferences.sounds());
    EXPECT_EQ(preferences.language(), "en-US");
    EXPECT_EQ(preferences.recordMode(), RecordMode::hold);
    defaults.values["hud.scale"] = 1.3;
    defaults.values["sounds"] = false;
    EXPECT_EQ(preferences.hudScale(), 1.3);
    EXPECT_FALSE(preferences.sounds());
}

TEST_F(PreferencesTest, aHotkeyThatDoesNotDecodeReadsAsTheRightOptionKey)
{
    storeHotkey("not JSON");
    EXPECT_EQ(preferences.hotkey(), (Hotkey{61, 0, true}));
    defaults.values["hotkey.v2"] = R"({"keyCode":49,"modifiers":524288,"modifierOnly":false})";
    EXPECT_EQ(preferences.hotkey(), (Hotkey{61, 0, true})); // a string is not binary data
    storeHotkey(R"({"keyCode":49,"modifiers":524288,"modifierOnly":false})");
    EXPECT_EQ(preferences.hotkey(), (Hotkey{49, 0x80000, false}));
    EXPECT_EQ(preferences.hotkey({96, 0, false}), (Hotkey{49, 0x80000, false}));
    defaults.values.erase("hotkey.v2");
    EXPECT_EQ(preferences.hotkey({96, 0, false}), (Hotkey{96, 0, false}));
}

TEST_F(PreferencesTest, aStoredHotkeyReadsBack)
{
    const Hotkey chosen{96, 0, false};
    preferences.setHotkey(chosen);
    EXPECT_EQ(preferences.hotkey(), chosen);
    EXPECT_TRUE(std::holds_alternative<Bytes>(defaults.values.at("hotkey.v2")));
}

TEST_F(PreferencesTest, everySetterStoresWhatReadsBackAsItsStoredForm)
{
    preferences.setRecordMode(RecordMode::toggle);
    preferences.setSounds(false);
    preferences.setLanguage("sv-SE");
    preferences.setHUDPosition(HUDPosition::topLeft);
    preferences.setHUDMargin(12.5);
    preferences.setHUDScale(1.3);
    preferences.setHUDDisplay(HUDDisplay::main);
    preferences.setHUDTextMode(HUDTextMode::full);
    preferences.setHUDShowText(false);
    preferences.setHUDShowEsc(false);
    const std::map<std::string, DefaultsValue> expected = {
        {"recordMode", "toggle"},    {"sounds", false},        {"language", "sv-SE"},
        {"hud.position", "topLeft"}, {"hud.margin", 12.5},     {"hud.scale", 1.3},
        {"hud.display", "main"},     {"hud.textMode", "full"}, {"hud.showText", false},
        {"hud.showEsc", false}};
    EXPECT_EQ(defaults.values, expected);
    EXPECT_EQ(preferences.recordMode(), RecordMode::toggle);
    EXPECT_FALSE(preferences.sounds());
    EXPECT_EQ(preferences.language(), "sv-SE");
    EXPECT_EQ(preferences.hudPosition(), HUDPosition::topLeft);
    EXPECT_EQ(preferences.hudMargin(), 12.5);
    EXPECT_EQ(preferences.hudScale(), 1.3);
    EXPECT_EQ(preferences.hudDisplay(), HUDDisplay::main);
    EXPECT_EQ(preferences.hudTextMode(), HUDTextMode::full);
    EXPECT_FALSE(preferences.hudShowText());
    EXPECT_FALSE(preferences.hudShowEsc());
}

TEST_F(PreferencesTest, theDefaultLanguageIsTheFirstOfTheLocale)
{
    for (const auto& [code, identifier] : std::map<std::string, std::string>{
             {"de", "de-DE"}, {"ja", "en-US"}, {"en", "en-US"}, {"pt", "pt-PT"}, {"", "fr-FR"}}) {
        locale.code = code;
        EXPECT_EQ(preferences.defaultLanguage(), identifier) << code;
    }
    defaults.values["language"] = "xx-YY";
    EXPECT_EQ(preferences.language(), "xx-YY");
}

TEST_F(PreferencesTest, theSizesOfTheOverlayStandForScales)
{
    EXPECT_EQ(hudSizes.size(), 3U);
    EXPECT_EQ(scale(HUDSize::small), 0.85);
    EXPECT_EQ(scale(HUDSize::medium), 1.0);
    EXPECT_EQ(scale(HUDSize::large), 1.3);
}

TEST_F(PreferencesTest, theNinePositionsAreListedInTheirOrder)
{
    for (std::size_t i = 0; i < hudPositions.size(); ++i) {
        EXPECT_EQ(static_cast<std::size_t>(hudPositions.at(i)), i);
    }
    EXPECT_EQ(rawValue(hudPositions.front()), "topLeft");
    EXPECT_EQ(rawValue(hudPositions.back()), "bottomRight");
}

TEST_F(PreferencesTest, everyChangeIsToldForAsLongAsTheObserverIsKept)
{
    int told = 0;
    auto observer = preferences.observe([&told] { ++told; });
    defaults.set("sounds", false);
    preferences.setHotkey({96, 0, false});
    EXPECT_EQ(told, 2);
    observer.reset();
    defaults.set("sounds", true);
    EXPECT_EQ(told, 2);
}

TEST_F(PreferencesTest, theDictationLanguagesHaveTheirNamesAndTheirOrder)
{
    const std::vector<std::pair<std::string, std::string>> expected = {
        {"fr-FR", "Français"}, {"en-US", "English (US)"}, {"en-GB", "English (UK)"},
        {"es-ES", "Español"},  {"de-DE", "Deutsch"},      {"it-IT", "Italiano"},
        {"pt-PT", "Português"}};
    std::vector<std::pair<std::string, std::string>> listed;
    for (const auto& language : dictationLanguages) {
        listed.emplace_back(language.identifier, language.displayName);
    }
    EXPECT_EQ(listed, expected);
}

} // namespace
} // namespace vorlin
