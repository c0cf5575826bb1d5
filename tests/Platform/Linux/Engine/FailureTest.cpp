// What is wrong with models, folders and inputs is told in one line, and nothing else breaks.
#include "EngineFixture.h"

#include <fstream>
#include <sys/stat.h>

namespace vorlin::test {

namespace fs = std::filesystem;

class FailureTest : public EngineTest {
protected:
    /// What loading says.
    std::string loading(const std::string& name)
    {
        return thrownBy([&] { load(name); });
    }

    /// What predicting says.
    static std::string predicting(MLModel& model, const MLFeatures& inputs)
    {
        return thrownBy([&] { predict(model, inputs); });
    }

    void writeText(const std::string& name, const std::string& text)
    {
        mil::test::writeBundle(folder.path / name, text);
    }
};

TEST_F(FailureTest, aMissingBundleIsNamed)
{
    EXPECT_EQ(loading("Encoder.mlmodelc"), "there is no bundle Encoder.mlmodelc");
    fs::create_directories(folder.path / "Empty.mlmodelc");
    EXPECT_EQ(loading("Empty.mlmodelc"),
              "cannot read Empty.mlmodelc/model.mil: No such file or directory");
}

TEST_F(FailureTest, aMissingFolderIsNamed)
{
    EXPECT_EQ(loading("nowhere/Encoder.mlmodelc"),
              "cannot read " + (folder.path / "nowhere").string() + ": No such file or directory");
    std::ofstream(folder.path / "file") << "text";
    EXPECT_EQ(loading("file/Encoder.mlmodelc"),
              "cannot read " + (folder.path / "file").string() + ": Not a directory");
}

TEST_F(FailureTest, aDamagedProgramIsNamedWithTheLine)
{
    writeText("Encoder.mlmodelc", "program(1.3)\n{\n  nonsense\n}\n");
    const auto told = loading("Encoder.mlmodelc");
    EXPECT_TRUE(told.starts_with("Encoder.mlmodelc: model.mil:3:")) << told;
    EXPECT_EQ(told.find('\n'), std::string::npos);
}

TEST_F(FailureTest, namesThatLeaveTheFolderAreRefused)
{
    writeDouble();
    EXPECT_EQ(loading(".."), "..: the bundle's name leaves the model folder");
}

TEST_F(FailureTest, bundlesMadeOfLinksLoad)
{
    // Links to files in a store, and a link to a folder of such links.
    writeWeighty("Encoder.mlmodelc");
    fs::create_directories(folder.path / "blobs");
    for (const auto* file : {"model.mil", "weights/weight.bin"}) {
        const auto path = folder.path / "Encoder.mlmodelc" / file;
        const auto blob = folder.path / "blobs" / path.filename();
        fs::rename(path, blob);
        fs::create_symlink(fs::relative(blob, path.parent_path()), path);
    }
    fs::create_directories(folder.path / "model");
    fs::rename(folder.path / "Encoder.mlmodelc", folder.path / "snapshot.mlmodelc");
    fs::create_directory_symlink("../snapshot.mlmodelc", folder.path / "model/Encoder.mlmodelc");
    const auto model = load("model/Encoder.mlmodelc");
    EXPECT_EQ(predicting(*model, {{"x", MultiArray(MLElementType::float16, {2048, 1024})}}),
              "nothing");
}

TEST_F(FailureTest, aLinkToADeviceIsNotOpened)
{
    fs::create_directories(folder.path / "Encoder.mlmodelc");
    fs::create_symlink("/dev/zero", folder.path / "Encoder.mlmodelc/model.mil");
    EXPECT_EQ(loading("Encoder.mlmodelc"),
              "cannot read Encoder.mlmodelc/model.mil: Permission denied");
}

TEST_F(FailureTest, aLinkMadeWhileTheEngineRunsLeadsNowhereUntilTheNextOne)
{
    const TemporaryFolder elsewhere;
    writeDouble();
    writeDouble((elsewhere.path / "Double.mlmodelc").string());
    auto model = load("Double.mlmodelc");
    fs::create_directory_symlink(elsewhere.path / "Double.mlmodelc", folder.path / "Late.mlmodelc");
    EXPECT_EQ(loading("Late.mlmodelc"), "cannot read Late.mlmodelc/model.mil: Permission denied");
    model.reset();
    EXPECT_EQ(doubled(*load("Late.mlmodelc")), (std::vector<float>{2, 4}));
}

TEST_F(FailureTest, aTrailingSlashChangesNothing)
{
    writeDouble();
    const auto model = load("Double.mlmodelc/");
    EXPECT_EQ(doubled(*model), (std::vector<float>{2, 4}));
}

TEST_F(FailureTest, afterADamagedBundleOthersLoad)
{
    writeDouble();
    writeText("Damaged.mlmodelc", "");
    const auto before = load("Double.mlmodelc");
    EXPECT_NE(loading("Damaged.mlmodelc"), "nothing");
    EXPECT_EQ(doubled(*before), (std::vector<float>{2, 4}));
    EXPECT_EQ(doubled(*load("Double.mlmodelc")), (std::vector<float>{2, 4}));
}

TEST_F(FailureTest, aFailedLoadLeavesNoProcess)
{
    EXPECT_NE(loading("Encoder.mlmodelc"), "nothing");
    EXPECT_TRUE(eventually([] { return children().empty(); }));
}

TEST_F(FailureTest, inputsThatDoNotFitAreNamed)
{
    writeDouble();
    const auto model = load("Double.mlmodelc");
    const auto two = floats({1, 2}, {2});
    EXPECT_EQ(predicting(*model, {}), "the input 'x' is missing");
    EXPECT_EQ(predicting(*model, {{"x", two}, {"z", two}}), "the model has no input 'z'");
    EXPECT_EQ(predicting(*model, {{"x", MultiArray()}}), "the input 'x' is an array of nothing");
    EXPECT_EQ(predicting(*model, {{"x", floats({1, 2, 3}, {3})}}),
              "the input 'x' is declared fp32 [2] but is fp32 [3]");
    EXPECT_EQ(predicting(*model, {{"x", MultiArray(MLElementType::int32, {2})}}),
              "the input 'x' is declared fp32 [2] but is int32 [2]");
    EXPECT_EQ(
        predicting(*model, {{"x", MultiArray(MLElementType::float32, MultiArray::Extents(13, 1))}}),
        "the input 'x' is too large");
    EXPECT_EQ(doubled(*model), (std::vector<float>{2, 4}));
}

TEST_F(FailureTest, stridedInputsAreReadAsTheyLie)
{
    write("Double.mlmodelc", "tensor<fp32, [2, 3]>", "tensor<fp32, [2, 3]> y = add(x = x, y = x);");
    const auto model = load("Double.mlmodelc");
    const auto columns = floats({1, 2, 3, 4, 5, 6}, {3, 2});
    const MultiArray transposed(MLElementType::float32, {2, 3}, {1, 2},
                                std::shared_ptr<std::byte>(std::make_shared<MultiArray>(columns),
                                                           const_cast<std::byte*>(columns.data())));
    EXPECT_EQ(floatsOf(predict(*model, {{"x", transposed}}).at("y")),
              (std::vector<float>{2, 6, 10, 4, 8, 12}));
}

TEST_F(FailureTest, answersOfAnyLengthComeBack)
{
    write("Double.mlmodelc", "tensor<fp32, [?]>", "tensor<fp32, [?]> y = add(x = x, y = x);");
    const auto model = load("Double.mlmodelc");
    ASSERT_EQ(model->signature().inputs.at(0).shapes.at(0).size(), 1U);
    EXPECT_GT(model->signature().inputs.at(0).shapes.at(0).at(0).most, 1 << 30);
    for (const std::int64_t length : {1, 5000, 3, 3'000'000, 0, 7, 4'000'000}) {
        MultiArray x(MLElementType::float32, {length});
        if (length > 0) {
            x.as<float>()[length - 1] = 4;
        }
        const auto y = predict(*model, {{"x", x}}).at("y");
        ASSERT_EQ(y.shape(), (MultiArray::Extents{length}));
        if (length > 0) {
            EXPECT_EQ(y.as<float>()[length - 1], 8);
        }
    }
}

TEST_F(FailureTest, flexibleShapesAreDeclared)
{
    writeText("Flexible.mlmodelc",
              "program(1.3)\n{\n    func main<ios18>(tensor<fp32, [1, ?]> x) "
              "[FlexibleShapeInformation = tuple<tuple<string, dict<string, tensor<int32, "
              "[?]>>>, tuple<string, dict<string, list<tensor<int32, [2]>, ?>>>>(((\"DefaultShapes"
              "\", {{\"x\", [1, 4]}}), (\"RangeDims\", {{\"x\", [[1, 1], [2, 8]]}})))] {\n"
              "tensor<fp32, [1, ?]> y = add(x = x, y = x);\n        } -> (y);\n}\n");
    const auto model = load("Flexible.mlmodelc");
    EXPECT_EQ(model->signature().inputs.at(0).shapes,
              (std::vector<std::vector<ExtentRange>>{{{1, 1}, {2, 8}}}));
    EXPECT_EQ(predict(*model, {{"x", floats({1, 2}, {1, 2})}}).at("y").shape(),
              (MultiArray::Extents{1, 2}));
    EXPECT_NE(predicting(*model, {{"x", floats({1}, {1, 1})}}), "nothing");
}

TEST_F(FailureTest, weightsCutShortUnderTheModelEndThePredictionAndTheNextLoadSaysWhy)
{
    writeWeighty("Encoder.mlmodelc");
    auto model = load("Encoder.mlmodelc");
    fs::resize_file(folder.path / "Encoder.mlmodelc/weights/weight.bin", 4096);
    const auto outcome =
        predicting(*model, {{"x", MultiArray(MLElementType::float16, {2048, 1024})}});
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    // The sanitizer takes the signal and exits.
    EXPECT_EQ(outcome, "lost: The speech engine stopped unexpectedly.");
#else
    EXPECT_EQ(outcome, "lost: The speech engine stopped unexpectedly (Bus error).");
#endif
    model.reset();
    const auto told = loading("Encoder.mlmodelc");
    EXPECT_TRUE(told.starts_with("Encoder.mlmodelc: ")) << told;
    EXPECT_EQ(told.find("lost"), std::string::npos) << told;
}

TEST_F(FailureTest, aDeletedFolderIsUsedOnAndNotFoundAgain)
{
    fs::create_directories(folder.path / "model");
    writeWeighty("model/Encoder.mlmodelc");
    const auto model = load("model/Encoder.mlmodelc");
    fs::remove_all(folder.path / "model");
    EXPECT_EQ(predicting(*model, {{"x", MultiArray(MLElementType::float16, {2048, 1024})}}),
              "nothing");
    EXPECT_EQ(loading("model/Encoder.mlmodelc"),
              "cannot read " + (folder.path / "model").string() + ": No such file or directory");
}

TEST_F(FailureTest, aFolderPutInThePlaceOfAnotherHasAProcessOfItsOwn)
{
    fs::create_directories(folder.path / "model");
    writeDouble("model/A.mlmodelc");
    const auto old = load("model/A.mlmodelc");
    fs::rename(folder.path / "model", folder.path / "old");
    fs::create_directories(folder.path / "model");
    writeDouble("model/B.mlmodelc");
    const auto fresh = load("model/B.mlmodelc");
    EXPECT_EQ(children().size(), 2U);
    EXPECT_EQ(doubled(*old), (std::vector<float>{2, 4}));
    EXPECT_EQ(doubled(*fresh), (std::vector<float>{2, 4}));
}

TEST_F(FailureTest, aPipeForAModelIsRefusedAtOnce)
{
    fs::create_directories(folder.path / "Encoder.mlmodelc");
    ASSERT_EQ(::mkfifo((folder.path / "Encoder.mlmodelc/model.mil").c_str(), 0600), 0);
    EXPECT_EQ(loading("Encoder.mlmodelc"),
              "cannot read Encoder.mlmodelc/model.mil: it is not a regular file");
}

} // namespace vorlin::test
