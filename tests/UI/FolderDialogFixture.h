#pragma once

#include "Platform/RunUntil.h"
#include "Platform/Shared/QtMainLoop.h"
#include "Platform/Shared/ThreadPool.h"
#include "UI/FolderDialog.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTemporaryDir>

#include <algorithm>
#include <string>
#include <utility>

namespace vorlin {

/// Workers on whose disk everything can hang.
class SlowDisk final : public Workers {
public:
    bool hangs = false;

    Executor& executor(WorkPriority priority) override { return pool.executor(priority); }
    void runPatiently(WorkPriority priority, Work slow, Executor& to, Work done) override
    {
        if (!hangs) {
            pool.runPatiently(priority, std::move(slow), to, std::move(done));
        }
    }

private:
    ThreadPool pool{[] {}};
};

/// A person at the keyboard, whose home holds two folders, a file and a hidden folder.
class FolderDialogTest : public testing::Test {
protected:
    FolderDialogTest()
    {
        qputenv("HOME", home.path().toUtf8());
        for (const auto* folder : {"first", "second", ".hidden"}) {
            make(folder);
        }
        QFile(home.filePath("a file")).open(QIODevice::WriteOnly);
    }

    ~FolderDialogTest() override
    {
        dialog.cancel();
        EXPECT_TRUE(runUntil(isGone));
    }

    void make(const QString& folder) const { QDir(home.path()).mkpath(folder); }

    void open(const FolderDialog::Look& look = {})
    {
        dialog.open("A model's folder", "Choose", look, [this](FolderDialog::Chosen answer) {
            ++answers;
            chosen = std::move(answer);
        });
    }

    /// The window that the window manager says is active; 0 for none.
    static WId activeWindow()
    {
        QProcess process;
        process.start("xprop", {"-root", "-notype", "_NET_ACTIVE_WINDOW"});
        EXPECT_TRUE(runUntil([&] { return process.state() == QProcess::NotRunning; }));
        const QString said = process.readAll(); // "… # 0x1400007", and some say more
        return said.section("# ", 1).section(',', 0, 0).trimmed().toULongLong(nullptr, 16);
    }

    static void act(const QStringList& arguments)
    {
        QProcess process;
        process.start("xdotool", arguments);
        EXPECT_TRUE(runUntil([&] { return process.state() == QProcess::NotRunning; }));
    }
    static void press(const QStringList& keys) { act(QStringList("key") + keys); }
    static void type(const QString& text) { act({"type", text}); }
    /// Clicks on an item, at this part of its width.
    static void click(const QQuickItem* item, int times = 1, double part = 0.5)
    {
        const auto at = item->mapToGlobal({item->width() * part, item->height() / 2}).toPoint();
        act({"mousemove", QString::number(at.x()), QString::number(at.y()), "click", "--repeat",
             QString::number(times), "--delay", "50", "1"});
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
    /// An item of the dialog that has the focus; none where none has.
    static QQuickItem* find(const QString& name)
    {
        auto* const window = qobject_cast<QQuickWindow*>(QGuiApplication::focusWindow());
        return window == nullptr ? nullptr : find(window->contentItem(), name);
    }
    static QQuickItem* list() { return find("folders"); }
    /// The line of a folder in the list.
    static QQuickItem* line(const QString& folder)
    {
        const auto lines = list()->property("contentItem").value<QQuickItem*>()->childItems();
        const auto found = std::ranges::find_if(
            lines, [&](auto* each) { return each->property("text") == folder; });
        return found == lines.end() ? nullptr : *found;
    }
    /// Whether the field comes to say this path, and the list marks the folder where it lies there.
    static bool says(const QString& path)
    {
        return runUntil([&] {
            const auto* const field = find("path");
            return field != nullptr && field->property("text") == path;
        });
    }
    /// The folder that is marked; empty for none.
    static QString marked()
    {
        const auto* const item = list()->property("currentItem").value<QQuickItem*>();
        return item == nullptr ? "" : item->property("text").toString();
    }
    static bool hasText(const QQuickItem* item, const QString& text)
    {
        const auto children = item->childItems();
        return (item->isVisible() && item->property("text") == text) ||
               std::ranges::any_of(children, [&](auto* each) { return hasText(each, text); });
    }
    static bool hasText(const QString& text)
    {
        auto* const window = qobject_cast<QQuickWindow*>(QGuiApplication::focusWindow());
        return window != nullptr && hasText(window->contentItem(), text);
    }
    static bool isGone()
    {
        return std::ranges::none_of(QGuiApplication::topLevelWindows(), &QWindow::isVisible);
    }
    /// Whether it comes to stand there with the focus, as the window manager sees it, too, and so
    /// many folders in its list.
    static bool lists(int folders)
    {
        return runUntil([=] {
            const auto active = activeWindow(); // serves the loop: the focus may go meanwhile
            return list() != nullptr && list()->property("count") == folders &&
                   list()->hasActiveFocus() && list()->window()->winId() == active;
        });
    }
    static bool isActive() { return lists(2); }
    bool isChosen(const QString& path)
    {
        return runUntil([&] { return answers > 0; }) &&
               chosen == FolderDialog::Chosen(path.toStdString());
    }
    bool isCancelled()
    {
        return runUntil([&] { return answers > 0; }) && chosen == std::nullopt;
    }

    QTemporaryDir home;
    QtMainLoop loop;
    SlowDisk disk;
    FolderDialog dialog{disk, loop};
    int answers = 0;
    FolderDialog::Chosen chosen;
};

} // namespace vorlin
