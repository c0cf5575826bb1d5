#include "Platform/Linux/Desktop/SettingsFile.h"

#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <system_error>

namespace vorlin {
namespace {

namespace fs = std::filesystem;
using State = SettingsFile::State;

SettingsText settingsWith(const std::string& key, double value)
{
    SettingsText settings;
    settings.set(key, value);
    return settings;
}

fs::perms modeOf(const fs::path& path)
{
    return fs::status(path).permissions();
}

std::size_t filesIn(const fs::path& folder)
{
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

TEST(SettingsFile, whatWasStoredIsReadBack)
{
    const TemporaryFolder folder;
    const SettingsFile file(folder / "settings.json");
    EXPECT_EQ(file.read().state, State::absent);
    file.replace(settingsWith("a", 1));
    file.replace(settingsWith("a", 2));
    EXPECT_EQ(file.read().state, State::readable);
    EXPECT_EQ(file.read().settings, settingsWith("a", 2));
    EXPECT_EQ(filesIn(folder.path()), 1U) << "no temporary file stays behind";
}

TEST(SettingsFile, aNewFileAndItsFolderAreTheOwnersOnly)
{
    const TemporaryFolder folder;
    const SettingsFile file(folder / "config/Vorlin/settings.json");
    file.replace(settingsWith("a", 1));
    EXPECT_EQ(modeOf(file.linkPath()), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(modeOf(file.linkPath().parent_path()), fs::perms::owner_all);
}

TEST(SettingsFile, anExistingFileKeepsItsMode)
{
    const TemporaryFolder folder;
    const SettingsFile file(folder / "settings.json");
    write(file.linkPath(), "{}");
    const auto mode = fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read;
    fs::permissions(file.linkPath(), mode);
    file.replace(settingsWith("a", 1));
    EXPECT_EQ(modeOf(file.linkPath()), mode);
}

TEST(SettingsFile, aReaderWithTheOldFileOpenStillSeesTheOldText)
{
    const TemporaryFolder folder;
    const SettingsFile file(folder / "settings.json");
    write(file.linkPath(), "{\"old\": 1}");
    std::ifstream reader(file.linkPath());
    file.replace(settingsWith("a", 1));
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), {}), "{\"old\": 1}");
}

TEST(SettingsFile, aSymbolicLinkStaysAndItsTargetIsReplaced)
{
    const TemporaryFolder folder;
    fs::create_directory(folder / "dotfiles");
    write(folder / "dotfiles/real.json", "{}");
    fs::create_symlink("dotfiles/real.json", folder / "second");
    fs::create_symlink(folder / "second", folder / "settings.json");
    const SettingsFile file(folder / "settings.json");
    file.replace(settingsWith("a", 1));
    EXPECT_TRUE(fs::is_symlink(file.linkPath()));
    EXPECT_FALSE(fs::is_symlink(folder / "dotfiles/real.json"));
    EXPECT_EQ(textOf(folder / "dotfiles/real.json"), settingsWith("a", 1).text());
}

TEST(SettingsFile, aLinkToNothingYetGetsItsTarget)
{
    const TemporaryFolder folder;
    fs::create_symlink("real.json", folder / "settings.json");
    const SettingsFile file(folder / "settings.json");
    EXPECT_EQ(file.read().state, State::absent);
    file.replace(settingsWith("a", 1));
    EXPECT_TRUE(fs::is_symlink(file.linkPath()));
    EXPECT_EQ(textOf(folder / "real.json"), settingsWith("a", 1).text());
}

TEST(SettingsFile, linksInACircleAreUnreadableAndNoEndlessLoop)
{
    const TemporaryFolder folder;
    fs::create_symlink("b", folder / "a");
    fs::create_symlink("a", folder / "b");
    EXPECT_EQ(SettingsFile(folder / "a").read().state, State::unreadable);
}

TEST(SettingsFile, whatIsNoFileIsUnreadableAndNeverWaitedFor)
{
    const TemporaryFolder folder;
    fs::create_directory(folder / "folder");
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), S_IRUSR | S_IWUSR), 0);
    fs::create_symlink("/dev/zero", folder / "device");
    for (const auto* name : {"folder", "pipe", "device"}) {
        EXPECT_EQ(SettingsFile(folder / name).read().state, State::unreadable) << name;
    }
}

TEST(SettingsFile, aHugeSparseFileIsDamagedAndNotReadWhole)
{
    const TemporaryFolder folder;
    write(folder / "settings.json", "{}");
    fs::resize_file(folder / "settings.json", std::uintmax_t{1} << 40U);
    EXPECT_EQ(SettingsFile(folder / "settings.json").read().state, State::damaged);
}

TEST(SettingsFile, damagedFilesAreSetAsideUnderFreeNames)
{
    const TemporaryFolder folder;
    const SettingsFile file(folder / "settings.json");
    for (const std::string name : {"settings.json.damaged", "settings.json.damaged-2"}) {
        write(file.linkPath(), "broken " + name);
        EXPECT_EQ(file.setAside(), folder / name);
        EXPECT_EQ(textOf(folder / name), "broken " + name);
        EXPECT_FALSE(fs::exists(file.linkPath()));
    }
    fs::create_symlink("nowhere", folder / "settings.json.damaged-3");
    write(file.linkPath(), "broken");
    EXPECT_EQ(file.setAside(), folder / "settings.json.damaged-4");
}

TEST(SettingsFile, aFolderThatCannotBeMadeIsAnErrorThatNamesIt)
{
    const TemporaryFolder folder;
    write(folder / "file", "");
    const SettingsFile file(folder / "file/settings.json");
    EXPECT_THROW(file.replace(settingsWith("a", 1)), std::system_error);
    try {
        file.replace(settingsWith("a", 1));
    } catch (const std::system_error& error) {
        EXPECT_NE(std::string(error.what()).find(folder / "file"), std::string::npos);
    }
}

/// A disk without room: no file of this process may grow beyond some bytes.
class FullDisk {
public:
    FullDisk() : handler(std::signal(SIGXFSZ, SIG_IGN))
    {
        ::getrlimit(RLIMIT_FSIZE, &before);
        const rlimit none{4, before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &none);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;
    ~FullDisk()
    {
        ::setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handler);
    }

private:
    rlimit before{};
    void (*handler)(int);
};

TEST(SettingsFile, aFullDiskLeavesTheOldFileAndNothingElse)
{
    const TemporaryFolder folder;
    const SettingsFile file(folder / "settings.json");
    file.replace(settingsWith("a", 1));
    bool failed = false;
    {
        const FullDisk fullDisk;
        try {
            file.replace(settingsWith("a", 2));
        } catch (const std::system_error&) {
            failed = true;
        }
    }
    EXPECT_TRUE(failed);
    EXPECT_EQ(file.read().settings, settingsWith("a", 1));
    EXPECT_EQ(filesIn(folder.path()), 1U);
}

} // namespace
} // namespace vorlin
