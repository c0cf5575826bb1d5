// Programs at shorter lengths: each rule alone, on programs of a few operations.
#include "Bundles.h"

#include "MIL/Lengths/Series.h"
#include "MIL/Padding.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace vorlin::mil::test {

namespace {

constexpr std::int64_t full = 24;
const std::vector<std::int64_t> lengths{6, 10, 15};

/// A program of frames `x`, fp32 [1, 24, 4] unless another type is named, and their count `n`.
class Framed {
public:
    explicit Framed(std::string_view body, std::string_view results = "y",
                    std::string_view type = "tensor<fp32, [1, 24, 4]>", std::size_t axis = 1,
                    const std::vector<std::byte>& weights = {})
    {
        writeBundle(folder.path,
                    "program(1.3)\n{\n func main<ios17>(" + std::string(type) +
                        " x, tensor<int32, [1]> n) {\n" + std::string(body) + "\n } -> (" +
                        std::string(results) + ");\n}\n",
                    weights);
        model.emplace(Model::load(folder.path, {.threads = 2}));
        why = model->shorten({"x", axis, "n"}, lengths);
        this->axis = axis;
    }

    /// Zeros behind the frames that count.
    std::vector<float> frames(std::int64_t count) const
    {
        const Shape shape = model->inputs().front().type.shape;
        std::vector<float> values(static_cast<std::size_t>(elementCount(shape)));
        const std::int64_t inner = product(shape, axis + 1, shape.size());
        for (std::size_t i = 0; i < values.size(); ++i) {
            const auto frame = static_cast<std::int64_t>(i) / inner % shape[axis];
            values[i] = frame < count ? std::sin(static_cast<float>(i) * 0.7f) : 0.0f;
        }
        return values;
    }

    std::vector<NamedOutput> predict(std::int64_t length, std::int64_t count)
    {
        const std::vector<float> values = frames(count);
        const auto number = static_cast<std::int32_t>(count);
        const std::vector<NamedInput> inputs{
            {"x", viewOf(values, model->inputs().front().type.shape)},
            {"n", {{ElementType::int32, {1}}, reinterpret_cast<const std::byte*>(&number)}}};
        return length == full ? model->predict(inputs) : model->predictAt(length, inputs);
    }

    TemporaryFolder folder;
    std::optional<Model> model;
    std::string why;
    std::size_t axis = 0;
};

/// Where `y` says at a shorter length what it says at the full one, in the first frames along the
/// axes of `full` extents; how many rows of the last axes were compared.
void expectSame(const NamedOutput& whole, const NamedOutput& shorter, std::int64_t count,
                const std::string& what)
{
    ASSERT_EQ(shorter.type, whole.type) << what;
    const TensorView a{whole.type, whole.bytes.data()};
    const TensorView b{shorter.type, shorter.bytes.data()};
    for (std::int64_t i = 0; i < a.elements(); ++i) {
        std::int64_t rest = i;
        bool counts = true;
        for (std::size_t axis = a.rank(); axis-- > 0;) {
            counts = counts && (a.extent(axis) != full || rest % a.extent(axis) < count);
            rest /= a.extent(axis);
        }
        if (counts) {
            EXPECT_NEAR(a.number(i), b.number(i), 1e-5) << what << " at " << i;
        }
    }
}

void expectSameAtEveryLength(Framed& program)
{
    ASSERT_EQ(program.why, "");
    ASSERT_EQ(program.model->shorterLengths(), lengths);
    for (const std::int64_t length : lengths) {
        for (const std::int64_t count : {std::int64_t{1}, length / 2, length - 1, length}) {
            const auto whole = program.predict(full, count);
            const auto shorter = program.predict(length, count);
            ASSERT_EQ(whole.size(), shorter.size());
            for (std::size_t i = 0; i < whole.size(); ++i) {
                expectSame(whole[i], shorter[i], count,
                           whole[i].name + " at length " + std::to_string(length) + " with " +
                               std::to_string(count) + " frames");
            }
        }
    }
}

std::string numbers(std::int64_t count)
{
    std::string text;
    for (std::int64_t i = 0; i < count; ++i) {
        text += (i == 0 ? "" : ", ") + std::to_string(i);
    }
    return text;
}

/// A mask of the frames that count, fp32 [1, 24, 1].
std::string mask()
{
    return "tensor<int32, [1, 24]> range = const()[val = tensor<int32, [1, 24]>([[" + numbers(24) +
           "]])];\n"
           "tensor<int32, [1, 1]> count = expand_dims(axes = tensor<int32, [1]>([1]), x = n);\n"
           "tensor<bool, [1, 24]> valid = less(x = range, y = count);\n"
           "tensor<bool, [1, 24, 1]> column = expand_dims(axes = tensor<int32, [1]>([-1]), "
           "x = valid);\n"
           "tensor<fp32, [1, 24, 1]> mask = cast(dtype = string(\"fp32\"), x = column);\n";
}

ShapeSeries seriesOf(const Shape& whole, const std::vector<Shape>& shapes)
{
    return {whole, shapes};
}

} // namespace

