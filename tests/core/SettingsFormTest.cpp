#include "SettingsFixture.h"

#include <set>

namespace vorlin {
namespace {

using Tab = SettingsTab;

class SettingsFormTest : public SettingsFixture {
protected:
    /// Every text of every tab and of the sheet.
    std::vector<std::string> texts()
    {
        std::vector<std::string> found;
        const auto collect = [&found](Form each) {
            forEachText(each, [&found](std::string& text) { found.push_back(text); });
        };
        for (const auto& each : settingsTabs) {
            collect(form(each.tab));
        }
        collect(settings->models.sheet.form.get());
        return found;
    }
};

TEST_F(SettingsFormTest, theFiveTabsStandInTheirOrder)
{
    std::vector<std::string> labels;
    for (const auto& each : settingsTabs) {
        labels.emplace_back(each.text);
        EXPECT_FALSE(each.symbol.empty());
    }
    EXPECT_EQ(labels,
              (std::vector<std::string>{"General", "Models", "Popup", "Permissions", "About"}));
    EXPECT_EQ(SettingsView::title, "Vorlin Settings");
    EXPECT_EQ(SettingsView::width, 560);
    EXPECT_EQ(SettingsView::height, 470);
}

TEST_F(SettingsFormTest, theIdsOfAFormsRowsAreUnique)
{
    open();
    for (const auto& each : settingsTabs) {
        std::set<std::string> seen;
        for (const auto& section : form(each.tab)) {
            for (const auto& row : section.rows) {
                EXPECT_TRUE(seen.insert(row.id).second) << row.id;
                EXPECT_FALSE(row.id.empty());
            }
        }
    }
}

TEST_F(SettingsFormTest, anActionThatIsKeptDoesNothingOnceItsFormIsGone)
{
    open();
    const auto set = control<ToggleControl>(Tab::general, "sounds").set;
    settings.reset();
    set(false);
    EXPECT_TRUE(model->preferences.sounds());
}

TEST_F(SettingsFormTest, onLinuxNoTextNamesAnotherDesktopsThings)
{
    desktop.wording = &linuxWording();
    open();
    settings->models.sheet.open();
    model->setHotkey({keyCodes::space, eventFlags::maskAlternate, false});
    desktop.tap.setConflict(KeyConflict::hotkeyTaken);
    for (int source = 0; source < 2; ++source) {
        std::get<PickerControl>(rowIn(settings->models.sheet.form.get(), "source").control)
            .choose(static_cast<std::size_t>(source));
        for (const auto& text : texts()) {
            for (const char* word : {"Apple", "macOS", "Mac", "Finder", "7 languages", "Option",
                                     "Command", "⌘", "⌥", "⌃", "⇧"}) {
                EXPECT_EQ(text.find(word), std::string::npos) << text;
            }
        }
    }
}

TEST_F(SettingsFormTest, theLinuxWordsAreWordsForTextsThatAreShown)
{
    open();
    std::set<std::string> shown;
    for (int source = 0; source < 2; ++source) {
        std::get<PickerControl>(rowIn(settings->models.sheet.form.get(), "source").control)
            .choose(static_cast<std::size_t>(source));
        const auto all = texts();
        shown.insert(all.begin(), all.end());
    }
    settings->general.recorder.start();
    desktop.recorderKeys.keyDown(keyCodes::space);
    const auto all = texts();
    shown.insert(all.begin(), all.end());
    for (const auto& [text, words] : linuxWording().texts) {
        EXPECT_TRUE(shown.contains(std::string(text))) << text;
    }
}

} // namespace
} // namespace vorlin
