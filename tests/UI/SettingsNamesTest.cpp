#include "UI/SettingsWindowFixture.h"

#include "UI/Announcer.h"

#include <QAccessible>

namespace vorlin {
namespace {

/// What a screen reader was told to say, in order.
std::vector<std::string> said;

/// Is asked first how each object is told to a reader; it leaves that to others.
QAccessibleInterface* overhear(const QString& className, QObject* object)
{
    if (className == QLatin1String(Announcement::staticMetaObject.className())) {
        said.push_back(static_cast<Announcement*>(object)->text.toStdString());
    }
    return nullptr;
}

/// The settings as a screen reader is told of them.
class SettingsNames : public SettingsWindowFixture {
protected:
    static bool isOperable(QQuickItem* item)
    {
        auto* const interface = QAccessible::queryAccessibleInterface(item);
        return interface != nullptr && interface->state().focusable;
    }
    std::string descriptionOf(const std::string& name)
    {
        auto* const interface = QAccessible::queryAccessibleInterface(control(name));
        return interface->text(QAccessible::Description).toStdString();
    }
    void expectANameAndARoleForEveryControl()
    {
        int operable = 0;
        for (auto* item : controls()) {
            const auto role = accessibleRole(item);
            const auto described = std::string(item->metaObject()->className());
            EXPECT_NE(role, QAccessible::NoRole) << described;
            if (role != QAccessible::Client) {
                EXPECT_NE(accessibleName(item), "") << described;
            }
            operable += isOperable(item) ? 1 : 0;
        }
        EXPECT_GE(operable, 5); // the tabs at least
    }
};

class SettingsNamesOfTabs : public SettingsNames,
                            public testing::WithParamInterface<SettingsTab> {};

TEST_P(SettingsNamesOfTabs, everyControlHasANameAndARole)
{
    desktop.permissions.microphone = false;
    desktop.folders.putModel("/models/parakeetRedux");
    open(GetParam());
    expectANameAndARoleForEveryControl();
}

INSTANTIATE_TEST_SUITE_P(All, SettingsNamesOfTabs,
                         testing::Values(SettingsTab::general, SettingsTab::models,
                                         SettingsTab::popup, SettingsTab::permissions,
                                         SettingsTab::about));

TEST_F(SettingsNames, everyControlOfTheSheetHasANameAndARole)
{
    open(SettingsTab::models);
    click("Add model…");
    ASSERT_TRUE(has("Repository"));
    expectANameAndARoleForEveryControl();
    click("Folder");
    ASSERT_TRUE(has("Choose"));
    expectANameAndARoleForEveryControl();
}

TEST_F(SettingsNames, everyLineOfAListAndOfAMenuHasANameAndARole)
{
    open(SettingsTab::general);
    focus("Language (Built-in Speech)");
    press(Qt::Key_Space);
    ASSERT_TRUE(has("Deutsch, Not installed"));
    expectANameAndARoleForEveryControl();
    press(Qt::Key_Escape);
    click("Presets");
    ASSERT_TRUE(has("Alt+Space"));
    expectANameAndARoleForEveryControl();
}

TEST_F(SettingsNames, theMarkedLineOfAnOpenListIsSaid)
{
    open(SettingsTab::general);
    focus("Language (Built-in Speech)");
    said.clear();
    QAccessible::installFactory(overhear);
    press(Qt::Key_Space);
    press(Qt::Key_Down);
    press(Qt::Key_Up);
    QAccessible::removeFactory(overhear);
    EXPECT_EQ(said,
              (std::vector<std::string>{"English (UK), Not installed", "English (US), Installed"}));
}

TEST_F(SettingsNames, everyControlOfADownloadAndOfAnEngineOfOnesOwnHasANameAndARole)
{
    desktop.folders.putModel("/disk/mine");
    open(SettingsTab::models);
    model->models.addLocal("/disk/mine", "Mine");
    desktop.http.otherwise = [](const HTTPRequest& /*request*/) {
        return FakeHTTPClient::Answer{200, {}, {}, std::nullopt, true, {}};
    };
    model->models.addHub("owner/repository", "Theirs");
    settle();
    ASSERT_TRUE(has("Theirs, 0%"));
    ASSERT_TRUE(has("Use Mine"));
    expectANameAndARoleForEveryControl();
    click("Use Mine", Qt::RightButton);
    ASSERT_TRUE(has("Remove from list"));
    expectANameAndARoleForEveryControl();
}

TEST_F(SettingsNames, aTextOfARowIsReadWithItsLabel)
{
    open(SettingsTab::general);
    EXPECT_TRUE(has("Cancel"));
    EXPECT_TRUE(has("Press Esc, or press the dictation key again"));
}

TEST_F(SettingsNames, theFolderOfTheSheetIsReadWithItsLabel)
{
    open(SettingsTab::models);
    click("Add model…");
    click("Folder");
    EXPECT_TRUE(has("Folder on this computer"));
    EXPECT_EQ(descriptionOf("Choose"), "Folder on this computer");
}

TEST_F(SettingsNames, howFastAnEngineWasIsReadWithIt)
{
    desktop.state.values["apple.sentence"] = 5.0;
    desktop.state.values["apple.wait"] = 0.4;
    open(SettingsTab::models);
    EXPECT_NE(descriptionOf("Use Built-in Speech").find("About 0.4 s after a sentence of 5 s"),
              std::string::npos);
}

TEST_F(SettingsNames, whatGoesWrongIsSaidOnce)
{
    said.clear();
    desktop.loginItem.refusal = "The folder cannot be written.";
    open(SettingsTab::models);
    scene->showTab(SettingsTab::general);
    settle();
    QAccessible::installFactory(overhear);
    click("Open at login");
    EXPECT_EQ(said, std::vector<std::string>{"The folder cannot be written."});
    model->preferences.setSounds(false); // another row changes
    model->models.addHub("a/b/c", "");   // on a tab that is not shown
    settle();
    EXPECT_EQ(said.size(), 1U);
    scene->showTab(SettingsTab::models);
    settle();
    model->models.addLocal("/nowhere", "");
    settle();
    ASSERT_EQ(said.size(), 2U);
    EXPECT_EQ(said.back(), *model->models.lastError.get());
    QAccessible::removeFactory(overhear);
}

} // namespace
} // namespace vorlin