TEST(LengthTest, aProgramWithoutConstantsOfALengthFollowsItsInput)
{
    Framed program("tensor<fp32, [1, 24, 4]> y = relu(x = x);");
    expectSameAtEveryLength(program);
}

TEST(LengthTest, whatAShorterLengthDoesNotReachIsZero)
{
    Framed program("tensor<fp32, [1, 24, 4]> y = add(x = x, y = fp32(0x1p+0));");
    const auto y = floatsOf(program.predict(6, 3).front());
    EXPECT_NE(y[6 * 4 - 1], 0.0f);
    EXPECT_TRUE(std::all_of(y.begin() + 6 * 4, y.end(), [](float v) { return v == 0.0f; }));
}

TEST(LengthTest, framesOnAnInnerAxisAreCutOutOfEveryRow)
{
    Framed program("tensor<fp32, [3, 24]> y = relu(x = x);", "y", "tensor<fp32, [3, 24]>");
    expectSameAtEveryLength(program);
}

TEST(LengthTest, aMaskMadeOfARangeIsCutWhereItsRangeIs)
{
    Framed program(mask() + "tensor<fp32, [1, 24, 4]> y = mul(x = x, y = mask);");
    expectSameAtEveryLength(program);
}

TEST(LengthTest, aMaskOfPairsGrowsFromFewerRepeats)
{
    Framed program(mask() +
                   "tensor<bool, [1, 24, 24]> rows = tile(reps = tensor<int32, [3]>([1, 1, 24]), "
                   "x = column);\n"
                   "tensor<bool, [1, 24, 24]> columns = transpose(perm = tensor<int32, [3]>([0, "
                   "2, 1]), x = rows);\n"
                   "tensor<bool, [1, 24, 24]> both = logical_and(x = rows, y = columns);\n"
                   "tensor<fp32, [1, 24, 24]> scores = matmul(transpose_y = bool(true), x = x, "
                   "y = x);\n"
                   "tensor<fp32, [1, 24, 24]> y = select(a = scores, b = fp32(-0x1.388p+13), cond "
                   "= both);");
    expectSameAtEveryLength(program);
}

TEST(LengthTest, aConstantOfTheWholeLengthKeepsItsFirstFrames)
{
    WeightBytes weights;
    std::vector<float> table(24 * 4);
    for (std::size_t i = 0; i < table.size(); ++i) {
        table[i] = static_cast<float>(i);
    }
    const std::size_t at = weights.add(2, table);
    Framed program("tensor<fp32, [1, 24, 4]> table = const()[val = tensor<fp32, [1, 24, "
                   "4]>(BLOBFILE(path = string(\"@model_path/weights/weight.bin\"), offset = "
                   "uint64(" +
                       std::to_string(at) +
                       ")))];\n"
                       "tensor<fp32, [1, 24, 4]> y = add(x = x, y = table);",
                   "y", "tensor<fp32, [1, 24, 4]>", 1, weights.bytes);
    expectSameAtEveryLength(program);
}

