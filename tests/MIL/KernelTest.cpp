// Every fast kernel against its plain reference, over random and edge shapes. Tolerances are
// stated with each.
#include "MIL/Half.h"
#include "MIL/Kernels/Elementwise/BinaryFunctions.h"
#include "MIL/Kernels/Elementwise/Elements.h"
#include "MIL/Kernels/Elementwise/UnaryFunctions.h"
#include "MIL/Kernels/Normalisation/RowFunctions.h"
#include "MIL/Kernels/Product/DotKernels.h"
#include "MIL/Kernels/Product/MultiplyKernels.h"
#include "MIL/Kernels/Reduction/FirstLargest.h"
#include "MIL/Kernels/Stored/Unpack.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace vorlin::mil::test {

namespace {

std::mt19937& random()
{
    static std::mt19937 engine(20260101);
    return engine;
}

std::vector<float> randomFloats(std::size_t count, float scale)
{
    std::normal_distribution<float> normal(0, scale);
    std::vector<float> values(count);
    for (float& value : values) {
        value = normal(random());
    }
    return values;
}

std::size_t randomCount(std::size_t most)
{
    return std::uniform_int_distribution<std::size_t>(0, most)(random());
}

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

/// Whether two numbers are within some units in the last place, or below the smallest normal
/// number apart.
bool near(float a, float b, double units)
{
    if (std::isnan(a) || std::isnan(b)) {
        return std::isnan(a) && std::isnan(b);
    }
    if (a == b) {
        return true;
    }
    const double off = std::abs(static_cast<double>(a) - static_cast<double>(b));
    return off <= units * 0x1p-23 * static_cast<double>(std::abs(b)) + 0x1p-126;
}

} // namespace

TEST(HalfTest, everyHalfSurvivesTheWayThroughSinglePrecision)
{
    std::vector<Half> halves(65536);
    for (std::size_t i = 0; i < halves.size(); ++i) {
        halves[i].bits = static_cast<std::uint16_t>(i);
    }
    std::vector<float> singles(halves.size());
    std::vector<Half> back(halves.size());
    widenAll(halves.data(), 65536, singles.data());
    narrowAll(singles.data(), 65536, back.data());
    for (std::size_t i = 0; i < halves.size(); ++i) {
        const float plain = widen(halves[i]);
        if (std::isnan(plain)) {
            EXPECT_TRUE(std::isnan(singles[i]) && std::isnan(widen(back[i]))) << i;
            continue;
        }
        EXPECT_EQ(std::bit_cast<std::uint32_t>(plain), std::bit_cast<std::uint32_t>(singles[i]));
        EXPECT_EQ(back[i].bits, i);
        EXPECT_EQ(narrow(plain).bits, i);
    }
}

TEST(HalfTest, narrowingRoundsToNearestEvenEverywhere)
{
    std::vector<float> values;
    for (std::uint32_t i = 0; i < 0x7c00; ++i) { // between every half and the next: the tie
        const float low = widen({static_cast<std::uint16_t>(i)});
        const float high = i + 1 == 0x7c00 ? 65536.0f : widen({static_cast<std::uint16_t>(i + 1)});
        const float middle = low + (high - low) / 2;
        for (float value : {middle, std::nextafter(middle, 0.0f), std::nextafter(middle, 1e9f)}) {
            values.push_back(value);
            values.push_back(-value);
        }
    }
    std::vector<Half> halves(values.size());
    narrowAll(values.data(), static_cast<std::int64_t>(values.size()), halves.data());
    for (std::size_t i = 0; i < values.size(); ++i) {
        const auto tie = static_cast<std::uint32_t>(i / 6);
        const std::uint32_t nearest = i % 6 < 2 ? tie + tie % 2 : i % 6 < 4 ? tie : tie + 1;
        EXPECT_EQ(halves[i].bits & 0x7fffu, nearest) << values[i];
        EXPECT_EQ(narrow(values[i]).bits, halves[i].bits) << values[i];
    }
}

