#include "UI/FolderDialogFixture.h"

#include "UI/Announcer.h"

#include <QAccessible>

#include <string>
#include <vector>

namespace vorlin {
namespace {

using FolderListTest = FolderDialogTest;

std::vector<std::string> said;

QAccessibleInterface* overhear(const QString& className, QObject* object)
{
    if (className == QLatin1String(Announcement::staticMetaObject.className())) {
        said.push_back(static_cast<Announcement*>(object)->text.toStdString());
    }
    return nullptr;
}

TEST_F(FolderListTest, foldersOfAnyNameAreGoneInto)
{
    const QString odd = "100% of #1 or %41? \u00fcber all";
    make("second/" + odd + "/inner");
    make("second/100% of /not this");
    make("second/100% of /nor this");
    open();
    ASSERT_TRUE(isActive());
    EXPECT_TRUE(says(home.path()));
    press({"End", "Return"});
    ASSERT_TRUE(lists(2));
    EXPECT_TRUE(says(home.filePath("second")));
    press({"Down", "Down", "Right"});
    ASSERT_TRUE(lists(1));
    EXPECT_TRUE(says(home.filePath("second/" + odd)));
    press({"Down"});
    EXPECT_TRUE(says(home.filePath("second/" + odd + "/inner")));
    press({"BackSpace"});
    ASSERT_TRUE(lists(2));
    press({"Tab", "Tab", "space"});
    EXPECT_TRUE(isChosen(home.filePath("second/" + odd)));
}

TEST_F(FolderListTest, eachWayUpMarksTheFolderOneComesFrom)
{
    make("second/inner");
    for (const auto* key : {"BackSpace", "Left", "alt+Up"}) {
        open();
        ASSERT_TRUE(isActive());
        press({"End", "Return"});
        ASSERT_TRUE(lists(1)) << key;
        press({key});
        ASSERT_TRUE(lists(2)) << key;
        EXPECT_TRUE(says(home.filePath("second"))) << key;
        EXPECT_EQ(marked(), "second") << key;
        dialog.cancel();
        ASSERT_TRUE(runUntil(isGone));
    }
}

TEST_F(FolderListTest, theyStandInTheOrderOfTheAlphabet)
{
    make("Zebra");
    make("apple");
    open();
    ASSERT_TRUE(lists(4));
    for (const auto* name : {"apple", "first", "second", "Zebra"}) {
        press({"Down"});
        EXPECT_TRUE(says(home.filePath(name)));
    }
}

TEST_F(FolderListTest, aLetterMarksTheNextFolderThatBeginsWithIt)
{
    make("Secret");
    open();
    ASSERT_TRUE(lists(3));
    for (const auto* name : {"second", "Secret", "second"}) {
        press({"s"});
        EXPECT_TRUE(says(home.filePath(name)));
    }
    press({"f"});
    EXPECT_TRUE(says(home.filePath("first")));
    press({"x"});
    EXPECT_TRUE(says(home.filePath("first")));
}

TEST_F(FolderListTest, pagesOfFoldersAreTurned)
{
    for (int number = 10; number < 50; ++number) {
        make(QString::number(number));
    }
    open();
    ASSERT_TRUE(lists(42));
    press({"Home"});
    EXPECT_TRUE(says(home.filePath("10")));
    press({"Next"});
    const int page = list()->property("page").toInt();
    EXPECT_GT(page, 5);
    EXPECT_TRUE(says(home.filePath(QString::number(10 + page))));
    press({"Prior"});
    EXPECT_TRUE(says(home.filePath("10")));
    press({"End"});
    EXPECT_TRUE(says(home.filePath("second")));
    EXPECT_TRUE(runUntil([] {
        const auto* const last = line("second");
        return last != nullptr && list()->contains(last->mapToItem(list(), {1, 1}));
    })) << "in sight";
}

TEST_F(FolderListTest, hiddenFoldersAreListedWhenAskedForAndTheMarkStays)
{
    open();
    ASSERT_TRUE(isActive());
    press({"Down", "ctrl+h"});
    ASSERT_TRUE(lists(3));
    EXPECT_TRUE(says(home.filePath("first")));
    EXPECT_EQ(marked(), "first");
    press({"ctrl+h"});
    ASSERT_TRUE(lists(2));
    EXPECT_EQ(marked(), "first");
}

TEST_F(FolderListTest, whatOthersDoThereMeanwhileMovesNoMark)
{
    open();
    ASSERT_TRUE(isActive());
    press({"End"});
    ASSERT_TRUE(says(home.filePath("second")));
    make("aaa");
    press({"ctrl+h"});
    ASSERT_TRUE(lists(4));
    EXPECT_EQ(marked(), "second");
    QDir(home.path()).rmdir("second");
    press({"ctrl+h"});
    ASSERT_TRUE(lists(2));
    EXPECT_EQ(marked(), "");
    EXPECT_TRUE(says(home.path()));
}

TEST_F(FolderListTest, whatIsTypedUnmarksAndTheSameFolderCanBeMarkedAnew)
{
    open();
    ASSERT_TRUE(isActive());
    click(line("second"));
    ASSERT_TRUE(says(home.filePath("second")));
    press({"ctrl+l"});
    type("x");
    ASSERT_TRUE(runUntil([] { return marked().isEmpty(); }));
    click(line("second"), 1, 0.25); // elsewhere, or it would be the second of a double click
    EXPECT_TRUE(says(home.filePath("second")));
    EXPECT_TRUE(runUntil([] { return list()->hasActiveFocus(); }));
}

TEST_F(FolderListTest, aPointerMarksGoesInCancelsAndChooses)
{
    make("second/inner");
    open();
    ASSERT_TRUE(isActive());
    click(line("second"), 2);
    ASSERT_TRUE(lists(1));
    EXPECT_TRUE(says(home.filePath("second")));
    click(find("cancel"));
    EXPECT_TRUE(isCancelled());
    answers = 0;
    open();
    ASSERT_TRUE(isActive());
    click(find("choose"));
    EXPECT_TRUE(isChosen(home.path()));
}

TEST_F(FolderListTest, withoutFoldersItSaysWhy)
{
    open();
    ASSERT_TRUE(isActive());
    press({"Down", "Return"});
    ASSERT_TRUE(lists(0));
    EXPECT_TRUE(runUntil([] { return hasText("No folders in here"); }));
    dialog.cancel();
    home.remove();
    open();
    EXPECT_TRUE(runUntil([] { return hasText("This folder cannot be read."); }));
}

TEST_F(FolderListTest, aDiskThatDoesNotAnswerHoldsUpNothing)
{
    disk.hangs = true;
    open();
    ASSERT_TRUE(lists(0));
    press({"Return", "BackSpace", "ctrl+h"});
    EXPECT_TRUE(says(home.path()));
    press({"Tab", "Tab", "space"});
    press({"Escape"});
    EXPECT_TRUE(isCancelled());
    disk.hangs = false;
    open();
    EXPECT_TRUE(isActive());
}

TEST_F(FolderListTest, whatIsMarkedAndWhatIsWrongIsSaid)
{
    said.clear();
    open();
    ASSERT_TRUE(isActive());
    QAccessible::installFactory(overhear);
    press({"Down", "Down", "Return"});
    ASSERT_TRUE(lists(0));
    press({"BackSpace", "ctrl+l"});
    type("x");
    press({"Return"});
    EXPECT_TRUE(runUntil([] { return hasText("There is no such folder."); }));
    EXPECT_EQ(said, (std::vector<std::string>{"first", "second", "There is no such folder."}));
    QAccessible::removeFactory(overhear);
}

TEST_F(FolderListTest, itLooksLikeTheDesktop)
{
    const QColor accent("#801040");
    act({"mousemove", "0", "0"}); // over nothing
    open({.dark = true, .accent = accent});
    ASSERT_TRUE(isActive());
    auto* const window = qobject_cast<QQuickWindow*>(QGuiApplication::focusWindow());
    EXPECT_LT(window->grabWindow().pixelColor(2, 2).lightness(), 60);
    const auto button = find("choose")->mapToScene({8, 5}).toPoint();
    EXPECT_EQ(window->grabWindow().pixelColor(button).rgb(), accent.rgb());
}

} // namespace
} // namespace vorlin
