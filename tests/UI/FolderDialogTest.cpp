#include "UI/FolderDialog.h"

#include "Platform/RunUntil.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QGuiApplication>
#include <QProcess>
#include <QQuickItem>
#include <QQuickWindow>
#include <QRasterWindow>
#include <QTemporaryDir>

#include <algorithm>

namespace vorlin {
namespace {

/// A person at the keyboard, in a folder that holds two others.
class FolderDialogTest : public testing::Test {
protected:
    FolderDialogTest()
    {
        QDir::setCurrent(folder.path());
        QDir().mkdir("first");
        QDir().mkdir("second");
    }

    /// Opens the dialog; false where it cannot be shown.
    bool open()
    {
        return dialog.open("A model's folder", "Choose", [this](FolderDialog::Chosen answer) {
            ++answers;
            chosen = std::move(answer);
        });
    }

    static void run(const QString& program, const QStringList& arguments)
    {
        QProcess process;
        process.start(program, arguments);
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
    /// Whether it comes to stand there with the focus and both folders in its list.
    static bool isActive()
    {
        return runUntil([] {
            auto* const window = qobject_cast<QQuickWindow*>(QGuiApplication::focusWindow());
            auto* const list =
                window == nullptr ? nullptr : find(window->contentItem(), "folderDialogListView");
            return list != nullptr && list->property("count") == 2 && list->hasActiveFocus();
        });
    }

    QTemporaryDir folder;
    FolderDialog dialog;
    int answers = 0;
    FolderDialog::Chosen chosen;
};

TEST_F(FolderDialogTest, aFolderIsChosenByKeyboard)
{
    ASSERT_TRUE(open());
    ASSERT_TRUE(isActive());
    EXPECT_EQ(QGuiApplication::focusWindow()->title(), "A model's folder");
    // Down its list, over its path to its buttons.
    run("xdotool", {"key", "Down", "Tab", "Tab", "space"});
    ASSERT_TRUE(runUntil([&] { return answers > 0; }));
    EXPECT_EQ(chosen, FolderDialog::Chosen(folder.filePath("second").toStdString()));
    EXPECT_TRUE(runUntil(isGone));
    EXPECT_EQ(answers, 1);
}

TEST_F(FolderDialogTest, escapeChoosesNothing)
{
    ASSERT_TRUE(open());
    ASSERT_TRUE(isActive());
    run("xdotool", {"key", "Escape"});
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
    dialog.open("Another", "Choose", [&](const FolderDialog::Chosen&) { ++second; });
    EXPECT_EQ(answers, 1);
    EXPECT_EQ(chosen, std::nullopt);
    ASSERT_TRUE(runUntil([] {
        const auto* window = QGuiApplication::focusWindow();
        return window != nullptr && window->title() == "Another";
    }));
    run("xdotool", {"key", "Escape"});
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
