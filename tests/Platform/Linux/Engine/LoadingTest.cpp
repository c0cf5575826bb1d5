// Loads that are slow, that hang, and that hold up nobody.
#include "EngineFixture.h"

#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <fstream>
#include <latch>

namespace vorlin::test {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

/// Counts what may wait for a disk.
class WatchedWorkers final : public Workers {
public:
    explicit WatchedWorkers(Workers& workers) : workers(workers) {}
    Executor& executor(WorkPriority priority) override { return workers.executor(priority); }
    void runPatiently(WorkPriority priority, Work slow, Executor& to, Work done) override
    {
        ++patient;
        workers.runPatiently(priority, std::move(slow), to, std::move(done));
    }
    int patient = 0;

private:
    Workers& workers;
};

class LoadingTest : public EngineTest {
protected:
    /// A load whose bundle tells the impostor how to behave.
    Completion<std::unique_ptr<MLModel>> begin(const std::string& bundle)
    {
        return models->load(folder.path / bundle,
                            {ComputeUnits::cpuOnly, priority, [this] { ++progress; }});
    }

    /// The niceness of each thread of the engine process.
    static std::vector<int> niceness()
    {
        std::vector<int> all;
        std::error_code gone;
        for (const auto& thread :
             fs::directory_iterator("/proc/" + std::to_string(engine()) + "/task", gone)) {
            errno = 0;
            const int nice = ::getpriority(
                PRIO_PROCESS, static_cast<id_t>(std::stoul(thread.path().filename().string())));
            if (errno == 0) {
                all.push_back(nice);
            }
        }
        return all;
    }
    static int ownNiceness() { return ::getpriority(PRIO_PROCESS, 0); }

    WorkPriority priority = WorkPriority::normal;
    std::atomic<int> progress = 0;
};

TEST_F(LoadingTest, aSlowLoadIsWaitedForAndSeenToGetOn)
{
    useEngine(VORLIN_IMPOSTOR, {.loadSilence = 3s});
    EXPECT_NE(waitFor(begin("fitting-after-five-seconds-of-trickling")), nullptr);
    EXPECT_GT(progress, 10);
}

TEST_F(LoadingTest, aLoadThatHangsIsSeenNotToGetOnAndEnds)
{
    useEngine(VORLIN_IMPOSTOR, {.loadSilence = 2s});
    EXPECT_EQ(thrownBy([&] { waitFor(begin("never")); }),
              "lost: The speech engine stopped responding.");
    EXPECT_LT(progress, 5); // the folder was found, the process started
    EXPECT_EQ(thrownBy([&] { waitFor(begin("fitting")); }), "nothing");
}

TEST_F(LoadingTest, theEndAnswersALoadThatHangs)
{
    useEngine(VORLIN_IMPOSTOR);
    auto pending = begin("never");
    ASSERT_TRUE(eventually([] { return engine() > 0; }));
    models->close();
    EXPECT_EQ(thrownBy([&] { waitFor(std::move(pending)); }), "lost: The program ends.");
    EXPECT_EQ(thrownBy([&] { waitFor(begin("fitting")); }), "lost: The program ends.");
}

TEST_F(LoadingTest, theEndAnswersAPredictionOnAHaltedProcess)
{
    writeEndless();
    const auto model = load("Endless.mlmodelc");
    auto outcome = predictAside(*model, {{"x", largeInput()}});
    ASSERT_TRUE(isComputing());
    ::kill(engine(), SIGSTOP);
    models->close();
    EXPECT_EQ(outcome.get(), "lost: The program ends.");
}

TEST_F(LoadingTest, aDiskThatHangsHoldsUpNeitherOtherLoadsNorTheEnd)
{
    writeDouble();
    const auto over = std::make_shared<std::latch>(1);
    {
        ThreadPool others([] {});
        WatchedWorkers watched(others);
        EngineModels engine(watched, builtEngine());
        for (int i = 0; i < 20; ++i) {
            others.runPatiently(
                WorkPriority::normal, [over] { over->wait(); },
                others.executor(WorkPriority::normal), [] {});
        }
        const auto model = waitFor(engine.load(folder.path / "Double.mlmodelc", {}));
        EXPECT_EQ(doubled(*model), (std::vector<float>{2, 4}));
        EXPECT_EQ(watched.patient, 1) << "the folder was looked at with patience";
    }
    over->count_down();
}

TEST(EngineIdentityTest, tellsOneEngineFromAnother)
{
    const TemporaryFolder folder;
    const auto program = folder.path / "vorlin-engine";
    ThreadPool workers([] {});
    const EngineModels engine(workers, program);
    EXPECT_EQ(engine.engineIdentity(), "");
    std::ofstream(program) << "one";
    const auto one = engine.engineIdentity();
    EXPECT_NE(one, "");
    EXPECT_EQ(EngineModels(workers, program).engineIdentity(), one);
    using enum EngineModels::Products;
    EXPECT_EQ(EngineModels(workers, program, {}, singlePrecision).engineIdentity(), one);
    EXPECT_NE(EngineModels(workers, program, {}, integers).engineIdentity(), one);
    std::ofstream(program) << "another";
    EXPECT_NE(engine.engineIdentity(), one);
    std::ofstream(program) << "two";
    std::filesystem::last_write_time(program, std::filesystem::file_time_type::clock::now() +
                                                  std::chrono::seconds(1));
    EXPECT_NE(engine.engineIdentity(), one) << "of the same size";
}

TEST_F(LoadingTest, aBackgroundLoadGivesWayAndWhatItLoadedDoesNot)
{
    writeDouble();
    std::string body;
    for (int i = 0; i < 20000; ++i) {
        body += "tensor<fp32, [2]> v" + std::to_string(i) + " = add(x = x, y = x);\n";
    }
    write("Large.mlmodelc", "tensor<fp32, [2]>", body + "tensor<fp32, [2]> y = add(x = x, y = x);");
    const auto keeper = load("Double.mlmodelc");
    priority = WorkPriority::background;
    EXPECT_TRUE(eventually([&] {
        auto pending = begin("Large.mlmodelc");
        bool gaveWay = false;
        while (!pending.await_ready()) {
            gaveWay = gaveWay || std::ranges::max(niceness()) >= std::min(ownNiceness() + 1, 19);
        }
        EXPECT_EQ(doubled(*waitFor(std::move(pending))), (std::vector<float>{2, 4}));
        return gaveWay;
    }));
    const auto model = waitFor(begin("Double.mlmodelc"));
    EXPECT_EQ(doubled(*model), (std::vector<float>{2, 4}));
    EXPECT_EQ(std::ranges::max(niceness()), ownNiceness());
}

} // namespace vorlin::test