TEST(UnaryTest, fastFunctionsStayWithinFourUnitsOfTheReference)
{
    std::vector<float> values = randomFloats(20000, 1);
    const std::vector<float> wide = randomFloats(20000, 40);
    values.insert(values.end(), wide.begin(), wide.end());
    for (float special : {0.0f, -0.0f, 1e-30f, -1e-40f, 88.7f, 88.8f, -87.0f, -103.5f, 200.0f,
                          -200.0f, 1e30f, -1e30f, infinity, -infinity, notANumber}) {
        values.push_back(special);
    }
    std::vector<float> fast(values.size());
    std::vector<float> plain(values.size());
    for (int f = 0; f <= static_cast<int>(UnaryFunction::thresholdedRelu); ++f) {
        const auto function = static_cast<UnaryFunction>(f);
        const auto count = static_cast<std::int64_t>(values.size());
        applyUnary(function, 0.25, 0.75, values.data(), count, fast.data());
        reference::applyUnary(function, 0.25, 0.75, values.data(), count, plain.data());
        for (std::size_t i = 0; i < values.size(); ++i) {
            ASSERT_TRUE(near(fast[i], plain[i], 4))
                << f << ": " << values[i] << " gives " << fast[i] << ", not " << plain[i];
        }
    }
}

TEST(UnaryTest, exponentialAndTanhStayWithinTheirUnitsInTheLastPlace)
{
    const auto check = [](UnaryFunction function, long double (*exact)(long double), double most) {
        constexpr std::uint32_t step = 9973; // through all numbers, both signs
        for (std::uint64_t bits = 0; bits <= UINT32_MAX; bits += step) {
            const auto x = std::bit_cast<float>(static_cast<std::uint32_t>(bits));
            float fast = 0;
            applyUnary(function, 0, 0, &x, 1, &fast);
            const long double wanted = exact(static_cast<long double>(x));
            const auto rounded = static_cast<float>(wanted);
            if (!std::isfinite(rounded)) {
                ASSERT_TRUE(near(fast, rounded, 0)) << x;
                continue;
            }
            const int exponent = rounded == 0 ? -149 : std::max(std::ilogb(rounded) - 23, -149);
            const long double off = std::abs(static_cast<long double>(fast) - wanted);
            ASSERT_LE(static_cast<double>(off), std::ldexp(most, exponent)) << x;
        }
    };
    check(UnaryFunction::exponential, std::exp, 1);
    check(UnaryFunction::hyperbolicTangent, std::tanh, 1.6);
}

TEST(UnaryTest, siluKeepsItsDigitsWhereTheExponentialHasFewLeft)
{
    constexpr double smallest = 0x1p-149;
    for (float x = -112; x < -70; x += 0.0078125f) {
        float fast = 0;
        applyUnary(UnaryFunction::silu, 0, 0, &x, 1, &fast);
        const double exact = reference::unary(UnaryFunction::silu, static_cast<double>(x), 0, 0);
        ASSERT_NEAR(static_cast<double>(fast), exact, smallest + std::abs(exact) * 0x1p-21) << x;
    }
}

TEST(UnaryTest, everyLengthIsComputedWholeAndNothingBehindIt)
{
    for (std::int64_t count = 0; count < 70; ++count) {
        const std::vector<float> values = randomFloats(70, 2);
        std::vector<float> fast(71, 77.0f);
        applyUnary(UnaryFunction::silu, 0, 0, values.data(), count, fast.data());
        for (std::size_t i = 0; i < 71; ++i) {
            const bool inside = static_cast<std::int64_t>(i) < count;
            const double exact =
                inside ? reference::unary(UnaryFunction::silu, static_cast<double>(values[i]), 0, 0)
                       : 77;
            ASSERT_TRUE(near(fast[i], static_cast<float>(exact), 4)) << count << " " << i;
        }
    }
}

