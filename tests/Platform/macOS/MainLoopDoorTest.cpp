#include "Platform/macOS/Plain/MainLoopDoor.h"

#include "simulation/SimulatedLoop.h"

#include <gtest/gtest.h>

#include <memory>

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

} // namespace
} // namespace vorlin
