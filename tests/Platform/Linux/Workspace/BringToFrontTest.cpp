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

    LinuxWorkspace workspace{processEnvironment()};
    QRasterWindow settings;
    QRasterWindow other;
};

TEST_F(BringToFrontTest, aWindowBehindAnotherGetsTheFocus)
{
    settings.show();
    ASSERT_TRUE(runUntil([&] { return isActive(settings); }));
    other.show();
    ASSERT_TRUE(runUntil([&] { return isActive(other); }));
    workspace.bringToFront(settings.winId());
    EXPECT_TRUE(runUntil([&] { return isActive(settings); }));
}

TEST_F(BringToFrontTest, aWindowElsewhereComesToTheWorkspaceThatThePersonSees)
{
    settings.show();
    ASSERT_TRUE(runUntil([&] { return isActive(settings); }));
    const auto before = output({"get_desktop"});
    const auto next = before == "0" ? "1" : "0";
    output({"set_desktop", next});
    other.show();
    ASSERT_TRUE(runUntil([&] { return isActive(other); }));
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
    settings.show();
    ASSERT_TRUE(runUntil([&] { return isActive(settings); }));
}

} // namespace
} // namespace vorlin