TEST(LengthTest, aConstantWithItsFramesOnAnInnerAxisIsCutRowByRow)
{
    WeightBytes weights;
    std::vector<float> table(4 * 24);
    for (std::size_t i = 0; i < table.size(); ++i) {
        table[i] = static_cast<float>(i);
    }
    const std::size_t at = weights.add(2, table);
    Framed program("tensor<fp32, [1, 4, 24]> table = const()[val = tensor<fp32, [1, 4, "
                   "24]>(BLOBFILE(path = string(\"@model_path/weights/weight.bin\"), offset = "
                   "uint64(" +
                       std::to_string(at) +
                       ")))];\n"
                       "tensor<fp32, [1, 4, 24]> y = add(x = x, y = table);",
                   "y", "tensor<fp32, [1, 4, 24]>", 2, weights.bytes);
    expectSameAtEveryLength(program);
}

TEST(LengthTest, reshapesAndSlicesFollow)
{
    Framed program(
        "tensor<fp32, [1, 24, 2, 2]> heads = reshape(shape = tensor<int32, [4]>([1, 24, 2, 2]), x "
        "= x);\n"
        "tensor<fp32, [1, 48, 2]> twice = reshape(shape = tensor<int32, [3]>([1, 48, -1]), x = "
        "heads);\n"
        "tensor<fp32, [1, 24, 4]> back = reshape(shape = tensor<int32, [3]>([1, 24, 4]), x = "
        "twice);\n"
        "tensor<fp32, [1, 1, 4]> first = slice_by_index(begin = tensor<int32, [3]>([0, 0, 0]), end "
        "= tensor<int32, [3]>([1, 1, 4]), x = back);\n"
        "tensor<fp32, [1, 23, 4]> later = slice_by_index(begin = tensor<int32, [3]>([0, 1, 0]), "
        "end = tensor<int32, [3]>([1, 24, 4]), x = back);\n"
        "tensor<fp32, [1, 23, 4]> earlier = slice_by_index(begin = tensor<int32, [3]>([0, 0, 0]), "
        "end = tensor<int32, [3]>([1, 23, 4]), x = back);\n"
        "tensor<fp32, [1, 23, 4]> change = sub(x = later, y = earlier);\n"
        "tensor<fp32, [1, 24, 4]> y = concat(axis = int32(1), interleave = bool(false), values = "
        "(first, change));");
    expectSameAtEveryLength(program);
}

TEST(LengthTest, aTableOfDistancesKeepsItsMiddle)
{
    WeightBytes weights;
    std::vector<float> table(4 * 47);
    for (std::size_t i = 0; i < table.size(); ++i) {
        table[i] = std::cos(static_cast<float>(i) * 0.3f);
    }
    const std::size_t at = weights.add(2, table);
    Framed program(
        "tensor<fp32, [1, 4, 47]> table = const()[val = tensor<fp32, [1, 4, 47]>(BLOBFILE(path = "
        "string(\"@model_path/weights/weight.bin\"), offset = uint64(" +
            std::to_string(at) +
            ")))];\n"
            "tensor<fp32, [1, 24, 47]> raw = matmul(transpose_x = bool(false), transpose_y = "
            "bool(false), x = x, y = table);\n"
            "tensor<fp32, [1, 24, 48]> wide = pad(constant_val = fp32(0x0p+0), mode = "
            "string(\"constant\"), pad = tensor<int32, [6]>([0, 0, 0, 0, 1, 0]), x = raw);\n"
            "tensor<fp32, [1, 48, 24]> turned = reshape(shape = tensor<int32, [3]>([1, -1, 24]), x "
            "= wide);\n"
            "tensor<fp32, [1, 47, 24]> less = slice_by_index(begin = tensor<int32, [3]>([0, 1, "
            "0]), end = tensor<int32, [3]>([1, 48, 24]), x = turned);\n"
            "tensor<fp32, [1, 24, 47]> shifted = reshape(shape = tensor<int32, [3]>([1, 24, 47]), "
            "x = less);\n"
            "tensor<fp32, [1, 24, 24]> distances = slice_by_index(begin = tensor<int32, [3]>([0, "
            "0, 0]), end = tensor<int32, [3]>([1, 24, 24]), x = shifted);\n"
            "tensor<fp32, [1, 24, 24]> scores = matmul(transpose_y = bool(true), x = x, y = x);\n"
            "tensor<fp32, [1, 24, 24]> y = add(x = scores, y = distances);",
        "y", "tensor<fp32, [1, 24, 4]>", 1, weights.bytes);
    expectSameAtEveryLength(program);
}

