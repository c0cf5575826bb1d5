#include "Platform/macOS/MacStatusItem.h"

#include "NSStatusItem.h"
#include "Recorder.h"
#include "Runtime.h"
#include "simulation/SimulatedLoop.h"

#include <gtest/gtest.h>

namespace vorlin {
namespace {

using standins::taken;
using Calls = std::vector<std::string>;
using Kind = MenuItem::Kind;

StatusContent content(StatusSymbol symbol = StatusSymbol::idle)
{
    return {symbol,
            "Vorlin",
            {{Kind::text, "", "Hold Right ⌥ Option to dictate", {}},
             {Kind::separator, "", "", {}},
             {Kind::action, "settings", "Settings…", ','},
             {Kind::action, "quit", "Quit Vorlin", 'q'}}};
}

class MacStatusItemTest : public testing::Test {
protected:
    MacStatusItemTest()
    {
        item->setHandlers(
            {[this](const std::string& id) { chosen.push_back(id); }, [this] { ++activations; }});
    }

    static NSMenu* menu() { return standins::statusItems().at(0).menu; }
    static NSMenuItem* entry(std::size_t index) { return standins::itemsOf(menu()).at(index); }

    SimulatedLoop loop;
    std::unique_ptr<MacStatusItem> item = std::make_unique<MacStatusItem>(loop);
    Calls chosen;
    int activations = 0;
};

const Calls entries = {
    "-[NSMenu removeAllItems]",       "-[NSMenu addItem:] Hold Right ⌥ Option to dictate",
    "-[NSMenu addItem:] separator",   "-[NSMenu addItem:] Settings…",
    "-[NSMenu addItem:] Quit Vorlin",
};

Calls shown(const std::string& symbol)
{
    Calls calls{
        "+[NSImage imageWithSystemSymbolName:accessibilityDescription:] " + symbol + " Vorlin",
        "-[NSStatusBarButton setImage:] NSImage", "-[NSStatusBarButton setToolTip:] Vorlin"};
    calls.insert(calls.end(), entries.begin(), entries.end());
    return calls;
}

TEST_F(MacStatusItemTest, appearsWithItsFirstContentAndTheNextChangesIt)
{
    EXPECT_TRUE(standins::statusItems().empty());
    EXPECT_FALSE(item->isShown().get());
    item->show(content());
    Calls first{"-[NSMenu setAutoenablesItems:] NO", "-[NSStatusBar statusItemWithLength:] -1",
                "-[NSStatusItem setMenu:] NSMenu"};
    const Calls idle = shown("waveform");
    first.insert(first.end(), idle.begin(), idle.end());
    EXPECT_EQ(taken(), first);
    EXPECT_TRUE(item->isShown().get());
    item->show(content(StatusSymbol::active));
    EXPECT_EQ(taken(), shown("waveform.circle.fill"));
    EXPECT_EQ(standins::statusItems().size(), 1U);
    EXPECT_EQ(standins::itemsOf(menu()).size(), 4U);
}

TEST_F(MacStatusItemTest, actionsHaveTheirShortcutsAndCanBeChosenAndTextsCannot)
{
    item->show(content());
    EXPECT_FALSE(entry(0).enabled);
    EXPECT_EQ(entry(0).action, nullptr);
    EXPECT_STREQ(entry(0).keyEquivalent.UTF8String, "");
    EXPECT_TRUE(entry(1).separatorItem);
    EXPECT_TRUE(entry(2).enabled);
    EXPECT_STREQ(entry(2).keyEquivalent.UTF8String, ",");
    EXPECT_STREQ(entry(3).keyEquivalent.UTF8String, "q");
}

TEST_F(MacStatusItemTest, aChoiceIsToldFromTheLoopByItsName)
{
    item->show(content());
    standins::choose(entry(3));
    EXPECT_EQ(chosen, Calls());
    loop.runReady();
    EXPECT_EQ(chosen, (Calls{"quit"}));
    standins::choose(entry(2));
    loop.runReady();
    EXPECT_EQ(chosen, (Calls{"quit", "settings"}));
    standins::choose(entry(0));
    loop.runReady();
    EXPECT_EQ(chosen.size(), 2U);
    EXPECT_EQ(activations, 0);
}

TEST_F(MacStatusItemTest, whatIsChosenMayChangeTheMenuAndTheHandlers)
{
    item->show(content());
    auto token = std::make_shared<int>();
    const std::weak_ptr<int> itsOwn = token;
    item->setHandlers({[test = this, &itsOwn, token = std::move(token)](const std::string& id) {
                           auto* const self = test;
                           const auto& seen = itsOwn;
                           self->item->show({StatusSymbol::idle, "Vorlin", {}});
                           self->item->setHandlers({});
                           EXPECT_FALSE(seen.expired()) << "the handler went while it ran";
                           self->chosen.push_back(id);
                       },
                       {}});
    NSMenuItem* quit = entry(3);
    standins::choose(quit);
    loop.runReady();
    EXPECT_EQ(chosen, (Calls{"quit"}));
    standins::choose(quit);
    loop.runReady();
    EXPECT_EQ(chosen.size(), 1U);
}

TEST_F(MacStatusItemTest, onceItIsGoneItsPlaceIsFreeAndNoChoiceIsTold)
{
    item->show(content());
    NSMenuItem* quit = entry(3);
    NSMenuItem* settings = entry(2);
    id target = quit.target;
    standins::choose(quit);
    taken();
    item.reset();
    EXPECT_EQ(taken(), (Calls{"-[NSStatusBar removeStatusItem:] NSStatusItem"}));
    EXPECT_TRUE(standins::statusItems().empty());
    standins::choose(settings);
    loop.runReady();
    EXPECT_EQ(chosen, Calls());
    EXPECT_NE(target, nil);
}

TEST(MacStatusItemEndTest, leavesNothing)
{
    SimulatedLoop loop;
    (void)NSStatusBar.systemStatusBar; // stays for good
    const long before = standins::alive();
    @autoreleasepool {
        MacStatusItem item(loop);
        item.show(content());
        item.show(content(StatusSymbol::active));
    }
    EXPECT_EQ(standins::alive(), before);
}

} // namespace
} // namespace vorlin
