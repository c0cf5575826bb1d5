// Inputs of varying shape: what the text says of them, and what a prediction refuses.
#include "Bundles.h"

#include <gtest/gtest.h>

namespace vorlin::mil::test {

namespace {

const std::string rangeTerse =
    "tuple<tuple<string, dict<string, tensor<int32, [?]>>>, tuple<string, dict<string, "
    "list<tensor<int32, [2]>, ?>>>>((";
const std::string rangeVerbose =
    "tuple<tuple<tensor<string, []>, dict<tensor<string, []>, tensor<int32, [?]>>>, "
    "tuple<tensor<string, []>, dict<tensor<string, []>, list<tensor<int32, [2]>, ?>>>>((";

/// A program of inputs x [1, ?] and z [?], of which y is the sum of x and the length of z.
std::string programWith(const std::string& attribute)
{
    return "program(1.3)\n{\n    func main<ios18>(tensor<fp32, [1, ?]> x, tensor<fp32, [?]> z) "
           "[FlexibleShapeInformation = " +
           attribute +
           "] {\n        tensor<int32, [1]> n = shape(x = z);\n"
           "        tensor<fp32, [1]> m = cast(dtype = string(\"fp32\"), x = n);\n"
           "        tensor<fp32, [1, ?]> y = add(x = x, y = m);\n    } -> (y);\n}\n";
}

std::string loadingSays(const std::string& attribute)
{
    const TemporaryFolder folder;
    writeBundle(folder.path, programWith(attribute));
    try {
        Model::load(folder.path, {});
        return "";
    } catch (const Error& error) {
        return error.what();
    }
}

class Flexible {
public:
    explicit Flexible(const std::string& attribute)
    {
        writeBundle(folder.path, programWith(attribute));
        model.emplace(Model::load(folder.path, {}));
    }
    const FeatureDescription& input(std::size_t i) const { return model->inputs()[i]; }
    /// What a prediction with x [1, width] and z [length] says.
    std::string predicting(std::int64_t width, std::int64_t length)
    {
        const std::vector<float> values(64);
        const std::vector<NamedInput> inputs{{"x", viewOf(values, {1, width})},
                                             {"z", viewOf(values, {length})}};
        try {
            const auto result = model->predict(inputs);
            return floatsOf(result.front()) == std::vector<float>(static_cast<std::size_t>(width),
                                                                  static_cast<float>(length))
                       ? "right"
                       : "wrong";
        } catch (const Error& error) {
            return error.what();
        }
    }

private:
    TemporaryFolder folder;
    std::optional<Model> model;
};

} // namespace

TEST(FlexibleShapesTest, aRangeIsToldAndHeldToInBothStyles)
{
    for (const std::string& type : {rangeTerse, rangeVerbose}) {
        Flexible flexible(type + "(\"DefaultShapes\", {{\"x\", [1, 10]}}), "
                                 "(\"RangeDims\", {{\"x\", [[1, 1], [4, 12]]}})))");
        const FeatureDescription& x = flexible.input(0);
        EXPECT_EQ(x.accepted, (std::vector<ShapeRange>{{{1, 4}, {1, 12}}}));
        EXPECT_EQ(x.defaultShape, (Shape{1, 10}));
        EXPECT_TRUE(x.accepts({1, 4}));
        EXPECT_TRUE(x.accepts({1, 12}));
        EXPECT_FALSE(x.accepts({1, 3}));
        EXPECT_FALSE(x.accepts({1, 13}));
        EXPECT_FALSE(x.accepts({2, 5}));
        EXPECT_FALSE(x.accepts({5}));
        EXPECT_FALSE(x.accepts({1, Extents::unknown}));
        EXPECT_TRUE(flexible.input(1).accepted.empty());
        EXPECT_EQ(flexible.input(1).defaultShape, std::nullopt);
        EXPECT_TRUE(flexible.input(1).accepts({0}));
        EXPECT_EQ(flexible.predicting(4, 1), "right");
        EXPECT_EQ(flexible.predicting(12, 0), "right");
        EXPECT_EQ(flexible.predicting(3, 1),
                  "the input 'x' is fp32 [1, 3] but the model accepts [1, 4..12]");
        EXPECT_EQ(flexible.predicting(13, 1),
                  "the input 'x' is fp32 [1, 13] but the model accepts [1, 4..12]");
    }
}

TEST(FlexibleShapesTest, anOpenRangeHasNoUpperEnd)
{
    Flexible flexible(rangeTerse + "(\"RangeDims\", {{\"x\", [[1, 1], [2, -1]]}})))");
    EXPECT_EQ(flexible.input(0).accepted,
              (std::vector<ShapeRange>{{{1, 2}, {1, Extents::unknown}}}));
    EXPECT_EQ(flexible.predicting(60, 1), "right");
    EXPECT_EQ(flexible.predicting(1, 1),
              "the input 'x' is fp32 [1, 1] but the model accepts [1, 2 or more]");
}

TEST(FlexibleShapesTest, anEnumerationIsToldAndHeldTo)
{
    Flexible flexible(
        "tuple<tuple<string, dict<string, tensor<int32, [?]>>>, tuple<string, dict<string, "
        "dict<string, tensor<int32, [?]>>>>>((\n(\"DefaultShapes\", {{\"x\", [1, 2]}}), "
        "(\"EnumeratedShapes\", {{\"15f8fea1\", {{\"x\", [1, 2]}}}, "
        "{\"60a1cd55\", {{\"x\", [1, 5]}}}})))");
    EXPECT_EQ(flexible.input(0).accepted,
              (std::vector<ShapeRange>{{{1, 2}, {1, 2}}, {{1, 5}, {1, 5}}}));
    EXPECT_EQ(flexible.predicting(2, 3), "right");
    EXPECT_EQ(flexible.predicting(5, 3), "right");
    EXPECT_EQ(flexible.predicting(3, 3),
              "the input 'x' is fp32 [1, 3] but the model accepts [1, 2] or [1, 5]");
}

TEST(FlexibleShapesTest, shapesEnumeratedTogetherGoTogether)
{
    Flexible flexible(
        "tuple<tuple<string, dict<string, dict<string, tensor<int32, [?]>>>>>(((\"Enumerated"
        "Shapes\", {{\"a\", {{\"x\", [1, 2]}, {\"z\", [2]}}}, {\"b\", {{\"x\", [1, 3]}, {\"z\", "
        "[3]}}}})))");
    EXPECT_EQ(flexible.predicting(2, 2), "right");
    EXPECT_EQ(flexible.predicting(3, 3), "right");
    EXPECT_EQ(flexible.predicting(2, 3), "the input 'x' has a shape that the model does not "
                                         "accept with those of the others");
}

TEST(FlexibleShapesTest, shapesEnumeratedApartAreFree)
{
    Flexible flexible("tuple<tuple<string, dict<string, dict<string, tensor<int32, [?]>>>>>((("
                      "\"EnumeratedShapes\", {{\"a\", {{\"x\", [1, 2]}}}, {\"b\", {{\"x\", [1, "
                      "3]}}}, {\"c\", {{\"z\", [2]}}}})))");
    EXPECT_EQ(flexible.predicting(2, 2), "right");
    EXPECT_EQ(flexible.predicting(3, 2), "right");
    EXPECT_EQ(flexible.predicting(3, 3), "the input 'z' is fp32 [3] but the model accepts [2]");
}

TEST(FlexibleShapesTest, literalsMayCarryTheirTypes)
{
    Flexible flexible(
        "tuple<tuple<string, dict<string, tensor<int32, [?]>>>>(("
        "(\"DefaultShapes\", dict<string, tensor<int32, [2]>>({{tensor<string, []>(\"x\"), "
        "tensor<int32, [2]>([int32(1), 7])}})), (\"SomethingNew\", {{[(1)], \"y\"}, 0x1p+0}), "
        "(string(\"RangeDims\"), {{string(\"x\"), list<tensor<int32, [2]>, ?>([tensor<int32, "
        "[2]>([1, 1]), [5, 7]])}})))");
    EXPECT_EQ(flexible.input(0).accepted, (std::vector<ShapeRange>{{{1, 5}, {1, 7}}}));
    EXPECT_EQ(flexible.input(0).defaultShape, (Shape{1, 7}));
}

TEST(FlexibleShapesTest, anythingElseSaysWhatIsWrong)
{
    const std::string at = "model.mil:3:";
    const std::string type = "tuple<int32>";
    EXPECT_EQ(loadingSays(type + "(())"), "");
    EXPECT_EQ(loadingSays(type + "(((\"RangeDims\", {{\"nobody\", [[1, 1]]}})))"), "");
    EXPECT_EQ(loadingSays(type + "(((\"RangeDims\", {{\"x\", [[1, 1]]}})))"),
              at + "10: the input 'x' is declared fp32 [1, ?] but accepts shapes of rank 1");
    EXPECT_EQ(loadingSays(type + "(((\"RangeDims\", {{\"x\", [[1, 1], [9, 3]]}})))"),
              at + "139: an axis ranges from 9 down to 3");
    EXPECT_EQ(loadingSays(type + "(((\"RangeDims\", {{\"x\", [1, 1]}})))"),
              at + "131: expected '[', found '1'");
    EXPECT_EQ(loadingSays(type + "(((\"DefaultShapes\", {{\"x\", [1, 1.5]}})))"),
              at + "138: expected an extent, found '1.5'");
    EXPECT_EQ(loadingSays(type + "(((\"DefaultShapes\", {{\"x\", [1, 99999999999999999999]}})))"),
              at + "138: expected an extent, found '99999999999999999999'");
    EXPECT_EQ(loadingSays(type + "(((\"DefaultShapes\" {{\"x\", [1, 1]}})))"),
              at + "126: expected ',', found '{'");
    EXPECT_EQ(loadingSays(type + "(((\"DefaultShapes\", {{\"x\", "
                                 "[1,1,1,1,1,1,1,1,1,1,1,1,1]}})))"),
              at + "159: a tensor has at most 12 axes");
    EXPECT_EQ(loadingSays(type + "(((\"Other\", " + std::string(100000, '[') + ")))"),
              at + "183: nested more than 64 levels deep");
    EXPECT_EQ(loadingSays("tuple<tuple<"), at + "109: expected a type, found '{'");
}

} // namespace vorlin::mil::test
