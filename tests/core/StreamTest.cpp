#include "Async/Stream.h"
#include "Async/Mutex.h"
#include "Async/Sleep.h"
#include "simulation/SimulatedLoop.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace vorlin {
namespace {

using namespace std::chrono_literals;

Task<void> collect(Stream<int>& stream, std::vector<int>& into, bool& ended)
{
    while (const auto value = co_await stream.next()) {
        into.push_back(*value);
    }
    ended = true;
}

TEST(Stream, whatWasYieldedComesInOrderAndThenTheEnd)
{
    SimulatedLoop loop;
    Stream<int> stream;
    std::vector<int> values;
    bool ended = false;
    stream.yield(1);
    spawn(loop, collect(stream, values, ended));
    loop.runReady();
    stream.yield(2);
    stream.yield(3);
    loop.runReady();
    EXPECT_EQ(values, (std::vector{1, 2, 3}));
    EXPECT_FALSE(ended);
    stream.yield(4);
    stream.finish();
    stream.yield(5); // after the end
    loop.runReady();
    EXPECT_EQ(values, (std::vector{1, 2, 3, 4}));
    EXPECT_TRUE(ended);
}

TEST(Stream, aProducerOnAnotherThreadLosesNothing)
{
    SimulatedLoop loop;
    Stream<std::string> stream;
    std::thread producer([&] {
        for (int i = 0; i < 20000; ++i) {
            stream.yield(std::to_string(i));
        }
        stream.finish();
    });
    // Asked without a loop, so that the answer's own thread does not matter.
    int count = 0;
    for (;;) {
        auto next = stream.next();
        while (!next.await_ready()) {
            std::this_thread::yield();
        }
        const auto value = next.await_resume();
        if (!value) {
            break;
        }
        EXPECT_EQ(*value, std::to_string(count));
        ++count;
    }
    producer.join();
    EXPECT_EQ(count, 20000);
}

Task<void> hold(Mutex& mutex, MainLoop& loop, int name, std::vector<int>& order)
{
    const auto held = co_await mutex.lock();
    order.push_back(name);
    co_await sleepFor(loop, 1s);
    order.push_back(-name);
}

TEST(Mutex, letsOneThroughAtATimeInTheOrderOfAsking)
{
    SimulatedLoop loop;
    Mutex mutex;
    std::vector<int> order;
    for (int i = 1; i <= 4; ++i) {
        spawn(loop, hold(mutex, loop, i, order));
    }
    loop.advance(10s);
    EXPECT_EQ(order, (std::vector{1, -1, 2, -2, 3, -3, 4, -4}));
    spawn(loop, hold(mutex, loop, 5, order));
    loop.runReady();
    EXPECT_EQ(order.back(), 5);
}

TEST(Mutex, aFailureUnderTheHoldLetsTheNextThrough)
{
    SimulatedLoop loop;
    Mutex mutex;
    std::vector<int> order;
    spawn(loop, [](Mutex& contested) -> Task<void> {
        try {
            const auto held = co_await contested.lock();
            throw std::runtime_error("no");
        } catch (const std::exception&) {
            co_return;
        }
    }(mutex));
    spawn(loop, hold(mutex, loop, 1, order));
    loop.advance(2s);
    EXPECT_EQ(order, (std::vector{1, -1}));
}

TEST(Mutex, aWaiterThatIsDroppedLosesItsPlace)
{
    SimulatedLoop loop;
    Mutex mutex;
    std::vector<int> order;
    auto first = std::make_unique<Completion<Mutex::Hold>>(mutex.lock());
    auto held = std::make_unique<Mutex::Hold>(first->await_resume());
    {
        const auto dropped = mutex.lock();
    }
    spawn(loop, hold(mutex, loop, 1, order));
    loop.runReady();
    EXPECT_TRUE(order.empty());
    held.reset();
    loop.runReady();
    EXPECT_EQ(order, (std::vector{1}));
}

} // namespace
} // namespace vorlin