TEST(LengthTest, aSumOverMaskedFramesIsThatOfTheFullLength)
{
    Framed program(mask() + "tensor<fp32, [1, 24, 4]> kept = mul(x = x, y = mask);\n"
                            "tensor<fp32, [1, 4]> y = reduce_sum(axes = tensor<int32, [1]>([1]), "
                            "keep_dims = bool(false), x = kept);");
    expectSameAtEveryLength(program);
}

TEST(LengthTest, halvedFramesHaveMasksOfTheirOwn)
{
    WeightBytes weights;
    const std::size_t kernel = weights.add(2, std::vector<float>(3, 0.5f));
    Framed program(
        "tensor<fp32, [1, 1, 3]> kernel = const()[val = tensor<fp32, [1, 1, 3]>(BLOBFILE(path = "
        "string(\"@model_path/weights/weight.bin\"), offset = uint64(" +
            std::to_string(kernel) +
            ")))];\n"
            "tensor<fp32, [1, 1, 12]> half = conv(dilations = tensor<int32, [1]>([1]), groups = "
            "int32(1), pad = tensor<int32, [2]>([1, 1]), pad_type = string(\"custom\"), strides = "
            "tensor<int32, [1]>([2]), weight = kernel, x = x);\n"
            "tensor<int32, [1]> more = add(x = n, y = int32(1));\n"
            "tensor<int32, [1]> count = floor_div(x = more, y = int32(2));\n"
            "tensor<int32, [1, 12]> range = const()[val = tensor<int32, [1, 12]>([[" +
            numbers(12) +
            "]])];\n"
            "tensor<bool, [1, 12]> valid = less(x = range, y = count);\n"
            "tensor<bool, [1, 1, 12]> row = expand_dims(axes = tensor<int32, [1]>([1]), x = "
            "valid);\n"
            "tensor<fp32, [1, 1, 12]> y = select(a = half, b = fp32(0x0p+0), cond = row);",
        "y", "tensor<fp32, [1, 1, 24]>", 2, weights.bytes);
    expectSameAtEveryLength(program);
}

struct Refused {
    const char* name;
    const char* body;
    const char* why;
};

class LengthRefusalTest : public testing::TestWithParam<Refused> {};

TEST_P(LengthRefusalTest, thereIsNoShorterFormAndTheFullLengthGoesOn)
{
    Framed program(GetParam().body);
    EXPECT_NE(program.why.find(GetParam().why), std::string::npos) << program.why;
    EXPECT_EQ(program.why.find('\n'), std::string::npos);
    EXPECT_TRUE(program.model->shorterLengths().empty());
    EXPECT_THROW(program.predict(6, 3), Error);
    EXPECT_EQ(program.predict(full, 3).front().bytes.empty(), false);
}

