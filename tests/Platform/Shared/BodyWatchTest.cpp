#include "Platform/Shared/Curl/BodyWatch.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace vorlin {
namespace {

TEST(BodyWatch, aCallThatDoesNotComeBackForASecondHoldsUp)
{
    BodyWatch watch;
    EXPECT_FALSE(watch.isHeldUp());
    const auto begun = std::chrono::steady_clock::now();
    {
        const BodyWatch::Call call(watch);
        while (!watch.isHeldUp()) {
            std::this_thread::yield();
        }
        EXPECT_GE(std::chrono::steady_clock::now() - begun, std::chrono::seconds(1));
    }
    EXPECT_FALSE(watch.isHeldUp());
}

} // namespace
} // namespace vorlin
