#include "Platform/Linux/Desktop/XDGLoginItem.h"

#include "Platform/Contracts/LoginItemContract.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <QProcess>

#include <sys/stat.h>
#include <unistd.h>

#include <stdexcept>

namespace vorlin {
namespace {

namespace fs = std::filesystem;

/// Says what must be there for an entry to count, as a desktop's own reader reads it.
constexpr const char* condition = "import sys\n"
                                  "from gi.repository import GLib\n"
                                  "entry = GLib.KeyFile()\n"
                                  "entry.load_from_file(sys.argv[1], GLib.KeyFileFlags.NONE)\n"
                                  "print(entry.get_string('Desktop Entry', 'TryExec'), end='')\n";

/// Starts what an entry's `Exec` names, with a desktop's own reader of entries.
constexpr const char* launch = "import sys, gi\n"
                               "gi.require_version('Gio', '2.0')\n"
                               "from gi.repository import Gio\n"
                               "Gio.DesktopAppInfo.new_from_filename(sys.argv[1]).launch([])\n";

struct XDGAutostart {
    TemporaryFolder folder;

    XDGLoginItem item() const
    {
        return {[home = folder.path().string()](const char* name) -> std::optional<std::string> {
                    return std::string(name) == "XDG_CONFIG_HOME" ? std::optional(home)
                                                                  : std::nullopt;
                },
                "/usr/bin/vorlin"};
    }
    /// There is a file where the entries' folder would be.
    void refuse() const { write(folder / "autostart", ""); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(XDG, LoginItemContract, XDGAutostart);

class XDGLoginItemTest : public testing::Test {
protected:
    Environment environment = [this](const char* name) -> std::optional<std::string> {
        return std::string(name) == "XDG_CONFIG_HOME"
                   ? std::optional(folder.path().string() + "/configuration")
                   : std::nullopt;
    };

    XDGLoginItem item(const std::string& program = "/usr/bin/vorlin") const
    {
        return {environment, program};
    }
    void writeEntry(const std::string& rest) const
    {
        fs::create_directories(file.parent_path());
        write(file, "[Desktop Entry]\nType=Application\nName=Vorlin\n" + rest);
    }

    TemporaryFolder folder;
    const fs::path file = folder / "configuration/autostart/org.vorlin.Vorlin.desktop";
};

TEST_F(XDGLoginItemTest, itIsOffUntilSwitchedOnAndOffAgainAfterwards)
{
    auto login = item();
    EXPECT_FALSE(login.isEnabled());
    login.setEnabled(false);
    login.setEnabled(true);
    EXPECT_TRUE(login.isEnabled());
    EXPECT_TRUE(fs::exists(file));
    login.setEnabled(false);
    EXPECT_FALSE(login.isEnabled());
    EXPECT_FALSE(fs::exists(file));
}

TEST_F(XDGLoginItemTest, theDesktopsOwnCheckAcceptsTheFile)
{
    item("/opt/A \"strange\" `place` \\ $HOME/100%/vorlin").setEnabled(true);
    QProcess check;
    check.setProcessChannelMode(QProcess::MergedChannels);
    check.start("desktop-file-validate", {QString::fromStdString(file.string())});
    ASSERT_TRUE(check.waitForFinished(-1));
    EXPECT_EQ(check.exitCode(), 0);
    EXPECT_EQ(check.readAll().toStdString(), "");
}

TEST_F(XDGLoginItemTest, aDesktopStartsTheProgramWhateverItsPathIs)
{
    // No "%": this reader looks for the program before it has read its name to the end.
    const auto place = folder / "A \"strange\" `place` \\ $HOME\\n 'x' é";
    fs::create_directories(place);
    const auto program = place / "vorlin";
    const auto sign = folder / "started";
    ASSERT_EQ(::mkfifo(sign.c_str(), 0600), 0);
    write(program, "#!/bin/sh\nprintf '%s %s\\n' \"$#\" \"$0\" > '" + sign.string() + "'\n");
    ASSERT_EQ(::chmod(program.c_str(), 0700), 0);
    item(program.string()).setEnabled(true);
    QProcess desktop;
    desktop.setProcessChannelMode(QProcess::ForwardedChannels);
    desktop.start("/usr/bin/python3", {"-c", launch, QString::fromStdString(file.string())});
    ASSERT_TRUE(desktop.waitForFinished(-1));
    ASSERT_EQ(desktop.exitCode(), 0);
    EXPECT_EQ(textOf(sign), "0 " + program.string() + "\n");
}

TEST_F(XDGLoginItemTest, noDesktopMissesAProgramThatWasRemoved)
{
    const std::string program = "/opt/A \"strange\" `place` \\ $HOME/100%/vorlin";
    item(program).setEnabled(true);
    QProcess desktop;
    desktop.start("/usr/bin/python3", {"-c", condition, QString::fromStdString(file.string())});
    ASSERT_TRUE(desktop.waitForFinished(-1));
    EXPECT_EQ(desktop.readAllStandardOutput().toStdString(), program);
}

TEST_F(XDGLoginItemTest, aPercentSignBeginsNoField)
{
    EXPECT_EQ(XDGLoginItem::execLine("/100%f/vorlin"), "\"/100%%f/vorlin\"");
}

TEST_F(XDGLoginItemTest, whatOthersWroteCounts)
{
    const auto login = item();
    writeEntry("Exec=/usr/bin/vorlin\n");
    EXPECT_TRUE(login.isEnabled());
    writeEntry("Exec=/usr/bin/vorlin\nHidden=true\n");
    EXPECT_FALSE(login.isEnabled());
    writeEntry("Exec=/usr/bin/vorlin\n X-GNOME-Autostart-enabled = false \n");
    EXPECT_FALSE(login.isEnabled());
    writeEntry("Exec=/usr/bin/vorlin\n[Desktop Action other]\nHidden=true\n");
    EXPECT_TRUE(login.isEnabled()) << "another group";
    writeEntry("#Hidden=true\nExec=/usr/bin/vorlin\nHidden=false\n");
    EXPECT_TRUE(login.isEnabled());
    writeEntry("");
    EXPECT_FALSE(login.isEnabled()) << "nothing to start";
}

TEST_F(XDGLoginItemTest, switchingOnOverridesWhatHidIt)
{
    auto login = item();
    writeEntry("Exec=/old/vorlin\nHidden=true\nX-GNOME-Autostart-enabled=false\n");
    login.setEnabled(true);
    EXPECT_TRUE(login.isEnabled());
    EXPECT_NE(textOf(file).find("Exec=\"/usr/bin/vorlin\"\n"), std::string::npos);
}

TEST_F(XDGLoginItemTest, aFolderThatCannotBeWrittenIsToldInOneLine)
{
    write(folder / "configuration", "a file where the folder should be");
    auto login = item();
    try {
        login.setEnabled(true);
        FAIL();
    } catch (const std::runtime_error& error) {
        const std::string line = error.what();
        EXPECT_TRUE(line.starts_with("Opening at login cannot be switched on: ")) << line;
        EXPECT_EQ(line.find('\n'), std::string::npos);
    }
    EXPECT_FALSE(login.isEnabled());
}

TEST_F(XDGLoginItemTest, aFailedWriteLeavesTheOldFileWhole)
{
    auto login = item();
    fs::create_directories(file); // a folder of the file's name cannot be replaced
    write(file / "inside", "x");
    EXPECT_THROW(login.setEnabled(true), std::runtime_error);
    EXPECT_THROW(login.setEnabled(false), std::runtime_error);
    EXPECT_FALSE(login.isEnabled());
    EXPECT_EQ(textOf(file / "inside"), "x");
}

} // namespace
} // namespace vorlin
