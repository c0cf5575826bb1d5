#include "Platform/macOS/MacWorkspace.h"

#include "NSApplication.h"
#include "NSOpenPanel.h"
#include "NSWorkspace.h"
#include "Recorder.h"
#include "Runtime.h"
#include "simulation/SimulatedLoop.h"

#include <gtest/gtest.h>

namespace vorlin {
namespace {

using standins::taken;
using Calls = std::vector<std::string>;
using Folder = std::optional<std::filesystem::path>;

const std::string opens = "-[NSWorkspace openURL:] ";

class MacWorkspaceTest : public testing::Test {
protected:
    MacWorkspaceTest()
    {
        standins::workspace() = {};
        standins::openPanel() = {NSModalResponseOK, @"/Volumes/Disk/Exports", [] {}};
        standins::program() = {};
    }
    ~MacWorkspaceTest() override
    {
        standins::workspace() = {};
        standins::openPanel() = {};
        standins::program() = {};
    }

    static std::string failure(Completion<Done> wish)
    {
        EXPECT_TRUE(wish.await_ready());
        try {
            wish.await_resume();
            return "";
        } catch (const std::runtime_error& error) {
            return error.what();
        }
    }

    static NSWindow* window(NSString* identifier)
    {
        NSWindow* made = [[NSWindow alloc] initWithContentRect:NSZeroRect
                                                     styleMask:NSWindowStyleMaskTitled
                                                       backing:NSBackingStoreBuffered
                                                         defer:NO];
        made.identifier = identifier;
        made.collectionBehavior = NSWindowCollectionBehaviorManaged;
        return made;
    }

