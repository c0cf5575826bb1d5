#include "Platform/Linux/Workspace/LinuxWorkspace.h"

#include "Async/Lifetime.h"
#include "Async/Task.h"
#include "Platform/Linux/Desktop/TemporaryFolder.h"
#include "Platform/Linux/Workspace/TestServices.h"
#include "Platform/RunUntil.h"
#include "Platform/Shared/QtMainLoop.h"

#include <gtest/gtest.h>

#include <QRasterWindow>

#include <sys/stat.h>

#include <map>
#include <memory>

namespace vorlin {
namespace {

using Path = std::optional<std::filesystem::path>;

/// A desktop whose programs the test writes.
class LinuxWorkspaceTest : public testing::Test {
protected:
    LinuxWorkspaceTest()
    {
        variables["PATH"] = (folder / "bin").string();
        std::filesystem::create_directory(folder / "bin");
    }

    /// Installs a program that notes what it is started with.
    void install(const std::string& name) const
    {
        const auto program = folder / ("bin/" + name);
        write(program, "#!/bin/sh\nprintf '%s\\n' \"" + name + "\" \"$@\" > '" +
                           (folder / "part").string() + "'\n/bin/mv '" +
                           (folder / "part").string() + "' '" + (folder / "started").string() +
                           "'\n");
        ::chmod(program.c_str(), 0700);
    }
    std::string started() const
    {
        EXPECT_TRUE(runUntil([&] { return std::filesystem::exists(folder / "started"); }));
        auto text = textOf(folder / "started");
        std::filesystem::remove(folder / "started");
        return text;
    }

    template <class T>
    struct Outcome {
        std::optional<T> value;
        std::string failure;
        bool ended = false;
    };
    template <class T>
    static Task<void> await(Completion<T> completion, std::shared_ptr<Outcome<T>> outcome)
    {
        try {
            outcome->value = co_await completion;
        } catch (const std::runtime_error& error) {
            outcome->failure = error.what();
        }
        outcome->ended = true;
    }
    template <class T>
    std::shared_ptr<Outcome<T>> follow(Completion<T> completion)
    {
        auto outcome = std::make_shared<Outcome<T>>();
        auto task = await<T>(std::move(completion), outcome);
        spawn(loop, lifetime.token(), std::move(task));
        return outcome;
    }
    template <class T>
    Outcome<T> result(Completion<T> completion)
    {
        const auto outcome = follow(std::move(completion));
        EXPECT_TRUE(runUntil([&] { return outcome->ended; }));
        return *outcome;
    }

