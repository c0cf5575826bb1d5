#include "Platform/Linux/Workspace/LinuxWorkspace.h"

#include "Platform/RunUntil.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QProcess>
#include <QRasterWindow>

namespace vorlin {
namespace {

class BringToFrontTest : public testing::Test {
protected:
    static QString output(const QStringList& arguments)
    {
        QProcess process;
        process.start("xdotool", arguments);
        EXPECT_TRUE(runUntil([&] { return process.state() == QProcess::NotRunning; }));
        return QString(process.readAllStandardOutput()).trimmed();
    }
    static QString workspaceOf(const QWindow& window)
    {
        return output({"get_desktop_for_window", QString::number(window.winId())});
    }
    static bool isActive(const QWindow& window)
    {
        return output({"getactivewindow"}) == QString::number(window.winId());
    }

    /// Shows a window and gives it the focus: a window manager that has just started takes over
    /// windows that are there already, without giving it to them.
    static bool becomesActive(QWindow& window)
    {
        window.show();
        return runUntil([&] {
            if (!isActive(window)) {
                window.requestActivate();
                return false;
            }
            return true;
        });
    }

    LinuxWorkspace workspace{processEnvironment()};
    QRasterWindow settings;
    QRasterWindow other;
};

TEST_F(BringToFrontTest, aWindowBehindAnotherGetsTheFocus)
{
    ASSERT_TRUE(becomesActive(settings));
    ASSERT_TRUE(becomesActive(other));
    workspace.bringToFront(settings.winId());
    EXPECT_TRUE(runUntil([&] { return isActive(settings); }));
}

TEST_F(BringToFrontTest, aWindowElsewhereComesToTheWorkspaceThatThePersonSees)
{
    ASSERT_TRUE(becomesActive(settings));
    const auto before = output({"get_desktop"});
    const auto next = before == "0" ? "1" : "0";
    output({"set_desktop", next});
    ASSERT_TRUE(becomesActive(other));
    ASSERT_EQ(output({"get_desktop"}), next);
    workspace.bringToFront(settings.winId());
    EXPECT_TRUE(runUntil([&] { return isActive(settings); }));
    EXPECT_EQ(workspaceOf(settings), next);
    EXPECT_EQ(output({"get_desktop"}), next) << "the window comes, not the person";
}

TEST_F(BringToFrontTest, anUnknownWindowIsNoFault)
{
    workspace.bringToFront(0);
    workspace.bringToFront(0x7fffffff);
    ASSERT_TRUE(becomesActive(settings));
}

} // namespace
} // namespace vorlin
