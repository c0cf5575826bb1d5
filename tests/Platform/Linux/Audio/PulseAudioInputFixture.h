#pragma once

#include "Platform/Linux/Audio/PulseAudioInput.h"
#include "PrivateSoundServer.h"
#include "PumpedLoop.h"
#include "Recorder.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vorlin {

/// A microphone on a sound server of its own, and what a test asks of it.
class PulseAudioInputTest : public testing::Test {
protected:
    /// Starts everything and waits until the microphone is known.
    void begin(const PrivateSoundServer::Layout& layout = PrivateSoundServer::Layout{})
    {
        server.emplace(layout);
        server->start();
        connect();
    }

    void connect()
    {
        context.emplace();
        input.emplace(*context, loop);
    }

    std::shared_ptr<const Outcome> start()
    {
        return follow(loop, input->start(recorder.tap(), [this](const std::string& reason) {
            failures.push_back(reason);
        }));
    }

    bool startAndRun()
    {
        const auto started = start();
        loop.runUntil([&] { return started->settled; });
        EXPECT_FALSE(started->failure) << *started->failure;
        return started->done();
    }

    bool stop()
    {
        const auto stopped = follow(loop, input->stop());
        return loop.runUntil([&] { return stopped->settled; }) && stopped->done();
    }

    bool runUntilBuffers(std::size_t count)
    {
        return loop.runUntil([&] { return recorder.buffers() >= count; });
    }

    /// The failure of a start that cannot succeed.
    std::string failedStart()
    {
        const auto started = start();
        EXPECT_TRUE(loop.runUntil([&] { return started->settled; }));
        return started->failure.value_or("none");
    }

    /// The only failure told, once there is one.
    std::string onlyFailure()
    {
        EXPECT_TRUE(loop.runUntil([&] { return !failures.empty(); }));
        loop.runFor(std::chrono::milliseconds(100)); // a second one would come now
        EXPECT_EQ(failures.size(), 1U);
        return failures.empty() ? "none" : failures.front();
    }

    bool becomesIdle()
    {
        for (int i = 0; i < 200; ++i) {
            if (server->recordingStreams() == 0) {
                return true;
            }
            loop.runFor(std::chrono::milliseconds(20));
        }
        return false;
    }

    PumpedLoop loop;
    Recorder recorder{loop};
    std::vector<std::string> failures;
    std::optional<PrivateSoundServer> server;
    std::optional<PulseContext> context;
    std::optional<PulseAudioInput> input;
};

} // namespace vorlin
