// When the engine process starts and ends, and what its end does to others.
#include "EngineFixture.h"

#include <sys/wait.h>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <thread>

namespace vorlin::test {

namespace fs = std::filesystem;

namespace {

using namespace std::chrono_literals;

std::size_t countIn(const char* folder)
{
    const fs::directory_iterator entries(folder);
    return static_cast<std::size_t>(std::distance(fs::begin(entries), fs::end(entries)));
}

[[maybe_unused]] long residentKiB()
{
    return std::stol(statusOf(::getpid(), "VmRSS"));
}

bool isGone(pid_t process)
{
    const auto state = statusOf(process, "State");
    return state.empty() || state.starts_with("Z"); // whoever inherits it may be slow to reap
}

/// Halts a process; returns when no thread of it runs any more.
void halt(pid_t process)
{
    ::kill(process, SIGSTOP);
    EXPECT_TRUE(eventually([=] { return statusOf(process, "State").starts_with("T"); }));
}

/// A program with an engine of its own, and that engine.
class OtherProgram {
public:
    explicit OtherProgram(const fs::path& bundle, const std::string& user = {},
                          const fs::path& path = VORLIN_PARENT,
                          const std::string& engineArgument = builtEngine())
    {
        const auto command =
            "exec " + path.string() + " " + engineArgument + " " + bundle.string() + " " + user;
        std::array<int, 2> ends{};
        EXPECT_EQ(::pipe(ends.data()), 0);
        program = ::fork();
        if (program == 0) {
            ::dup2(ends[1], 1);
            ::execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
            ::_exit(1);
        }
        ::close(ends[1]);
        FILE* const output = ::fdopen(ends[0], "r");
        EXPECT_EQ(std::fscanf(output, "%d", &engine), 1);
        std::fclose(output);
    }
    OtherProgram(const OtherProgram&) = delete;
    OtherProgram& operator=(const OtherProgram&) = delete;
    ~OtherProgram() { kill(); }

    void kill()
    {
        if (program > 0) {
            ::kill(program, SIGKILL);
            ::waitpid(program, nullptr, 0);
            program = -1;
        }
    }

