#include "SettingsFixture.h"

namespace vorlin {
namespace {

using namespace std::chrono_literals;
using Names = std::vector<std::string>;

class PermissionsTabTest : public SettingsFixture {
protected:
    const PermissionControl& permission(const std::string& title) const
    {
        return control<PermissionControl>(SettingsTab::permissions, title);
    }
};

TEST_F(PermissionsTabTest, itsTextsStandAsTheyAre)
{
    open();
    const Form& sections = form(SettingsTab::permissions);
    EXPECT_EQ(rowIds(sections.at(0)), (Names{"Microphone", "Accessibility"}));
    EXPECT_EQ(permission("Microphone").reason, "To hear you while the key is held.");
    EXPECT_EQ(permission("Accessibility").reason,
              "To detect the dictation key and type the text into other apps.");
    EXPECT_EQ(control<TextControl>(SettingsTab::permissions, "never").text,
              "Vorlin never records unless you hold the dictation key, and audio never leaves "
              "your Mac.");
    EXPECT_EQ(control<TextControl>(SettingsTab::permissions, "models").text,
              "Models run entirely on your Mac. Downloads come straight from Hugging Face when "
              "you ask for them, and can be removed at any time. Parakeet transcribes when you "
              "release the key, in seconds.");
}

TEST_F(PermissionsTabTest, whatIsGrantedNeedsNoButton)
{
    open();
    for (const auto* title : {"Microphone", "Accessibility"}) {
        EXPECT_TRUE(permission(title).granted);
        EXPECT_EQ(permission(title).symbol, "checkmark.circle.fill");
        EXPECT_EQ(permission(title).state, "Granted");
        EXPECT_FALSE(permission(title).open);
    }
}

TEST_F(PermissionsTabTest, whatIsNotGrantedOpensItsPageOfTheDesktopsSettings)
{
    desktop.permissions.microphone = false;
    desktop.permissions.trusted = false;
    open();
    EXPECT_EQ(permission("Microphone").symbol, "exclamationmark.circle.fill");
    EXPECT_EQ(permission("Microphone").state, "Not granted");
    ASSERT_TRUE(permission("Microphone").open && permission("Accessibility").open);
    EXPECT_EQ(permission("Microphone").open->text, "Open Settings");
    permission("Microphone").open->press();
    permission("Accessibility").open->press();
    EXPECT_EQ(desktop.workspace.openedPanels,
              (std::vector<SystemPanel>{SystemPanel::microphone, SystemPanel::accessibility}));
}

TEST_F(PermissionsTabTest, aDesktopThatCanAskDoesSoWhenThePersonWishesIt)
{
    desktop.permissions.canAsk = true;
    desktop.permissions.asksForTyping = true;
    desktop.permissions.trusted = false;
    open();
    EXPECT_TRUE(desktop.permissions.asked.empty());
    ASSERT_TRUE(permission("Accessibility").open);
    EXPECT_EQ(permission("Accessibility").open->text, "Allow…");
    EXPECT_EQ(row(SettingsTab::permissions, "Accessibility").caption,
              "The desktop asks for it as remote control. Switch on \"Allow Remote Interaction\" "
              "where it is offered, and press \"Share\": Vorlin types its text that way.");
    permission("Accessibility").open->press();
    EXPECT_EQ(desktop.permissions.asked, std::vector{model->hotkey.get()});
    EXPECT_TRUE(desktop.workspace.openedPanels.empty());
}

TEST_F(PermissionsTabTest, aQuestionForTheKeyAloneIsNotAnnouncedAsRemoteControl)
{
    desktop.permissions.canAsk = true;
    desktop.permissions.trusted = false;
    open();
    EXPECT_EQ(permission("Accessibility").open->text, "Allow…");
    EXPECT_EQ(row(SettingsTab::permissions, "Accessibility").caption, "");
    desktop.permissions.asksForTyping = true;
    desktop.loop.advance(1500ms);
    EXPECT_NE(row(SettingsTab::permissions, "Accessibility").caption, "");
    desktop.permissions.asksForTyping = false;
    desktop.loop.advance(1500ms);
    EXPECT_EQ(row(SettingsTab::permissions, "Accessibility").caption, "");
}

TEST_F(PermissionsTabTest, whatIsStillToBeAskedForIsNotGrantedYet)
{
    desktop.permissions.canAsk = true;
    desktop.permissions.unasked = true;
    open();
    EXPECT_TRUE(model->accessibilityGranted.get()) << "nothing has been refused";
    EXPECT_FALSE(permission("Accessibility").granted);
    EXPECT_EQ(permission("Accessibility").state, "Not granted");
    ASSERT_TRUE(permission("Accessibility").open);
    EXPECT_EQ(permission("Accessibility").open->text, "Allow…");
    desktop.permissions.canAsk = false;
    desktop.permissions.unasked = false;
    desktop.loop.advance(1500ms);
    EXPECT_EQ(permission("Accessibility").state, "Granted");
    EXPECT_FALSE(permission("Accessibility").open);
}

TEST_F(PermissionsTabTest, whatMayStillBeAskedForHasItsButtonForAsLongAsItMay)
{
    open();
    desktop.permissions.canAsk = true;
    desktop.tap.setConflict(KeyConflict::escapeUnasked);
    EXPECT_TRUE(permission("Accessibility").granted);
    EXPECT_EQ(row(SettingsTab::permissions, "Accessibility").caption, "");
    ASSERT_TRUE(permission("Accessibility").open);
    EXPECT_EQ(permission("Accessibility").open->text, "Allow…");
    desktop.permissions.canAsk = false;
    desktop.tap.setConflict(KeyConflict::none);
    EXPECT_FALSE(permission("Accessibility").open);
}

TEST_F(PermissionsTabTest, whatCannotBeAskedForSaysWhyAndHasNoButton)
{
    desktop.permissions.trusted = false;
    desktop.permissions.obstacle = "This desktop has no such thing.";
    open();
    EXPECT_FALSE(permission("Accessibility").open);
    EXPECT_EQ(row(SettingsTab::permissions, "Accessibility").caption,
              "This desktop has no such thing.");
    desktop.permissions.obstacle.clear();
    desktop.permissions.canAsk = true; // what was missing has come
    desktop.loop.advance(1500ms);
    ASSERT_TRUE(permission("Accessibility").open);
    EXPECT_EQ(permission("Accessibility").open->text, "Allow…");
    EXPECT_NE(row(SettingsTab::permissions, "Accessibility").caption,
              "This desktop has no such thing.");
}

TEST_F(PermissionsTabTest, aKeyboardThatAnotherProgramHasToItselfIsToldForAsLongAsItHasIt)
{
    open();
    const Names promises = {"never", "models"};
    EXPECT_EQ(rowIds(form(SettingsTab::permissions).at(1)), promises);
    desktop.permissions.keyboardSecured = true;
    desktop.loop.advance(1500ms);
    EXPECT_EQ(control<TextControl>(SettingsTab::permissions, "secured").text,
              "Another app has the keyboard to itself, as for a password. Until it lets go of it, "
              "the dictation key is not seen.");
    desktop.permissions.keyboardSecured = false;
    desktop.loop.advance(1500ms);
    EXPECT_EQ(rowIds(form(SettingsTab::permissions).at(1)), promises);
}

TEST_F(PermissionsTabTest, aScreenThatCountsAsLockedIsToldForAsLongAsItDoes)
{
    desktop.session.setAway(true);
    open();
    EXPECT_EQ(control<TextControl>(SettingsTab::permissions, "locked").text,
              "The system says that the screen is locked. Until it takes that back, the dictation "
              "key does nothing. If the screen is open, lock and unlock it once.");
    const Names promises = {"never", "models"};
    desktop.session.setAway(false);
    EXPECT_EQ(rowIds(form(SettingsTab::permissions).at(1)), promises);
    desktop.session.setAway(true);
    EXPECT_EQ(rowIds(form(SettingsTab::permissions).at(1)).at(0), "locked");
}

TEST_F(PermissionsTabTest, aDesktopWithoutSuchAPageSaysSo)
{
    desktop.permissions.microphone = false;
    desktop.workspace.panels.clear();
    open();
    EXPECT_FALSE(permission("Microphone").open);
    EXPECT_EQ(row(SettingsTab::permissions, "Microphone").caption,
              "This desktop has no settings page for it.");
    EXPECT_EQ(row(SettingsTab::permissions, "Accessibility").caption, "");
}

TEST_F(PermissionsTabTest, aPageThatCannotBeOpenedSaysWhyUntilItIsNotNeededAnyMore)
{
    desktop.permissions.microphone = false;
    open();
    desktop.workspace.refusal = "It cannot be started.";
    permission("Microphone").open->press();
    desktop.loop.runReady();
    EXPECT_EQ(row(SettingsTab::permissions, "Microphone").problem, "It cannot be started.");
    EXPECT_EQ(row(SettingsTab::permissions, "Accessibility").problem, "");
    desktop.permissions.microphone = true;
    desktop.loop.advance(1500ms);
    EXPECT_EQ(row(SettingsTab::permissions, "Microphone").problem, "");
}

TEST_F(PermissionsTabTest, aPermissionThatComesOrGoesShowsWithinThePoll)
{
    open();
    desktop.permissions.microphone = false;
    desktop.loop.advance(1500ms);
    EXPECT_FALSE(permission("Microphone").granted);
    desktop.permissions.microphone = true;
    desktop.loop.advance(1500ms);
    EXPECT_TRUE(permission("Microphone").granted);
    desktop.permissions.trusted = false;
    desktop.loop.advance(1500ms);
    EXPECT_FALSE(permission("Accessibility").granted);
    desktop.permissions.trusted = true;
    desktop.loop.advance(1500ms);
    EXPECT_TRUE(permission("Accessibility").granted);
}

class AboutTabTest : public SettingsFixture {
protected:
    const AboutControl& about() const { return control<AboutControl>(SettingsTab::about, "about"); }
};

TEST_F(AboutTabTest, saysWhatTheProgramIsAndWhoMadeIt)
{
    open();
    EXPECT_EQ(row(SettingsTab::about, "about").label, "Vorlin");
    EXPECT_EQ(about().version, "Version 1.2.3");
    EXPECT_EQ(about().sentence,
              "Private voice dictation. Everything runs on your Mac: no account, no cloud.");
    EXPECT_EQ(about().developedBy, "Developed by");
    EXPECT_EQ(about().maker.text, "The makers");
}

TEST_F(AboutTabTest, theMakerIsALinkWhereThereIsAnAddress)
{
    open();
    EXPECT_FALSE(about().maker.press) << "plain text";
    build.makerLink = "https://example.org/";
    open();
    ASSERT_TRUE(about().maker.press);
    about().maker.press();
    EXPECT_EQ(desktop.workspace.links, (Names{"https://example.org/"}));
    desktop.loop.runReady();
    EXPECT_EQ(row(SettingsTab::about, "about").problem, "");
}

TEST_F(AboutTabTest, aLinkThatCannotBeOpenedSaysWhy)
{
    build.makerLink = "https://example.org/";
    open();
    desktop.workspace.refusal = "Nothing here opens it.";
    about().maker.press();
    desktop.loop.runReady();
    EXPECT_EQ(row(SettingsTab::about, "about").problem, "Nothing here opens it.");
}

} // namespace
} // namespace vorlin
