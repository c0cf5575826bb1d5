#include "Platform/Linux/Audio/PulseMicrophoneAccess.h"

#include "PrivateSoundServer.h"
#include "PumpedLoop.h"

#include <gtest/gtest.h>

namespace vorlin {
namespace {

TEST(PulseMicrophoneAccess, itFollowsTheServerAndItsMicrophones)
{
    PrivateSoundServer server;
    PumpedLoop loop;
    PulseContext context;
    PulseMicrophoneAccess access(context, loop);
    std::vector<bool> told;
    const auto watch = access.granted().observe([&](bool granted) { told.push_back(granted); });
    const auto becomes = [&](bool granted) {
        return loop.runUntil([&] { return access.granted().get() == granted; });
    };
    EXPECT_FALSE(access.granted().get());
    server.start();
    EXPECT_TRUE(becomes(true));
    server.control("unload-module module-remap-source");
    // What is left is a sink that was made to be a microphone; it is not the loudspeaker.
    server.control("set-default-source speakers.monitor");
    EXPECT_TRUE(becomes(false));
    server.control("load-module module-remap-source master=vmic.monitor source_name=mic");
    server.control("set-default-source mic");
    EXPECT_TRUE(becomes(true));
    server.kill();
    EXPECT_TRUE(becomes(false));
    server.start();
    EXPECT_TRUE(becomes(true));
    EXPECT_EQ(told, (std::vector<bool>{true, false, true, false, true}));
}

TEST(PulseMicrophoneAccess, itCanBeDestroyedAtAnyMoment)
{
    PrivateSoundServer server;
    server.start();
    PumpedLoop loop;
    for (int round = 0; round < 20; ++round) {
        PulseContext context;
        PulseMicrophoneAccess access(context, loop);
        loop.runFor(std::chrono::milliseconds(round));
    }
}

} // namespace
} // namespace vorlin