    pid_t program = -1;
    pid_t engine = -1;
};

} // namespace

class LifetimeTest : public EngineTest {};

TEST_F(LifetimeTest, nothingRunsBeforeTheFirstLoad)
{
    EXPECT_TRUE(children().empty());
}

TEST_F(LifetimeTest, theModelsOfAFolderShareAProcessThatEndsWithTheLast)
{
    writeDouble("A.mlmodelc");
    writeDouble("B.mlmodelc");
    auto a = load("A.mlmodelc");
    auto b = load("B.mlmodelc");
    EXPECT_EQ(children().size(), 1U);
    a.reset();
    EXPECT_EQ(doubled(*b), (std::vector<float>{2, 4}));
    b.reset();
    EXPECT_TRUE(children().empty());
}

TEST_F(LifetimeTest, theFourModelsOfASpeechModelLoadSideBySide)
{
    const auto speech = milFixtures() / "tiny-speech" / "model";
    std::vector<Completion<std::unique_ptr<MLModel>>> loads;
    for (const auto* name : {"Preprocessor", "Encoder", "Decoder", "JointDecisionv3"}) {
        loads.push_back(
            models->load(speech / (std::string(name) + ".mlmodelc"), {ComputeUnits::cpuAndGPU}));
    }
    std::vector<std::unique_ptr<MLModel>> loaded;
    for (auto& pending : loads) {
        loaded.push_back(waitFor(std::move(pending)));
    }
    EXPECT_EQ(children().size(), 1U);
    EXPECT_EQ(loaded[1]->signature().inputs.at(0).name, "mel");
    EXPECT_EQ(loaded[1]->signature().inputs.at(0).elementType, MLElementType::float32);
    EXPECT_EQ(loaded[1]->signature().inputs.at(0).shapes,
              (std::vector<std::vector<ExtentRange>>{{{1, 1}, {80, 80}, {1501, 1501}}}));
}

TEST_F(LifetimeTest, modelsPredictSideBySide)
{
    writeDouble();
    writeEndless();
    const auto endless = load("Endless.mlmodelc");
    const auto quick = load("Double.mlmodelc");
    StopSource stop;
    auto outcome = predictAside(*endless, {{"x", largeInput()}}, stop.token());
    ASSERT_TRUE(isComputing());
    EXPECT_EQ(doubled(*quick), (std::vector<float>{2, 4}));
    EXPECT_EQ(outcome.wait_for(0s), std::future_status::timeout);
    stop.requestStop();
    EXPECT_EQ(outcome.get(), "stopped");
}

TEST_F(LifetimeTest, eachFolderHasAProcessOfItsOwn)
{
    fs::create_directories(folder.path / "one");
    fs::create_directories(folder.path / "two");
    writeDouble("one/A.mlmodelc");
    writeDouble("two/A.mlmodelc");
    const auto one = load("one/A.mlmodelc");
    const auto two = load("two/A.mlmodelc");
    EXPECT_EQ(children().size(), 2U);
}

TEST_F(LifetimeTest, aStopEndsARunningPredictionAndTheModelGoesOn)
{
    // Patient with the engine: it is the engine that stops.
    useEngine(builtEngine(), {.silence = 60s, .stopping = 60s, .longest = 60s});
    writeEndless();
    const auto model = load("Endless.mlmodelc", ComputeUnits::cpuAndGPU);
    for (int i = 0; i < 3; ++i) {
        StopSource stop;
        auto outcome = predictAside(*model, {{"x", largeInput()}}, stop.token());
        ASSERT_TRUE(isComputing());
        stop.requestStop();
        EXPECT_EQ(outcome.get(), "stopped");
    }
    EXPECT_EQ(children().size(), 1U);
}

TEST_F(LifetimeTest, aPredictionStoppedBeforehandDoesNotStart)
{
    writeDouble();
    const auto model = load("Double.mlmodelc");
    StopSource stop;
    stop.requestStop();
    EXPECT_EQ(thrownBy([&] {
                  predict(*model, {{"x", floats({1, 2}, {2})}}, stop.token());
              }),
              "stopped");
    EXPECT_EQ(doubled(*model), (std::vector<float>{2, 4}));
}

TEST_F(LifetimeTest, aStopThatComesTooLateChangesNothing)
{
    writeDouble();
    const auto model = load("Double.mlmodelc");
    for (int i = 0; i < 200; ++i) {
        StopSource stop;
        std::thread late([&] { stop.requestStop(); });
        const auto outcome = thrownBy([&] {
            predict(*model, {{"x", floats({1, 2}, {2})}}, stop.token());
        });
        late.join();
        EXPECT_TRUE(outcome == "nothing" || outcome == "stopped") << outcome;
        EXPECT_EQ(doubled(*model), (std::vector<float>{2, 4}));
    }
}

TEST_F(LifetimeTest, killedInTheMiddleItFailsThatPredictionAndAFreshOneStarts)
{
    writeDouble();
    writeEndless();
    auto endless = load("Endless.mlmodelc");
    auto other = load("Double.mlmodelc");
    auto outcome = predictAside(*endless, {{"x", largeInput()}});
    ASSERT_TRUE(isComputing());
    const auto killed = engine();
    ::kill(killed, SIGKILL);
    const std::string lost = "lost: The speech engine stopped unexpectedly (Killed).";
    EXPECT_EQ(outcome.get(), lost);
    EXPECT_EQ(thrownBy([&] { doubled(*other); }), lost);
    EXPECT_EQ(thrownBy([&] { doubled(*other); }), lost);
    const auto fresh = load("Double.mlmodelc");
    EXPECT_EQ(doubled(*fresh), (std::vector<float>{2, 4}));
    EXPECT_NE(engine(), killed);
    EXPECT_EQ(thrownBy([&] { doubled(*other); }), lost);
    endless.reset();
    other.reset();
    EXPECT_EQ(doubled(*fresh), (std::vector<float>{2, 4}));
}

TEST_F(LifetimeTest, killedWhileIdleItLeavesNoZombie)
{
    writeDouble();
    const auto model = load("Double.mlmodelc");
    ::kill(engine(), SIGKILL);
    EXPECT_TRUE(eventually([] { return children().empty(); }));
    EXPECT_EQ(thrownBy([&] { doubled(*model); }),
              "lost: The speech engine stopped unexpectedly (Killed).");
}

TEST_F(LifetimeTest, aHaltedProcessHoldsUpNobodyWhoStops)
{
    writeEndless();
    const auto model = load("Endless.mlmodelc");
    StopSource stop;
    auto outcome = predictAside(*model, {{"x", largeInput()}}, stop.token());
    ASSERT_TRUE(isComputing());
    const auto halted = engine();
    halt(halted);
    stop.requestStop();
    EXPECT_EQ(outcome.get(), "stopped");
    EXPECT_EQ(engine(), halted);
    ::kill(halted, SIGCONT); // and when it goes on, so does the model
    StopSource again;
    outcome = predictAside(*model, {{"x", largeInput()}}, again.token());
    ASSERT_TRUE(isComputing());
    again.requestStop();
    EXPECT_EQ(outcome.get(), "stopped");
}

TEST_F(LifetimeTest, aHaltedProcessIsGivenUpAndReplaced)
{
    useEngine(builtEngine(), {.silence = 2s, .stopping = 100ms, .longest = 60s, .loadSilence = 2s});
    writeDouble();
    auto model = load("Double.mlmodelc");
    halt(engine());
    EXPECT_EQ(thrownBy([&] { doubled(*model); }), "lost: The speech engine stopped responding.");
    EXPECT_TRUE(eventually([] { return children().empty(); }));
    model = load("Double.mlmodelc");
    EXPECT_EQ(doubled(*model), (std::vector<float>{2, 4}));
    halt(engine());
    EXPECT_EQ(thrownBy([&] { load("Double.mlmodelc"); }),
              "lost: The speech engine stopped responding.");
}

TEST_F(LifetimeTest, hardWorkIsNoHanging)
{
    useEngine(builtEngine(), {.silence = 1s, .stopping = 60s, .longest = 60s});
    writeEndless();
    const auto model = load("Endless.mlmodelc");
    StopSource stop;
    auto outcome = predictAside(*model, {{"x", largeInput()}}, stop.token());
    EXPECT_EQ(outcome.wait_for(4s), std::future_status::timeout);
    stop.requestStop();
    EXPECT_EQ(outcome.get(), "stopped");
}

TEST_F(LifetimeTest, noPredictionTakesForEver)
{
    useEngine(builtEngine(), {.silence = 60s, .stopping = 100ms, .longest = 1s});
    writeEndless();
    const auto model = load("Endless.mlmodelc");
    EXPECT_EQ(thrownBy([&] {
                  predict(*model, {{"x", largeInput()}});
              }),
              "lost: The speech engine stopped responding.");
}

TEST_F(LifetimeTest, itDiesWithTheProgram)
{
    writeDouble();
    OtherProgram other(folder.path / "Double.mlmodelc");
    ASSERT_FALSE(isGone(other.engine));
    other.kill();
    EXPECT_TRUE(eventually([&] { return isGone(other.engine); }));
}

TEST_F(LifetimeTest, haltedItDiesWithTheProgramToo)
{
    writeDouble();
    OtherProgram other(folder.path / "Double.mlmodelc");
    halt(other.engine);
    other.kill();
    EXPECT_TRUE(eventually([&] { return isGone(other.engine); }));
}

TEST_F(LifetimeTest, itIsFoundBesideTheProgramAndWhereItIsInstalled)
{
    writeDouble();
    const auto program = folder.path / "bin" / "program";
    fs::create_directories(program.parent_path());
    fs::create_directories(folder.path / "libexec" / "vorlin");
    fs::copy_file(VORLIN_PARENT, program);
    for (const auto* place : {"libexec/vorlin/vorlin-engine", "bin/vorlin-engine"}) {
        fs::copy_file(builtEngine(), folder.path / place);
        const OtherProgram other(folder.path / "Double.mlmodelc", "", program, "-");
        ASSERT_GT(other.engine, 0) << place;
        if (::getuid() == 0) { // others may not look into it
            EXPECT_EQ(fs::read_symlink("/proc/" + std::to_string(other.engine) + "/exe"),
                      fs::canonical(folder.path / place));
        }
    }
}

TEST_F(LifetimeTest, withoutTheProgramThereIsAClearLine)
{
    writeDouble();
    useEngine(folder.path / "nowhere");
    EXPECT_EQ(thrownBy([&] { load("Double.mlmodelc"); }),
              "lost: The speech engine could not be started: No such file or directory.");
    std::ofstream(folder.path / "text") << "no program";
    useEngine(folder.path / "text");
    EXPECT_EQ(thrownBy([&] { load("Double.mlmodelc"); }),
              "lost: The speech engine could not be started: Permission denied.");
    useEngine("/bin/true");
    EXPECT_EQ(thrownBy([&] { load("Double.mlmodelc"); }),
              "lost: The speech engine stopped unexpectedly.");
}

TEST_F(LifetimeTest, loadingAndUnloadingLeavesNothingBehind)
{
    writeDouble();
    const auto once = [this] {
        const auto model = load("Double.mlmodelc");
        EXPECT_EQ(doubled(*model), (std::vector<float>{2, 4}));
    };
    for (int i = 0; i < 20; ++i) {
        once();
    }
    // The last process may still be on its way out, and with it who waits for its end.
    const auto noChild = [&] { return eventually([&] { return children().empty(); }); };
    ASSERT_TRUE(noChild());
    const auto descriptors = countIn("/proc/self/fd");
    const auto threads = countIn("/proc/self/task");
    [[maybe_unused]] const auto memory = residentKiB();
    for (int i = 0; i < 200; ++i) {
        once();
    }
    EXPECT_TRUE(noChild());
    EXPECT_TRUE(eventually([&] { return countIn("/proc/self/fd") <= descriptors; }));
    EXPECT_TRUE(eventually([&] { return countIn("/proc/self/task") <= threads; }));
#if !defined(__SANITIZE_ADDRESS__) // which keeps what was freed
    EXPECT_LT(residentKiB(), memory + 4096);
#endif
}

TEST_F(LifetimeTest, reloadingAModelWithinAProcessLeavesNothingBehindInIt)
{
    writeDouble();
    const auto keeper = load("Double.mlmodelc");
    const auto process = engine();
    const auto folderOf = [process](const char* what) {
        return "/proc/" + std::to_string(process) + "/" + what;
    };
    doubled(*keeper);
    // Its first thread and the model's, once that which reads the weights has ended.
    const auto settled = [&] {
        return eventually([&] { return countIn(folderOf("fd").c_str()) == 5; }) &&
               eventually([&] { return countIn(folderOf("task").c_str()) == 2; });
    };
    ASSERT_TRUE(settled());
    for (int i = 0; i < 200; ++i) {
        const auto model = load("Double.mlmodelc");
        doubled(*model);
    }
    EXPECT_TRUE(settled());
    EXPECT_EQ(engine(), process);
}

TEST_F(LifetimeTest, anOrdinaryUsersProcessIsConfinedAlike)
{
    if (::getuid() != 0) {
        return; // then all the others show it
    }
    writeDouble();
    const OtherProgram other(folder.path / "Double.mlmodelc", "65534");
    EXPECT_EQ(statusOf(other.engine, "Uid"), "65534\t65534\t65534\t65534");
    EXPECT_EQ(statusOf(other.engine, "NoNewPrivs"), "1");
    EXPECT_EQ(statusOf(other.engine, "Seccomp"), "2");
    EXPECT_EQ(statusOf(other.engine, "CapEff"), "0000000000000000");
}

} // namespace vorlin::test
