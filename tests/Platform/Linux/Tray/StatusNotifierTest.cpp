#include "Platform/Linux/Tray/TestPanel.h"
#include "Platform/Linux/Tray/TrayFixture.h"

#include <gmock/gmock.h>

#include <set>

namespace vorlin {
namespace {

using testing::ElementsAre;

class StatusNotifierTest : public TrayFixture {};

QStringList labels(TestPanel& panel)
{
    QStringList result;
    for (const auto& each : panel.menu().children) {
        const auto child = qdbus_cast<MenuLayout>(each.variant());
        result.push_back(child.properties.contains("type")
                             ? child.properties.value("type").toString()
                             : child.properties.value("label").toString());
    }
    return result;
}

TEST_F(StatusNotifierTest, aPanelReadsTheItemAndItsMenu)
{
    TestPanel panel;
    item.show(content());
    ASSERT_TRUE(comesToBeShown());
    ASSERT_EQ(panel.items.size(), 1);
    EXPECT_EQ(panel.property("Category"), "ApplicationStatus");
    EXPECT_EQ(panel.property("Status"), "Active");
    EXPECT_EQ(panel.property("Title"), "Vorlin");
    EXPECT_EQ(qdbus_cast<TrayToolTip>(panel.property("ToolTip")).title, "Vorlin");
    EXPECT_EQ(panel.property("Menu").value<QDBusObjectPath>().path(), "/MenuBar");
    EXPECT_EQ(labels(panel), QStringList({"Hold Right Alt to dictate", "separator", "Settings…",
                                          "separator", "Quit Vorlin"}));
    const auto line = panel.entry("Hold Right Alt to dictate");
    const auto settings = panel.entry("Settings…");
    ASSERT_TRUE(line && settings);
    EXPECT_EQ(line->properties.value("enabled"), false);
    EXPECT_EQ(settings->properties.value("enabled"), true);
    EXPECT_EQ(qdbus_cast<MenuShortcuts>(settings->properties.value("shortcut")),
              MenuShortcuts({{"Control", "comma"}}));
}

TEST_F(StatusNotifierTest, thePixelsAreInNetworkOrderAndInSeveralSizes)
{
    TestPanel panel;
    item.show(content());
    ASSERT_TRUE(comesToBeShown());
    std::set<int> sizes;
    for (const auto& each : panel.pixmaps()) {
        EXPECT_EQ(each.width, each.height);
        ASSERT_EQ(each.pixels.size(), each.width * each.height * 4);
        sizes.insert(each.width);
        EXPECT_EQ(each.pixels.at(0), 0) << "a corner is transparent";
        const auto middle = (each.height / 2 * each.width + each.width / 2) * 4;
        EXPECT_EQ(static_cast<unsigned char>(each.pixels.at(middle)), 255) << "alpha comes first";
    }
    EXPECT_TRUE(sizes.contains(16) && sizes.contains(22) && sizes.contains(48));
}

TEST_F(StatusNotifierTest, clicksAreTold)
{
    TestPanel panel;
    item.show(content());
    ASSERT_TRUE(comesToBeShown());
    const auto quit = panel.entry("Quit Vorlin");
    const auto line = panel.entry("Hold Right Alt to dictate");
    ASSERT_TRUE(quit && line);
    panel.click(line->id);
    panel.click(4711);
    panel.click(quit->id);
    EXPECT_TRUE(runUntil([&] { return !chosen.empty(); }));
    panel.activate();
    EXPECT_TRUE(runUntil([&] { return activations > 0; }));
    EXPECT_THAT(chosen, ElementsAre("quit"));
    EXPECT_EQ(activations, 1);
}

TEST_F(StatusNotifierTest, theSymbolChangesAtOnce)
{
    TestPanel panel;
    item.show(content());
    ASSERT_TRUE(comesToBeShown());
    const auto idle = panel.pixmaps();
    item.show(content(StatusSymbol::active));
    ASSERT_TRUE(runUntil([&] { return panel.newIcons > 0; }));
    const auto active = panel.pixmaps();
    ASSERT_EQ(active.size(), idle.size());
    EXPECT_NE(active.at(0).pixels, idle.at(0).pixels);
    item.show(content(StatusSymbol::active));
    auto retitled = content(StatusSymbol::active);
    retitled.menu.clear();
    item.show(retitled);
    ASSERT_TRUE(runUntil([&] { return !panel.layouts.empty(); }));
    EXPECT_EQ(panel.newIcons, 1) << "only what changed";
}

TEST_F(StatusNotifierTest, aChangedMenuIsToldAndALateClickStillHitsWhatItMeant)
{
    TestPanel panel;
    item.show(content());
    ASSERT_TRUE(comesToBeShown());
    const auto quit = panel.entry("Quit Vorlin");
    ASSERT_TRUE(quit);
    auto next = content();
    next.menu.insert(next.menu.begin(), {MenuItem::Kind::action, "setup", "Finish_setup…", {}});
    item.show(next);
    ASSERT_TRUE(runUntil([&] { return !panel.layouts.empty(); }));
    EXPECT_TRUE(panel.entry("Finish__setup…")) << "an underscore would mark a mnemonic";
    EXPECT_EQ(panel.revision, panel.layouts.back());
    panel.click(quit->id);
    ASSERT_TRUE(runUntil([&] { return !chosen.empty(); }));
    EXPECT_THAT(chosen, ElementsAre("quit"));
}

TEST_F(StatusNotifierTest, aPanelThatComesLaterGetsTheItem)
{
    item.show(content());
    TestPanel panel;
    ASSERT_TRUE(comesToBeShown());
    EXPECT_EQ(panel.items.size(), 1);
    EXPECT_EQ(labels(panel).size(), 5);
}

TEST_F(StatusNotifierTest, aPanelThatGoesAndComesAgainGetsItAgain)
{
    item.show(content());
    {
        const TestPanel panel;
        ASSERT_TRUE(comesToBeShown());
    }
    ASSERT_TRUE(comesToBeShown(false));
    const TestPanel panel;
    ASSERT_TRUE(comesToBeShown());
    EXPECT_EQ(panel.items.size(), 1);
}

TEST_F(StatusNotifierTest, aPanelThatRefusesAtFirstIsAskedOnceMore)
{
    TestPanel panel;
    panel.refusals = 1;
    item.show(content());
    ASSERT_TRUE(comesToBeShown());
    EXPECT_EQ(panel.refusals, 0);
    EXPECT_EQ(panel.items.size(), 1);
}

TEST_F(StatusNotifierTest, aListWithoutAPanelShowsNothing)
{
    TestPanel panel(false);
    item.show(content());
    ASSERT_TRUE(runUntil([&] { return !panel.items.empty(); }));
    EXPECT_FALSE(item.isShown().get());
    panel.setHost(true);
    EXPECT_TRUE(comesToBeShown());
    panel.setHost(false);
    EXPECT_TRUE(comesToBeShown(false));
}

TEST_F(StatusNotifierTest, nothingStandsInAPanelBeforeItIsShown)
{
    TestPanel panel;
    EXPECT_FALSE(item.isShown().get());
    item.show(content());
    ASSERT_TRUE(comesToBeShown());
    EXPECT_EQ(panel.items.size(), 1);
}

} // namespace
} // namespace vorlin