INSTANTIATE_TEST_SUITE_P(
    , LengthRefusalTest,
    testing::Values(
        Refused{"aShapeThatNothingExplains",
                "tensor<fp32, [8, 12]> y = reshape(shape = tensor<int32, [2]>([8, 12]), x = x);",
                "no shape fits"},
        Refused{"aShapeThatDoesNotDivide",
                "tensor<fp32, [1, 24, 24]> square = matmul(transpose_y = bool(true), x = x, y = "
                "x);\n"
                "tensor<fp32, [144, 4]> y = reshape(shape = tensor<int32, [2]>([-1, 4]), x = "
                "square);",
                "no shape fits"},
        Refused{"aBoundInTheMiddle",
                "tensor<fp32, [1, 12, 4]> y = slice_by_index(begin = tensor<int32, [3]>([0, 0, "
                "0]), end = tensor<int32, [3]>([1, 12, 4]), x = x);",
                "no rule fits the bound 12"},
        Refused{"anOperationWithoutARule",
                "tensor<fp32, [1, 24, 4]> y = gather_along_axis(axis = int32(1), indices = "
                "tensor<int32, [1, 24, 4]>([[[0, 0, 0, 0],[0, 0, 0, 0],[0, 0, 0, 0],[0, 0, 0, "
                "0],[0, 0, 0, 0],[0, 0, 0, 0],[0, 0, 0, 0],[0, 0, 0, 0],[0, 0, 0, 0],[0, 0, 0, "
                "0],[0, 0, 0, 0],[0, 0, 0, 0],[0, 0, 0, 0],[0, 0, 0, 0],[0, 0, 0, 0],[0, 0, 0, "
                "0],[0, 0, 0, 0],[0, 0, 0, 0],[0, 0, 0, 0],[0, 0, 0, 0],[0, 0, 0, 0],[0, 0, 0, "
                "0],[0, 0, 0, 0],[0, 0, 0, 0]]]), x = x);",
                "there is no rule for it"},
        Refused{"aFactorAsLongAsTheFrames",
                "tensor<fp32, [4, 24]> factor = fill(shape = tensor<int32, [2]>([4, 24]), value = "
                "fp32(0x1p+0));\n"
                "tensor<fp32, [1, 24, 24]> y = matmul(x = x, y = factor);",
                "two rules fit a constant factor"},
        Refused{"aPlaceThatMayBeGone",
                "tensor<fp32, [1, 4]> y = gather(axis = int32(1), indices = int32(23), x = x);",
                "places that may be gone"},
        Refused{"aPaddingAsLongAsTheFrames",
                "tensor<fp32, [1, 47, 4]> y = pad(constant_val = fp32(0x0p+0), mode = "
                "string(\"constant\"), pad = tensor<int32, [4]>([0, 23, 0, 0]), x = x);",
                "two rules fit a padding"},
        Refused{"partsOfTheFrames",
                "tensor<fp32, [1, 12, 4]> a, tensor<fp32, [1, 12, 4]> y = split(axis = int32(1), "
                "split_sizes = tensor<int32, [2]>([12, 12]), x = x);",
                "at length 6"},
        Refused{"anOutputOfUnknownExtent", "tensor<int32, [?, 3]> y = non_zero(x = x);",
                "an unknown extent"},
        Refused{"lengthsThatMeet",
                "tensor<fp32, [1, 4, 24]> turned = transpose(perm = tensor<int32, [3]>([0, 2, 1]), "
                "x = x);\n"
                "tensor<fp32, [1, 12, 4]> half = slice_by_index(begin = tensor<int32, [3]>([0, 0, "
                "0]), end = tensor<int32, [3]>([1, 24, 4]), stride = tensor<int32, [3]>([1, 2, "
                "1]), x = x);\n"
                "tensor<fp32, [1, 24, 4]> twice = tile(reps = tensor<int32, [3]>([1, 2, 1]), x = "
                "half);\n"
                "tensor<fp32, [1, 24, 4]> y = add(x = twice, y = x);",
                "two lengths meet"}),
    [](const auto& refused) { return refused.param.name; });

TEST(LengthTest, moreFramesThanTheLengthAreRefused)
{
    Framed program("tensor<fp32, [1, 24, 4]> y = relu(x = x);");
    EXPECT_THROW(program.predict(6, 7), Error);
    EXPECT_THROW(program.predict(7, 3), Error);
    EXPECT_EQ(program.predict(6, 6).size(), 1U);
}

