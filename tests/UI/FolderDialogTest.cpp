#include "UI/FolderDialogFixture.h"

#include <QRasterWindow>
#include <QScreen>

namespace vorlin {
namespace {

TEST_F(FolderDialogTest, aFolderIsChosenByKeyboard)
{
    open();
    ASSERT_TRUE(isActive());
    EXPECT_EQ(QGuiApplication::focusWindow()->title(), "A model's folder");
    press({"Down", "Down"});
    EXPECT_TRUE(says(home.filePath("second")));
    // Over "Cancel".
    press({"Tab", "Tab", "space"});
    EXPECT_TRUE(isChosen(home.filePath("second")));
    EXPECT_TRUE(runUntil(isGone));
    EXPECT_EQ(answers, 1);
}

TEST_F(FolderDialogTest, aButtonLeadsOutOfFoldersUpToTheTop)
{
    open();
    ASSERT_TRUE(isActive());
    press({"shift+Tab", "shift+Tab"});
    for (auto left = home.path(); left != ""; left = left.section('/', 0, -2)) {
        EXPECT_TRUE(find("up")->isEnabled());
        press({"space"});
        EXPECT_TRUE(says(left)); // marked in the list
    }
    EXPECT_TRUE(runUntil([&] { return !find("up")->isEnabled(); }));
}

TEST_F(FolderDialogTest, withoutAMarkTheFolderItselfIsChosen)
{
    open();
    ASSERT_TRUE(isActive());
    press({"Tab", "Tab", "space"});
    EXPECT_TRUE(isChosen(home.path()));
}

TEST_F(FolderDialogTest, aPathIsTyped)
{
    open();
    ASSERT_TRUE(isActive());
    press({"ctrl+l", "ctrl+a"});
    type("~/second/");
    press({"Return"});
    EXPECT_TRUE(isChosen(home.filePath("second")));
}

TEST_F(FolderDialogTest, whatIsNoFolderIsSaidAndNotChosen)
{
    for (const QString path : {"~/nowhere", "~/a file", "first", ""}) {
        open();
        ASSERT_TRUE(isActive()) << path.toStdString();
        press({"ctrl+l", "ctrl+a", "BackSpace"});
        type(path);
        ASSERT_TRUE(says(path));
        press({"Return"});
        EXPECT_TRUE(runUntil([] { return hasText("There is no such folder."); }))
            << path.toStdString();
        EXPECT_EQ(answers, 0);
        type("x");
        EXPECT_TRUE(runUntil([] { return !hasText("There is no such folder."); }));
        press({"Escape"});
        ASSERT_TRUE(runUntil([&] { return answers == 1; }));
        EXPECT_EQ(chosen, std::nullopt);
        answers = 0;
    }
}

TEST_F(FolderDialogTest, itIsOneWindowOnTheScreen)
{
    open();
    ASSERT_TRUE(isActive());
    const auto windows = QGuiApplication::topLevelWindows();
    EXPECT_EQ(std::ranges::count_if(windows, &QWindow::isVisible), 1);
    const auto* const window = QGuiApplication::focusWindow();
    EXPECT_TRUE(window->screen()->geometry().contains(window->geometry()));
    EXPECT_EQ(list()->window(), window);
}

TEST_F(FolderDialogTest, escapeChoosesNothing)
{
    open();
    ASSERT_TRUE(isActive());
    press({"Escape"});
    ASSERT_TRUE(runUntil([&] { return answers > 0; }));
    EXPECT_EQ(chosen, std::nullopt);
    EXPECT_TRUE(runUntil(isGone));
}

TEST_F(FolderDialogTest, closingItsWindowChoosesNothing)
{
    open();
    ASSERT_TRUE(isActive());
    QGuiApplication::focusWindow()->close();
    ASSERT_TRUE(runUntil([&] { return answers > 0; }));
    EXPECT_EQ(chosen, std::nullopt);
    EXPECT_EQ(answers, 1);
}

TEST_F(FolderDialogTest, itSaysWhatItsButtonDoesAndLetsTheWindowBehindItWait)
{
    QRasterWindow behind;
    behind.show();
    ASSERT_TRUE(runUntil([&] { return behind.isActive(); }));
    open();
    ASSERT_TRUE(isActive());
    auto* const window = qobject_cast<QQuickWindow*>(QGuiApplication::focusWindow());
    EXPECT_EQ(window->transientParent(), &behind);
    EXPECT_EQ(window->modality(), Qt::WindowModal);
    EXPECT_TRUE(hasText("Choose"));
}

TEST_F(FolderDialogTest, cancellingItFromOutsideChoosesNothing)
{
    open();
    ASSERT_TRUE(isActive());
    dialog.cancel();
    EXPECT_EQ(answers, 1);
    EXPECT_EQ(chosen, std::nullopt);
    EXPECT_TRUE(runUntil(isGone));
    dialog.cancel();
    EXPECT_EQ(answers, 1);
}

TEST_F(FolderDialogTest, openingItAnewCancelsTheFirst)
{
    open();
    ASSERT_TRUE(isActive());
    int second = 0;
    dialog.open("Another", "Choose", {}, [&](const FolderDialog::Chosen&) { ++second; });
    EXPECT_EQ(answers, 1);
    EXPECT_EQ(chosen, std::nullopt);
    ASSERT_TRUE(runUntil([] {
        const auto* window = QGuiApplication::focusWindow();
        return window != nullptr && window->title() == "Another";
    }));
    press({"Escape"});
    EXPECT_TRUE(runUntil([&] { return second == 1; }));
}

} // namespace
} // namespace vorlin

int main(int argc, char** argv)
{
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QGuiApplication::setQuitOnLastWindowClosed(false);
    const QGuiApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
