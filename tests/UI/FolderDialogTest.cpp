#include "UI/FolderDialog.h"

#include "Platform/RunUntil.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QQuickItem>
#include <QQuickWindow>
#include <QRasterWindow>
#include <QScreen>
#include <QTemporaryDir>

#include <algorithm>

namespace vorlin {
namespace {

/// A person at the keyboard, whose home holds two folders, a file and a hidden folder.
class FolderDialogTest : public testing::Test {
protected:
    FolderDialogTest()
    {
        qputenv("HOME", home.path().toUtf8());
        for (const auto* folder : {"first/50% of #1 \u00fcber all?", "second", ".hidden"}) {
            QDir(home.path()).mkpath(folder);
        }
        QFile(home.filePath("a file")).open(QIODevice::WriteOnly);
    }

    /// Opens the dialog; false where it cannot be shown.
    bool open()
    {
        return dialog.open("A model's folder", "Choose", {}, [this](FolderDialog::Chosen answer) {
            ++answers;
            chosen = std::move(answer);
        });
    }

    static void press(QStringList keys)
    {
        QProcess process;
        keys.push_front("key");
        process.start("xdotool", keys);
        EXPECT_TRUE(runUntil([&] { return process.state() == QProcess::NotRunning; }));
    }
    static void type(const QString& text)
    {
        QProcess process;
        process.start("xdotool", {"type", text});
        EXPECT_TRUE(runUntil([&] { return process.state() == QProcess::NotRunning; }));
    }
    static QQuickItem* find(QQuickItem* item, const QString& name)
    {
        if (item->objectName() == name) {
            return item;
        }
        for (auto* child : item->childItems()) {
            if (auto* found = find(child, name)) {
                return found;
            }
        }
        return nullptr;
    }
    static QQuickItem* list()
    {
        auto* const window = qobject_cast<QQuickWindow*>(QGuiApplication::focusWindow());
        return window == nullptr ? nullptr : find(window->contentItem(), "folders");
    }
    /// Whether the field comes to say this path.
    static bool says(const QString& path)
    {
        return runUntil([&] {
            auto* const window = qobject_cast<QQuickWindow*>(QGuiApplication::focusWindow());
            return window != nullptr &&
                   find(window->contentItem(), "path")->property("text") == path;
        });
    }
    static bool hasText(const QQuickItem* item, const QString& text)
    {
        const auto children = item->childItems();
        return item->property("text") == text ||
               std::ranges::any_of(children, [&](auto* each) { return hasText(each, text); });
    }
    static bool isGone()
    {
        return std::ranges::none_of(QGuiApplication::topLevelWindows(), &QWindow::isVisible);
    }
    /// Whether it comes to stand there with the focus and so many folders in its list.
    static bool lists(int folders)
    {
        return runUntil([=] {
            return list() != nullptr && list()->property("count") == folders &&
                   list()->hasActiveFocus();
        });
    }
    static bool isActive() { return lists(2); }
    bool isChosen(const QString& path)
    {
        return runUntil([&] { return answers > 0; }) &&
               chosen == FolderDialog::Chosen(path.toStdString());
    }

