#include "Platform/Shared/DiskWorkingFolders.h"

#include "Platform/Linux/Desktop/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

/// The flags that the disk does not know, and how many renames without a flag it takes.
unsigned unknownFlags = 0;
int plainRenames = 0;
/// What the next call to sync this item fails with, by the item's name.
std::map<std::string, int> syncFailures;
/// What happens while this item is synced, by the item's name.
std::map<std::string, std::function<void()>> duringSync;
/// The items of these names stay where they are: the disk reports an error.
std::set<std::string> stuck;
/// The item that was not all written when it is closed.
std::atomic<const char*> lostAtClose = nullptr;
/// What was asked of the disk, in its order.
std::vector<std::string> calls;
std::mutex callsLock;

void note(const std::string& call)
{
    const std::scoped_lock guard(callsLock);
    calls.push_back(call);
}

std::string nameOf(int descriptor)
{
    return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor)).filename();
}

} // namespace

/// Stands before the C library's: a disk that cannot do everything.
extern "C" int renameat2(int fromFolder, const char* from, int toFolder, const char* to,
                         unsigned flags) noexcept
{
    note((flags & RENAME_EXCHANGE) != 0 ? "exchange" : "rename");
    if ((flags & unknownFlags) != 0) {
        errno = EINVAL;
        return -1;
    }
    if (unknownFlags != 0 && plainRenames-- <= 0) {
        errno = EIO;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags));
}

extern "C" int renameat(int fromFolder, const char* from, int toFolder, const char* to) noexcept
{
    if (stuck.contains(from)) {
        errno = EIO;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_renameat2, fromFolder, from, toFolder, to, 0));
}

extern "C" int close(int descriptor)
{
    const char* const lost = lostAtClose;
    const bool fails = lost != nullptr && nameOf(descriptor) == lost;
    const auto result = static_cast<int>(::syscall(SYS_close, descriptor));
    if (fails) {
        errno = EIO;
    }
    return fails ? -1 : result;
}

extern "C" int fsync(int descriptor)
{
    const std::string name = nameOf(descriptor);
    note("sync " + name);
    if (const auto found = duringSync.find(name); found != duringSync.end()) {
        found->second();
    }
    if (const auto failure = syncFailures.find(name); failure != syncFailures.end()) {
        errno = failure->second;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_fsync, descriptor));
}

extern "C" int unlinkat(int folder, const char* name, int flags) noexcept
{
    if (stuck.contains(name)) {
        errno = EPERM;
        return -1;
    }
    const auto result = static_cast<int>(::syscall(SYS_unlinkat, folder, name, flags));
    if (result == 0) {
        note(std::string("delete ") + name);
    }
    return result;
}

namespace vorlin {
namespace {

namespace fs = std::filesystem;

class DiskWorkingFoldersTest : public testing::Test {
protected:
    ~DiskWorkingFoldersTest() override
    {
        unknownFlags = 0;
        syncFailures.clear();
        duringSync.clear();
        stuck.clear();
        lostAtClose = nullptr;
    }

    /// From now on the disk knows neither of the flags of a rename.
    static void knowNoFlags(int renames)
    {
        unknownFlags = RENAME_EXCHANGE | RENAME_NOREPLACE;
        plainRenames = renames;
    }
    std::shared_ptr<WorkingFolder> make() { return folders.beside(destination); }
    std::shared_ptr<WorkingFolder> created()
    {
        auto folder = make();
        folder->create();
        return folder;
    }
    static void put(WorkingFolder& folder, const std::string& path, const std::string& text)
    {
        const auto file = folder.createFile(path);
        file->append(std::as_bytes(std::span(text)));
        file->sync();
    }
    /// The failure of `call`; "(none)" when it has none.
    template <class Call>
    static std::string failure(Call call)
    {
        try {
            call();
        } catch (const DiskError& error) {
            return error.what();
        }
        return "(none)";
    }
    /// Every file below the models folder.
    std::map<std::string, std::string> everything() const
    {
        std::map<std::string, std::string> found;
        if (fs::exists(models)) {
            for (const auto& entry : fs::recursive_directory_iterator(models)) {
                if (entry.is_regular_file()) {
                    found[fs::relative(entry.path(), models)] = textOf(entry.path());
                }
            }
        }
        return found;
    }