TEST(LengthTest, lengthsThatAreNoneAreLeftOut)
{
    TemporaryFolder folder;
    writeBundle(folder.path, "program(1.3)\n{\n func main<ios17>(tensor<fp32, [1, 24]> x, "
                             "tensor<int32, [1]> n) {\n tensor<fp32, [1, 24]> y = relu(x = x);\n } "
                             "-> (y);\n}\n");
    Model model = Model::load(folder.path, {});
    EXPECT_THROW(model.shorten({"z", 1, "n"}, {6}), Error);
    EXPECT_THROW(model.shorten({"x", 2, "n"}, {6}), Error);
    EXPECT_THROW(model.shorten({"x", 1, "x"}, {6}), Error);
    EXPECT_EQ(model.shorten({"x", 1, "n"}, {24, 100, 6, -1, 0, 6}), "");
    EXPECT_EQ(model.shorterLengths(), std::vector<std::int64_t>{6});
    EXPECT_EQ(model.shorten({"x", 1, "n"}, {12}), "");
    EXPECT_EQ(model.shorterLengths(), std::vector<std::int64_t>{6});
}

TEST(LengthTest, anArrayWithoutAxesHasNothingToPad)
{
    const float number = 7;
    const TensorView scalar{{ElementType::fp32, {}}, reinterpret_cast<const std::byte*>(&number)};
    const auto bytes = padded(scalar, {});
    ASSERT_EQ(bytes.size(), sizeof number);
    EXPECT_EQ(std::memcmp(bytes.data(), &number, sizeof number), 0);
}

TEST(LengthTest, shapesAreSolvedByTheirElementCounts)
{
    const ShapeSeries x = seriesOf({1, 188, 48, 10}, {});
    const std::vector<Shape> two{{1, 38, 48, 10}, {1, 53, 48, 10}};
    const auto solved = solveReshape(seriesOf(x.full, two), {1, 188, -1}, std::vector<Series>(3));
    ASSERT_TRUE(solved.has_value());
    EXPECT_EQ((*solved)[1], (Series{38, 53}));
    const std::vector<Shape> skew{{1, 4, 75, 38}, {1, 4, 105, 53}};
    const auto turned =
        solveReshape(seriesOf({1, 4, 375, 188}, skew), {1, 4, 188, 375}, std::vector<Series>(4));
    ASSERT_TRUE(turned.has_value());
    EXPECT_EQ((*turned)[2], (Series{38, 53}));
    EXPECT_EQ((*turned)[3], (Series{75, 105}));
    // 47 of 188 keeps every other reading alive, too.
    const std::vector<Shape> coincidence{{1, 47, 4}, {1, 94, 4}};
    EXPECT_FALSE(
        solveReshape(seriesOf({1, 188, 4}, coincidence), {1, 188, -1}, std::vector<Series>(3)));
}

TEST(LengthTest, boundsAreSolvedByTheirDistances)
{
    const std::vector<Shape> shapes{{38, 75}, {53, 105}};
    const ShapeSeries x = seriesOf({188, 375}, shapes);
    EXPECT_EQ(solveBound(x, 1, 188), Solution(Series{38, 53}));
    for (const std::int64_t none : {std::numeric_limits<std::int64_t>::min(), std::int64_t{-1},
                                    std::int64_t{376}, std::numeric_limits<std::int64_t>::max()}) {
        EXPECT_EQ(solveBound(x, 1, none), std::nullopt);
    }
    EXPECT_EQ(solveBound(x, 1, 187), Solution(Series{37, 52}));
    EXPECT_EQ(solveBound(x, 1, 375), Solution(Series{75, 105}));
    EXPECT_EQ(solveBound(x, 1, 374), Solution(Series{74, 104}));
    EXPECT_EQ(solveBound(x, 1, 1), Solution(Series{1, 1}));
    EXPECT_EQ(solveBound(x, 1, 250), std::nullopt);
    const std::vector<Shape> barely{{380}, {390}};
    EXPECT_EQ(solveBound(seriesOf({400}, barely), 0, 200), std::nullopt);
}

} // namespace vorlin::mil::test
