#include "Platform/Linux/Sway/SwayFrames.h"

#include <gtest/gtest.h>

#include <limits>

namespace vorlin {
namespace {

std::string header(std::uint32_t length, std::uint32_t type)
{
    auto bytes = swayFrame(type, "");
    bytes.replace(6, 4, reinterpret_cast<const char*>(&length), 4);
    return bytes;
}

TEST(SwayFramesTest, whatWasWrittenIsReadHoweverItIsCut)
{
    const auto bytes = swayFrame(0, "[1]") + swayFrame(0x80000005, "{}") + swayFrame(4, "");
    for (std::size_t piece = 1; piece <= bytes.size(); ++piece) {
        SwayFrames frames;
        std::string seen;
        for (std::size_t at = 0; at < bytes.size(); at += piece) {
            frames.add(std::string_view(bytes).substr(at, piece));
            while (const auto frame = frames.next()) {
                seen += std::to_string(frame->type) + frame->payload + ' ';
            }
        }
        EXPECT_EQ(seen, "0[1] 2147483653{} 4 ") << piece;
        EXPECT_FALSE(frames.isBroken());
    }
}

TEST(SwayFramesTest, anythingElseIsBrokenAtItsFirstByte)
{
    SwayFrames frames;
    frames.add("i3");
    EXPECT_EQ(frames.next(), std::nullopt);
    EXPECT_FALSE(frames.isBroken());
    frames.add("+");
    EXPECT_EQ(frames.next(), std::nullopt);
    EXPECT_TRUE(frames.isBroken());
    frames.add(swayFrame(0, "[]"));
    EXPECT_EQ(frames.next(), std::nullopt);
}

TEST(SwayFramesTest, anAbsurdLengthIsRefusedBeforeItsBytesCome)
{
    for (const auto length : {static_cast<std::uint32_t>(SwayFrames::longestPayload) + 1,
                              std::numeric_limits<std::uint32_t>::max()}) {
        SwayFrames frames;
        frames.add(header(length, 0));
        EXPECT_EQ(frames.next(), std::nullopt);
        EXPECT_TRUE(frames.isBroken());
    }
    SwayFrames frames;
    frames.add(header(SwayFrames::longestPayload, 0));
    EXPECT_EQ(frames.next(), std::nullopt);
    EXPECT_FALSE(frames.isBroken());
}

} // namespace
} // namespace vorlin
