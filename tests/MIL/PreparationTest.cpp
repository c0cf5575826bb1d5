// What is made before the first prediction, and what is not.
#include "Bundles.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

namespace vorlin::mil::test {

namespace {

constexpr std::int64_t rows = 96;
constexpr std::int64_t inner = 128;
constexpr std::int64_t columns = 40;

/// A linear and a convolution of one tap, both with constant weights.
class PreparationTest : public testing::Test {
protected:
    PreparationTest()
    {
        WeightBytes weights;
        std::vector<float> numbers;
        for (std::int64_t i = 0; i < rows * inner; ++i) {
            numbers.push_back(static_cast<float>(i * 37 % 101 - 50) / 64);
        }
        const auto constant = [&](const std::string& name, const std::string& type) {
            return type + " " + name + " = const()[name = string(\"" + name + "\"), val = " + type +
                   "(BLOBFILE(path = string(\"@model_path/weights/weight.bin\"), offset = uint64(" +
                   std::to_string(weights.add(2, numbers)) + ")))];\n";
        };
        const std::string body = constant("w", "tensor<fp32, [96, 128]>") +
                                 constant("v", "tensor<fp32, [96, 128, 1]>") +
                                 "tensor<fp32, [40, 96]> a = linear(x = x, weight = w);\n"
                                 "tensor<fp32, [1, 128, 40]> b = reshape(x = x, shape = "
                                 "tensor<int32, [3]>([1, 128, 40]));\n"
                                 "tensor<fp32, [1, 96, 40]> c = conv(x = b, weight = v);\n"
                                 "tensor<fp32, [40, 96]> d = reshape(x = c, shape = "
                                 "tensor<int32, [2]>([40, 96]));\n"
                                 "tensor<fp32, [40, 96]> y = add(x = a, y = d);\n";
        writeBundle(folder.path, programOf("tensor<fp32, [40, 128]>", body), weights.bytes);
    }

    Model load(LargeProducts products = LargeProducts::singlePrecision, std::size_t threads = 1)
    {
        return Model::load(folder.path, {.threads = threads, .largeProducts = products});
    }

    static std::vector<float> answer(Model& model)
    {
        std::vector<float> x;
        for (std::int64_t i = 0; i < columns * inner; ++i) {
            x.push_back(static_cast<float>(i * 29 % 83 - 41));
        }
        return floatsOf(model.predict({{{"x", viewOf(x, {columns, inner})}}}).front());
    }

    const TemporaryFolder folder;
    const std::atomic<bool> goesOn = false;
};

} // namespace

TEST_F(PreparationTest, buffersLieThereBeforeTheFirstPrediction)
{
    Model model = load();
    EXPECT_EQ(model.statistics().heldBytes, 0U);
    model.prepare(goesOn);
    EXPECT_GE(model.statistics().heldBytes, model.statistics().plannedBufferBytes);
    EXPECT_GT(model.statistics().plannedBufferBytes, 0U);
    Model another = load();
    EXPECT_EQ(answer(model), answer(another));
}

TEST_F(PreparationTest, whatIsKnownOfWeightsInEightBitsIsKnownBefore)
{
    if (describeIntegers().empty()) {
        GTEST_SKIP() << "this processor has no products of 8-bit integers";
    }
    Model exact = load();
    Model rounded = load(LargeProducts::integers);
    exact.prepare(goesOn);
    rounded.prepare(goesOn);
    // A scale, its inverse and a sum for each row of both operations.
    const std::size_t more = rounded.statistics().heldBytes - exact.statistics().heldBytes;
    EXPECT_EQ(more, std::size_t{2 * rows} * 12);
    Model another = load(LargeProducts::integers);
    EXPECT_EQ(answer(rounded), answer(another));
    EXPECT_NE(answer(rounded), answer(exact));
    // The first prediction found all of it.
    rounded.prepare(goesOn);
    EXPECT_EQ(rounded.statistics().heldBytes, another.statistics().heldBytes);
}

TEST_F(PreparationTest, threadsStartBeforeTheFirstPrediction)
{
    const std::filesystem::path tasks = "/proc/self/task";
    if (!std::filesystem::exists(tasks)) {
        GTEST_SKIP() << "threads cannot be counted here";
    }
    const auto running = [&] {
        return std::distance(std::filesystem::directory_iterator(tasks), {});
    };
    const Model model = load(LargeProducts::singlePrecision, 4);
    const auto before = running();
    model.prepare(goesOn);
    EXPECT_EQ(running(), before + 3);
}

TEST_F(PreparationTest, nothingIsMadeOnceItIsToStop)
{
    const Model model = load(LargeProducts::integers);
    model.prepare(true);
    EXPECT_EQ(model.statistics().heldBytes, 0U);
}

} // namespace vorlin::mil::test
