// The real engine process, seen from outside.
#include "EngineFixture.h"

#include <sys/resource.h>

#include <algorithm>
#include <fstream>
#include <set>

namespace vorlin::test {

namespace fs = std::filesystem;

class ConfinementTest : public EngineTest {
protected:
    ConfinementTest()
    {
        writeDouble();
        model = load("Double.mlmodelc");
        doubled(*model);
        process = "/proc/" + std::to_string(engine());
    }

    /// What "Max NAME" is limited to, softly and hardly.
    std::string limitOf(const std::string& name) const
    {
        std::ifstream file(process / "limits");
        for (std::string line; std::getline(file, line);) {
            if (line.starts_with("Max " + name + " ")) {
                std::istringstream values(line.substr(4 + name.size()));
                std::string soft;
                std::string hard;
                values >> soft >> hard;
                return soft.append(" ").append(hard);
            }
        }
        return "none";
    }

    std::unique_ptr<MLModel> model;
    fs::path process;
};

TEST_F(ConfinementTest, aFilterIsInForceAndPrivilegesAreGone)
{
    EXPECT_EQ(statusOf(engine(), "NoNewPrivs"), "1");
    EXPECT_EQ(statusOf(engine(), "Seccomp"), "2");
    EXPECT_EQ(statusOf(engine(), "CapEff"), "0000000000000000");
    EXPECT_EQ(statusOf(engine(), "CapPrm"), "0000000000000000");
    EXPECT_EQ(statusOf(engine(), "CapInh"), "0000000000000000");
    EXPECT_EQ(statusOf(engine(), "CapBnd"),
              ::getuid() == 0 ? "0000000000000000" : statusOf(::getpid(), "CapBnd"));
}

TEST_F(ConfinementTest, everyThreadIsConfined)
{
    predict(*model, {{"x", floats({1, 2}, {2})}}, {}, WorkPriority::background);
    std::size_t threads = 0;
    for (const auto& thread : fs::directory_iterator(process / "task")) {
        const auto text = textOf(thread.path() / "status");
        threads += text.empty() ? 0U : 1U; // one that has just ended has none
        EXPECT_TRUE(text.empty() || text.find("Seccomp:\t2\n") != std::string::npos) << text;
    }
    EXPECT_GE(threads, 3U);
}

TEST_F(ConfinementTest, itHoldsNothingButItsChannels)
{
    if (::getuid() != 0) {
        return; // a process that cannot be dumped shows its descriptors to root only
    }
    std::map<int, std::string> open;
    for (const auto& entry : fs::directory_iterator(process / "fd")) {
        open[std::stoi(entry.path().filename())] = fs::read_symlink(entry.path());
    }
    EXPECT_EQ(open.size(), 5U);
    for (const int standard : {0, 1, 2}) {
        EXPECT_EQ(open[standard], "/dev/null");
    }
    for (const int channel : {3, 4}) { // control, and the model's own
        EXPECT_TRUE(open[channel].starts_with("socket:")) << open[channel];
    }
}

TEST_F(ConfinementTest, itLeavesNoCoreAndWritesNoFile)
{
    EXPECT_EQ(limitOf("core file size"), "0 0");
    EXPECT_EQ(limitOf("file size"), "0 0");
    EXPECT_EQ(limitOf("locked memory"), "0 0");
    EXPECT_EQ(limitOf("open files"), "256 256");
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    EXPECT_NE(limitOf("data size"), "unlimited unlimited");
#endif
}

TEST_F(ConfinementTest, itIsToldNothing)
{
    EXPECT_EQ(textOf(process / "cmdline"), std::string("vorlin-engine\0", 14));
    EXPECT_EQ(textOf(process / "environ"), "");
    EXPECT_EQ(textOf(process / "oom_score_adj"), "500\n");
}

TEST_F(ConfinementTest, itsMemoryIsNowhereWritableAndExecutable)
{
    if (::getuid() != 0) {
        return; // like its descriptors
    }
    std::ifstream maps(process / "maps");
    for (std::string line; std::getline(maps, line);) {
        EXPECT_EQ(line.find("wx"), std::string::npos) << line;
    }
}

TEST_F(ConfinementTest, aBackgroundPredictionRunsAtLowerPriority)
{
    // The priorities of the threads; one that has just ended has none.
    const auto niceness = [this] {
        std::vector<long> all;
        for (const auto& thread : fs::directory_iterator(process / "task")) {
            const auto text = textOf(thread.path() / "stat");
            std::istringstream rest(text.substr(text.rfind(')') + 1));
            std::string field;
            constexpr int place = 17; // fields after the name
            for (int i = 0; i < place; ++i) {
                rest >> field;
            }
            if (rest) {
                all.push_back(std::stol(field));
            }
        }
        return all;
    };
    const long own = ::getpriority(PRIO_PROCESS, 0);
    // Its first and the model's, which has predicted: that which reads the weights has been begun.
    ASSERT_TRUE(eventually([&] { return niceness() == std::vector{own, own}; }));
    EXPECT_EQ(
        floatsOf(
            predict(*model, {{"x", floats({1, 2}, {2})}}, {}, WorkPriority::background).at("y")),
        (std::vector<float>{2, 4}));
    EXPECT_EQ(std::ranges::max(niceness()), std::min(19L, own + 10));
}

} // namespace vorlin::test
