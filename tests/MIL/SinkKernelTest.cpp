// What a product's sink and the copies between products are made of, against plain loops: exact.
#include "MIL/Half.h"
#include "MIL/Kernels/Elementwise/Elements.h"
#include "MIL/Kernels/Movement/Transpose.h"
#include "MIL/Kernels/Product/Finish.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace vorlin::mil::test {

namespace {

class ProductSinkTest : public testing::Test {
protected:
    std::vector<float> floats(std::size_t count)
    {
        std::normal_distribution<float> normal(0, 3);
        std::vector<float> values(count);
        for (float& value : values) {
            value = normal(random);
        }
        return values;
    }

    std::mt19937 random{7};
};

} // namespace

TEST_F(ProductSinkTest, roundingKeepsWhatHalvesHold)
{
    for (std::int64_t count = 0; count < 70; ++count) {
        std::vector<float> values = floats(static_cast<std::size_t>(count) + 1);
        values[0] = std::numeric_limits<float>::infinity();
        std::vector<float> wanted = values;
        for (std::int64_t i = 0; i < count; ++i) {
            wanted[static_cast<std::size_t>(i)] =
                widen(narrow(wanted[static_cast<std::size_t>(i)]));
        }
        roundToHalves(values.data(), count);
        ASSERT_EQ(values, wanted) << count;
    }
}

TEST_F(ProductSinkTest, addendsStandForOneElementOrForAll)
{
    for (std::int64_t count = 0; count < 70; ++count) {
        for (const bool single : {false, true}) {
            std::vector<float> values = floats(static_cast<std::size_t>(count) + 1);
            const std::vector<float> addends = floats(static_cast<std::size_t>(count) + 1);
            std::vector<float> wanted = values;
            for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
                wanted[i] += addends[single ? 0 : i];
            }
            addFloats(values.data(), count, addends.data(), single);
            ASSERT_EQ(values, wanted) << count;
        }
    }
}

TEST_F(ProductSinkTest, scaledElementsAreTakenFromAnyStride)
{
    for (const std::int64_t stride : {1, 2, 3}) {
        for (std::int64_t count = 0; count < 70; ++count) {
            std::vector<float> values = floats(static_cast<std::size_t>(count) + 1);
            // Not one element more than is needed, so that a sanitizer sees what is read.
            const std::vector<float> in =
                floats(static_cast<std::size_t>(count == 0 ? 1 : (count - 1) * stride + 1));
            std::vector<float> wanted = values;
            for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
                const float scaled = 0.7f * in[i * static_cast<std::size_t>(stride)];
                wanted[i] += scaled;
            }
            addScaled(values.data(), count, in.data(), stride, 0.7f);
            ASSERT_EQ(values, wanted) << count << " with stride " << stride;
        }
    }
}

namespace {

/// Rows of a tensor with what is done to them, in one pass and one by one.
class FinishedRowsTest : public ProductSinkTest {
protected:
    static constexpr std::int64_t rows = 3;

    std::size_t below(std::size_t count) { return random() % count; }

    std::vector<std::byte> tensorOf(const std::vector<float>& numbers) const
    {
        std::vector<std::byte> bytes(numbers.size() * (element == ElementType::fp16 ? 2 : 4));
        const TensorBuffer buffer{{element, {static_cast<std::int64_t>(numbers.size())}},
                                  bytes.data()};
        storeFloats(buffer, 0, buffer.elements(), numbers.data());
        return bytes;
    }

    /// A random function, its other operand one of `others`, repeating after one of `periods`.
    Finish::Step step(const std::vector<std::byte>& other, const std::vector<std::int64_t>& periods)
    {
        using enum UnaryFunction;
        static constexpr UnaryFunction unary[] = {
            absolute, square, hyperbolicTangent, silu, sigmoid, relu, relu6,
            clip,     square, threshold};
        static constexpr BinaryFunction binary[] = {BinaryFunction::add, BinaryFunction::subtract,
                                                    BinaryFunction::multiply,
                                                    BinaryFunction::divide};
        if (below(2) == 0) {
            return {UnaryLink{unary[below(std::size(unary))], -0.5, 0.5}, {}, false};
        }
        const std::int64_t period = periods[below(periods.size())];
        return {
            binary[below(std::size(binary))], {{element, {period}}, other.data()}, below(2) == 0};
    }

    /// What each step gives alone, of the whole tensor `out`.
    void finishOneByOne(const Finish& finish, const FinishedRows& task, std::vector<float> values,
                        std::vector<std::byte>& out) const
    {
        const TensorBuffer buffer{{element, {static_cast<std::int64_t>(out.size())}}, out.data()};
        for (std::int64_t i = 0; i < task.rows; ++i) {
            float* const row = values.data() + i * task.stride;
            if (task.addends != nullptr) {
                addFloats(row, task.columns, task.addends + i * task.addendRows,
                          task.addendColumns == 0);
            }
            const std::int64_t place = task.place + i * task.placeStride;
            finish.apply(place, task.columns, row);
            storeFloats(buffer, place, task.columns, row);
        }
    }

    ElementType element = ElementType::fp32;
};

} // namespace

