#include "MIL/Parser/Parser.h"
#include "MIL/Error.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstring>

namespace vorlin::mil::test {

namespace {

/// A program whose one statement is a constant of this type and literal.
std::string constantText(const std::string& type, const std::string& literal)
{
    return "program(1.3){func main<ios18>(){" + type +
           " y = const()[name = string(\"y\"), val = " + type + "(" + literal + ")];}->(y);}";
}

TensorView valueOf(const syntax::Program& program)
{
    const syntax::Value& value = program.values.back();
    return {value.type.tensor, std::get<syntax::Numbers>(value.content).bytes.data()};
}

double single(const std::string& type, const std::string& literal)
{
    const std::string text = constantText(type, literal);
    const syntax::Program program = parseProgram(text);
    return valueOf(program).number(0);
}

} // namespace

TEST(ParserTest, floatingLiteralsAreExact)
{
    EXPECT_EQ(single("fp32", "0x1p+0"), 1);
    EXPECT_EQ(single("fp32", "-0x1.388p+13"), -10000);
    EXPECT_EQ(single("fp32", "0x1p-149"), 0x1p-149);
    EXPECT_EQ(single("fp16", "0x1p-24"), 0x1p-24);
    EXPECT_EQ(single("fp16", "0x1.ffcp+15"), 65504);
    EXPECT_EQ(single("fp16", "0.1"), 0x1.998p-4);
    EXPECT_EQ(single("fp32", "1e-3"), static_cast<double>(0.001f));
    EXPECT_EQ(single("fp64", "0.1"), 0.1);
    EXPECT_EQ(single("bf16", "0x1.8p+1"), 3);
    EXPECT_EQ(single("fp32", "-7"), -7);
    EXPECT_EQ(single("fp32", "1e-400"), 0);
    EXPECT_TRUE(std::signbit(single("fp32", "-0x0p+0")));
    EXPECT_EQ(single("fp16", "-inf"), -INFINITY);
    EXPECT_EQ(single("fp32", "Infinity"), INFINITY);
    EXPECT_TRUE(std::isnan(single("fp32", "NaN")));
}

TEST(ParserTest, integersReachTheEndsOfTheirTypes)
{
    EXPECT_EQ(single("int32", "-2147483648"), -2147483648.0);
    EXPECT_EQ(single("uint32", "4294967295"), 4294967295.0);
    EXPECT_EQ(single("int4", "-8"), -8);
    EXPECT_EQ(single("uint6", "63"), 63);
    EXPECT_EQ(single("int16", "-32768"), -32768);
    EXPECT_THROW(single("uint6", "64"), Error);
    EXPECT_THROW(single("int4", "8"), Error);
    EXPECT_THROW(single("uint64", "18446744073709551616"), Error);
    EXPECT_NO_THROW(single("uint64", "18446744073709551615"));
}

TEST(ParserTest, smallIntegersArePackedLowestFirst)
{
    const std::string text = constantText("tensor<uint3, [5]>", "[1, 2, 3, 4, 5]");
    const syntax::Program program = parseProgram(text);
    const auto& bytes = std::get<syntax::Numbers>(program.values.back().content).bytes;
    // 001, 010, 011, 100, 101 from the lowest bit up.
    EXPECT_EQ(bytes, (std::vector<std::byte>{std::byte{0xd1}, std::byte{0x58}}));
}

TEST(ParserTest, stringsKeepWhatIsEscaped)
{
    const std::string text = constantText("string", R"("a\"b\\c\d // no remark")");
    const syntax::Program program = parseProgram(text);
    EXPECT_EQ(std::get<std::string>(program.values.back().content), "a\"b\\cd // no remark");
}

TEST(ParserTest, aggregatesOfAttributesAreReadOver)
{
    EXPECT_NO_THROW(parseProgram(
        "program(1.0)[buildInfo = dict<string, string>({{\"a\", \"1\"}, {\"b\", \"2\"}})]{"
        "func main<ios16>(tensor<fp32, [?]> x)[F = tuple<tuple<string, dict<string, "
        "tensor<int32, [?]>>>, tuple<string, dict<string, list<tensor<int32, [2]>, ?>>>>((("
        "\"DefaultShapes\", {{\"x\", [1, 1]}}), (\"RangeDims\", {{\"x\", [[1, 1], [64, "
        "8192]]}})))]{tensor<fp32, [?]> y = relu(x = x);}->(y);}"));
}

TEST(ParserTest, operandsAreNamesValuesAndTuples)
{
    const std::string text =
        "program(1.3){func main<ios18>(fp32 a){tensor<fp32,[3]> y = concat(axis = int32(0), values "
        "= (a, fp32(2), a));write_state(data = y, input = a);fp32 b, fp32 c = split(x = y);}->(y, "
        "b);}";
    const syntax::Program program = parseProgram(text);
    const syntax::Function& function = program.functions.front();
    ASSERT_EQ(function.statements.size(), 3U);
    EXPECT_EQ(function.statements[0].arguments[1].binding.parts.size(), 3U);
    EXPECT_TRUE(function.statements[1].outputs.empty());
    EXPECT_EQ(function.statements[2].outputs[1].name, "c");
    EXPECT_EQ(function.outputs.size(), 2U);
}

TEST(ParserTest, aLongListOfNumbersIsReadInOneGo)
{
    std::string list = "[";
    for (int i = 0; i < 240000; ++i) {
        list += (i == 0 ? "" : ", ") + std::to_string(i);
    }
    const std::string text = constantText("tensor<int32, [240000]>", list + "]");
    const auto start = std::chrono::steady_clock::now();
    const syntax::Program program = parseProgram(text);
    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
    RecordProperty("milliseconds", std::to_string(time.count()));
    EXPECT_EQ(valueOf(program).integer(239999), 239999);
}

} // namespace vorlin::mil::test
