// Products in 8 bits: every vector form against the plain one, bit for bit, and the whole product
// against its definition.
#include "IntegerStandIn.h"
#include "MIL/Execution/WorkerPool.h"
#include "MIL/Graph/Operation.h"
#include "MIL/Kernels/Product/IntegerProduct.h"
#include "MIL/Kernels/Product/IntegerRounding.h"
#include "MIL/Kernels/Product/Operands.h"
#include "MIL/Kernels/Stored/Forms.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <numeric>
#include <random>
#include <vector>

namespace vorlin::mil::test {

namespace {

std::mt19937& random()
{
    static std::mt19937 engine(20261123);
    return engine;
}

template <class Number>
std::vector<Number> numbers(std::int64_t count, int lowest, int highest)
{
    std::uniform_int_distribution<int> any(lowest, highest);
    std::vector<Number> values(static_cast<std::size_t>(count));
    for (Number& value : values) {
        value = static_cast<Number>(any(random()));
    }
    return values;
}

std::vector<float> floats(std::int64_t count, float deviation)
{
    std::normal_distribution<float> normal(0, deviation);
    std::vector<float> values(static_cast<std::size_t>(count));
    for (float& value : values) {
        value = normal(random());
    }
    return values;
}

std::vector<const IntegerKernels*> forms()
{
    const auto all = integerKernels();
    std::vector<const IntegerKernels*> result(all.begin(), all.end());
    if (const IntegerKernels* const narrow = narrowStandIn()) {
        result.push_back(narrow);
    }
    return result;
}

std::string nameOf(const IntegerKernels& kernels)
{
    std::string name(kernels.name);
    std::erase_if(name, [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; });
    return name;
}

/// Numbers from -127 to 127 as a panel of that form.
std::vector<std::uint8_t> panelOf(const IntegerKernels& kernels, const std::vector<int>& b,
                                  std::int64_t inner, std::int64_t columns)
{
    std::vector<std::uint8_t> panel(static_cast<std::size_t>((inner + 3) / 4 * 4 * kernels.width));
    for (std::int64_t k = 0; k < inner; ++k) {
        for (std::int64_t j = 0; j < columns; ++j) {
            panel[static_cast<std::size_t>(k / 4 * 4 * kernels.width + j * 4 + k % 4)] =
                static_cast<std::uint8_t>(b[static_cast<std::size_t>(k * columns + j)] +
                                          kernels.zero);
        }
    }
    return panel;
}

class IntegerFormTest : public testing::TestWithParam<const IntegerKernels*> {};

} // namespace

TEST_P(IntegerFormTest, everySumIsThatOfPlainArithmetic)
{
    const IntegerKernels& kernels = *GetParam();
    for (int round = 0; round < 300; ++round) {
        const bool extreme = round % 7 == 0;
        const auto inner = static_cast<std::int64_t>(1 + random()() % 300);
        const auto rows = static_cast<std::int64_t>(1 + random()()) % kernels.rows + 1;
        const auto columns = static_cast<std::int64_t>(random()()) % kernels.width + 1;
        const std::int64_t fours = (inner + 3) / 4;
        const std::int64_t aStride = 4 * fours + static_cast<std::int64_t>(random()() % 9);
        const auto a =
            numbers<std::int8_t>(rows * aStride, extreme ? -128 : -90, extreme ? -128 : 127);
        const auto b = numbers<int>(inner * columns, extreme ? 127 : -127, 127);
        const std::vector<std::uint8_t> panel = panelOf(kernels, b, inner, columns);
        const std::int64_t cStride = kernels.width + 3;
        const auto before = numbers<std::int32_t>(rows * cStride, -100000, 100000);
        std::vector<std::int32_t> c = before;
        const bool accumulate = round % 2 == 0;
        const std::vector<const std::byte*> ahead(random()() % 70,
                                                  reinterpret_cast<const std::byte*>(panel.data()));
        kernels.multiply({a.data(), aStride, panel.data(), fours, rows, columns, c.data(), cStride,
                          accumulate, ahead});
        for (std::int64_t i = 0; i < rows; ++i) {
            std::int32_t excess = 0;
            for (std::int64_t k = 0; k < inner; ++k) {
                excess += kernels.zero * a[static_cast<std::size_t>(i * aStride + k)];
            }
            for (std::int64_t j = 0; j < cStride; ++j) {
                const auto place = static_cast<std::size_t>(i * cStride + j);
                if (j >= kernels.width) {
                    ASSERT_EQ(c[place], before[place]) << "behind the panel";
                    continue;
                }
                if (j >= columns) {
                    continue;
                }
                std::int32_t sum = accumulate ? before[place] : 0;
                for (std::int64_t k = 0; k < inner; ++k) {
                    sum += a[static_cast<std::size_t>(i * aStride + k)] *
                           b[static_cast<std::size_t>(k * columns + j)];
                }
                ASSERT_EQ(c[place] - excess, sum) << inner << " terms at " << i << ", " << j;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, IntegerFormTest, testing::ValuesIn(forms()),
                         [](const auto& form) { return nameOf(*form.param); });

namespace {

/// q = x / scale to the nearest, ties to even, as the product defines it.
int steps(float x, float largest)
{
    return largest < 0x1p-100f ? 0 : static_cast<int>(std::nearbyint(x * (127 / largest)));
}

float largestOf(const std::vector<float>& values)
{
    float largest = 0;
    for (const float value : values) {
        largest = std::max(largest, std::abs(value));
    }
    return largest;
}

} // namespace

TEST(IntegerRoundingTest, everyNumberIsRoundedToTheNearestStep)
{
    for (std::int64_t count = 0; count < 80; ++count) {
        std::vector<float> values = floats(count, 1e3f);
        const float largest = largestOf(values);
        ASSERT_EQ(largestMagnitude(values.data(), count), largest);
        const StepSize step = stepSize(largest);
        for (const std::int32_t zero : {0, 128}) {
            std::vector<std::uint8_t> bytes(static_cast<std::size_t>(count) + 1, 77);
            const std::int32_t sum =
                roundToBytes(values.data(), count, step.inverse, zero, bytes.data());
            std::int32_t wanted = 0;
            for (std::size_t i = 0; i < values.size(); ++i) {
                wanted += steps(values[i], largest);
                ASSERT_EQ(bytes[i], static_cast<std::uint8_t>(steps(values[i], largest) + zero));
            }
            ASSERT_EQ(sum, wanted);
            ASSERT_EQ(bytes.back(), 77);
        }
    }
}

TEST(IntegerRoundingTest, halvesBetweenStepsGoToTheEvenOne)
{
    const std::vector<float> values{0.5f, 1.5f, 2.5f, -0.5f, -1.5f, -2.5f, 126.5f, -126.5f, 127.0f};
    std::vector<float> many;
    for (int i = 0; i < 9; ++i) {
        many.insert(many.end(), values.begin(), values.end());
    }
    std::vector<std::uint8_t> bytes(many.size());
    roundToBytes(many.data(), static_cast<std::int64_t>(many.size()), 1, 128, bytes.data());
    const std::vector<int> wanted{0, 2, 2, 0, -2, -2, 126, -126, 127};
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        EXPECT_EQ(bytes[i] - 128, wanted[i % wanted.size()]) << i;
    }
}

TEST(IntegerRoundingTest, sumsOfBytesAreThoseOfPlainArithmetic)
{
    for (std::int64_t count = 0; count < 200; ++count) {
        const auto some = numbers<std::int8_t>(count, -128, 127);
        const auto wanted = std::accumulate(some.begin(), some.end(), std::int32_t{0});
        ASSERT_EQ(sumOfBytes(some.data(), count), wanted) << count;
    }
    const std::vector<std::int8_t> lowest(100000, -128);
    EXPECT_EQ(sumOfBytes(lowest.data(), 100000), -12800000);
}

TEST(IntegerRoundingTest, whatIsNotFiniteIsNoticed)
{
    for (std::size_t place = 0; place < 70; ++place) {
        std::vector<float> values = floats(70, 1);
        values[place] = std::numeric_limits<float>::infinity();
        EXPECT_TRUE(std::isinf(largestMagnitude(values.data(), 70)));
        values[(place + 31) % 70] = std::numeric_limits<float>::quiet_NaN();
        EXPECT_TRUE(std::isnan(largestMagnitude(values.data(), 70)));
    }
    EXPECT_TRUE(std::isnan(stepSize(std::numeric_limits<float>::infinity()).scale));
    EXPECT_EQ(stepSize(0).scale, 0);
    EXPECT_EQ(stepSize(1e-40f).inverse, 0);
}

TEST(IntegerRoundingTest, columnsAreRoundedAsEachOfThemAlone)
{
    for (std::int64_t count = 1; count < 40; ++count) {
        const std::int64_t columns = 1 + count * 7 % 51;
        const std::int64_t stride = columns + 3;
        const std::int64_t width = columns + 2;
        const std::vector<float> rows = floats(count * stride, 2);
        std::vector<float> largest(static_cast<std::size_t>(columns));
        largestOfColumns(rows.data(), stride, count, columns, largest.data());
        std::vector<float> inverses;
        for (const float one : largest) {
            inverses.push_back(stepSize(one).inverse);
        }
        const std::int64_t fours = (count + 3) / 4;
        std::vector<std::int32_t> sums(static_cast<std::size_t>(columns), 99);
        std::vector<std::uint8_t> out(static_cast<std::size_t>(fours * 4 * width), 77);
        roundToFours(rows.data(), stride, count, columns, inverses.data(), 128, out.data(), width,
                     sums.data());
        for (std::int64_t j = 0; j < columns; ++j) {
            std::int32_t sum = 0;
            for (std::int64_t k = 0; k < count; ++k) {
                sum += steps(rows[static_cast<std::size_t>(k * stride + j)],
                             largest[static_cast<std::size_t>(j)]);
            }
            ASSERT_EQ(sums[static_cast<std::size_t>(j)], sum);
        }
        for (std::int64_t k = 0; k < 4 * fours; ++k) {
            for (std::int64_t j = 0; j < width; ++j) {
                const int got = out[static_cast<std::size_t>(k / 4 * width * 4 + j * 4 + k % 4)];
                if (j >= columns) {
                    ASSERT_EQ(got, 77);
                } else if (k >= count) {
                    ASSERT_EQ(got, 0);
                } else {
                    ASSERT_EQ(got - 128, steps(rows[static_cast<std::size_t>(k * stride + j)],
                                               largest[static_cast<std::size_t>(j)]));
                }
            }
        }
    }
}

namespace {

/// A product and its definition.
class IntegerProductTest : public testing::TestWithParam<const IntegerKernels*> {
protected:
    struct Size {
        std::int64_t rows;
        std::int64_t inner;
        std::int64_t columns;
    };

    std::vector<float> multiplied(const Size& size, const LeftRows& left,
                                  const std::vector<float>& b, bool columnsLie,
                                  std::size_t threads = 1) const
    {
        std::vector<std::byte> scratch;
        WorkerPool pool;
        Execution execution;
        execution.pool = &pool;
        execution.threads = threads;
        execution.scratch = &scratch;
        const OperationKind kind{};
        const Call::Operands operands;
        const ValueTable values;
        const Call call(kind, operands, 15, values, {}, execution);
        const ProductSize product{size.rows, size.inner, size.columns};
        const TensorView view{{ElementType::fp32, {size.inner * size.columns}},
                              reinterpret_cast<const std::byte*>(b.data())};
        const MatrixColumns right(columnsLie ? MatrixView{view, nullptr, 0, 1, size.inner}
                                             : MatrixView{view, nullptr, 0, size.columns, 1});
        std::vector<float> c(static_cast<std::size_t>(size.rows * size.columns));
        const TensorBuffer out{{ElementType::fp32, {size.rows * size.columns}},
                               reinterpret_cast<std::byte*>(c.data())};
        const MatrixSink sink({out, 0, size.columns, 1}, nullptr);
        const IntegerRows rows(call, product, left);
        multiplyInIntegers(call, product, left, rows, right, sink, *GetParam());
        return c;
    }

    /// Rows and columns rounded as the product says, multiplied in double precision.
    void expectProduct(const Size& size, const std::vector<int>& q,
                       const std::vector<double>& rowScales, const std::vector<float>& b,
                       bool columnsLie, const std::vector<float>& c)
    {
        for (std::int64_t j = 0; j < size.columns; ++j) {
            std::vector<float> column;
            for (std::int64_t k = 0; k < size.inner; ++k) {
                column.push_back(b[static_cast<std::size_t>(columnsLie ? j * size.inner + k
                                                                       : k * size.columns + j)]);
            }
            const float largest = largestOf(column);
            for (std::int64_t i = 0; i < size.rows; ++i) {
                std::int64_t sum = 0;
                for (std::int64_t k = 0; k < size.inner; ++k) {
                    sum += q[static_cast<std::size_t>(i * size.inner + k)] *
                           steps(column[static_cast<std::size_t>(k)], largest);
                }
                const double wanted = static_cast<double>(sum) *
                                      rowScales[static_cast<std::size_t>(i)] *
                                      static_cast<double>(largest) / 127;
                ASSERT_NEAR(static_cast<double>(c[static_cast<std::size_t>(i * size.columns + j)]),
                            wanted, std::abs(wanted) * 4e-7)
                    << i << ", " << j;
            }
        }
    }

    static constexpr Size sizes[] = {{70, 130, 53},  {1, 64, 5},    {64, 1024, 48}, {9, 1030, 61},
                                     {130, 66, 250}, {8, 2051, 16}, {3, 4096, 100}};
};

} // namespace

TEST_P(IntegerProductTest, halvesAreRoundedByRowsAndByColumns)
{
    for (const Size& size : sizes) {
        const std::vector<float> b = floats(size.inner * size.columns, 3);
        std::vector<Half> a;
        for (const float value : floats(size.rows * size.inner, 0.1f)) {
            a.push_back(narrow(value));
        }
        std::vector<int> q;
        std::vector<double> scales;
        for (std::int64_t i = 0; i < size.rows; ++i) {
            std::vector<float> row;
            for (std::int64_t k = 0; k < size.inner; ++k) {
                row.push_back(widen(a[static_cast<std::size_t>(i * size.inner + k)]));
            }
            const float largest = largestOf(row);
            scales.push_back(static_cast<double>(largest) / 127);
            for (const float value : row) {
                q.push_back(steps(value, largest));
            }
        }
        const MatrixRows left({{{ElementType::fp16, {size.rows, size.inner}},
                                reinterpret_cast<const std::byte*>(a.data())},
                               nullptr,
                               0,
                               size.inner,
                               1});
        for (const bool lie : {true, false}) {
            expectProduct(size, q, scales, b, lie, multiplied(size, left, b, lie));
        }
    }
}

TEST_P(IntegerProductTest, storedIntegersAreMultipliedAsTheyLie)
{
    for (const Size& size : sizes) {
        const std::vector<float> b = floats(size.inner * size.columns, 3);
        const auto a = numbers<std::int8_t>(size.rows * size.inner, -128, 127);
        const auto offsets = numbers<float>(size.rows, -128, 127);
        const Shape shape{size.rows, size.inner};
        std::vector<float> scales = floats(size.rows, 1);
        const ScaledValues stored(
            {.data = std::make_shared<DenseValues>(TensorView{
                 {ElementType::int8, shape}, reinterpret_cast<const std::byte*>(a.data())}),
             .scaleBlocks = Blocks(shape, {size.rows, 1}),
             .scales = scales,
             .offsetBlocks = Blocks(shape, {size.rows, 1}),
             .offsets = offsets,
             .result = ElementType::fp16});
        const MatrixRows left({{{ElementType::fp16, shape}, nullptr}, &stored, 0, size.inner, 1});
        ASSERT_TRUE(left.scaledBytes(size.rows - 1, size.inner));
        const std::vector<double> rowScales(scales.begin(), scales.end());
        std::vector<int> q;
        for (std::size_t i = 0; i < a.size(); ++i) {
            q.push_back(a[i] - static_cast<int>(offsets[i / static_cast<std::size_t>(size.inner)]));
        }
        for (const bool lie : {true, false}) {
            expectProduct(size, q, rowScales, b, lie, multiplied(size, left, b, lie));
        }
    }
}

/// The largest products of the encoder, for 3 s and for 15 s.
TEST_P(IntegerProductTest, threadsTogetherGiveWhatOneGives)
{
    for (const Size& size : {Size{4096, 1024, 40}, Size{1024, 4096, 188}}) {
        const std::vector<float> b = floats(size.inner * size.columns, 3);
        const std::vector<float> a = floats(size.rows * size.inner, 0.1f);
        const MatrixRows left({{{ElementType::fp32, {size.rows, size.inner}},
                                reinterpret_cast<const std::byte*>(a.data())},
                               nullptr,
                               0,
                               size.inner,
                               1});
        for (const bool lie : {true, false}) {
            const std::vector<float> alone = multiplied(size, left, b, lie);
            EXPECT_TRUE(multiplied(size, left, b, lie, 2) == alone);
            EXPECT_TRUE(multiplied(size, left, b, lie, 7) == alone);
        }
    }
}

TEST_P(IntegerProductTest, aColumnThatIsNotFiniteSpoilsItselfAlone)
{
    const Size size{20, 128, 40};
    for (const bool lie : {true, false}) {
        std::vector<float> b = floats(size.inner * size.columns, 3);
        const std::int64_t spoilt = 17;
        b[static_cast<std::size_t>(lie ? spoilt * size.inner + 5 : 5 * size.columns + spoilt)] =
            std::numeric_limits<float>::infinity();
        const std::vector<float> a = floats(size.rows * size.inner, 1);
        const MatrixRows left({{{ElementType::fp32, {size.rows, size.inner}},
                                reinterpret_cast<const std::byte*>(a.data())},
                               nullptr,
                               0,
                               size.inner,
                               1});
        const std::vector<float> c = multiplied(size, left, b, lie);
        for (std::int64_t i = 0; i < size.rows * size.columns; ++i) {
            EXPECT_EQ(std::isnan(c[static_cast<std::size_t>(i)]), i % size.columns == spoilt);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, IntegerProductTest, testing::ValuesIn(forms()),
                         [](const auto& form) { return nameOf(*form.param); });

TEST(IntegerStoredTest, onlyRowsOfOneScaleAndOneWholeOffsetLieAsIntegers)
{
    const Shape shape{4, 8};
    const std::vector<std::int8_t> data(32, 5);
    const auto values = [&](ElementType type, const Extents& scaleCounts,
                            std::vector<float> offsets) {
        const auto count = static_cast<std::size_t>(elementCount(scaleCounts));
        std::vector<float> scales(count);
        for (std::size_t i = 0; i < count; ++i) {
            scales[i] = static_cast<float>(i + 1);
        }
        return ScaledValues({.data = std::make_shared<DenseValues>(TensorView{
                                 {type, shape}, reinterpret_cast<const std::byte*>(data.data())}),
                             .scaleBlocks = Blocks(shape, scaleCounts),
                             .scales = scales,
                             .offsetBlocks = Blocks(shape, {1, 1}),
                             .offsets = std::move(offsets),
                             .result = ElementType::fp16});
    };
    const auto lies = [](const ScaledValues& one) { return one.scaledBytes(8, 8).has_value(); };
    EXPECT_TRUE(lies(values(ElementType::int8, {4, 1}, {})));
    EXPECT_TRUE(lies(values(ElementType::int8, {1, 1}, {0})));
    EXPECT_TRUE(lies(values(ElementType::int8, {4, 1}, {3})));
    EXPECT_FALSE(lies(values(ElementType::int8, {4, 1}, {0.5f})));
    EXPECT_FALSE(lies(values(ElementType::int8, {4, 1}, {300})));
    EXPECT_FALSE(lies(values(ElementType::int8, {4, 1}, {std::nanf("")})));
    EXPECT_FALSE(lies(values(ElementType::int8, {4, 2}, {})));
    EXPECT_FALSE(lies(values(ElementType::int8, {1, 8}, {})));
    EXPECT_FALSE(lies(values(ElementType::uint8, {4, 1}, {})));
    const auto second = values(ElementType::int8, {4, 1}, {}).scaledBytes(8, 8);
    EXPECT_EQ(second->scale, 2);
    EXPECT_EQ(second->integers, data.data() + 8);
}

TEST(IntegerStoredTest, palettesAreRoundedAsWhatTheyExpandToIs)
{
    constexpr std::int64_t count = 700;
    for (const ElementType type :
         {ElementType::uint2, ElementType::uint4, ElementType::uint6, ElementType::uint8}) {
        const auto bits = static_cast<std::int64_t>(bitsOf(type));
        const auto indices = numbers<std::uint8_t>(count * bits / 8 + 1, 0, 255);
        const Shape shape{2, count / 2};
        const std::int64_t size = std::int64_t{1} << bits;
        const PaletteValues values(
            {.indices = {{type, shape}, reinterpret_cast<const std::byte*>(indices.data())},
             .shape = shape,
             .blocks = Blocks(shape, {2, 1}),
             .entries = floats(2 * size, 1),
             .size = size,
             .mask = nullptr});
        for (const auto& [first, length] :
             {std::pair{0, 700}, std::pair{3, 130}, std::pair{340, 64}, std::pair{699, 1}}) {
            std::vector<float> expanded(static_cast<std::size_t>(length));
            values.expand(first, length, expanded.data());
            std::vector<std::int8_t> got(expanded.size() + 1, 77);
            ASSERT_EQ(values.round(first, length, 31.7f, got.data()), bits <= 6);
            for (std::size_t i = 0; bits <= 6 && i < expanded.size(); ++i) {
                ASSERT_EQ(got[i], static_cast<std::int8_t>(std::nearbyint(expanded[i] * 31.7f)));
            }
            ASSERT_EQ(got.back(), 77);
        }
    }
}

} // namespace vorlin::mil::test
