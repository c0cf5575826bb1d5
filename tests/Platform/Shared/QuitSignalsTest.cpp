#include "Platform/Shared/QuitSignals.h"

#include "Platform/RunUntil.h"

#include <gtest/gtest.h>

#include <csignal>
#include <optional>
#include <thread>

namespace vorlin {
namespace {

void (*handlerOf(int signal))(int)
{
    struct sigaction action {};
    ::sigaction(signal, nullptr, &action);
    return action.sa_handler;
}

class QuitSignalsTest : public testing::TestWithParam<int> {};

TEST_P(QuitSignalsTest, aSignalBecomesACallOnTheMainLoopAsOftenAsItComes)
{
    int calls = 0;
    const QuitSignals quitSignals([&] { ++calls; });
    std::raise(GetParam());
    EXPECT_EQ(calls, 0) << "never inside the signal handler";
    EXPECT_TRUE(runUntil([&] { return calls == 1; }));
    std::raise(GetParam());
    EXPECT_TRUE(runUntil([&] { return calls == 2; }));
}

INSTANTIATE_TEST_SUITE_P(each, QuitSignalsTest, testing::Values(SIGTERM, SIGINT, SIGHUP));

TEST(QuitSignals, aSignalThatAnotherThreadTakesCountsToo)
{
    int calls = 0;
    const auto main = std::this_thread::get_id();
    bool onMain = false;
    const QuitSignals quitSignals([&] {
        ++calls;
        onMain = std::this_thread::get_id() == main;
    });
    std::thread([] { std::raise(SIGTERM); }).join();
    EXPECT_TRUE(runUntil([&] { return calls == 1; }));
    EXPECT_TRUE(onMain);
}

TEST(QuitSignals, manySignalsInARowEndInACallAndNoHarm)
{
    int calls = 0;
    const QuitSignals quitSignals([&] { ++calls; });
    for (int i = 0; i < 1000; ++i) {
        std::raise(i % 2 == 0 ? SIGTERM : SIGHUP);
    }
    EXPECT_TRUE(runUntil([&] { return calls >= 1; }));
}

TEST(QuitSignals, errnoSurvivesASignal)
{
    const QuitSignals quitSignals([] {});
    for (int i = 0; i < 10; ++i) {
        errno = ENOTTY;
        std::raise(SIGINT);
        EXPECT_EQ(errno, ENOTTY);
    }
}

TEST(QuitSignals, aBrokenPipeIsNoSignal)
{
    const QuitSignals quitSignals([] { ADD_FAILURE(); });
    std::raise(SIGPIPE);
}

TEST(QuitSignals, whatTheProcessWasToldToIgnoreStaysIgnored)
{
    std::signal(SIGHUP, SIG_IGN);
    std::signal(SIGTERM, SIG_IGN);
    {
        int calls = 0;
        const QuitSignals quitSignals([&] { ++calls; });
        EXPECT_EQ(handlerOf(SIGHUP), SIG_IGN);
        std::raise(SIGHUP);
        std::raise(SIGTERM); // the one that always counts
        EXPECT_TRUE(runUntil([&] { return calls == 1; }));
    }
    std::signal(SIGHUP, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
}

TEST(QuitSignals, afterwardsTheSignalsAreAsTheyWere)
{
    std::optional<QuitSignals> quitSignals;
    quitSignals.emplace([] {});
    EXPECT_NE(handlerOf(SIGTERM), SIG_DFL);
    quitSignals.reset();
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGPIPE}) {
        EXPECT_EQ(handlerOf(signal), SIG_DFL) << signal;
    }
    quitSignals.emplace([] {}); // and another one may follow
}

} // namespace
} // namespace vorlin
