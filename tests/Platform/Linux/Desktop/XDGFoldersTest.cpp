#include "Platform/Linux/Desktop/XDGFolders.h"

#include "Platform/Contracts/FoldersContract.h"
#include "Platform/Linux/Desktop/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/fsuid.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <memory>
#include <thread>

namespace vorlin {
namespace {

namespace fs = std::filesystem;

/// Makes this thread see files as a person without rights does, also where tests run as root.
class AsNobody {
public:
    AsNobody() : before(static_cast<uid_t>(::setfsuid(nobody))) {}
    AsNobody(const AsNobody&) = delete;
    AsNobody& operator=(const AsNobody&) = delete;
    ~AsNobody() { ::setfsuid(before); }

private:
    static constexpr uid_t nobody = 65534;
    const uid_t before;
};

struct XDGHome {
    TemporaryFolder temporary;
    XDGFolders folders{temporary / "data" / "Models"};
    const fs::path outside = temporary / "outside";
};
INSTANTIATE_TYPED_TEST_SUITE_P(XDG, FoldersContract, XDGHome);

class XDGFoldersTest : public testing::Test {
protected:
    XDGFoldersTest()
    {
        fs::create_directories(model);
        fs::create_directories(outside);
        write(outside / "kept", "kept");
    }
    bool contains(const fs::path& folder, const std::string& name)
    {
        return !folders.whyUnusable(folder, name);
    }
    std::string why(const std::string& name)
    {
        return folders.whyUnusable(model, name).value_or("(usable)");
    }
    /// A bundle as a hub's cache lays it out: folders of links into a store of files.
    void makeLinkedBundle(const fs::path& bundle)
    {
        fs::create_directories(bundle / "weights");
        write(outside / "blob-1", "program");
        write(outside / "blob-2", "weights");
        fs::create_symlink(outside / "blob-1", bundle / "model.mil");
        fs::create_symlink(outside / "blob-2", bundle / "weights" / "weight.bin");
    }
    std::string failureOf(const fs::path& file, std::size_t most = 1000)
    {
        try {
            read(file, most);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "(read)";
    }
    /// What the system says is allocated below a folder, each file once.
    static std::uint64_t allocated(const fs::path& file)
    {
        struct stat item = {};
        return ::lstat(file.c_str(), &item) == 0 ? static_cast<std::uint64_t>(item.st_blocks) * 512
                                                 : 0;
    }
    static void makeSocket(const fs::path& file)
    {
        const int number = ::socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        file.string().copy(&address.sun_path[0], sizeof address.sun_path - 1);
        ASSERT_EQ(::bind(number, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        ::close(number);
    }
    /// A chain of folders of the given depth, deeper than any path can be long.
    static void makeDeep(const fs::path& folder, int depth)
    {
        int at = ::open(folder.c_str(), O_DIRECTORY | O_CLOEXEC);
        const std::string name(100, 'd');
        for (int i = 0; i < depth; ++i) {
            ASSERT_EQ(::mkdirat(at, name.c_str(), 0700), 0);
            const int next = ::openat(at, name.c_str(), O_DIRECTORY | O_CLOEXEC);
            ::close(at);
            at = next;
        }
        ::close(::openat(at, "file", O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
        ::close(at);
    }

    TemporaryFolder temporary;
    const fs::path root = temporary / "Models";
    const fs::path model = root / "model";
    const fs::path outside = temporary / "outside";
    Bytes read(const fs::path& file, std::size_t most)
    {
        return folders.read(file, most, [] {});
    }

    XDGFolders folders{root};
};

TEST_F(XDGFoldersTest, theModelsRootIsMadeWithTheFoldersAboveIt)
{
    XDGFolders elsewhere(outside / "a" / "b" / "Models");
    elsewhere.makeModelsRoot();
    EXPECT_TRUE(fs::is_directory(elsewhere.modelsRoot()));
    elsewhere.makeModelsRoot(); // where it is, nothing happens
    write(outside / "file", "");
    XDGFolders nowhere(outside / "file" / "Models");
    nowhere.makeModelsRoot();
    EXPECT_FALSE(fs::exists(nowhere.modelsRoot()));
}

TEST_F(XDGFoldersTest, containsWhatExistsWhateverItIs)
{
    write(model / "file", "");
    fs::create_directory(model / "folder");
    fs::create_symlink(outside, model / "link");
    fs::create_symlink(model / "nowhere", model / "dangling");
    fs::create_symlink("loop", model / "loop");
    write(model / "a\nb", "");
    ::mkfifo((model / "pipe").c_str(), 0600);
    for (const auto* name : {"file", "folder", "link", "a\nb", "pipe"}) {
        EXPECT_TRUE(contains(model, name)) << name;
    }
    for (const auto* name : {"dangling", "loop", "nothing", "File"}) {
        EXPECT_FALSE(contains(model, name)) << name;
    }
}

TEST_F(XDGFoldersTest, containsOnlyWhatLiesDirectlyInside)
{
    using namespace std::string_literals;
    fs::create_directory(model / "folder");
    write(model / "folder" / "file", "");
    for (const auto& name :
         {""s, "."s, ".."s, "../outside"s, "folder/file"s, "/etc"s, "folder\0"s, "\0"s}) {
        EXPECT_FALSE(contains(model, name)) << name;
    }
    EXPECT_FALSE(contains(model.string() + '\0' + "x", "folder"));
    EXPECT_FALSE(contains("", "folder"));
    EXPECT_FALSE(contains(model / "nothing", "folder"));
    EXPECT_FALSE(contains(model / "folder" / "file", "folder"));
    EXPECT_FALSE(contains(model, std::string(5000, 'x')));
}

TEST_F(XDGFoldersTest, whatIsMadeOfLinksToFilesCanBeUsed)
{
    makeLinkedBundle(model / "Linked.mlmodelc");
    fs::create_directory_symlink(model / "Linked.mlmodelc", model / "Shared.mlmodelc");
    fs::create_directory_symlink(model, outside / "model"); // and round in a circle
    fs::create_directory_symlink(outside, model / "Linked.mlmodelc" / "circle");
    EXPECT_EQ(why("Linked.mlmodelc"), "(usable)");
    EXPECT_EQ(why("Shared.mlmodelc"), "(usable)");
    fs::create_symlink(outside / "blob-1", model / "vocabulary");
    EXPECT_EQ(why("vocabulary"), "(usable)");
}

TEST_F(XDGFoldersTest, aLinkThatLeadsNowhereUsefulIsNamedWithTheReason)
{
    const fs::path weights = model / "Linked.mlmodelc" / "weights" / "weight.bin";
    makeLinkedBundle(model / "Linked.mlmodelc");
    fs::create_directory_symlink(model / "Linked.mlmodelc", model / "Shared.mlmodelc");
    fs::create_symlink("/dev/zero", model / "device");
    EXPECT_EQ(why("device"), "it leads to a device");
    fs::create_symlink("nowhere", model / "dangling");
    EXPECT_EQ(why("dangling"), "it leads to nothing");
    EXPECT_EQ(why("nothing at all"), "");
    ::mkfifo((outside / "pipe").c_str(), 0600);
    for (const auto& [to, said] :
         {std::pair<fs::path, std::string>{"/dev/zero", "weights/weight.bin leads to a device"},
          {outside / "nothing", "weights/weight.bin leads to nothing"},
          {outside / "pipe", "weights/weight.bin leads to no plain file"},
          {weights, "weights/weight.bin leads to nothing"}}) {
        fs::remove(weights);
        fs::create_symlink(to, weights);
        EXPECT_EQ(why("Linked.mlmodelc"), said);
        EXPECT_EQ(why("Shared.mlmodelc"), said);
    }
    fs::remove(weights);
    ::mkfifo(weights.c_str(), 0600);
    EXPECT_EQ(why("Linked.mlmodelc"), "(usable)") << "no link: what is in it is not asked";
    EXPECT_EQ(why("Shared.mlmodelc"), "weights/weight.bin is no plain file");
    fs::create_symlink("/dev/zero", model / "Linked.mlmodelc" / "a\nb");
    EXPECT_EQ(why("Linked.mlmodelc"), "a?b leads to a device");
}

TEST_F(XDGFoldersTest, aLinkToMoreThanAnyBundleHoldsIsRefused)
{
    for (int i = 0; i < 1001; ++i) {
        write(outside / std::to_string(i), "");
    }
    fs::create_directory_symlink(outside, model / "Everything.mlmodelc");
    EXPECT_EQ(why("Everything.mlmodelc"), "it leads to too many files");
    fs::create_directory(temporary / "deep");
    makeDeep(temporary / "deep", 12);
    fs::create_directory_symlink(temporary / "deep", model / "Deep.mlmodelc");
    EXPECT_TRUE(why("Deep.mlmodelc").ends_with("leads to too many folders"));
    makeDeep(model, 12);
    EXPECT_EQ(why(std::string(100, 'd')), "(usable)");
}

TEST_F(XDGFoldersTest, aLinkToWhatThePersonMayNotReadIsRefused)
{
    makeLinkedBundle(model / "Linked.mlmodelc");
    fs::create_directory_symlink(outside, model / "Shared.mlmodelc");
    for (const auto& folder : {temporary.path(), root, model, model / "Linked.mlmodelc",
                               model / "Linked.mlmodelc" / "weights"}) {
        fs::permissions(folder, fs::perms::all);
    }
    fs::permissions(outside, fs::perms::all);
    fs::permissions(outside / "blob-2", fs::perms::none);
    {
        const AsNobody other;
        EXPECT_EQ(why("Linked.mlmodelc"),
                  "weights/weight.bin leads to a file that may not be read");
    }
    fs::permissions(outside / "blob-2", fs::perms::all);
    fs::permissions(outside, fs::perms::none);
    {
        const AsNobody other;
        EXPECT_EQ(why("Linked.mlmodelc"), "model.mil leads to a file that may not be read");
        EXPECT_EQ(why("Shared.mlmodelc"), "it leads to a folder that may not be read");
    }
    fs::permissions(outside, fs::perms::owner_all);
}

TEST_F(XDGFoldersTest, otherFilesAreToldApartByNameSizeAndTime)
{
    makeLinkedBundle(model / "A.mlmodelc");
    const auto first = folders.identity(model);
    EXPECT_NE(first, "");
    EXPECT_EQ(folders.identity(model), first);
    write(outside / "blob-2", "heavier");
    const auto heavier = folders.identity(model);
    EXPECT_NE(heavier, first);
    fs::last_write_time(outside / "blob-1",
                        fs::file_time_type::clock::now() + std::chrono::seconds(5));
    const auto later = folders.identity(model);
    EXPECT_NE(later, heavier);
    fs::rename(model / "A.mlmodelc", model / "B.mlmodelc");
    EXPECT_NE(folders.identity(model), later);
}

TEST_F(XDGFoldersTest, whatIsNoModelHasNoIdentity)
{
    EXPECT_EQ(folders.identity(model), "");
    fs::create_directories(model);
    EXPECT_EQ(folders.identity(model), "");
    fs::create_directory_symlink(model, model / "again");
    write(model / "file", "x");
    EXPECT_EQ(folders.identity(model), "") << "a folder in itself";
}

TEST_F(XDGFoldersTest, sizesAreWhatIsAllocatedNotWhatIsInside)
{
    fs::create_directories(model / "a" / "b");
    write(model / "a" / "full", std::string(100'000, 'x'));
    write(model / "a" / "b" / "small", "x");
    write(model / "sparse", "");
    fs::resize_file(model / "sparse", 50'000'000);
    const auto expected = allocated(model / "a") + allocated(model / "a" / "full") +
                          allocated(model / "a" / "b") + allocated(model / "a" / "b" / "small") +
                          allocated(model / "sparse");
    EXPECT_GE(expected, 100'000U);
    EXPECT_LT(expected, 1'000'000U);
    EXPECT_EQ(folders.allocatedSize(model), expected);
}

TEST_F(XDGFoldersTest, linksCountAsLinks)
{
    write(outside / "large", std::string(1'000'000, 'x'));
    fs::create_symlink(outside / "large", model / "file");
    fs::create_symlink(outside, model / "folder");
    fs::create_symlink(model, model / "itself");
    fs::create_symlink("/nowhere", model / "dangling");
    EXPECT_LT(folders.allocatedSize(model), 100'000U);
}

TEST_F(XDGFoldersTest, aFolderThatIsALinkIsMeasured)
{
    write(outside / "large", std::string(1'000'000, 'x'));
    fs::create_symlink(outside, root / "linked");
    EXPECT_GE(folders.allocatedSize(root / "linked"), 1'000'000U);
}

TEST_F(XDGFoldersTest, aFileOfSeveralNamesCountsOnce)
{
    write(model / "one", std::string(1'000'000, 'x'));
    fs::create_hard_link(model / "one", model / "two");
    fs::create_hard_link(model / "one", model / "three");
    EXPECT_EQ(folders.allocatedSize(model), allocated(model / "one"));
}

TEST_F(XDGFoldersTest, whatCannotBeReadCountsAsNothing)
{
    EXPECT_EQ(folders.allocatedSize(model / "nothing"), 0U);
    EXPECT_EQ(folders.allocatedSize(""), 0U);
    write(model / "file", "x");
    EXPECT_EQ(folders.allocatedSize(model / "file"), 0U);
}

TEST_F(XDGFoldersTest, specialFilesHoldUpNothing)
{
    ::mkfifo((model / "pipe").c_str(), 0600);
    makeSocket(model / "socket");
    fs::create_directory(model / "a\nb");
    write(model / "a\nb" / "\xff\x01", std::string(10'000, 'x'));
    EXPECT_GE(folders.allocatedSize(model), 10'000U);
    folders.removeModel(model);
    EXPECT_FALSE(fs::exists(model));
}

TEST_F(XDGFoldersTest, thousandsOfFilesAreMeasuredAndRemoved)
{
    for (int i = 0; i < 5000; ++i) {
        write(model / std::to_string(i), "x");
    }
    EXPECT_EQ(folders.allocatedSize(model), 5000 * allocated(model / "0"));
    folders.removeModel(model);
    EXPECT_FALSE(fs::exists(model));
}

TEST_F(XDGFoldersTest, aTreeDeeperThanAnyPathIsMeasuredAndRemoved)
{
    makeDeep(model, 350);
    EXPECT_GT(folders.allocatedSize(model), 0U);
    folders.removeModel(model);
    EXPECT_FALSE(fs::exists(model));
    EXPECT_TRUE(fs::is_empty(root));
}

TEST_F(XDGFoldersTest, removalTakesWhatACrashedDownloadLeftAndNothingElse)
{
    const fs::path partial = root / "model.partial";
    for (const bool hasModel : {true, false}) {
        for (const auto& folder :
             {partial, root / "model.partial.partial", root / "other.partial"}) {
            fs::create_directories(folder / "Encoder.mlmodelc");
            write(folder / "Encoder.mlmodelc" / "weight.bin", "x");
        }
        folders.removeModel(model);
        EXPECT_FALSE(fs::exists(model));
        EXPECT_FALSE(fs::exists(partial)) << hasModel;
        EXPECT_TRUE(fs::exists(root / "model.partial.partial" / "Encoder.mlmodelc" / "weight.bin"));
        EXPECT_TRUE(fs::exists(root / "other.partial" / "Encoder.mlmodelc" / "weight.bin"));
    }
    fs::create_symlink(outside, partial);
    folders.removeModel(model);
    EXPECT_FALSE(fs::is_symlink(partial));
    EXPECT_EQ(textOf(outside / "kept"), "kept");
}

TEST_F(XDGFoldersTest, removalDeletesLinksNotWhatTheyLeadTo)
{
    fs::create_symlink(outside, model / "folder");
    fs::create_symlink(outside / "kept", model / "file");
    fs::create_directory(model / "inner");
    fs::create_symlink("../../../outside", model / "inner" / "up");
    folders.removeModel(model);
    EXPECT_FALSE(fs::exists(model));
    EXPECT_EQ(textOf(outside / "kept"), "kept");
}

TEST_F(XDGFoldersTest, aModelThatIsALinkIsUnlinked)
{
    fs::create_symlink(outside, root / "linked");
    folders.removeModel(root / "linked");
    EXPECT_FALSE(fs::is_symlink(root / "linked"));
    EXPECT_EQ(textOf(outside / "kept"), "kept");
}

TEST_F(XDGFoldersTest, removesOnlyWhatLiesDirectlyBelowTheRoot)
{
    fs::create_directory(model / "inner");
    write(model / "inner" / "file", "x");
    for (const fs::path& folder :
         {fs::path(), root, root / "", root / ".", root / "..", root / "model" / "inner", outside,
          root / ".." / "outside", root / "model" / ".." / ".." / "outside", fs::path("model"),
          fs::path(model.string() + '\0' + "x"), model / ""}) {
        folders.removeModel(folder);
        EXPECT_TRUE(fs::exists(model / "inner" / "file")) << folder;
        EXPECT_TRUE(fs::exists(outside / "kept")) << folder;
    }
    folders.removeModel(root / "nothing");
    XDGFolders(temporary / "no such root").removeModel(temporary / "no such root" / "model");
}

TEST_F(XDGFoldersTest, removesAPlainFileInAModelsPlace)
{
    write(root / "file", "x");
    folders.removeModel(root / "file");
    EXPECT_FALSE(fs::exists(root / "file"));
}

TEST_F(XDGFoldersTest, aLinkPutInAFoldersPlaceMeanwhileLeadsNowhere)
{
    // The folder that is being removed turns into a link to the outside and back all the time.
    std::atomic<bool> done = false;
    fs::create_directory(temporary / "aside");
    fs::create_symlink(outside, temporary / "aside" / "link");
    std::thread attacker([&] {
        while (!done) {
            ::renameat2(AT_FDCWD, (temporary / "aside" / "link").c_str(), AT_FDCWD,
                        (model / "swapped").c_str(), RENAME_EXCHANGE);
        }
    });
    for (int i = 0; i < 300; ++i) {
        fs::create_directories(model / "swapped");
        folders.allocatedSize(model);
        folders.removeModel(model);
        std::error_code ignored;
        fs::create_directories(model, ignored);
    }
    done = true;
    attacker.join();
    EXPECT_EQ(textOf(outside / "kept"), "kept");
}

TEST_F(XDGFoldersTest, readsAFilesBytes)
{
    using namespace std::string_literals;
    const std::string text = "a\0\xff\n"s;
    write(model / "file", text);
    EXPECT_EQ(read(model / "file", 1000), Bytes(text.begin(), text.end()));
    EXPECT_EQ(read(model / "file", 4), Bytes(text.begin(), text.end()));
    fs::create_symlink("file", model / "link");
    EXPECT_EQ(read(model / "link", 1000).size(), 4U);
    write(model / "empty", "");
    EXPECT_TRUE(read(model / "empty", 0).empty());
    write(model / "large", std::string(3'000'000, 'x'));
    EXPECT_EQ(read(model / "large", 3'000'000).size(), 3'000'000U);
}

TEST_F(XDGFoldersTest, tellsOfEveryQuarterOfAMegabyteThatItHasRead)
{
    write(model / "large", std::string(3'000'000, 'x'));
    int told = 0;
    folders.read(model / "large", 3'000'000, [&told] { ++told; });
    EXPECT_GE(told, 3'000'000 / (256 << 10));
}

TEST_F(XDGFoldersTest, readsAFileThatDoesNotTellItsSize)
{
    EXPECT_GT(read("/proc/self/status", 100'000).size(), 100U);
    EXPECT_EQ(failureOf("/proc/self/status", 100), "Cannot read status: it is too large.");
}

TEST_F(XDGFoldersTest, whatCannotBeReadSaysWhyInOneLine)
{
    write(model / "file", "12345");
    EXPECT_EQ(failureOf(model / "file", 4), "Cannot read file: it is too large.");
    EXPECT_EQ(failureOf(model / "nothing"), "Cannot read nothing: No such file or directory.");
    EXPECT_EQ(failureOf(model), "Cannot read model: it is no plain file.");
    fs::create_symlink("nothing", model / "dangling");
    EXPECT_EQ(failureOf(model / "dangling"), "Cannot read dangling: No such file or directory.");
    EXPECT_EQ(failureOf(model / "a\nb"), "Cannot read a?b: No such file or directory.");
    EXPECT_EQ(failureOf(model.string() + "/a" + '\0' + "b"),
              "Cannot read a?b: its name holds a NUL byte.");
    EXPECT_EQ(failureOf(model / "file" / "x"), "Cannot read x: Not a directory.");
}

TEST_F(XDGFoldersTest, readingSpecialFilesHoldsUpNothing)
{
    ::mkfifo((model / "pipe").c_str(), 0600);
    makeSocket(model / "socket");
    EXPECT_EQ(failureOf(model / "pipe"), "Cannot read pipe: it is no plain file.");
    EXPECT_EQ(failureOf(model / "socket"), "Cannot read socket: it is no plain file.");
    EXPECT_EQ(failureOf("/dev/zero"), "Cannot read zero: it is no plain file.");
}

TEST_F(XDGFoldersTest, aFolderWithoutPermissionIsAsIfEmpty)
{
    write(model / "file", "x");
    for (const auto& folder : {temporary.path(), root, model}) {
        fs::permissions(folder, fs::perms::all);
    }
    {
        const AsNobody other;
        EXPECT_TRUE(contains(model, "file"));
    }
    fs::permissions(model, fs::perms::none);
    {
        const AsNobody other;
        EXPECT_FALSE(contains(model, "file"));
        EXPECT_EQ(folders.allocatedSize(model), 0U);
        EXPECT_EQ(failureOf(model / "file"), "Cannot read file: Permission denied.");
        folders.removeModel(model);
    }
    // What cannot be deleted is at least no model any more.
    const fs::path left = root / "model.partial";
    fs::permissions(left, fs::perms::owner_all);
    EXPECT_EQ(textOf(left / "file"), "x");
}

} // namespace
} // namespace vorlin