TEST(BinaryTest, fastArithmeticEqualsTheReference)
{
    for (int f = 0; f < static_cast<int>(BinaryFunction::equal); ++f) {
        const auto function = static_cast<BinaryFunction>(f);
        for (int round = 0; round < 20; ++round) {
            const std::size_t count = randomCount(300);
            std::vector<float> x = randomFloats(count, 3);
            std::vector<float> y = randomFloats(count, 3);
            for (std::size_t i = 0; i < count; i += 17) {
                x[i] = i % 2 == 0 ? infinity : notANumber;
                y[count - 1 - i] = i % 3 == 0 ? 0.0f : -infinity;
            }
            std::vector<float> fast(count);
            std::vector<float> plain(count);
            const auto n = static_cast<std::int64_t>(count);
            applyBinary(function, x.data(), y.data(), n, fast.data());
            reference::applyBinary(function, x.data(), y.data(), n, plain.data());
            for (std::size_t i = 0; i < count; ++i) {
                ASSERT_TRUE(near(fast[i], plain[i], 0)) << f << " " << x[i] << " " << y[i];
            }
        }
    }
}

TEST(RowTest, softmaxStaysWithinItsBoundOfTheReference)
{
    for (std::size_t width = 1; width < 200; width += 1 + width / 9) {
        std::vector<float> fast = randomFloats(width, 6);
        if (width > 5) {
            fast[2] = -infinity;
            fast[4] = -10000;
        }
        const std::vector<float> row = fast;
        const float most = *std::max_element(row.begin(), row.end());
        std::vector<float> plain = fast;
        softmaxRow(fast.data(), static_cast<std::int64_t>(width));
        reference::softmaxRow(plain.data(), static_cast<std::int64_t>(width));
        for (std::size_t i = 0; i < width; ++i) {
            // The sum adds units of its own, as does rounding x - max before the exponential.
            const double distance = static_cast<double>(most - row[i]);
            const double units = 8 + static_cast<double>(width) / 16 + distance;
            ASSERT_TRUE(near(fast[i], plain[i], units)) << width;
        }
    }
}

TEST(RowTest, softmaxFindsTheLargestAnywhere)
{
    for (std::size_t width = 1; width < 70; ++width) {
        for (std::size_t place = 0; place < width; ++place) {
            std::vector<float> row(width, -100.0f);
            row[place] = 100.0f;
            softmaxRow(row.data(), static_cast<std::int64_t>(width));
            for (std::size_t i = 0; i < width; ++i) {
                ASSERT_NEAR(row[i], i == place ? 1.0f : 0.0f, 1e-30f) << width << ", " << place;
            }
        }
    }
}

TEST(RowTest, theFirstLargestIsTheReferences)
{
    for (std::size_t width = 1; width < 130; ++width) {
        std::vector<float> row = randomFloats(width, 1);
        for (float& value : row) { // ties
            value = std::round(value * 2);
        }
        for (float special : {0.0f, infinity, -infinity, notANumber}) {
            const auto n = static_cast<std::int64_t>(width);
            EXPECT_EQ(firstLargest(row.data(), n), reference::firstLargest(row.data(), n));
            row[randomCount(width - 1)] = special;
        }
        EXPECT_EQ(firstLargest(row.data(), static_cast<std::int64_t>(width)),
                  reference::firstLargest(row.data(), static_cast<std::int64_t>(width)));
    }
}

TEST(RowTest, aRowMaskedEverywhereIsNotANumber)
{
    std::vector<float> row(37, -infinity);
    softmaxRow(row.data(), 37);
    for (float value : row) {
        EXPECT_TRUE(std::isnan(value));
    }
}

TEST(RowTest, normalisingStaysCloseToTheReference)
{
    for (std::size_t width = 1; width < 1100; width += 1 + width / 5) {
        std::vector<float> fast = randomFloats(width, 3);
        for (float& value : fast) {
            value += 5;
        }
        const std::vector<float> gamma = randomFloats(width, 1);
        const std::vector<float> beta = randomFloats(width, 1);
        std::vector<float> plain = fast;
        normaliseRow(fast.data(), static_cast<std::int64_t>(width), 1e-5, gamma.data(),
                     beta.data());
        reference::normaliseRow(plain.data(), static_cast<std::int64_t>(width), 1e-5, gamma.data(),
                                beta.data());
        for (std::size_t i = 0; i < width; ++i) {
            // The mean is off by a few units of the row's largest element, relative to its spread.
            ASSERT_NEAR(fast[i], plain[i], 1e-5f + 1e-5f * std::abs(plain[i])) << width;
        }
    }
}