    TemporaryFolder folder;
    std::map<std::string, std::string> variables;
    QtMainLoop loop;
    Lifetime lifetime;
    LinuxWorkspace workspace{[this](const char* name) -> std::optional<std::string> {
        const auto found = variables.find(name);
        return found == variables.end() ? std::nullopt : std::optional(found->second);
    }};
};

TEST_F(LinuxWorkspaceTest, aFolderAndALinkAreOpenedByTheDesktop)
{
    install("xdg-open");
    EXPECT_TRUE(result(workspace.open("/a folder/ä")).value);
    EXPECT_EQ(started(), "xdg-open\n/a folder/ä\n");
    EXPECT_TRUE(result(workspace.openLink("https://example.org/a?b=c")).value);
    EXPECT_EQ(started(), "xdg-open\nhttps://example.org/a?b=c\n");
}

TEST_F(LinuxWorkspaceTest, onlyWebAddressesAreOpenedAsLinks)
{
    install("xdg-open");
    for (const char* address :
         {"file:///etc/passwd", "http://example.org", "--help", "", "https:"}) {
        EXPECT_EQ(result(workspace.openLink(address)).failure, "This is no address of a web page.");
    }
}

TEST_F(LinuxWorkspaceTest, whatNothingOpensIsToldInALine)
{
    EXPECT_EQ(result(workspace.open("/tmp")).failure,
              "Nothing here opens it: “xdg-open” is not installed.");
}

TEST_F(LinuxWorkspaceTest, theFileManagerShowsTheItemSelected)
{
    const TestFileManager manager;
    EXPECT_TRUE(result(workspace.reveal("/a folder/100% é#1")).value);
    EXPECT_EQ(manager.shown, QStringList("file:///a%20folder/100%25%20%C3%A9%231"));
}

TEST_F(LinuxWorkspaceTest, withoutSuchAFileManagerItsFolderIsOpened)
{
    install("xdg-open");
    EXPECT_TRUE(result(workspace.reveal("/a folder/model")).value);
    EXPECT_EQ(started(), "xdg-open\n/a folder\n");
    TestFileManager manager;
    manager.refuses = true;
    EXPECT_TRUE(result(workspace.reveal("/a folder/model")).value);
    EXPECT_EQ(started(), "xdg-open\n/a folder\n");
}

TEST_F(LinuxWorkspaceTest, withNeitherItIsToldInALine)
{
    EXPECT_EQ(result(workspace.reveal("/a folder/model")).failure, "No file manager was found.");
}

TEST_F(LinuxWorkspaceTest, eachDesktopHasItsOwnSettings)
{
    using enum SystemPanel;
    const auto opens = [&](const std::string& desktop, SystemPanel panel) {
        variables["XDG_CURRENT_DESKTOP"] = desktop;
        EXPECT_TRUE(workspace.hasPanel(panel));
        EXPECT_TRUE(result(workspace.openPanel(panel)).value);
        return started();
    };
    for (const char* program :
         {"gnome-control-center", "systemsettings", "pavucontrol", "xfce4-accessibility-settings",
          "cinnamon-settings", "mate-volume-control", "mate-at-properties", "pavucontrol-qt"}) {
        install(program);
    }
    EXPECT_EQ(opens("GNOME", microphone), "gnome-control-center\nsound\n");
    EXPECT_EQ(opens("ubuntu:GNOME", accessibility), "gnome-control-center\nuniversal-access\n");
    EXPECT_EQ(opens("KDE", microphone), "systemsettings\nkcm_pulseaudio\n");
    EXPECT_EQ(opens("KDE", accessibility), "systemsettings\nkcm_access\n");
    EXPECT_EQ(opens("XFCE", microphone), "pavucontrol\n--tab=4\n");
    EXPECT_EQ(opens("XFCE", accessibility), "xfce4-accessibility-settings\n");
    EXPECT_EQ(opens("X-Cinnamon", microphone), "cinnamon-settings\nsound\n-t\ninput\n");
    EXPECT_EQ(opens("X-Cinnamon", accessibility), "cinnamon-settings\nuniversal-access\n");
    EXPECT_EQ(opens("MATE", microphone), "mate-volume-control\n--page=input\n");
    EXPECT_EQ(opens("MATE", accessibility), "mate-at-properties\n");
    EXPECT_EQ(opens("LXQt", microphone), "pavucontrol-qt\n--tab=4\n");
}

TEST_F(LinuxWorkspaceTest, aDesktopWithoutSuchSettingsSaysSo)
{
    EXPECT_FALSE(workspace.hasPanel(SystemPanel::microphone)) << "none is named";
    variables["XDG_CURRENT_DESKTOP"] = "GNOME";
    EXPECT_FALSE(workspace.hasPanel(SystemPanel::microphone)) << "not installed";
    install("gnome-control-center");
    variables["XDG_CURRENT_DESKTOP"] = "Openbox";
    EXPECT_FALSE(workspace.hasPanel(SystemPanel::microphone)) << "another desktop's";
    EXPECT_EQ(result(workspace.openPanel(SystemPanel::microphone)).failure,
              "This desktop has no such settings.");
}

TEST_F(LinuxWorkspaceTest, thePortalsDialogChoosesAFolder)
{
    TestPortal portal;
    const auto outcome = follow(workspace.chooseFolder("A folder", "Choose"));
    ASSERT_TRUE(runUntil([&] { return !portal.titles.empty(); }));
    EXPECT_EQ(portal.titles, QStringList("A folder"));
    EXPECT_EQ(portal.options.value("accept_label"), "Choose");
    EXPECT_EQ(portal.options.value("directory"), true);
    EXPECT_EQ(portal.options.value("modal"), true);
    EXPECT_EQ(portal.parent, "") << "no window of ours has the focus";
    EXPECT_FALSE(outcome->ended);
    portal.respond(0, {"file:///a%20folder/%C3%A9"});
    ASSERT_TRUE(runUntil([&] { return outcome->ended; }));
    EXPECT_EQ(outcome->value, std::optional(Path("/a folder/é")));
}

TEST_F(LinuxWorkspaceTest, aCancelledDialogChoosesNothing)
{
    TestPortal portal;
    const auto outcome = follow(workspace.chooseFolder("A folder", "Choose"));
    ASSERT_TRUE(runUntil([&] { return !portal.titles.empty(); }));
    portal.respond(1);
    ASSERT_TRUE(runUntil([&] { return outcome->ended; }));
    EXPECT_TRUE(outcome->value && !*outcome->value);
}

TEST_F(LinuxWorkspaceTest, thePortalsDialogBelongsToTheWindowThatHasTheFocus)
{
    TestPortal portal;
    QRasterWindow settings;
    settings.show();
    ASSERT_TRUE(runUntil([&] { return settings.isActive(); }));
    const auto outcome = follow(workspace.chooseFolder("A folder", "Choose"));
    ASSERT_TRUE(runUntil([&] { return !portal.titles.empty(); }));
    EXPECT_EQ(portal.parent, "x11:" + QString::number(settings.winId(), 16));
}

TEST_F(LinuxWorkspaceTest, aDialogThatIsNotWantedAnyMoreIsClosedAndChoosesNothing)
{
    TestPortal portal;
    const auto outcome = follow(workspace.chooseFolder("A folder", "Choose"));
    ASSERT_TRUE(runUntil([&] { return !portal.titles.empty(); }));
    workspace.cancelChoice();
    ASSERT_TRUE(runUntil([&] { return outcome->ended && portal.closes == 1; }));
    EXPECT_TRUE(outcome->value && !*outcome->value);
    workspace.cancelChoice(); // there is none
    const auto next = follow(workspace.chooseFolder("Another", "Choose"));
    ASSERT_TRUE(runUntil([&] { return portal.titles.size() == 2; }));
    EXPECT_EQ(portal.closes, 1);
}

TEST_F(LinuxWorkspaceTest, aFolderElsewhereIsToldInALine)
{
    TestPortal portal;
    const auto outcome = follow(workspace.chooseFolder("A folder", "Choose"));
    ASSERT_TRUE(runUntil([&] { return !portal.titles.empty(); }));
    portal.respond(0, {"smb://server/share"});
    ASSERT_TRUE(runUntil([&] { return outcome->ended; }));
    EXPECT_EQ(outcome->failure, "This folder is not on this computer.");
}

TEST_F(LinuxWorkspaceTest, aSecondDialogClosesTheFirst)
{
    TestPortal portal;
    const auto first = follow(workspace.chooseFolder("First", "Choose"));
    ASSERT_TRUE(runUntil([&] { return portal.titles.size() == 1; }));
    const auto second = follow(workspace.chooseFolder("Second", "Choose"));
    ASSERT_TRUE(runUntil([&] { return portal.titles.size() == 2; }));
    ASSERT_TRUE(runUntil([&] { return first->ended && portal.closes == 1; }));
    EXPECT_TRUE(first->value && !*first->value);
    portal.respond(0, {"file:///second"});
    ASSERT_TRUE(runUntil([&] { return second->ended; }));
    EXPECT_EQ(second->value, std::optional(Path("/second")));
}

TEST_F(LinuxWorkspaceTest, aPortalThatGoesTakesItsDialogAlong)
{
    auto portal = std::make_unique<TestPortal>();
    const auto outcome = follow(workspace.chooseFolder("A folder", "Choose"));
    ASSERT_TRUE(runUntil([&] { return !portal->titles.empty(); }));
    portal.reset();
    ASSERT_TRUE(runUntil([&] { return outcome->ended; }));
    EXPECT_TRUE(outcome->value && !*outcome->value);
}

TEST_F(LinuxWorkspaceTest, ourOwnDialogStandsInForAPortalThatIsMissingOldOrBroken)
{
    EXPECT_EQ(result(workspace.chooseFolder("A folder", "Choose")).failure,
              "This desktop has no dialog for choosing a folder.");
    std::vector<std::string> titles;
    workspace.setOwnDialog({.open =
                                [&](const std::string& title, const std::string& prompt,
                                    const std::function<void(Path)>& done) {
                                    EXPECT_EQ(prompt, "Choose");
                                    titles.push_back(title);
                                    done("/own");
                                    return true;
                                },
                            .cancel = [] {}});
    EXPECT_EQ(result(workspace.chooseFolder("missing", "Choose")).value,
              std::optional(Path("/own")));
    {
        const TestPortal old(2);
        EXPECT_EQ(result(workspace.chooseFolder("old", "Choose")).value,
                  std::optional(Path("/own")));
    }
    TestPortal broken;
    broken.refuses = true;
    EXPECT_EQ(result(workspace.chooseFolder("broken", "Choose")).value,
              std::optional(Path("/own")));
    EXPECT_EQ(titles, (std::vector<std::string>{"missing", "old", "broken"}));
}

TEST_F(LinuxWorkspaceTest, ourOwnDialogIsClosedAsThePortalsIs)
{
    int opened = 0;
    int cancelled = 0;
    workspace.setOwnDialog({.open =
                                [&](const auto&...) {
                                    ++opened;
                                    return true;
                                },
                            .cancel = [&] { ++cancelled; }});
    const auto outcome = follow(workspace.chooseFolder("A folder", "Choose"));
    ASSERT_TRUE(runUntil([&] { return opened == 1; }));
    workspace.cancelChoice();
    ASSERT_TRUE(runUntil([&] { return outcome->ended; }));
    EXPECT_EQ(cancelled, 1);
}

TEST_F(LinuxWorkspaceTest, ourOwnDialogThatCannotBeShownIsToldInALine)
{
    workspace.setOwnDialog({.open = [](const auto&...) { return false; }, .cancel = [] {}});
    EXPECT_EQ(result(workspace.chooseFolder("A folder", "Choose")).failure,
              "This desktop has no dialog for choosing a folder.");
}

} // namespace
} // namespace vorlin