TEST_F(FinishedRowsTest, onePassGivesWhatTheStepsGiveOneByOne)
{
    for (int round = 0; round < 4000; ++round) {
        element = round % 2 == 0 ? ElementType::fp16 : ElementType::fp32;
        const auto columns = static_cast<std::int64_t>(1 + below(150));
        const std::int64_t place = static_cast<std::int64_t>(below(40));
        const std::int64_t placeStride = columns + static_cast<std::int64_t>(below(5));
        const std::int64_t stride = columns + static_cast<std::int64_t>(below(3));
        const std::int64_t all = place + rows * placeStride;
        const std::vector<float> values = floats(static_cast<std::size_t>(rows * stride));
        const std::vector<float> addends = floats(static_cast<std::size_t>(columns + rows));
        const std::vector<std::byte> other = tensorOf(floats(static_cast<std::size_t>(all)));
        Finish finish;
        finish.reset(element);
        const std::size_t steps = below(mostPasses + 1);
        for (std::size_t i = 0; i < steps; ++i) {
            finish.add(step(other, {1, 1 + static_cast<std::int64_t>(below(30)), all}));
        }
        ASSERT_TRUE(finish.inOnePass().has_value());
        const std::size_t kind = below(4); // none, one for all, for each row, for each column
        FinishedRows task{.values = values.data(),
                          .stride = stride,
                          .rows = rows,
                          .columns = columns,
                          .place = place,
                          .placeStride = placeStride,
                          .addends = kind == 0 ? nullptr : addends.data(),
                          .addendRows = kind == 2 ? 1 : 0,
                          .addendColumns = kind == 3 ? 1 : 0,
                          .passes = *finish.inOnePass(),
                          .halves = element == ElementType::fp16};
        std::vector<std::byte> wanted = tensorOf(floats(static_cast<std::size_t>(all) + 20));
        std::vector<std::byte> got = wanted;
        finishOneByOne(finish, task, values, wanted);
        task.out = got.data();
        finishRows(task);
        ASSERT_TRUE(got == wanted) << "round " << round;
    }
}

TEST_F(FinishedRowsTest, resultsMayLieWhereAnOperandWas)
{
    for (const ElementType type : {ElementType::fp16, ElementType::fp32}) {
        element = type;
        for (std::int64_t columns = 1; columns < 150; ++columns) {
            const std::vector<float> values = floats(static_cast<std::size_t>(columns));
            std::vector<std::byte> got = tensorOf(floats(static_cast<std::size_t>(columns)));
            std::vector<std::byte> wanted = got;
            const auto finishOver = [&](const std::vector<std::byte>& other) {
                Finish finish;
                finish.reset(type);
                finish.add({BinaryFunction::add, {{type, {columns}}, other.data()}, false});
                return finish;
            };
            FinishedRows task{.values = values.data(),
                              .rows = 1,
                              .columns = columns,
                              .out = got.data(),
                              .halves = type == ElementType::fp16};
            finishOneByOne(finishOver(wanted), task, values, wanted);
            const Finish finish = finishOver(got);
            task.passes = *finish.inOnePass();
            finishRows(task);
            ASSERT_TRUE(got == wanted) << columns;
        }
    }
}

TEST_F(FinishedRowsTest, functionsWithoutVectorsAndLongChainsGoOneByOne)
{
    Finish finish;
    finish.reset(ElementType::fp16);
    finish.add({UnaryLink{UnaryFunction::relu}, {}, false});
    EXPECT_TRUE(finish.inOnePass().has_value());
    finish.add({UnaryLink{UnaryFunction::floor}, {}, false});
    EXPECT_FALSE(finish.inOnePass().has_value());
    finish.add({UnaryLink{UnaryFunction::relu}, {}, false});
    EXPECT_FALSE(finish.inOnePass().has_value());
    finish.reset(ElementType::fp16);
    for (std::size_t i = 0; i < mostPasses; ++i) {
        finish.add({UnaryLink{UnaryFunction::relu}, {}, false});
    }
    EXPECT_TRUE(finish.inOnePass().has_value());
    finish.add({UnaryLink{UnaryFunction::relu}, {}, false});
    EXPECT_FALSE(finish.inOnePass().has_value());
}

TEST_F(ProductSinkTest, shortsAreTurnedAndNothingBesideThemIsWritten)
{
    for (std::int64_t rows = 0; rows < 36; ++rows) {
        for (std::int64_t columns = 0; columns < 36; ++columns) {
            const std::int64_t inStride = rows + 3;
            const std::int64_t outStride = columns + 5;
            std::vector<std::uint16_t> in(static_cast<std::size_t>((columns + 1) * inStride));
            for (std::uint16_t& value : in) {
                value = static_cast<std::uint16_t>(random());
            }
            std::vector<std::uint16_t> out(static_cast<std::size_t>((rows + 1) * outStride), 9);
            std::vector<std::uint16_t> wanted = out;
            for (std::int64_t i = 0; i < rows; ++i) {
                for (std::int64_t j = 0; j < columns; ++j) {
                    wanted[static_cast<std::size_t>(i * outStride + j)] =
                        in[static_cast<std::size_t>(j * inStride + i)];
                }
            }
            transposeShorts(in.data(), inStride, rows, columns, out.data(), outStride);
            ASSERT_EQ(out, wanted) << rows << " x " << columns;
        }
    }
}

} // namespace vorlin::mil::test
