// Arrays as they cross: what does not fit is refused, what is shown is clean.
#include "Platform/Linux/Engine/EngineTensors.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

namespace vorlin::test {

namespace {

const MLSignature signature{
    .inputs = {},
    .outputs = {{"a", MLElementType::float32, {{{1, 1}, {0, 4}}, {{7, 7}}}, false},
                {"b", std::nullopt, {{{1, 1}}}, false}}};

bool isTaken(const engine::Tensor& tensor, std::uint64_t begin = 64)
{
    const std::array<std::byte, 256> memory{};
    MLFeatures features;
    return collect({tensor}, signature, memory, begin, features);
}

} // namespace

TEST(EngineTensorsTest, outputsOfEveryDeclaredShapeAreTaken)
{
    EXPECT_TRUE(isTaken({0, engine::Element::float32, {1, 4}, 64}));
    EXPECT_TRUE(isTaken({0, engine::Element::float32, {1, 0}, 64}));
    EXPECT_TRUE(isTaken({0, engine::Element::float32, {7}, 192}));
}

TEST(EngineTensorsTest, outputsThatAreNotDeclaredAreRefused)
{
    EXPECT_FALSE(isTaken({0, engine::Element::float32, {1, 5}, 64}));
    EXPECT_FALSE(isTaken({0, engine::Element::float32, {1}, 64}));
    EXPECT_FALSE(isTaken({0, engine::Element::float16, {7}, 64}));
    EXPECT_FALSE(isTaken({0, engine::Element::other, {7}, 64}));
    EXPECT_FALSE(isTaken({1, engine::Element::other, {1}, 64}));
    EXPECT_FALSE(isTaken({2, engine::Element::float32, {7}, 64}));
    EXPECT_FALSE(isTaken({0, engine::Element::float32, {7}, 0}));
    EXPECT_FALSE(isTaken({0, engine::Element::float32, {7}, 256}));
}

TEST(EngineTensorsTest, anArrayThatFitsIsWrittenOverAndNoOther)
{
    std::array<std::byte, 256> memory{};
    MLFeatures features;
    const auto take = [&](const engine::Tensor& tensor) {
        ASSERT_TRUE(collect({tensor}, signature, memory, 64, features));
    };
    take({0, engine::Element::float32, {7}, 64});
    const MultiArray first = features.at("a");
    EXPECT_EQ(first.number(0), 0);
    const float one = 1;
    std::memcpy(memory.data() + 64, &one, sizeof one);
    take({0, engine::Element::float32, {7}, 64});
    EXPECT_EQ(features.at("a").data(), first.data());
    EXPECT_EQ(first.number(0), 1);
    take({0, engine::Element::float32, {1, 4}, 64});
    EXPECT_NE(features.at("a").data(), first.data());
    EXPECT_EQ(features.at("a").shape(), (MultiArray::Extents{1, 4}));
}

TEST(EngineTensorsTest, whatIsNoOutputIsNotLeftAmongThem)
{
    const std::array<std::byte, 256> memory{};
    MLFeatures features{{"z", MultiArray(MLElementType::float32, {1})}};
    EXPECT_FALSE(
        collect({{0, engine::Element::float32, {7}, 64}}, signature, memory, 64, features));
}

TEST(EngineTensorsTest, roomIsExpectedForShapesThatAreKnown)
{
    EXPECT_EQ(expectedBytes(signature.outputs), 64U); // 7 numbers at most, rounded up
    EXPECT_EQ(expectedBytes({}), 0U);
    EXPECT_EQ(expectedBytes({{"c", MLElementType::int32, {{{0, INT64_MAX}}}, false}}), 0U);
    EXPECT_EQ(expectedBytes({{"c", MLElementType::int32, {{{0, 1 << 30}}}, false}}),
              std::uint64_t{64} << 20);
}

TEST(EngineTensorsTest, shownLinesAreOneLineOfText)
{
    EXPECT_EQ(shown("the input 'für' is missing"), "the input 'für' is missing");
    EXPECT_EQ(shown("a\r\nb\x7f"), "a  b ");
    EXPECT_EQ(shown("cut \xe6\x97"), "cut ??");
    EXPECT_EQ(shown("\x80\xf8 lone"), "?? lone");
    EXPECT_LE(shown(std::string(5000, 'x')).size(), 1000U);
}

} // namespace vorlin::test
