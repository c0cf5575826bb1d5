#include "Platform/Linux/Tray/TestPanel.h"
#include "Platform/Linux/Tray/TrayFixture.h"
#include "Platform/Linux/Tray/TraySymbol.h"

#include <gmock/gmock.h>

#include <QGuiApplication>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <QWindow>

#include <memory>

namespace vorlin {
namespace {

using testing::ElementsAre;

/// Debian's "trayer", a tray of the X11 kind, and a person with a mouse.
class X11TrayTest : public TrayFixture {
protected:
    static std::unique_ptr<QProcess> startTray()
    {
        auto tray = std::make_unique<QProcess>();
        tray->start("trayer",
                    {"--edge", "top", "--align", "left", "--widthtype", "request", "--height", "32",
                     "--expand", "false", "--tint", "0xe0e0e0", "--transparent", "false"});
        EXPECT_TRUE(tray->waitForStarted());
        return tray;
    }
    static void end(std::unique_ptr<QProcess>& tray)
    {
        tray->kill();
        tray->waitForFinished(-1);
        tray.reset();
    }

    static QString output(const QString& program, const QStringList& arguments)
    {
        QProcess process;
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(program, arguments);
        EXPECT_TRUE(runUntil([&] { return process.state() == QProcess::NotRunning; }));
        return process.readAll();
    }

    /// Where our window in the tray is on the screen; empty when it is in none.
    static QRect place()
    {
        const auto text =
            output("sh", {"-c", "xdotool search --class vorlin getwindowgeometry --shell || true"});
        const auto number = [&](const QString& name) {
            return text.section(name + "=", 1, 1).section('\n', 0, 0).toInt();
        };
        return {number("X"), number("Y"), number("WIDTH"), number("HEIGHT")};
    }

    static void clickAt(const QPoint& where, int button)
    {
        output("xdotool", {"mousemove", QString::number(where.x()), QString::number(where.y()),
                           "click", QString::number(button)});
    }

    /// Clicks on our window, which the tray may be moving to another place meanwhile.
    static void clickIt(int button)
    {
        for (auto at = QRect(); at != place();) {
            at = place();
            clickAt(at.center(), button);
        }
    }

    static QImage picture()
    {
        const QTemporaryDir folder;
        const auto file = folder.filePath("screen.png");
        output("import", {"-window", "root", file});
        return QImage(file);
    }

    static QWindow* menu()
    {
        for (auto* window : QGuiApplication::topLevelWindows()) {
            if (window->isVisible() && window->title() == "Vorlin") {
                return window;
            }
        }
        return nullptr;
    }

    /// Whether the item, once shown, gets its place.
    bool standsInTheTray()
    {
        item.show(content());
        return comesToBeShown() && runUntil([] { return place().width() > 1; });
    }

    /// Whether a click of the right button brings up the menu.
    static bool menuOpens()
    {
        clickIt(3);
        return runUntil([] { return menu() != nullptr && menu()->isExposed(); });
    }
};

TEST_F(X11TrayTest, theTrayShowsTheSymbolOnItsOwnBackgroundAndItsChange)
{
    auto tray = startTray();
    item.show(content());
    ASSERT_TRUE(comesToBeShown());
    const auto symbolSeen = [&](StatusSymbol symbol) {
        const auto where = place();
        const auto screen = picture();
        const auto side = std::min(where.width(), where.height());
        if (side < 8) {
            return false;
        }
        const QPoint inside((where.width() - side) / 2, (where.height() - side) / 2);
        const auto middle = where.center();
        const auto panel = screen.pixelColor(where.left() - 1, where.top());
        return screen.pixelColor(where.topLeft()) == panel &&
               screen.pixelColor(middle) ==
                   traySymbol(symbol, side).pixelColor(middle - where.topLeft() - inside);
    };
    EXPECT_TRUE(runUntil([&] { return symbolSeen(StatusSymbol::idle); }));
    item.show(content(StatusSymbol::active));
    EXPECT_TRUE(runUntil([&] { return symbolSeen(StatusSymbol::active); }));
    end(tray);
}

TEST_F(X11TrayTest, aTrayThatComesLaterOrAgainGetsTheIcon)
{
    item.show(content());
    EXPECT_FALSE(item.isShown().get());
    auto tray = startTray();
    ASSERT_TRUE(comesToBeShown());
    end(tray);
    ASSERT_TRUE(comesToBeShown(false));
    tray = startTray();
    ASSERT_TRUE(comesToBeShown());
    end(tray);
}

TEST_F(X11TrayTest, aLeftClickActivates)
{
    auto tray = startTray();
    ASSERT_TRUE(standsInTheTray());
    clickIt(1);
    EXPECT_TRUE(runUntil([&] { return activations == 1; }));
    EXPECT_EQ(menu(), nullptr);
    end(tray);
}

TEST_F(X11TrayTest, theMenuIsOperatedByKeyboard)
{
    auto tray = startTray();
    ASSERT_TRUE(standsInTheTray());
    ASSERT_TRUE(menuOpens());
    output("xdotool", {"key", "Down", "Down", "Up", "Return"});
    ASSERT_TRUE(runUntil([&] { return !chosen.empty(); }));
    EXPECT_THAT(chosen, ElementsAre("settings"));
    EXPECT_EQ(menu(), nullptr);
    ASSERT_TRUE(menuOpens());
    output("xdotool", {"key", "Escape"});
    EXPECT_TRUE(runUntil([&] { return menu() == nullptr; }));
    EXPECT_THAT(chosen, ElementsAre("settings"));
    end(tray);
}

TEST_F(X11TrayTest, theMenuIsOperatedByPointerAndClosedByAClickElsewhere)
{
    auto tray = startTray();
    ASSERT_TRUE(standsInTheTray());
    ASSERT_TRUE(menuOpens());
    const auto frame = menu()->geometry();
    clickAt({frame.center().x(), frame.top() + 12}, 1); // a line to read
    clickAt({frame.center().x(), frame.bottom() - 12}, 1);
    ASSERT_TRUE(runUntil([&] { return !chosen.empty(); }));
    EXPECT_THAT(chosen, ElementsAre("quit"));
    ASSERT_TRUE(menuOpens());
    clickAt({1000, 600}, 1);
    EXPECT_TRUE(runUntil([&] { return menu() == nullptr; }));
    EXPECT_THAT(chosen, ElementsAre("quit"));
    end(tray);
}

TEST_F(X11TrayTest, aPanelOnTheBusTakesItOutOfTheTrayAndGivesItBack)
{
    auto tray = startTray();
    ASSERT_TRUE(standsInTheTray());
    {
        const TestPanel panel;
        ASSERT_TRUE(runUntil([&] { return !panel.items.empty(); }));
        EXPECT_TRUE(runUntil([&] { return place().width() <= 1; }));
        EXPECT_TRUE(item.isShown().get());
    }
    EXPECT_TRUE(runUntil([&] { return place().width() > 1; }));
    EXPECT_TRUE(comesToBeShown());
    end(tray);
}

TEST_F(X11TrayTest, aDesktopWithoutATrayIsNoFault)
{
    item.show(content());
    item.show(content(StatusSymbol::active));
    QCoreApplication::processEvents();
    EXPECT_FALSE(item.isShown().get());
}

} // namespace
} // namespace vorlin
