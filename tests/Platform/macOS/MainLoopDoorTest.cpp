#include "Platform/macOS/Plain/MainLoopDoor.h"

#include "Platform/macOS/Underway.h"
#include "simulation/SimulatedLoop.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

namespace vorlin {
namespace {

TEST(MainLoopDoorTest, whatIsPostedRunsOnTheMainLoopAndNotWithinTheCall)
{
    SimulatedLoop loop;
    const OwnedDoor door(loop);
    int runs = 0;
    door.shared()->post([&runs] { ++runs; });
    EXPECT_EQ(runs, 0);
    loop.runReady();
    EXPECT_EQ(runs, 1);
}

TEST(MainLoopDoorTest, whatIsStillQueuedWhenItsOwnerGoesIsDropped)
{
    SimulatedLoop loop;
    auto door = std::make_unique<OwnedDoor>(loop);
    int runs = 0;
    door->shared()->post([&runs] { ++runs; });
    door.reset();
    loop.runReady();
    EXPECT_EQ(runs, 0);
}

TEST(MainLoopDoorTest, aCallbackThatComesAfterTheLoopIsGoneDoesNothing)
{
    auto loop = std::make_unique<SimulatedLoop>();
    auto door = std::make_unique<OwnedDoor>(*loop);
    const auto callback = door->shared();
    door.reset();
    loop.reset();
    int runs = 0;
    callback->post([&runs] { ++runs; });
    EXPECT_EQ(runs, 0);
}

/// A loop that takes its time to be posted to.
class SlowLoop final : public MainLoop {
public:
    explicit SlowLoop(Underway& call) : call(call) {}
    void post(Work /*work*/) override { call.run(); }
    TimePoint now() const override { return {}; }
    Timer startTimer(Duration /*delay*/, Work /*work*/) override { return {}; }

private:
    Underway& call;
};

TEST(MainLoopDoorTest, closingWaitsForAThreadThatIsPostingToTheLoop)
{
    Underway call;
    auto loop = std::make_unique<SlowLoop>(call);
    auto door = std::make_unique<OwnedDoor>(*loop);
    std::thread system([callback = door->shared()] { callback->post([] {}); });
    call.awaitBegin();
    door.reset();
    EXPECT_TRUE(call.isOver()) << "the loop may go now";
    loop.reset();
    system.join();
}

} // namespace
} // namespace vorlin