    using Files = std::map<std::string, std::string>;

    TemporaryFolder temporary;
    const fs::path models = temporary / "data/Vorlin/Models";
    const fs::path destination = models / "one";
    DiskWorkingFolders folders;
};

TEST_F(DiskWorkingFoldersTest, isMadeOnlyWhenItIsCreated)
{
    const auto folder = make();
    EXPECT_FALSE(fs::exists(models));
    folder->create();
    EXPECT_TRUE(fs::is_directory(models / "one.partial"));
    EXPECT_FALSE(fs::exists(destination));
}

TEST_F(DiskWorkingFoldersTest, whatAnEarlierOneLeftGoes)
{
    fs::create_directories(models / "one.partial/deep/er");
    write(models / "one.partial/deep/er/file", "old");
    const auto folder = created();
    EXPECT_EQ(everything(), Files());
}

TEST_F(DiskWorkingFoldersTest, filesLieAtTheirPathsAndInPlaceOnceMoved)
{
    const auto folder = created();
    put(*folder, "a/b/c", "deep");
    put(*folder, "a/d", "");
    put(*folder, "top", "text");
    EXPECT_EQ(everything(), (Files{{"one.partial/a/b/c", "deep"},
                                   {"one.partial/a/d", ""},
                                   {"one.partial/top", "text"}}));
    folder->moveIntoPlace();
    EXPECT_EQ(everything(), (Files{{"one/a/b/c", "deep"}, {"one/a/d", ""}, {"one/top", "text"}}));
}

TEST_F(DiskWorkingFoldersTest, theFormerModelGoesWithTheMove)
{
    fs::create_directories(destination / "old");
    write(destination / "old/file", "old");
    const auto folder = created();
    put(*folder, "new", "new");
    EXPECT_EQ(everything().size(), 2U);
    folder->moveIntoPlace();
    EXPECT_EQ(everything(), (Files{{"one/new", "new"}}));
}

TEST_F(DiskWorkingFoldersTest, everythingIsOnTheDiskBeforeOneStepMakesItTheModel)
{
    fs::create_directories(destination);
    write(destination / "old", "old");
    const auto folder = created();
    calls.clear();
    put(*folder, "a/b/file", "new");
    EXPECT_EQ(calls, std::vector<std::string>{"sync file"});
    calls.clear();
    folder->moveIntoPlace();
    EXPECT_EQ(calls, (std::vector<std::string>{"sync a", "sync b", "sync one.partial", "exchange",
                                               "sync Models", "delete old", "delete one.partial"}));
}

TEST_F(DiskWorkingFoldersTest, aDiskThatCannotSyncFoldersGetsTheModelAllTheSame)
{
    for (const int reason : {EINVAL, ENOTSUP}) {
        const auto folder = created();
        put(*folder, "a/file", "text");
        syncFailures = {{"a", reason}, {"one.partial", reason}, {"Models", reason}};
        EXPECT_EQ(failure([&] { folder->moveIntoPlace(); }), "(none)");
        EXPECT_EQ(everything(), (Files{{"one/a/file", "text"}}));
        EXPECT_FALSE(fs::exists(models / "one.partial"));
    }
}

TEST_F(DiskWorkingFoldersTest, aDiskThatFailsInTheMiddleKeepsTheFormerModel)
{
    fs::create_directories(destination);
    write(destination / "former", "former");
    for (const auto* item : {"file", "a", "one.partial"}) {
        const auto folder = created();
        syncFailures = {{item, EIO}};
        EXPECT_EQ(failure([&] {
                      put(*folder, "a/file", "text");
                      folder->moveIntoPlace();
                  }),
                  "The models folder cannot be written to: the disk reports an error.")
            << item;
        folder->discard();
        EXPECT_EQ(everything(), (Files{{"one/former", "former"}}));
        EXPECT_FALSE(fs::exists(models / "one.partial"));
    }
}

TEST_F(DiskWorkingFoldersTest, onceTheModelIsInItsPlaceNothingFailsItsDownload)
{
    fs::create_directories(destination);
    write(destination / "former", "former");
    const auto folder = created();
    put(*folder, "file", "text");
    syncFailures = {{"Models", EIO}};
    EXPECT_EQ(failure([&] { folder->moveIntoPlace(); }), "(none)");
    folder->discard();
    EXPECT_EQ(everything(), (Files{{"one/file", "text"}, {"one.partial/former", "former"}}))
        << "what is not known to be replaced is kept";
    syncFailures.clear();
    created()->discard();
    EXPECT_EQ(everything(), (Files{{"one/file", "text"}})) << "until the next download";
}

TEST_F(DiskWorkingFoldersTest, aDiskThatCannotExchangeGetsTheModelAllTheSame)
{
    for (const bool replaces : {false, true}) {
        const auto folder = created();
        put(*folder, "file", replaces ? "second" : "first");
        knowNoFlags(1);
        folder->moveIntoPlace();
        unknownFlags = 0;
        EXPECT_EQ(everything(), (Files{{"one/file", replaces ? "second" : "first"}}));
        EXPECT_FALSE(fs::exists(models / "one.partial"));
    }
}

TEST_F(DiskWorkingFoldersTest, whereTheMoveFailsTheFormerModelIsBackInItsPlace)
{
    fs::create_directories(destination);
    write(destination / "former", "former");
    const auto folder = created();
    put(*folder, "file", "new");
    knowNoFlags(0);
    EXPECT_NE(failure([&] { folder->moveIntoPlace(); }), "(none)");
    unknownFlags = 0;
    folder->discard();
    EXPECT_EQ(everything(), (Files{{"one/former", "former"}}));
}

TEST_F(DiskWorkingFoldersTest, aModelThatAMoveTookOutOfItsPlaceReturnsWithTheNextDownload)
{
    for (const bool isMade : {false, true}) {
        fs::create_directories(models / "one.partial/.former");
        write(models / "one.partial/.former/former", "former");
        write(models / "one.partial/new", "new");
        const auto folder = isMade ? created() : make();
        EXPECT_EQ(fs::exists(destination / "former"), isMade);
        folder->discard();
        EXPECT_EQ(everything(), (Files{{"one/former", "former"}}));
        EXPECT_FALSE(fs::exists(models / "one.partial"));
        fs::remove_all(destination);
    }
}

TEST_F(DiskWorkingFoldersTest, whereNeitherModelCanTakeThePlaceTheFormerIsKeptForTheNextDownload)
{
    fs::create_directories(destination);
    write(destination / "former", "former");
    const auto folder = created();
    put(*folder, "file", "new");
    knowNoFlags(0);
    stuck = {".former"};
    EXPECT_NE(failure([&] { folder->moveIntoPlace(); }), "(none)");
    EXPECT_FALSE(fs::exists(destination));
    const Files kept = {{"one.partial/.former/former", "former"}, {"one.partial/file", "new"}};
    folder->discard();
    EXPECT_EQ(everything(), kept);
    const auto next = make();
    EXPECT_EQ(failure([&] { next->create(); }),
              "The models folder cannot be written to: the disk reports an error.");
    next->discard();
    EXPECT_EQ(everything(), kept);
    stuck.clear();
    make()->discard();
    EXPECT_EQ(everything(), (Files{{"one/former", "former"}}));
}

TEST_F(DiskWorkingFoldersTest, aFormerModelThatIsReplacedGoesWithTheNextDownload)
{
    for (const bool isMade : {false, true}) {
        fs::create_directories(destination);
        write(destination / "file", "new");
        fs::create_directories(models / "one.partial/.former");
        write(models / "one.partial/.former/former", "former");
        (isMade ? created() : make())->discard();
        EXPECT_EQ(everything(), (Files{{"one/file", "new"}}));
    }
}

TEST_F(DiskWorkingFoldersTest, whatADiskReportsIsSaidInWordsOfAPerson)
{
    const std::string line = "The models folder cannot be written to: ";
    const std::map<int, std::string> lines = {
        {ENOSPC, DiskError::full().what()},
        {EDQUOT, DiskError::full().what()},
        {EACCES, line + "permission denied."},
        {EPERM, line + "permission denied."},
        {EROFS, line + "the disk is read-only."},
        {EIO, line + "the disk reports an error."},
        {ENOENT, line + "the folder is gone."},
        {ENOTDIR, line + "something else stands in its place."},
        {ELOOP, line + "something else stands in its place."},
        {EEXIST, line + "something is in the way that cannot be deleted."},
        {ENOTEMPTY, line + "something is in the way that cannot be deleted."},
        {EFBIG, line + "a file is too large for this disk."},
        {ENAMETOOLONG, line + "a name is too long for this disk."},
        {ENODEV, line + "error " + std::to_string(ENODEV) + "."},
    };
    for (const auto& [code, expected] : lines) {
        const auto folder = created();
        syncFailures = {{"file", code}};
        EXPECT_EQ(failure([&] { put(*folder, "file", "text"); }), expected);
    }
}

TEST_F(DiskWorkingFoldersTest, whatIsLostWhenAFileIsClosedIsNoticed)
{
    const auto folder = created();
    lostAtClose = "file";
    EXPECT_EQ(failure([&] { put(*folder, "file", "text"); }),
              "The models folder cannot be written to: the disk reports an error.");
}

TEST_F(DiskWorkingFoldersTest, whatAnEarlierOneLeftAndCannotBeDeletedIsInTheWay)
{
    fs::create_directories(models / "one.partial");
    write(models / "one.partial/rock", "left");
    stuck = {"rock"};
    EXPECT_EQ(failure([&] { created(); }), "The models folder cannot be written to: something is "
                                           "in the way that cannot be deleted.");
}

TEST_F(DiskWorkingFoldersTest, piecesFollowEachOtherUntilTheyAreTakenBack)
{
    const auto folder = created();
    const auto file = folder->createFile("file");
    const std::string text = "0123456789";
    file->append(std::as_bytes(std::span(text)));
    file->append(std::as_bytes(std::span(text)));
    file->clear();
    file->append(std::as_bytes(std::span(text)));
    file->sync();
    EXPECT_EQ(everything(), (Files{{"one.partial/file", text}}));
}

TEST_F(DiskWorkingFoldersTest, discardedItLeavesNothingAndTakesNothing)
{
    fs::create_directories(destination);
    write(destination / "former", "former");
    const auto folder = created();
    const auto file = folder->createFile("a/b");
    folder->discard();
    folder->discard();
    EXPECT_EQ(everything(), (Files{{"one/former", "former"}}));
    EXPECT_FALSE(fs::exists(models / "one.partial"));
    EXPECT_NE(failure([&] { folder->createFile("c"); }), "(none)");
    EXPECT_NE(failure([&] { folder->moveIntoPlace(); }), "(none)");
    EXPECT_NE(failure([&] { folder->create(); }), "(none)");
    const std::string text = "late";
    file->append(std::as_bytes(std::span(text))); // into what is deleted
    EXPECT_EQ(everything().size(), 1U);
}

TEST_F(DiskWorkingFoldersTest, onceItIsInPlaceDiscardingChangesNothing)
{
    const auto folder = created();
    put(*folder, "file", "text");
    folder->moveIntoPlace();
    folder->discard();
    EXPECT_EQ(everything(), (Files{{"one/file", "text"}}));
}

TEST_F(DiskWorkingFoldersTest, discardedBeforeItsCreationItIsNeverMade)
{
    const auto folder = make();
    folder->discard();
    EXPECT_NE(failure([&] { folder->create(); }), "(none)");
    EXPECT_FALSE(fs::exists(models / "one.partial"));
}

TEST_F(DiskWorkingFoldersTest, discardedBeforeItsCreationItTakesAlongWhatAnEarlierOneLeft)
{
    fs::create_directories(models / "one.partial/deep");
    write(models / "one.partial/deep/file", "left");
    write(models / "other", "other");
    make()->discard();
    EXPECT_EQ(everything(), (Files{{"other", "other"}}));
    EXPECT_FALSE(fs::exists(models / "one.partial"));
}

TEST_F(DiskWorkingFoldersTest, refusesPathsThatLeadOut)
{
    using namespace std::string_literals;
    const auto folder = created();
    for (const auto& path :
         {"../x"s, "a/../../x"s, "/etc/x"s, ""s, "a//b"s, "a/"s, "."s, ".."s, "a\0b"s}) {
        EXPECT_NE(failure([&] { folder->createFile(path); }), "(none)") << path;
    }
    EXPECT_EQ(everything(), Files());
}

TEST_F(DiskWorkingFoldersTest, followsNoLinkThatAppearsInIt)
{
    const fs::path outside = temporary / "outside";
    fs::create_directories(outside);
    write(outside / "precious", "mine");
    const auto folder = created();
    fs::create_directory_symlink(outside, models / "one.partial/folder");
    fs::create_symlink(outside / "precious", models / "one.partial/file");
    fs::create_symlink(outside / "new", models / "one.partial/dangling");
    for (const auto* path : {"folder/precious", "folder/new", "file", "dangling"}) {
        EXPECT_NE(failure([&] { folder->createFile(path); }).find("leads elsewhere"),
                  std::string::npos)
            << path;
    }
    folder->discard();
    EXPECT_EQ(textOf(outside / "precious"), "mine");
    EXPECT_EQ(std::distance(fs::directory_iterator(outside), fs::directory_iterator()), 1);
}

TEST_F(DiskWorkingFoldersTest, aFileThatIsThereAlreadyIsNotOverwritten)
{
    const auto folder = created();
    put(*folder, "a/b", "first");
    EXPECT_NE(failure([&] { folder->createFile("a/b"); }), "(none)");
    EXPECT_NE(failure([&] { folder->createFile("a/b/c"); }), "(none)");
    EXPECT_NE(failure([&] { folder->createFile("a"); }), "(none)");
    EXPECT_EQ(everything(), (Files{{"one.partial/a/b", "first"}}));
}

TEST_F(DiskWorkingFoldersTest, tellsTheRoomThatIsLeft)
{
    const auto folder = created();
    EXPECT_EQ(folder->freeSpace() > 0, fs::space(models).available > 0);
}

TEST_F(DiskWorkingFoldersTest, aModelsFolderThatCannotBeMadeIsSaidInOneLine)
{
    write(temporary / "data", "a file");
    const std::string line = failure([&] { created(); });
    EXPECT_EQ(line.find("The models folder cannot be written to: "), 0U) << line;
    EXPECT_EQ(line.find('\n'), std::string::npos);
}

TEST_F(DiskWorkingFoldersTest, discardedDuringTheMoveItWaitsAndLeavesTheNewModelWhole)
{
    fs::create_directories(destination);
    write(destination / "former", "former");
    const auto folder = created();
    put(*folder, "a/file", "text");
    std::promise<void> begun;
    std::promise<void> ended;
    auto end = ended.get_future();
    std::jthread discarding;
    duringSync["a"] = [&] {
        discarding = std::jthread([&] {
            begun.set_value();
            folder->discard();
            ended.set_value();
        });
        begun.get_future().wait();
        EXPECT_EQ(end.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    };
    EXPECT_EQ(failure([&] { folder->moveIntoPlace(); }), "(none)");
    discarding.join();
    EXPECT_EQ(everything(), (Files{{"one/a/file", "text"}}));
}

TEST_F(DiskWorkingFoldersTest, filesAreMadeBySeveralThreadsWhileItIsDiscarded)
{
    for (int round = 0; round < 20; ++round) {
        const auto folder = created();
        std::vector<std::jthread> threads;
        for (int number = 0; number < 3; ++number) {
            threads.emplace_back([&folder, number] {
                for (int i = 0; i < 50; ++i) {
                    failure([&] {
                        put(*folder, "a/" + std::to_string(number) + "/" + std::to_string(i), "x");
                    });
                }
            });
        }
        folder->discard();
        threads.clear();
        EXPECT_FALSE(fs::exists(models / "one.partial"));
    }
}

} // namespace
} // namespace vorlin