    SimulatedLoop loop;
    MacWorkspace workspace{loop};
};

TEST_F(MacWorkspaceTest, foldersLinksAndPagesOfTheSettingsAreOpenedByTheirAddress)
{
    EXPECT_EQ(failure(workspace.open("/Volumes/Disk/Models é")), "");
    EXPECT_EQ(failure(workspace.openLink("https://example.org/a")), "");
    EXPECT_EQ(failure(workspace.openPanel(SystemPanel::microphone)), "");
    EXPECT_EQ(failure(workspace.openPanel(SystemPanel::accessibility)), "");
    const std::string page =
        opens + "x-apple.systempreferences:com.apple.preference.security?Privacy_";
    EXPECT_EQ(taken(),
              (Calls{opens + "file:///Volumes/Disk/Models é", opens + "https://example.org/a",
                     page + "Microphone", page + "Accessibility"}));
    EXPECT_TRUE(workspace.hasPanel(SystemPanel::microphone));
    EXPECT_TRUE(workspace.hasPanel(SystemPanel::accessibility));
}

TEST_F(MacWorkspaceTest, whatTheSystemDoesNotOpenFailsWithOneLine)
{
    standins::workspace().opensAddresses = false;
    EXPECT_EQ(failure(workspace.open("/Volumes/Disk")), "Nothing here opens it.");
    EXPECT_EQ(failure(workspace.openLink("https://example.org/a")), "Nothing here opens it.");
    EXPECT_EQ(failure(workspace.openPanel(SystemPanel::microphone)), "Nothing here opens it.");
}

TEST_F(MacWorkspaceTest, whatIsNoAddressIsNotOpened)
{
    EXPECT_EQ(failure(workspace.openLink("not an address")), "Nothing here opens it.");
    EXPECT_EQ(taken(), Calls());
}

TEST_F(MacWorkspaceTest, anItemIsRevealedSelectedInTheFileViewer)
{
    EXPECT_EQ(failure(workspace.reveal("/Volumes/Disk/Models/one")), "");
    EXPECT_EQ(taken(), (Calls{"-[NSWorkspace activateFileViewerSelectingURLs:] "
                              "(file:///Volumes/Disk/Models/one)"}));
}

TEST_F(MacWorkspaceTest, whatIsNoPathIsNotTakenForTheFolderOfTheProgram)
{
    for (const std::string path : {"", "/\xff"}) {
        EXPECT_EQ(failure(workspace.open(path)), "Nothing here opens it.");
        EXPECT_EQ(failure(workspace.reveal(path)), "Nothing here shows it.");
    }
    EXPECT_EQ(taken(), Calls());
}

TEST_F(MacWorkspaceTest, thePanelChoosesFoldersOnlyAndRunsFromTheLoop)
{
    const auto chosen = workspace.chooseFolder("Folder on this Mac", "Choose");
    EXPECT_EQ(taken(),
              (Calls{"+[NSOpenPanel openPanel]", "-[NSOpenPanel setMessage:] Folder on this Mac",
                     "-[NSOpenPanel setPrompt:] Choose"}));
    EXPECT_FALSE(chosen.await_ready());
    loop.runReady();
    EXPECT_EQ(taken(), (Calls{"-[NSOpenPanel setCanChooseDirectories:] YES",
                              "-[NSOpenPanel setCanChooseFiles:] NO", "-[NSOpenPanel runModal]"}));
    ASSERT_TRUE(chosen.await_ready());
    EXPECT_EQ(chosen.await_resume(), Folder("/Volumes/Disk/Exports"));
    workspace.cancelChoice();
    EXPECT_EQ(taken(), Calls()) << "no panel is open any more";
}

TEST_F(MacWorkspaceTest, aPanelThatThePersonCancelsChoosesNothing)
{
    standins::openPanel().answer = 0;
    const auto chosen = workspace.chooseFolder("Folder", "Choose");
    loop.runReady();
    ASSERT_TRUE(chosen.await_ready());
    EXPECT_EQ(chosen.await_resume(), std::nullopt);
}

TEST_F(MacWorkspaceTest, aPanelThatIsAboutToOpenNeverDoesOnceItIsCancelled)
{
    const auto chosen = workspace.chooseFolder("Folder", "Choose");
    taken();
    workspace.cancelChoice();
    EXPECT_EQ(taken(), (Calls{"-[NSOpenPanel cancel:] nil"}));
    ASSERT_TRUE(chosen.await_ready());
    EXPECT_EQ(chosen.await_resume(), std::nullopt);
    loop.runReady();
    EXPECT_EQ(taken(), Calls());
}

TEST_F(MacWorkspaceTest, anOpenPanelIsCancelledFromItsOwnLoop)
{
    const auto chosen = workspace.chooseFolder("Folder", "Choose");
    standins::openPanel().meanwhile = [&] {
        taken();
        workspace.cancelChoice();
        EXPECT_EQ(taken(), (Calls{"-[NSOpenPanel cancel:] nil"}));
        EXPECT_TRUE(chosen.await_ready());
    };
    loop.runReady();
    ASSERT_TRUE(chosen.await_ready());
    EXPECT_EQ(chosen.await_resume(), std::nullopt);
}

TEST_F(MacWorkspaceTest, aSecondPanelCancelsTheFirstAndCanBeCancelledItself)
{
    const auto first = workspace.chooseFolder("First", "Choose");
    std::optional<Completion<Folder>> second;
    standins::openPanel().meanwhile = [&] {
        taken();
        second.emplace(workspace.chooseFolder("Second", "Choose"));
        EXPECT_EQ(taken().front(), "-[NSOpenPanel cancel:] nil");
        EXPECT_TRUE(first.await_ready());
        EXPECT_FALSE(second->await_ready());
    };
    loop.runReady();
    EXPECT_EQ(first.await_resume(), std::nullopt);
    ASSERT_TRUE(second && second->await_ready());
    EXPECT_EQ(second->await_resume(), Folder("/Volumes/Disk/Exports"));
}

TEST_F(MacWorkspaceTest, theSettingsWindowAloneComesToThisSpaceAndToTheFront)
{
    NSWindow* other = window(@"Vorlin Overlay");
    NSWindow* settings = window(@"Vorlin Settings");
    standins::program().windows = @[ other, settings, window(nil) ];
    taken();
    workspace.bringToFront(0);
    EXPECT_EQ(taken(),
              (Calls{"-[NSWindow setCollectionBehavior:] 6",
                     "-[NSWindow makeKeyAndOrderFront:] nil", "-[NSWindow orderFrontRegardless]"}));
    EXPECT_TRUE(settings.visible);
    EXPECT_FALSE(other.visible);
}

TEST_F(MacWorkspaceTest, aSettingsWindowThatWasClosedStaysInTheBack)
{
    NSWindow* closed = window(@"Vorlin Settings");
    NSWindow* open = window(@"Vorlin Settings");
    standins::program().windows = @[ closed, open ];
    [open orderFrontRegardless];
    workspace.bringToFront(0);
    EXPECT_EQ(open.collectionBehavior, 6U);
    EXPECT_EQ(closed.collectionBehavior, 4U);
    EXPECT_FALSE(closed.visible);
}

TEST_F(MacWorkspaceTest, ofTwoSettingsWindowsThatAreHiddenTheFirstIsRaised)
{
    NSWindow* first = window(@"Vorlin Settings");
    NSWindow* second = window(@"Vorlin Settings");
    standins::program().windows = @[ first, second ];
    workspace.bringToFront(0);
    EXPECT_TRUE(first.visible);
    EXPECT_FALSE(second.visible);
}

TEST_F(MacWorkspaceTest, withoutASettingsWindowNothingIsRaised)
{
    standins::program().windows = @[ window(@"Overlay") ];
    taken();
    workspace.bringToFront(0);
    EXPECT_EQ(taken(), Calls());
}

} // namespace
} // namespace vorlin
