// What the confinement keeps in. Each attempt is made by a program that confines itself with the
// engine's own code; free of it, the same attempts work.
#include "EngineFixture.h"

#include <spawn.h>
#include <sys/wait.h>

#include <array>
#include <csignal>
#include <fstream>
#include <set>

namespace vorlin::test {

namespace fs = std::filesystem;

namespace {

enum class Outcome { worked, refused, ended, broken };

std::ostream& operator<<(std::ostream& out, Outcome outcome)
{
    return out << (outcome == Outcome::worked    ? "worked"
                   : outcome == Outcome::refused ? "refused"
                   : outcome == Outcome::ended   ? "ended by the filter"
                                                 : "broken");
}

const long parentsMemory = 0x1234; // what a child would like to see

/// A model folder beside another one, each with something to read.
class Folders {
public:
    Folders()
    {
        fs::create_directories(folder() / "inner");
        fs::create_directories(root.path / "sibling");
        std::ofstream(folder() / "model.txt") << "model";
        std::ofstream(root.path / "sibling" / "secret.txt") << "secret";
        fs::create_symlink(root.path / "sibling" / "secret.txt", folder() / "link-out");
        fs::copy_file("/bin/true", folder() / "program");
        // A hub's cache keeps files in one place and makes models of links to them.
        fs::create_directories(root.path / "blobs" / "encoder");
        std::ofstream(root.path / "blobs" / "weights") << "weights";
        std::ofstream(root.path / "blobs" / "other") << "secret";
        std::ofstream(root.path / "blobs" / "encoder" / "model.mil") << "program";
        fs::create_directories(folder() / "Linked.mlmodelc" / "weights");
        fs::create_symlink("../../../blobs/weights",
                           folder() / "Linked.mlmodelc" / "weights" / "weight.bin");
        fs::create_symlink("/dev/zero", folder() / "Linked.mlmodelc" / "device");
        fs::create_directory_symlink("../blobs/encoder", folder() / "Shared.mlmodelc");
    }
    fs::path folder() const { return root.path / "model"; }

private:
    const TemporaryFolder root;
};

Outcome outcomeOf(const std::string& mode, const std::string& attempt)
{
    const Folders folders;
    std::string program = VORLIN_BREAKOUT;
    std::string how = mode;
    std::string what = attempt;
    std::string folder = folders.folder().string();
    std::string address = std::to_string(reinterpret_cast<long>(&parentsMemory));
    const std::array<char*, 6> arguments{program.data(), how.data(),     what.data(),
                                         folder.data(),  address.data(), nullptr};
    pid_t child = -1;
    int status = 0;
    if (::posix_spawn(&child, program.c_str(), nullptr, nullptr, arguments.data(), environ) != 0 ||
        ::waitpid(child, &status, 0) != child) {
        return Outcome::broken;
    }
    if (WIFSIGNALED(status)) {
        return WTERMSIG(status) == SIGSYS ? Outcome::ended : Outcome::broken;
    }
    constexpr int refused = 10;
    return WEXITSTATUS(status) == 0         ? Outcome::worked
           : WEXITSTATUS(status) == refused ? Outcome::refused
                                            : Outcome::broken;
}

class BreakoutTest : public testing::TestWithParam<std::string> {};

/// Attempts that fail for an ordinary user, or in some kernels, even when nothing confines them.
const std::set<std::string> notForEverybody{
    "opens-handle",
    "mounts",
    "changes-root",
    "raises-core-limit",
    "bpf",
    "io-uring",
    "measures",
    "userfault",
    "new-privileges",
    "raw-socket",
    "keys",
    "traces-parent",
    "opens-parents-memory",
    "leaves-namespaces",
    "limits-parent",
    "reads-parents-memory",
    "controls-devices",
};

} // namespace

TEST_P(BreakoutTest, doesNotWorkInside)
{
    const auto outcome = outcomeOf("confined", GetParam());
    EXPECT_TRUE(outcome == Outcome::refused || outcome == Outcome::ended) << outcome;
}

TEST_P(BreakoutTest, worksOutside)
{
    if (!notForEverybody.contains(GetParam())) {
        EXPECT_EQ(outcomeOf("free", GetParam()), Outcome::worked);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Attempts, BreakoutTest,
    testing::Values("opens-passwd", "opens-sibling", "climbs", "follows-link", "opens-folder-above",
                    "reads-beside-linked-file", "lists-linked-folder", "writes-linked-file",
                    "opens-linked-device", "lists-folder", "changes-folder", "opens-as-path",
                    "writes-own-file", "updates-own-file", "truncates-own-file",
                    "truncates-by-name", "makes-file", "makes-file-reading", "makes-nameless-file",
                    "writes-outside", "makes-folder", "makes-link", "links", "removes", "renames",
                    "changes-mode", "opens-own-memory", "opens-own-maps", "opens-parents-memory",
                    "opens-parents-environment", "opens-handle", "mounts", "changes-root",
                    "executes", "executes-own-file", "executes-on-thread", "forks", "forks-plainly",
                    "clones", "leaves-namespaces", "traces-parent", "asks-to-be-traced",
                    "kills-parent", "kills-parents-thread", "queues-signal", "opens-process",
                    "reads-parents-memory", "writes-parents-memory", "limits-parent",
                    "slows-parent", "nices-parent", "maps-executable", "makes-executable",
                    "runs-from-memory", "unix-socket", "internet-socket", "internet-datagrams",
                    "raw-socket", "socket-on-thread", "connects", "pairs-sockets", "makes-pipe",
                    "io-uring", "bpf", "userfault", "keys", "measures", "controls-devices",
                    "new-privileges", "becomes-dumpable", "survives-parent", "another-filter",
                    "raises-core-limit", "changes-user", "writes-to-standard-error"),
    [](const auto& attempt) {
        std::string name = attempt.param;
        std::erase(name, '-');
        return name;
    });

TEST(ConfinedFilesTest, theModelFolderIsReadable)
{
    EXPECT_EQ(outcomeOf("confined", "reads-own-file"), Outcome::worked);
}

TEST(ConfinedFilesTest, whatLinksInABundleLeadToIsReadable)
{
    EXPECT_EQ(outcomeOf("confined", "reads-linked-weights"), Outcome::worked);
    EXPECT_EQ(outcomeOf("confined", "reads-linked-folder"), Outcome::worked);
}

TEST(ConfinedFilesTest, startingProgramsAndSocketsEndTheProcess)
{
    for (const auto* attempt : {"executes", "unix-socket", "asks-to-be-traced", "io-uring"}) {
        EXPECT_EQ(outcomeOf("confined", attempt), Outcome::ended) << attempt;
    }
}

/// Without Landlock other people's files can be read; nothing can be written all the same.
TEST(ConfinedFilesTest, withoutFileRulesTheFilterStillForbidsWriting)
{
    EXPECT_EQ(outcomeOf("without-file-rules", "reads-own-file"), Outcome::worked);
    EXPECT_EQ(outcomeOf("without-file-rules", "opens-sibling"), Outcome::worked);
    for (const auto* attempt : {"writes-own-file", "makes-file", "makes-file-reading",
                                "truncates-own-file", "makes-nameless-file", "writes-outside",
                                "removes", "renames", "opens-own-memory", "lists-folder"}) {
        EXPECT_EQ(outcomeOf("without-file-rules", attempt), Outcome::refused) << attempt;
    }
}

} // namespace vorlin::test
