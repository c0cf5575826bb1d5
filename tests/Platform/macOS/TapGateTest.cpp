#include "Platform/macOS/Plain/TapGate.h"

#include "Platform/macOS/Underway.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

namespace vorlin {
namespace {

const PCMBuffer& buffer()
{
    static const PCMBuffer empty({SampleType::float32, 48000, 1, false}, 1);
    return empty;
}

TEST(TapGateTest, callsTheTapUntilItIsClosedAndLetsGoOfItThen)
{
    const auto held = std::make_shared<int>();
    int calls = 0;
    TapGate gate([held, &calls](const PCMBuffer&) { ++calls; });
    gate.deliver(buffer());
    gate.close();
    gate.deliver(buffer());
    gate.close();
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(held.use_count(), 1);
}

TEST(TapGateTest, closingWaitsForACallThatACaptureThreadHasBegun)
{
    Underway call;
    TapGate gate([&call](const PCMBuffer&) { call.run(); });
    std::thread capture([&gate] { gate.deliver(buffer()); });
    call.awaitBegin();
    gate.close();
    EXPECT_TRUE(call.isOver());
    capture.join();
}

} // namespace
} // namespace vorlin
