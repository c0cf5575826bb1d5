// Arrays as they cross: what does not fit is refused, what is shown is clean.
#include "Platform/Linux/Engine/EngineTensors.h"

#include <gtest/gtest.h>

#include <array>

namespace vorlin::test {

namespace {

const MLSignature signature{
    .inputs = {},
    .outputs = {{"a", MLElementType::float32, {{{1, 1}, {0, 4}}, {{7, 7}}}, false},
                {"b", std::nullopt, {{{1, 1}}}, false}}};

bool isTaken(const engine::Tensor& tensor, std::uint64_t begin = 64)
{
    const std::array<std::byte, 256> memory{};
    return collect({tensor}, signature, memory, begin).has_value();
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
