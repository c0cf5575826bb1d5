#include "Platform/Linux/Audio/CaptureBuffers.h"

#include <gtest/gtest.h>

#include <vector>

namespace vorlin {
namespace {

const AudioFormat stereo{SampleType::float32, 48000, 2, true};

class CaptureBuffersTest : public testing::Test {
protected:
    CaptureBuffers buffers{stereo, 4, [this](const PCMBuffer& buffer) {
                               const auto samples = buffer.floatChannel(0);
                               delivered.emplace_back(samples.begin(), samples.end());
                           }};
    std::vector<std::vector<float>> delivered;
};

TEST_F(CaptureBuffersTest, anyPiecesBecomeBuffersOfOneLengthInOrder)
{
    std::vector<float> samples(20);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        samples[i] = static_cast<float>(i);
    }
    auto bytes = std::as_bytes(std::span(samples));
    for (const std::size_t piece : {1UL, 6UL, 9UL, 60UL, 0UL, 4UL}) {
        buffers.append(bytes.first(piece));
        bytes = bytes.subspan(piece);
    }
    using Buffers = std::vector<std::vector<float>>;
    EXPECT_EQ(delivered, (Buffers{{0, 1, 2, 3, 4, 5, 6, 7}, {8, 9, 10, 11, 12, 13, 14, 15}}));
    buffers.flush();
    ASSERT_EQ(delivered.size(), 3U);
    EXPECT_EQ(delivered.back(), (std::vector<float>{16, 17, 18, 19}));
}

TEST_F(CaptureBuffersTest, flushingNothingDeliversNothing)
{
    buffers.flush();
    EXPECT_TRUE(delivered.empty());
}

TEST_F(CaptureBuffersTest, silenceOverwritesWhatTheBufferHeldBefore)
{
    const std::vector<float> loud(8, 1.0F);
    buffers.append(std::as_bytes(std::span(loud)));
    buffers.appendSilence(40);
    buffers.flush();
    ASSERT_EQ(delivered.size(), 3U);
    EXPECT_EQ(delivered[1], std::vector<float>(8, 0.0F));
    EXPECT_EQ(delivered[2], std::vector<float>(2, 0.0F));
}

} // namespace
} // namespace vorlin
