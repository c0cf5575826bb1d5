#include "Platform/Shared/Curl/BodyWatch.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace vorlin {
namespace {

constexpr auto hour = std::chrono::hours(1);

TEST(BodyWatch, aCallThatDoesNotComeBackForASecondHoldsUp)
{
    BodyWatch watch;
    EXPECT_FALSE(watch.wasHeldUp(hour));
    const auto begun = std::chrono::steady_clock::now();
    {
        const BodyWatch::Call call(watch);
        while (!watch.wasHeldUp({})) {
            std::this_thread::yield();
        }
        EXPECT_GE(std::chrono::steady_clock::now() - begun, std::chrono::seconds(1));
    }
    EXPECT_TRUE(watch.wasHeldUp(hour));
    while (watch.wasHeldUp(std::chrono::milliseconds(1))) {
        std::this_thread::yield();
    }
    {
        const BodyWatch::Call next(watch);
    }
    EXPECT_TRUE(watch.wasHeldUp(hour)) << "by the call before";
}

TEST(BodyWatch, callsThatComeBackAtOnceHoldNothingUp)
{
    // A call that this machine itself holds up for a second says nothing: then another one.
    bool wasQuick = false;
    while (!wasQuick) {
        BodyWatch watch;
        const auto begun = std::chrono::steady_clock::now();
        {
            const BodyWatch::Call call(watch);
        }
        wasQuick = std::chrono::steady_clock::now() - begun < std::chrono::seconds(1);
        EXPECT_TRUE(!wasQuick || !watch.wasHeldUp(hour));
    }
}

} // namespace
} // namespace vorlin
