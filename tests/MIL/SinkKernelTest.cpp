// What a product's sink and the copies between products are made of, against plain loops: exact.
#include "MIL/Half.h"
#include "MIL/Kernels/Elementwise/Elements.h"
#include "MIL/Kernels/Movement/Transpose.h"

#include <gtest/gtest.h>

#include <cstdint>
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
