#include "Platform/macOS/MacFolders.h"

#include "NSFileManager.h"
#include "Platform/Contracts/FoldersContract.h"
#include "Platform/Linux/Desktop/TemporaryFolder.h"
#include "Runtime.h"

namespace vorlin {
namespace {

using standins::taken;
using Calls = std::vector<std::string>;

NSURL* url(const std::filesystem::path& path)
{
    return [NSURL fileURLWithPath:[NSString stringWithUTF8String:path.c_str()]];
}

/// A person's home, whose Application Support folder exists.
struct Home {
    Home()
    {
        std::filesystem::create_directory(support);
        standins::applicationSupport() = @[ url(support), url("/elsewhere") ];
    }
    ~Home() { standins::applicationSupport() = nil; }
    Home(const Home&) = delete;
    Home& operator=(const Home&) = delete;

    TemporaryFolder temporary;
    const std::filesystem::path support = temporary / "Application Support";
};

struct MacHome : Home {
    MacFolders folders;
    const std::filesystem::path outside = temporary / "outside";
};
INSTANTIATE_TYPED_TEST_SUITE_P(Mac, FoldersContract, MacHome);

class MacFoldersTest : public testing::Test {
protected:
    /// Runs on a thread that has no pool, and says what it called.
    Calls elsewhere(const std::function<void()>& work)
    {
        taken();
        const long before = standins::alive();
        std::thread(work).join();
        EXPECT_EQ(standins::alive(), before);
        return taken();
    }

    MacHome home;
    MacFolders& folders = home.folders;
    const std::string root = home.support.string() + "/Vorlin/Models";
};

TEST_F(MacFoldersTest, modelsLieInTheFirstApplicationSupportFolderOfThePerson)
{
    taken();
    EXPECT_EQ(MacFolders().modelsRoot(), root);
    EXPECT_EQ(taken(), Calls{"-[NSFileManager URLsForDirectory:inDomains:] 14 1"});
}

TEST_F(MacFoldersTest, aPersonWithoutSuchAFolderHasNoPlaceForModels)
{
    standins::applicationSupport() = [NSArray array];
    EXPECT_DEATH(MacFolders(), "Application Support");
}

TEST_F(MacFoldersTest, makesTheRootWithTheFoldersAboveIt)
{
    EXPECT_EQ(elsewhere([this] { folders.makeModelsRoot(); }),
              (Calls{"elsewhere: -[NSFileManager createDirectoryAtURL:withIntermediateDirectories:"
                     "attributes:error:] file://" +
                     root + " YES nil"}));
    EXPECT_TRUE(std::filesystem::is_directory(root));
}

TEST_F(MacFoldersTest, asksForTheExistenceOfAPartOnly)
{
    EXPECT_EQ(elsewhere([this] { folders.whyUnusable("/m", "Encoder.mlmodelc"); }),
              Calls{"elsewhere: -[NSFileManager fileExistsAtPath:] /m/Encoder.mlmodelc"});
}

TEST_F(MacFoldersTest, walksThroughEverythingForTheAllocatedSize)
{
    folders.makeModelsRoot();
    std::ofstream(root + "/file") << "x";
    std::uint64_t size = 0;
    EXPECT_EQ(elsewhere([&] { size = folders.allocatedSize(root); }),
              (Calls{"elsewhere: -[NSFileManager enumeratorAtURL:includingPropertiesForKeys:"
                     "options:errorHandler:] file://" +
                     root + " (NSURLTotalFileAllocatedSizeKey) 0 NO"}));
    EXPECT_EQ(size % 512, 0U);
}

TEST_F(MacFoldersTest, whatIsNoPathIsNotTakenForTheFolderOfTheProgram)
{
    for (const std::string path : {"", "/\xff"}) {
        EXPECT_EQ(elsewhere([&] { EXPECT_EQ(folders.allocatedSize(path), 0U); }), Calls());
    }
}

} // namespace
} // namespace vorlin
