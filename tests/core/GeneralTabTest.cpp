#include "SettingsFixture.h"

#include <gmock/gmock.h>

#include <set>

namespace vorlin {
namespace {

using Names = std::vector<std::string>;

class GeneralTabTest : public SettingsFixture {
protected:
    template <class Control>
    const Control& control(const std::string& id) const
    {
        return SettingsFixture::control<Control>(SettingsTab::general, id);
    }
    const FormRow& row(const std::string& id) const
    {
        return SettingsFixture::row(SettingsTab::general, id);
    }
    const HotkeyControl& key() const { return control<HotkeyControl>("hotkey"); }
    Names notes() const
    {
        Names found;
        for (const auto& choice : control<PickerControl>("language").choices) {
            found.push_back(choice.note);
        }
        return found;
    }
};

TEST_F(GeneralTabTest, itsSectionsRowsAndTextsStandAsTheyAre)
{
    open();
    const Form& sections = form(SettingsTab::general);
    ASSERT_EQ(sections.size(), 3U);
    EXPECT_EQ(sections[0].header, "Shortcut");
    EXPECT_EQ(rowIds(sections[0]), (Names{"hotkey", "recordMode", "cancel"}));
    EXPECT_EQ(sections[0].footer,
              "Hold the key while you speak and release to insert the text, or switch to press "
              "once to start and again to stop. Choose a single modifier key, or click the key "
              "box and press any combination such as ⌥ Space or F5.");
    EXPECT_EQ(sections[1].header, "Speech");
    EXPECT_EQ(rowIds(sections[1]), (Names{"language", "sounds"}));
    EXPECT_EQ(sections[2].header, "System");
    EXPECT_EQ(rowIds(sections[2]), (Names{"login"}));
    EXPECT_EQ(row("hotkey").label, "Dictation key");
    EXPECT_EQ(row("recordMode").label, "Recording");
    EXPECT_EQ(labels(control<PickerControl>("recordMode")),
              (Names{"Hold to talk", "Press to start & stop"}));
    EXPECT_EQ(row("cancel").label, "Cancel");
    EXPECT_EQ(control<TextControl>("cancel").text, "Press Esc, or press the dictation key again");
    EXPECT_EQ(row("language").label, "Language (Apple Speech)");
    EXPECT_EQ(row("sounds").label, "Play sounds");
    EXPECT_EQ(row("login").label, "Open at login");
}

TEST_F(GeneralTabTest, theKeyShowsItsLabelAndAClickRecordsAnother)
{
    open();
    EXPECT_EQ(key().text, "Right ⌥ Option");
    key().click();
    EXPECT_EQ(key().text, "Press a key…");
    EXPECT_TRUE(key().recording);
    desktop.recorderKeys.keyDown(96);
    EXPECT_EQ(key().text, "F5");
    EXPECT_FALSE(key().recording);
}

TEST_F(GeneralTabTest, leavingTheKeyStopsTheRecording)
{
    open();
    key().click();
    key().leave();
    EXPECT_FALSE(key().recording);
    EXPECT_FALSE(desktop.recorderKeys.isRunning());
}

TEST_F(GeneralTabTest, closingTheWindowStopsTheRecording)
{
    open();
    key().click();
    settings.reset();
    EXPECT_FALSE(desktop.recorderKeys.isRunning());
    EXPECT_TRUE(desktop.tap.isRunning());
}

TEST_F(GeneralTabTest, aPresetSetsTheKeyAlsoWhileOneIsRecorded)
{
    open();
    EXPECT_EQ(key().presetsButton.symbol, "ellipsis.circle");
    EXPECT_EQ(key().presetsButton.help, "Presets");
    Names presets;
    for (const auto& preset : key().presets) {
        presets.push_back(preset.text);
    }
    EXPECT_EQ(presets, (Names{"Right ⌥ Option", "Right ⌘ Command", "fn (Globe)", "⌥ Space"}));
    key().click();
    key().presets[3].press();
    EXPECT_FALSE(key().recording);
    EXPECT_EQ(key().text, "⌥ Space");
    EXPECT_EQ(desktop.tap.interest.hotkey, (Hotkey{49, 0x80000, false}));
}

TEST_F(GeneralTabTest, theRowOfTheKeySaysWhyItCannotBeHadOrWhyAKeyWasNotTaken)
{
    open();
    EXPECT_EQ(row("hotkey").problem, "");
    model->setHotkey({keyCodes::space, eventFlags::maskAlternate, false});
    desktop.tap.setConflict(KeyConflict::hotkeyTaken);
    EXPECT_EQ(row("hotkey").problem, "Another program uses ⌥ Space.");
    desktop.tap.setConflict(KeyConflict::hotkeyMissing);
    EXPECT_EQ(row("hotkey").problem, "This keyboard has no key for ⌥ Space.");
    desktop.tap.setConflict(KeyConflict::escapeTaken);
    EXPECT_EQ(row("hotkey").problem, "Another program uses Escape.");
    desktop.tap.setConflict(KeyConflict::hotkeyUnasked);
    EXPECT_EQ(row("hotkey").problem,
              "This desktop must be asked for ⌥ Space first. Allow it under Permissions.");
    desktop.tap.setConflict(KeyConflict::escapeUnasked);
    EXPECT_EQ(row("hotkey").problem,
              "This desktop must be asked for Escape first. Allow it under Permissions.");
    desktop.tap.setConflict(KeyConflict::escapeUnwatched);
    EXPECT_EQ(row("hotkey").problem, "This desktop does not let Vorlin watch Escape.");
    desktop.tap.setConflict(KeyConflict::escapeTaken);
    key().click();
    desktop.recorderKeys.keyDown(keyCodes::space);
    EXPECT_EQ(row("hotkey").problem, "Add ⌘, ⌥, ⌃ or ⇧ — or use a function key.");
}

TEST_F(GeneralTabTest, aKeyThatTheDesktopHasInsteadIsShownInItsWords)
{
    open();
    model->setHotkey({101, 0, false});
    EXPECT_EQ(key().text, "F9");
    desktop.tap.setTrigger("Press F9");
    EXPECT_EQ(key().text, "F9");
    desktop.tap.setTrigger("F9 drücken");
    EXPECT_EQ(key().text, "F9");
    desktop.tap.setTrigger("F92");
    EXPECT_EQ(key().text, "F92");
    desktop.tap.setTrigger("Meta+D");
    EXPECT_EQ(key().text, "Meta+D");
    desktop.tap.setTrigger("");
    EXPECT_EQ(key().text, "F9");
}

TEST_F(GeneralTabTest, onLinuxAKeyThatCannotBeHadIsCalledAsOnItsKeyboards)
{
    desktop.wording = &linuxWording();
    open();
    model->setHotkey({keyCodes::space, eventFlags::maskAlternate, false});
    desktop.tap.setConflict(KeyConflict::hotkeyTaken);
    EXPECT_EQ(row("hotkey").problem, "Another program uses Alt+Space.");
}

TEST_F(GeneralTabTest, whatHoldsOfOneKeyIsNeverSaidOfTheNext)
{
    open();
    desktop.tap.setConflict(KeyConflict::hotkeyTaken);
    std::set<std::string> lines;
    const auto changes = settings->general.form.observe(
        [&](const Form& form) { lines.insert(rowIn(form, "hotkey").problem); });
    key().presets[3].press();
    EXPECT_EQ(lines, std::set<std::string>{""});
}

TEST_F(GeneralTabTest, aKeyThatWasTakenShowsWhyItCannotBeHadAndNoOlderHint)
{
    open();
    key().click();
    desktop.recorderKeys.keyDown(keyCodes::space);
    desktop.recorderKeys.keyDown(96);
    desktop.tap.setConflict(KeyConflict::hotkeyTaken);
    EXPECT_EQ(row("hotkey").problem, "Another program uses F5.");
    key().click();
    desktop.recorderKeys.keyDown(keyCodes::space);
    key().presets[0].press();
    EXPECT_EQ(row("hotkey").problem, "");
}

TEST_F(GeneralTabTest, aHintAndWhatIsWrongWithTheKeyAreBothSaid)
{
    desktop.wording = &linuxWording();
    open();
    desktop.tap.setConflict(KeyConflict::hotkeyTaken);
    desktop.recorderKeys.refusal = "Another program has the keyboard.";
    key().click();
    desktop.tap.setConflict(KeyConflict::hotkeyTaken);
    EXPECT_EQ(row("hotkey").problem,
              "Another program has the keyboard. Another program uses Right Alt.");
    desktop.recorderKeys.refusal.reset();
    key().click();
    desktop.recorderKeys.keyDown(keyCodes::space);
    desktop.recorderKeys.keyDown(keyCodes::escape);
    desktop.tap.setConflict(KeyConflict::hotkeyTaken);
    EXPECT_EQ(row("hotkey").problem, "Add Super, Alt, Ctrl or Shift — or use a function key. "
                                     "Another program uses Right Alt.");
}

TEST_F(GeneralTabTest, aKeyThatAlsoTypesCharactersSaysSoAndNamesOneThatDoesNot)
{
    desktop.tap.typing = {keyCodes::rightOption};
    open();
    EXPECT_EQ(row("hotkey").caption,
              "Right ⌥ Option is used as the dictation key. It also types characters on this "
              "keyboard: typing one with it starts a dictation. Right ⌃ Control does not.");
    desktop.wording = &linuxWording();
    model->setHotkey({keyCodes::rightOption, 0, true});
    open();
    EXPECT_EQ(row("hotkey").caption,
              "Right Alt is used as the dictation key. It also types characters on this keyboard: "
              "typing one with it starts a dictation. Right Ctrl does not.");
    model->setHotkey({keyCodes::rightControl, 0, true});
    EXPECT_EQ(row("hotkey").caption, "");
    model->setHotkey({keyCodes::rightOption, eventFlags::maskControl, false});
    EXPECT_EQ(row("hotkey").caption, "") << "not pressed alone";
}

TEST_F(GeneralTabTest, whetherTheKeyTypesCharactersFollowsTheLayout)
{
    open();
    EXPECT_EQ(row("hotkey").caption, "");
    desktop.tap.typing = {keyCodes::rightOption};
    desktop.tap.noteLayoutChange();
    EXPECT_NE(row("hotkey").caption, "");
}

TEST_F(GeneralTabTest, aShortcutThatAnotherProgramAlsoUsesSaysSo)
{
    open();
    desktop.tap.setConflict(KeyConflict::hotkeyShared);
    EXPECT_EQ(row("hotkey").problem, "Another program also uses this shortcut.");
}

TEST_F(GeneralTabTest, aKeyOfWhichOnlyPressesAreToldSaysHowItWorksAndLeavesTheChoice)
{
    desktop.tap.watches = {{keyCodes::rightOption, KeyWatch::presses}};
    open();
    EXPECT_EQ(row("recordMode").caption,
              "This desktop reports only presses: press to start, again to stop.");
    EXPECT_EQ(control<PickerControl>("recordMode").selected, 0U);
    EXPECT_EQ(model->preferences.recordMode(), RecordMode::hold);
    EXPECT_EQ(row("hotkey").problem, "");
    key().presets[1].press();
    EXPECT_EQ(row("recordMode").caption, "");
    desktop.tap.watches = {{keyCodes::rightCommand, KeyWatch::presses}};
    desktop.session.setAway(true);
    desktop.session.setAway(false); // the tap starts
    EXPECT_NE(row("recordMode").caption, "");
}

TEST_F(GeneralTabTest, aKeyOfWhichNothingIsToldSaysWhyAndIsKept)
{
    desktop.wording = &linuxWording();
    open();
    model->setHotkey({keyCodes::rightControl, 0, true});
    desktop.tap.watches = {{keyCodes::rightControl, KeyWatch::nothing},
                           {keyCodes::f9, KeyWatch::nothing}};
    open();
    EXPECT_EQ(model->hotkey.get(), (Hotkey{keyCodes::rightControl, 0, true}));
    EXPECT_EQ(row("hotkey").problem,
              "This desktop does not report Right Ctrl on its own. Choose another key.");
    model->setHotkey({keyCodes::f9, 0, false});
    EXPECT_EQ(row("hotkey").problem, "This desktop does not report F9. Choose another key.");
    desktop.tap.setConflict(KeyConflict::hotkeyTaken);
    EXPECT_EQ(row("hotkey").problem, "Another program uses F9.");
    desktop.tap.setConflict(KeyConflict::hotkeyUnasked);
    EXPECT_EQ(row("hotkey").problem, "This desktop does not report F9. Choose another key, or let "
                                     "the desktop offer one under Permissions.");
    desktop.tap.setConflict(KeyConflict::unwatched);
    EXPECT_THAT(row("hotkey").problem, testing::HasSubstr("see /usr/share/doc/vorlin/DESKTOPS.md"));
    desktop.tap.setConflict(KeyConflict::none);
    key().presets[0].press();
    EXPECT_EQ(row("hotkey").problem, "");
}

TEST_F(GeneralTabTest, aKeyThatMovedAwayFromTheThirdLevelWarnsNobody)
{
    desktop.wording = &linuxWording();
    desktop.tap.typing = {keyCodes::rightOption};
    open();
    EXPECT_EQ(key().text, "Right Ctrl");
    EXPECT_EQ(row("hotkey").caption, "");
    EXPECT_EQ(row("hotkey").problem, "");
    desktop.tap.typing = {};
    desktop.tap.noteLayoutChange();
    desktop.loop.runReady();
    EXPECT_EQ(key().text, "Right Alt");
    key().click();
    desktop.recorderKeys.keyDown(keyCodes::escape);
    EXPECT_FALSE(desktop.defaults.values.contains("hotkey.v2"));
}

TEST_F(GeneralTabTest, theRecordModeIsChosenAndFollowsTheFile)
{
    open();
    EXPECT_EQ(control<PickerControl>("recordMode").style, PickerControl::Style::segmented);
    EXPECT_EQ(control<PickerControl>("recordMode").selected, 0U);
    control<PickerControl>("recordMode").choose(1);
    EXPECT_EQ(model->preferences.recordMode(), RecordMode::toggle);
    EXPECT_EQ(control<PickerControl>("recordMode").selected, 1U);
    desktop.defaults.set("recordMode", "hold");
    EXPECT_EQ(control<PickerControl>("recordMode").selected, 0U);
}

TEST_F(GeneralTabTest, theLanguagesThatTheMachineHasAModelForAreMarkedOnceItHasAnswered)
{
    desktop.analyzers.looksAtOnce = false;
    desktop.analyzers.locales = {{"en-US", "en-US"}, {"de-DE", "de-DE"}};
    open();
    EXPECT_EQ(notes(), Names(7));
    desktop.analyzers.completeLookups();
    desktop.loop.runReady();
    EXPECT_EQ(notes(), (Names{"Not installed", "Installed", "Not installed", "Not installed",
                              "Installed", "Not installed", "Not installed"}));
}

TEST_F(GeneralTabTest, aLanguageWithoutAModelSaysWhichEngineKnowsIt)
{
    desktop.folders.putModel(desktop.folders.root / "parakeetRedux");
    desktop.analyzers.locales = {{"en-US", "en-US"}};
    desktop.defaults.values["language"] = "de-DE";
    open();
    EXPECT_EQ(row("language").caption,
              "NVIDIA Parakeet Redux (≈ 220 MB) knows Deutsch: see Models.");
    control<PickerControl>("language").choose(1);
    EXPECT_EQ(row("language").caption, "");
    control<PickerControl>("language").choose(5);
    EXPECT_EQ(row("language").caption,
              "NVIDIA Parakeet Redux (≈ 220 MB) knows Italiano: see Models.");
    model->models.select("parakeetRedux");
    EXPECT_EQ(row("language").caption, "");
}

TEST_F(GeneralTabTest, aLanguageThatNoEngineKnowsSaysSo)
{
    desktop.analyzers.locales = {{"en-US", "en-US"}};
    desktop.defaults.values["language"] = "ja-JP";
    open();
    EXPECT_EQ(row("language").caption, "No engine knows this language.");
}

TEST_F(GeneralTabTest, aDesktopsLanguageThatTheListLacksIsTaughtToNobodyAsEnglish)
{
    desktop.analyzers.locales = {{"en-US", "en-US"}};
    desktop.locale.code = "pl";
    open();
    EXPECT_EQ(row("language").caption, "The language of your desktop is not in this list. NVIDIA "
                                       "Parakeet Redux (≈ 220 MB) knows it: see Models.");
    // Who chooses English wants it.
    control<PickerControl>("language").choose(1);
    EXPECT_EQ(row("language").caption, "");
}

TEST_F(GeneralTabTest, aDesktopsLanguageThatNoEngineKnowsIsNamedSo)
{
    desktop.analyzers.locales = {{"en-US", "en-US"}};
    desktop.locale.code = "ja";
    desktop.folders.putModel(desktop.folders.root / "parakeetRedux");
    open();
    EXPECT_EQ(row("language").caption, "No engine knows the language of your desktop.");
    model->models.select("parakeetRedux");
    EXPECT_EQ(row("language").caption, "No engine knows the language of your desktop.");
}

TEST_F(GeneralTabTest, aDesktopWithoutALanguageIsToldNothing)
{
    desktop.analyzers.locales = {{"fr-FR", "fr-FR"}};
    desktop.locale.code = "";
    open();
    EXPECT_EQ(row("language").caption, "");
}

TEST_F(GeneralTabTest, aLanguageIsChosenByItsIdentifier)
{
    open();
    EXPECT_EQ(labels(control<PickerControl>("language")),
              (Names{"Français", "English (US)", "English (UK)", "Español", "Deutsch", "Italiano",
                     "Português"}));
    EXPECT_EQ(control<PickerControl>("language").selected, 1U);
    control<PickerControl>("language").choose(4);
    EXPECT_EQ(model->preferences.language(), "de-DE");
    EXPECT_EQ(control<PickerControl>("language").selected, 4U);
}

TEST_F(GeneralTabTest, aStoredLanguageOutsideTheListStaysAndIsShown)
{
    desktop.defaults.values["language"] = "sv-SE";
    open();
    const auto& picker = control<PickerControl>("language");
    ASSERT_EQ(picker.choices.size(), 8U);
    EXPECT_EQ(picker.choices.back().label, "sv-SE");
    EXPECT_EQ(picker.selected, 7U);
    EXPECT_EQ(model->preferences.language(), "sv-SE");
    picker.choose(7);
    EXPECT_EQ(model->preferences.language(), "sv-SE");
}

TEST_F(GeneralTabTest, soundsAreSwitchedBothWays)
{
    open();
    control<ToggleControl>("sounds").set(false);
    EXPECT_FALSE(model->preferences.sounds());
    EXPECT_FALSE(control<ToggleControl>("sounds").on);
    desktop.defaults.set("sounds", true);
    EXPECT_TRUE(control<ToggleControl>("sounds").on);
}

TEST_F(GeneralTabTest, openAtLoginIsWhatTheDesktopHas)
{
    desktop.loginItem.enabled = true;
    open();
    EXPECT_TRUE(control<ToggleControl>("login").on);
    control<ToggleControl>("login").set(false);
    EXPECT_FALSE(desktop.loginItem.enabled);
    EXPECT_FALSE(control<ToggleControl>("login").on);
    EXPECT_EQ(row("login").problem, "");
}

TEST_F(GeneralTabTest, openAtLoginIsAskedAnewWhenTheWindowGetsTheFocus)
{
    open();
    desktop.loginItem.enabled = true;
    settings->activated();
    EXPECT_TRUE(control<ToggleControl>("login").on);
    desktop.loginItem.enabled = false;
    settings->activated();
    EXPECT_FALSE(control<ToggleControl>("login").on);
}

TEST_F(GeneralTabTest, openAtLoginThatCannotBeChangedSaysWhyAndStaysAsItIs)
{
    open();
    desktop.loginItem.refusal = "The disk is full.";
    control<ToggleControl>("login").set(true);
    EXPECT_FALSE(control<ToggleControl>("login").on);
    EXPECT_EQ(row("login").problem, "The disk is full.");
    desktop.loginItem.refusal.reset();
    control<ToggleControl>("login").set(true);
    EXPECT_TRUE(control<ToggleControl>("login").on);
    EXPECT_EQ(row("login").problem, "");
}

} // namespace
} // namespace vorlin