    QTemporaryDir home;
    FolderDialog dialog;
    int answers = 0;
    FolderDialog::Chosen chosen;
};

TEST_F(FolderDialogTest, aFolderIsChosenByKeyboard)
{
    ASSERT_TRUE(open());
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

TEST_F(FolderDialogTest, foldersAreGoneInto)
{
    const auto inner = home.filePath("first/50% of #1 \u00fcber all?");
    ASSERT_TRUE(open());
    ASSERT_TRUE(isActive());
    EXPECT_TRUE(says(home.path()));
    press({"Down", "Return"});
    ASSERT_TRUE(lists(1));
    EXPECT_TRUE(says(home.filePath("first")));
    press({"Down", "Return"});
    ASSERT_TRUE(lists(0));
    EXPECT_TRUE(says(inner));
    // The folder that was left is marked.
    press({"BackSpace"});
    ASSERT_TRUE(lists(1));
    EXPECT_TRUE(says(inner));
    press({"Tab", "Tab", "space"});
    EXPECT_TRUE(isChosen(inner));
}

TEST_F(FolderDialogTest, aButtonLeadsOutOfFoldersUpToTheTop)
{
    ASSERT_TRUE(open());
    ASSERT_TRUE(isActive());
    auto* const content =
        qobject_cast<QQuickWindow*>(QGuiApplication::focusWindow())->contentItem();
    press({"shift+Tab", "shift+Tab"});
    for (auto left = home.path(); left != ""; left = left.section('/', 0, -2)) {
        EXPECT_TRUE(find(content, "up")->isEnabled());
        press({"space"});
        EXPECT_TRUE(says(left)); // marked in the list
    }
    EXPECT_TRUE(runUntil([&] { return !find(content, "up")->isEnabled(); }));
}

TEST_F(FolderDialogTest, withoutAMarkTheFolderItselfIsChosen)
{
    ASSERT_TRUE(open());
    ASSERT_TRUE(isActive());
    press({"Tab", "Tab", "space"});
    EXPECT_TRUE(isChosen(home.path()));
}

TEST_F(FolderDialogTest, aLetterMarksTheNextFolderThatBeginsWithIt)
{
    ASSERT_TRUE(open());
    ASSERT_TRUE(isActive());
    press({"s"});
    EXPECT_TRUE(says(home.filePath("second")));
    press({"f"});
    EXPECT_TRUE(says(home.filePath("first")));
    press({"End"});
    EXPECT_TRUE(says(home.filePath("second")));
    press({"Home"});
    EXPECT_TRUE(says(home.filePath("first")));
}

TEST_F(FolderDialogTest, hiddenFoldersAreListedWhenAskedFor)
{
    ASSERT_TRUE(open());
    ASSERT_TRUE(isActive());
    press({"ctrl+h"});
    EXPECT_TRUE(lists(3));
    press({"ctrl+h"});
    EXPECT_TRUE(lists(2));
}

TEST_F(FolderDialogTest, aPathIsTyped)
{
    ASSERT_TRUE(open());
    ASSERT_TRUE(isActive());
    press({"ctrl+l", "ctrl+a"});
    type("~/second/");
    press({"Return"});
    EXPECT_TRUE(isChosen(home.filePath("second")));
}

TEST_F(FolderDialogTest, whatIsNoFolderIsSaidAndNotChosen)
{
    for (const QString path : {"~/nowhere", "~/a file", "first", ""}) {
        ASSERT_TRUE(open());
        ASSERT_TRUE(isActive()) << path.toStdString();
        press({"ctrl+l", "ctrl+a", "BackSpace"});
        type(path);
        ASSERT_TRUE(says(path));
        press({"Return"});
        auto* const content =
            qobject_cast<QQuickWindow*>(QGuiApplication::focusWindow())->contentItem();
        EXPECT_TRUE(runUntil([&] { return hasText(content, "There is no such folder."); }))
            << path.toStdString();
        EXPECT_EQ(answers, 0);
        type("x");
        EXPECT_TRUE(runUntil([&] { return !hasText(content, "There is no such folder."); }));
        press({"Escape"});
        ASSERT_TRUE(runUntil([&] { return answers == 1; }));
        EXPECT_EQ(chosen, std::nullopt);
        answers = 0;
    }
}

TEST_F(FolderDialogTest, itIsOneWindowOnTheScreen)
{
    ASSERT_TRUE(open());
    ASSERT_TRUE(isActive());
    const auto windows = QGuiApplication::topLevelWindows();
    EXPECT_EQ(std::ranges::count_if(windows, &QWindow::isVisible), 1);
    const auto* const window = QGuiApplication::focusWindow();
    EXPECT_TRUE(window->screen()->geometry().contains(window->geometry()));
    EXPECT_EQ(list()->window(), window);
}

TEST_F(FolderDialogTest, escapeChoosesNothing)
{
    ASSERT_TRUE(open());
    ASSERT_TRUE(isActive());
    press({"Escape"});
    ASSERT_TRUE(runUntil([&] { return answers > 0; }));
    EXPECT_EQ(chosen, std::nullopt);
    EXPECT_TRUE(runUntil(isGone));
}

TEST_F(FolderDialogTest, closingItsWindowChoosesNothing)
{
    ASSERT_TRUE(open());
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
    ASSERT_TRUE(open());
    ASSERT_TRUE(isActive());
    auto* const window = qobject_cast<QQuickWindow*>(QGuiApplication::focusWindow());
    EXPECT_EQ(window->transientParent(), &behind);
    EXPECT_EQ(window->modality(), Qt::WindowModal);
    EXPECT_TRUE(hasText(window->contentItem(), "Choose"));
}

TEST_F(FolderDialogTest, cancellingItFromOutsideChoosesNothing)
{
    ASSERT_TRUE(open());
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
    ASSERT_TRUE(open());
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