TEST(RowTest, aRowFarFromZeroIsNormalisedAroundItsExactMean)
{
    // In single precision the mean itself is off by a good part of the row's spread.
    std::vector<float> fast(1003);
    for (std::size_t i = 0; i < fast.size(); ++i) {
        fast[i] = 4000.0f + 0.005f * static_cast<float>(i % 3);
    }
    std::vector<float> plain = fast;
    const auto width = static_cast<std::int64_t>(fast.size());
    normaliseRow(fast.data(), width, 1e-12, nullptr, nullptr);
    reference::normaliseRow(plain.data(), width, 1e-12, nullptr, nullptr);
    for (std::size_t i = 0; i < fast.size(); ++i) {
        ASSERT_NEAR(fast[i], plain[i], 1e-5f) << i;
    }
}

TEST(ProductTest, panelsStayWithinTheBoundOfSinglePrecisionSums)
{
    const auto width = static_cast<std::size_t>(panelWidth());
    const auto sizes = width * static_cast<std::size_t>(panelRows());
    for (std::size_t round = 0; round < sizes; ++round) {
        const std::size_t rows = 1 + round / width;
        const std::size_t columns = 1 + round % width;
        const std::size_t cStride = width + round % 5;
        const std::size_t inner = randomCount(round % 3 == 0 ? 4 : 300);
        const std::size_t stride = inner + randomCount(9);
        const std::vector<float> a = randomFloats(rows * stride + 1, 1);
        const std::vector<float> panel = randomFloats(inner * width + 1, 1);
        std::vector<float> c = randomFloats(rows * cStride, 1);
        const std::vector<float> before = c;
        const bool accumulate = round % 2 == 0;
        // What is asked for ahead changes nothing, however much it is.
        const std::vector<const std::byte*> ahead(randomCount(200),
                                                  reinterpret_cast<const std::byte*>(panel.data()));
        multiplyPanel(a.data(), static_cast<std::int64_t>(stride), panel.data(),
                      static_cast<std::int64_t>(inner), static_cast<std::int64_t>(rows),
                      static_cast<std::int64_t>(columns), c.data(),
                      static_cast<std::int64_t>(cStride), accumulate, ahead);
        for (std::size_t i = 0; i < rows * cStride; ++i) {
            if (i % cStride >= width) {
                ASSERT_EQ(c[i], before[i]) << "beyond the panel's width";
            }
            if (i % cStride >= columns) {
                continue;
            }
            double sum = accumulate ? static_cast<double>(before[i]) : 0;
            double magnitudes = std::abs(sum);
            for (std::size_t k = 0; k < inner; ++k) {
                const double term = static_cast<double>(a[i / cStride * stride + k]) *
                                    static_cast<double>(panel[k * width + i % cStride]);
                sum += term;
                magnitudes += std::abs(term);
            }
            ASSERT_LE(std::abs(static_cast<double>(c[i]) - sum),
                      static_cast<double>(inner + 2) * 0x1p-24 * magnitudes + 0x1p-126);
        }
    }
}

TEST(ProductTest, matricesAreTurnedAndNothingBesideThemIsWritten)
{
    for (int round = 0; round < 200; ++round) {
        const std::size_t rows = randomCount(40);
        const std::size_t columns = randomCount(40);
        const std::size_t inStride = columns + randomCount(5);
        const std::size_t outStride = rows + randomCount(5);
        const std::vector<float> in = randomFloats(rows * inStride + 1, 1);
        const std::vector<float> before = randomFloats(columns * outStride + 1, 1);
        std::vector<float> expected = before;
        for (std::size_t i = 0; i < rows; ++i) {
            for (std::size_t j = 0; j < columns; ++j) {
                expected[j * outStride + i] = in[i * inStride + j];
            }
        }
        std::vector<float> out = before;
        transposeFloats(in.data(), static_cast<std::int64_t>(inStride),
                        static_cast<std::int64_t>(rows), static_cast<std::int64_t>(columns),
                        out.data(), static_cast<std::int64_t>(outStride));
        ASSERT_EQ(out, expected) << rows << " x " << columns;
    }
}

