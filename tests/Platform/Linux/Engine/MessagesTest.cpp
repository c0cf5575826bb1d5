// The messages between the program and its engine process, as bytes.
#include "Platform/Linux/Engine/Wire/Messages.h"
#include "Platform/Linux/Engine/Wire/RepeatedMessages.h"

#include <gtest/gtest.h>

#include <limits>
#include <span>

namespace vorlin::engine::test {

namespace {

const Tensor tensor{3, Element::float16, {1, 80, 1501}, 128};
const Feature feature{"mel", Element::float32, true, {{{1, 1}, {1, 3000}}, {{2, 2}}}};

const std::vector<Reply> replies{
    LoadedReply{{feature, feature}, {feature}},
    ComputedReply{7, {tensor, tensor}},
    NeedsMemoryReply{8, 4096},
    StoppedReply{9},
    FailedReply{10, "what is wrong"},
    FailedReply{11, "no such length", true},
};

/// The packet with one number of it replaced.
template <class T>
Packet changed(Packet packet, std::size_t offset, T value)
{
    const auto* raw = reinterpret_cast<const std::byte*>(&value);
    std::copy(raw, raw + sizeof value, packet.begin() + static_cast<std::ptrdiff_t>(offset));
    return packet;
}

} // namespace

TEST(MessagesTest, everyMessageReadsBackAsItWas)
{
    for (const auto& reply : replies) {
        EXPECT_EQ(parseReply(encode(reply)), reply);
    }
    const ModelRequest predict = PredictRequest{5, true, 317, 8192, 64, {tensor}};
    EXPECT_EQ(parseModelRequest(encode(predict)), predict);
    const ModelRequest resume = ResumeRequest{5, 8192, 64};
    EXPECT_EQ(parseModelRequest(encode(resume)), resume);
    const ControlRequest load = LoadRequest{protocolVersion,
                                            2,
                                            4,
                                            true,
                                            false,
                                            "Encoder.mlmodelc",
                                            {"mel", 2, "mel_length", {217, 317}}};
    const ControlRequest integers = LoadRequest{protocolVersion, 2, 4, false, true, "x", {}};
    EXPECT_EQ(parseControlRequest(encode(integers)), integers);
    EXPECT_EQ(parseControlRequest(encode(load)), load);
    const ControlRequest stop = StopRequest{2, 5};
    EXPECT_EQ(parseControlRequest(encode(stop)), stop);
}

TEST(MessagesTest, messagesCutShortOrTooLongAreNone)
{
    for (const auto& reply : replies) {
        Packet packet = encode(reply);
        for (std::size_t size = 0; size < packet.size(); ++size) {
            EXPECT_EQ(parseReply(std::span(packet).first(size)), std::nullopt);
        }
        packet.push_back(std::byte{0});
        EXPECT_EQ(parseReply(packet), std::nullopt);
    }
}

TEST(MessagesTest, aRepeatedMessageIsReadUnderItsOwnNumber)
{
    RepeatedReplies known;
    const auto read = [&](const Packet& packet) {
        const auto* const reply = known.read(packet);
        return reply != nullptr ? std::optional(*reply) : std::nullopt;
    };
    for (const auto& reply : replies) {
        EXPECT_EQ(read(encode(reply)), reply);
        EXPECT_EQ(read(encode(reply)), reply);
    }
    const Packet packet = encode(Reply(ComputedReply{7, {tensor}}));
    EXPECT_EQ(read(packet), Reply(ComputedReply{7, {tensor}}));
    EXPECT_EQ(read(changed(packet, 1, std::uint64_t{8})), Reply(ComputedReply{8, {tensor}}));
    // Whatever else a packet changes, it is looked at anew.
    for (std::size_t at = 9; at < packet.size(); ++at) {
        const auto other = changed(packet, at, static_cast<std::uint8_t>(~packet[at]));
        EXPECT_EQ(read(other), parseReply(other)) << at;
        EXPECT_EQ(read(packet), parseReply(packet)) << at;
    }
    EXPECT_EQ(read({packet.begin(), packet.end() - 1}), std::nullopt);
    EXPECT_EQ(read(packet), parseReply(packet));
    EXPECT_EQ(read(changed(packet, 0, MessageKind::stopped)), std::nullopt);
}

TEST(MessagesTest, aMessageOfTheOtherSideIsNone)
{
    EXPECT_EQ(parseReply(encode(ModelRequest(ResumeRequest{}))), std::nullopt);
    EXPECT_EQ(parseModelRequest(encode(ControlRequest(StopRequest{}))), std::nullopt);
    EXPECT_EQ(parseControlRequest(encode(Reply(StoppedReply{}))), std::nullopt);
}

TEST(MessagesTest, tensorsKeepTheirLimits)
{
    const Packet packet = encode(Reply(ComputedReply{7, {tensor}}));
    constexpr std::size_t feature = 13; // after the kind, the number and the count
    EXPECT_NE(parseReply(changed(packet, feature, std::uint32_t{4})), std::nullopt);
    EXPECT_EQ(parseReply(changed(packet, feature, std::uint32_t{4000})), std::nullopt);
    EXPECT_EQ(parseReply(changed(packet, feature + 4, std::uint8_t{9})), std::nullopt);
    EXPECT_EQ(parseReply(changed(packet, feature + 5, std::uint32_t{1000})), std::nullopt);
    EXPECT_EQ(parseReply(changed(packet, feature + 9, std::int64_t{-1})), std::nullopt);
    EXPECT_EQ(parseReply(changed(packet, feature + 9, std::int64_t{1} << 40)), std::nullopt);
    EXPECT_EQ(parseReply(changed(packet, feature + 33, std::uint64_t{129})), std::nullopt);
}

TEST(MessagesTest, framesKeepTheirLimits)
{
    const auto load = [](const Frames& frames) {
        return parseControlRequest(
            encode(ControlRequest(LoadRequest{protocolVersion, 2, 4, true, false, "x", frames})));
    };
    EXPECT_NE(load({"mel", mostAxes - 1, "n", {1}}), std::nullopt);
    EXPECT_EQ(load({"mel", mostAxes, "n", {1}}), std::nullopt);
    EXPECT_EQ(load({"mel", 2, "n", {0}}), std::nullopt);
    EXPECT_EQ(load({"mel", 2, "n", std::vector<std::int64_t>(mostLengths + 1, 5)}), std::nullopt);
    EXPECT_EQ(parseModelRequest(encode(ModelRequest(PredictRequest{5, true, -1, 0, 0, {}}))),
              std::nullopt);
}

TEST(MessagesTest, aPacketThatWouldBeTooLargeIsEmpty)
{
    const std::vector<Feature> many(mostFeatures, {std::string(4000, 'x'), {}, {}, {}});
    EXPECT_TRUE(encode(Reply(LoadedReply{many, {}})).empty());
}

TEST(MessagesTest, bytesAreCountedWithoutOverflow)
{
    constexpr auto most = std::numeric_limits<std::int64_t>::max();
    using Shape = std::vector<std::int64_t>;
    EXPECT_EQ(byteCount(Element::float16, Shape{3, 5}), 30U);
    EXPECT_EQ(byteCount(Element::float32, Shape{}), 4U);
    EXPECT_EQ(byteCount(Element::int32, Shape{0, 7}), 0U);
    EXPECT_EQ(byteCount(Element::other, Shape{1}), std::nullopt);
    EXPECT_EQ(byteCount(Element::float32, Shape{most, most}), std::nullopt);
    EXPECT_EQ(byteCount(Element::float32, Shape{most, 0}), std::nullopt);
    EXPECT_EQ(byteCount(Element::float32, Shape{-1}), std::nullopt);
    EXPECT_EQ(byteCount(Element::float32, Shape{1 << 30}), largestMemory);
    EXPECT_EQ(byteCount(Element::float32, Shape{(1 << 30) + 1}), std::nullopt);
}

TEST(MessagesTest, aTensorLiesWithinItsMemoryToTheLastByte)
{
    const Tensor two{0, Element::float32, {2}, 64};
    EXPECT_TRUE(liesWithin(two, 64, 72));
    EXPECT_FALSE(liesWithin(two, 64, 71));
    EXPECT_FALSE(liesWithin(two, 65, 1000));
    EXPECT_FALSE(liesWithin(two, 0, 63));
}

} // namespace vorlin::engine::test
