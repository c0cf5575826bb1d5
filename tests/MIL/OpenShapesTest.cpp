#include "Bundles.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vorlin::mil::test {

namespace {

Shape shapeOf(const std::string& text, const Shape& x)
{
    const TemporaryFolder folder;
    writeBundle(folder.path, text);
    Model model = Model::load(folder.path, {});
    const std::vector<float> values(static_cast<std::size_t>(elementCount(x)), 1);
    const std::vector<NamedInput> inputs{{"x", viewOf(values, x)}};
    return model.predict(inputs).front().type.shape;
}

} // namespace

TEST(OpenShapesTest, squeezeKeepsAnAxisOfUnknownExtentWhereTheDeclarationDoes)
{
    const std::string kept =
        programOf("tensor<fp32, [?, 1, 3, ?]>",
                  "tensor<fp32, [?, 3, ?]> y = squeeze(axes = tensor<int32, [3]>([-1, 0, 1]), "
                  "x = x);");
    EXPECT_EQ(shapeOf(kept, {1, 1, 3, 1}), (Shape{1, 3, 1}));
    EXPECT_EQ(shapeOf(kept, {4, 1, 3, 5}), (Shape{4, 3, 5}));
    const std::string all =
        programOf("tensor<fp32, [?, 1, 3, ?]>", "tensor<fp32, [?, 3, ?]> y = squeeze(x = x);");
    EXPECT_EQ(shapeOf(all, {1, 1, 3, 1}), (Shape{1, 3, 1}));
    const std::string gone =
        programOf("tensor<fp32, [?, 1, 3, ?]>", "tensor<fp32, [3]> y = squeeze(x = x);");
    EXPECT_EQ(shapeOf(gone, {1, 1, 3, 1}), (Shape{3}));
    EXPECT_THROW(shapeOf(gone, {2, 1, 3, 1}), Error);
}

TEST(OpenShapesTest, squeezeGoesByTheDeclarationOfItsOperandEvenIfMoreIsKnown)
{
    const std::string text =
        programOf("tensor<fp32, [2, 3]>",
                  "tensor<fp32, [?, 3]> a = slice_by_index(begin = tensor<int32, [2]>([0, 0]), "
                  "end = tensor<int32, [2]>([1, 3]), x = x);\n"
                  "tensor<fp32, [?, 3]> y = squeeze(axes = tensor<int32, [1]>([0]), x = a);");
    EXPECT_EQ(shapeOf(text, {2, 3}), (Shape{1, 3}));
}

TEST(OpenShapesTest, reshapeMayDeclareTheZeroThatCopiesAnOpenExtent)
{
    const std::string text =
        programOf("tensor<fp32, [?, 2, 3]>",
                  "tensor<fp32, [0, ?]> a = reshape(shape = tensor<int32, [2]>([0, -1]), x = x);\n"
                  "tensor<fp32, [0, ?]> y = relu(x = a);",
                  "ios16");
    EXPECT_THROW(shapeOf(text, {5, 2, 3}), Error); // ranks differ before iOS 17
    const std::string copied =
        programOf("tensor<fp32, [?, 2, 3]>",
                  "tensor<fp32, [0, ?, 1]> a = reshape(shape = tensor<int32, [3]>([0, -1, 1]), "
                  "x = x);\n"
                  "tensor<fp32, [0, ?, 1]> y = relu(x = a);",
                  "ios16");
    EXPECT_EQ(shapeOf(copied, {5, 2, 3}), (Shape{5, 6, 1}));
    const std::string passedOn =
        programOf("tensor<fp32, [?, 2, 3]>",
                  "tensor<fp32, [0, 3, 2]> a = reshape(shape = tensor<int32, [3]>([0, 3, 2]), "
                  "x = x);\n"
                  "tensor<fp32, [0, 3, 2]> b = relu(x = a);\n"
                  "tensor<fp32, [0, 3, 2]> y = add(x = a, y = b);",
                  "ios16");
    EXPECT_EQ(shapeOf(passedOn, {5, 2, 3}), (Shape{5, 3, 2}));
}

} // namespace vorlin::mil::test