TEST(TensorTest, elementsLieInTheBytesThatHoldAnyOfTheirBits)
{
    const std::vector<std::byte> memory(64);
    const TensorView sixBits{{ElementType::uint6, {4, 8}}, memory.data()};
    EXPECT_EQ(bytesOf(sixBits, 0, 32).size(), 24u);
    EXPECT_EQ(bytesOf(sixBits, 5, 1).data(), memory.data() + 3); // bits 30 to 35
    EXPECT_EQ(bytesOf(sixBits, 5, 1).size(), 2u);
    const TensorView halves{{ElementType::fp16, {4, 8}}, memory.data()};
    EXPECT_EQ(bytesOf(halves, 3, 2).data(), memory.data() + 6);
    EXPECT_EQ(bytesOf(halves, 3, 2).size(), 4u);
    EXPECT_TRUE(bytesOf(halves, 32, 0).empty());
    EXPECT_TRUE(bytesOf(sixBits, 5, 0).empty());
}

class DotTest : public testing::TestWithParam<SumVectors> {};

TEST_P(DotTest, sumsStayWithinTheBoundOfSinglePrecision)
{
    const DotKernels& dots = dotKernels(GetParam());
    for (std::size_t count = 0; count < 700; count += 1 + count / 7) {
        const std::vector<float> x = randomFloats(count, 1);
        const std::vector<float> y = randomFloats(count, 1);
        std::vector<Half> half(count);
        narrowAll(x.data(), static_cast<std::int64_t>(count), half.data());
        double sum = 0;
        double halfSum = 0;
        double magnitudes = 0;
        for (std::size_t i = 0; i < count; ++i) {
            sum += static_cast<double>(x[i]) * static_cast<double>(y[i]);
            halfSum += static_cast<double>(widen(half[i])) * static_cast<double>(y[i]);
            magnitudes += std::abs(static_cast<double>(x[i]) * static_cast<double>(y[i]));
        }
        const auto n = static_cast<std::int64_t>(count);
        const double bound = static_cast<double>(count + 2) * 0x1p-24 * 1.001 * magnitudes;
        EXPECT_LE(std::abs(static_cast<double>(dots.floats(x.data(), y.data(), n)) - sum), bound);
        EXPECT_LE(std::abs(static_cast<double>(dots.halves(half.data(), y.data(), n)) - halfSum),
                  bound);
    }
}

TEST_P(DotTest, rowsTogetherAreTheRowsOneByOne)
{
    const DotKernels& dots = dotKernels(GetParam());
    for (std::size_t count = 0; count < 700; count += 1 + count / 7) {
        const std::size_t stride = count + randomCount(5);
        const std::vector<float> x = randomFloats(dotRows * stride + 1, 1);
        const std::vector<float> y = randomFloats(count, 1);
        std::vector<Half> rows(x.size());
        narrowAll(x.data(), static_cast<std::int64_t>(x.size()), rows.data());
        std::vector<float> sums(2 * dotRows, -1);
        dots.rowsOfHalves(rows.data(), static_cast<std::int64_t>(stride), y.data(),
                          static_cast<std::int64_t>(count), sums.data(), 2);
        for (std::size_t row = 0; row < dotRows; ++row) {
            double sum = 0;
            double magnitudes = 0;
            for (std::size_t i = 0; i < count; ++i) {
                const double term =
                    static_cast<double>(widen(rows[row * stride + i])) * static_cast<double>(y[i]);
                sum += term;
                magnitudes += std::abs(term);
            }
            const double bound = static_cast<double>(count + 2) * 0x1p-24 * 1.001 * magnitudes;
            EXPECT_LE(std::abs(static_cast<double>(sums[2 * row]) - sum), bound) << count;
            EXPECT_EQ(sums[2 * row + 1], -1);
        }
    }
}

std::string nameOf(const testing::TestParamInfo<SumVectors>& form)
{
    switch (form.param) {
    case SumVectors::fitting: return "fitting";
    case SumVectors::widest: return "widest";
    case SumVectors::narrow: return "narrow";
    }
    return {};
}

INSTANTIATE_TEST_SUITE_P(Forms, DotTest,
                         testing::Values(SumVectors::fitting, SumVectors::widest,
                                         SumVectors::narrow),
                         nameOf);

