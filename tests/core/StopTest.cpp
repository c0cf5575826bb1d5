#include "Async/Stop.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <latch>
#include <memory>
#include <optional>
#include <string>
#include <thread>

namespace vorlin {
namespace {

TEST(Stop, everyTokenOfASourceAndItsCopiesSeesTheRequest)
{
    const StopSource source;
    const StopToken early = source.token();
    const StopSource copy = source;
    EXPECT_FALSE(early.stopRequested());
    copy.requestStop();
    EXPECT_TRUE(early.stopRequested());
    EXPECT_TRUE(source.stopRequested());
    EXPECT_TRUE(source.token().stopRequested());
}

TEST(Stop, sourcesAreApartAndATokenWithoutOneIsNeverAsked)
{
    const StopSource source;
    const StopSource other;
    source.requestStop();
    EXPECT_FALSE(other.stopRequested());
    EXPECT_FALSE(StopToken().stopRequested());
    const StopCallback callback(StopToken(), [] { ADD_FAILURE(); });
}

TEST(Stop, theFirstRequestRunsEachCallbackOnceBeforeItReturns)
{
    const StopSource source;
    std::array<int, 3> ran{};
    bool within = false;
    const auto work = [&](int& own) {
        EXPECT_TRUE(source.stopRequested());
        EXPECT_FALSE(within);
        within = true;
        source.requestStop(); // changes nothing
        within = false;
        ++own;
    };
    const StopCallback first(source.token(), [&] { work(ran[0]); });
    const StopCallback second(source.token(), [&] { work(ran[1]); });
    {
        const StopCallback gone(source.token(), [&] { ++ran[2]; });
    }
    EXPECT_EQ(ran, (std::array{0, 0, 0}));
    source.requestStop();
    EXPECT_EQ(ran, (std::array{1, 1, 0}));
    source.requestStop();
    EXPECT_EQ(ran, (std::array{1, 1, 0}));
}

TEST(Stop, aCallbackThatComesAfterTheRequestRunsInItsConstructor)
{
    const StopSource source;
    source.requestStop();
    int ran = 0;
    {
        const StopCallback late(source.token(), [&] { ++ran; });
        EXPECT_EQ(ran, 1);
    }
    EXPECT_EQ(ran, 1);
}

TEST(Stop, aCallbackMayDestroyItselfAnotherAndTheLastOfItsSource)
{
    std::optional<StopSource> source(std::in_place);
    const auto held = std::make_shared<int>(0);
    int ran = 0;
    std::array<std::unique_ptr<StopCallback>, 2> callbacks;
    for (auto& each : callbacks) { // whichever runs first destroys both
        each = std::make_unique<StopCallback>(source->token(), [&, held] {
            for (auto& any : callbacks) {
                any.reset();
            }
            source.reset();
            ++*held; // what it captured is still there
            ++ran;
        });
    }
    source->requestStop();
    EXPECT_EQ(ran, 1);
    EXPECT_EQ(*held, 1);
    EXPECT_EQ(held.use_count(), 1);
}

TEST(Stop, aCallbackMayAddAnotherWhichRunsAtOnce)
{
    const StopSource source;
    std::string order;
    std::unique_ptr<StopCallback> added;
    const StopCallback callback(source.token(), [&] {
        order += '(';
        added = std::make_unique<StopCallback>(source.token(), [&] { order += 'b'; });
        order += ')';
    });
    source.requestStop();
    EXPECT_EQ(order, "(b)");
}

TEST(Stop, destroyingACallbackWaitsWhileItRunsOnAnotherThread)
{
    const StopSource source;
    std::latch running(1);
    std::latch waits(1);
    int result = 0; // unguarded: the destructor is the guard
    auto callback = std::make_unique<StopCallback>(source.token(), [&] {
        running.count_down();
        waits.wait();
        for (int i = 0; i < 1000; ++i) { // long enough for who does not wait
            std::this_thread::yield();
        }
        result = 1;
    });
    std::thread requester([&] { source.requestStop(); });
    running.wait();
    waits.count_down();
    callback.reset();
    EXPECT_EQ(result, 1);
    requester.join();
}

TEST(Stop, whatOtherCallbacksDoHoldsUpNoDestructor)
{
    const StopSource source;
    std::latch running(1);
    std::latch released(1);
    std::array<std::unique_ptr<StopCallback>, 2> callbacks;
    std::atomic<int> begun = 0;
    std::array<std::atomic<bool>, 2> ran{};
    for (std::size_t i = 0; i < 2; ++i) {
        callbacks[i] = std::make_unique<StopCallback>(source.token(), [&, i] {
            ran[i] = true;
            if (++begun == 1) {
                running.count_down();
                released.wait();
            }
        });
    }
    std::thread requester([&] { source.requestStop(); });
    running.wait();
    const std::size_t other = ran[0] ? 1 : 0;
    callbacks[other].reset(); // returns while the first one runs
    released.count_down();
    requester.join();
    EXPECT_FALSE(ran[other]);
}

TEST(Stop, aCallbackRunsOnceOrNeverWhoeverRacesIt)
{
    for (int round = 0; round < 2000; ++round) {
        const StopSource source;
        std::array<int, 2> ran{}; // unguarded: the destructor is the guard
        std::latch together(4);
        const auto request = [&] {
            together.arrive_and_wait();
            source.requestStop();
        };
        const auto listen = [&](int& own) {
            auto value = std::make_unique<int>(0);
            together.arrive_and_wait();
            {
                const StopCallback callback(source.token(), [&own, &value] {
                    ++*value;
                    ++own;
                });
            }
            own += 10 * *value;
            value.reset(); // nothing may touch it any more
        };
        std::thread first(request);
        std::thread second(request);
        std::thread third([&] { listen(ran[0]); });
        listen(ran[1]);
        first.join();
        second.join();
        third.join();
        EXPECT_TRUE(source.stopRequested());
        for (const int each : ran) {
            EXPECT_TRUE(each == 0 || each == 11) << each;
        }
    }
}

} // namespace
} // namespace vorlin