TEST(DotVectorsTest, onlyAProcessorThatSplitsTheWidestVectorsGetsNarrowOnes)
{
    EXPECT_EQ(fittingVectors({.isFamily19h = true, .hasWidestVectors = true}), SumVectors::narrow)
        << "Zen 4";
    EXPECT_EQ(fittingVectors({.isFamily19h = true, .hasWidestVectors = false}), SumVectors::widest)
        << "Zen 3, whose widest are no wider";
    EXPECT_EQ(fittingVectors({.isFamily19h = false, .hasWidestVectors = true}), SumVectors::widest)
        << "Zen 5, Sapphire Rapids";
    EXPECT_EQ(fittingVectors({}), SumVectors::widest);
}

TEST(DotVectorsTest, theNarrowFormHas256BitsAtMostAndTheFittingOneIsOneOfBoth)
{
    const std::int64_t widest = dotKernels(SumVectors::widest).bits;
    const std::int64_t narrow = dotKernels(SumVectors::narrow).bits;
    EXPECT_EQ(narrow, std::min<std::int64_t>(widest, 256));
    const DotKernels* const fitting = &dotKernels(SumVectors::fitting);
    EXPECT_TRUE(fitting == &dotKernels(SumVectors::widest) ||
                fitting == &dotKernels(SumVectors::narrow));
    EXPECT_TRUE(
        describeVectors(SumVectors::narrow).ends_with(" in " + std::to_string(narrow) + " bits"));
}

TEST(UnpackTest, everyWidthAndStartGivesWhatTheStreamHolds)
{
    constexpr ElementType types[] = {ElementType::uint1, ElementType::uint2, ElementType::uint3,
                                     ElementType::uint4, ElementType::uint6, ElementType::uint8,
                                     ElementType::int4,  ElementType::int8};
    std::vector<std::byte> stream(600);
    for (std::byte& byte : stream) {
        byte = static_cast<std::byte>(random()());
    }
    std::vector<float> palette(256);
    for (std::size_t i = 0; i < palette.size(); ++i) {
        palette[i] = static_cast<float>(i) * 0.5f;
    }
    for (ElementType type : types) {
        const auto bits = bitsOf(type);
        const auto elements = static_cast<std::int64_t>(stream.size() * 8 / bits);
        const TensorView view{{type, {elements}}, stream.data()};
        for (int round = 0; round < 200; ++round) {
            const auto first =
                static_cast<std::int64_t>(randomCount(static_cast<std::size_t>(elements) - 1));
            const auto count =
                static_cast<std::int64_t>(randomCount(static_cast<std::size_t>(elements - first)));
            std::vector<float> numbers(static_cast<std::size_t>(count) + 1, -1);
            std::vector<float> entries = numbers;
            unpackNumbers(view, first, count, numbers.data());
            // Every other round the entries have no half-precision form.
            palette[0] = round % 2 == 0 ? 0.0f : 0x1p-30f;
            lookUp(stream.data(), bits, first, count,
                   PaletteTable(palette.data(), std::int64_t{1} << bits), entries.data());
            for (std::int64_t i = 0; i < count; ++i) {
                const auto k = static_cast<std::size_t>(i);
                ASSERT_EQ(numbers[k], static_cast<float>(view.integer(first + i)));
                ASSERT_EQ(entries[k], palette[packedBits(stream.data(), bits,
                                                         static_cast<std::uint64_t>(first + i))]);
            }
            ASSERT_EQ(numbers.back(), -1);
            ASSERT_EQ(entries.back(), -1);
        }
    }
}

TEST(UnpackTest, shiftingAndScalingRoundsAsOneByOne)
{
    for (std::size_t count = 0; count < 70; ++count) {
        const std::vector<float> values = randomFloats(count, 50);
        for (const bool toHalf : {false, true}) {
            std::vector<float> fast = values;
            fast.push_back(-1);
            shiftAndScale(fast.data(), static_cast<std::int64_t>(count), 3, 0.07f, toHalf);
            for (std::size_t i = 0; i < count; ++i) {
                const float plain = (values[i] - 3) * 0.07f;
                EXPECT_EQ(fast[i], toHalf ? widen(narrow(plain)) : plain);
            }
            EXPECT_EQ(fast.back(), -1);
        }
    }
}

} // namespace vorlin::mil::test
