// Predictions through the engine process are those of mil, bit for bit.
#include "EngineFixture.h"

#include "MIL/Model.h"
#include "MIL/Run/Npy.h"

#include <nlohmann/json.hpp>

#include <cstring>
#include <fstream>
#include <map>

namespace vorlin::test {

namespace {

std::optional<MLElementType> portType(mil::ElementType type)
{
    switch (type) {
    case mil::ElementType::fp32: return MLElementType::float32;
    case mil::ElementType::fp16: return MLElementType::float16;
    case mil::ElementType::int32: return MLElementType::int32;
    default: return std::nullopt;
    }
}

using Tensors = std::map<std::string, mil::NpyTensor>;

Tensors readInputs(const std::filesystem::path& folder, const nlohmann::json& files)
{
    Tensors inputs;
    for (const auto& [name, file] : files.items()) {
        inputs[name] = mil::readNpy(folder / file.get<std::string>());
    }
    return inputs;
}

/// The inputs for the port; nothing if it has no such types.
std::optional<MLFeatures> featuresOf(const Tensors& tensors)
{
    MLFeatures features;
    for (const auto& [name, tensor] : tensors) {
        const auto type = portType(tensor.type.element);
        if (!type) {
            return std::nullopt;
        }
        MultiArray array(*type, {tensor.type.shape.begin(), tensor.type.shape.end()});
        if (!tensor.bytes.empty()) {
            std::memcpy(array.data(), tensor.bytes.data(), tensor.bytes.size());
        }
        features.emplace(name, std::move(array));
    }
    return features;
}

std::vector<mil::NamedOutput> inProcess(mil::Model& model, const Tensors& tensors)
{
    std::vector<mil::NamedInput> inputs;
    for (const auto& [name, tensor] : tensors) {
        inputs.push_back({name, {tensor.type, tensor.bytes.data()}});
    }
    return model.predict(inputs);
}

void expectTheSame(const std::vector<mil::NamedOutput>& wanted, const MLFeatures& got)
{
    std::size_t crossing = 0;
    for (const auto& output : wanted) {
        if (portType(output.type.element)) {
            ++crossing;
            ASSERT_TRUE(got.contains(output.name)) << output.name;
            const auto& array = got.at(output.name);
            ASSERT_EQ(array.shape(),
                      MultiArray::Extents(output.type.shape.begin(), output.type.shape.end()));
            ASSERT_EQ(array.elementType(), portType(output.type.element));
            ASSERT_EQ(std::memcmp(array.data(), output.bytes.data(), output.bytes.size()), 0)
                << output.name;
        }
    }
    EXPECT_EQ(got.size(), crossing);
}

} // namespace

class PredictionTest : public EngineTest {
protected:
    /// Holds one entry of a cases.json against mil in this process; false if the port has no such
    /// types.
    bool compare(const std::filesystem::path& group, const nlohmann::json& entry,
                 const mil::Model::Options& options = {})
    {
        const auto steps = entry.contains("sequence")
                               ? entry.at("sequence").get<std::vector<nlohmann::json>>()
                               : std::vector<nlohmann::json>{entry};
        const auto bundle = group / entry.at("bundle").get<std::string>();
        auto reference = mil::Model::load(bundle, options);
        auto model = loadFrom(bundle);
        for (const auto& step : steps) {
            const auto inputs = readInputs(group, step.at("inputs"));
            const auto features = featuresOf(inputs);
            if (!features) {
                return false;
            }
            expectTheSame(inProcess(reference, inputs), predict(*model, *features));
        }
        return true;
    }
};

TEST_F(PredictionTest, aSumIsComputed)
{
    writeDouble();
    const auto model = load("Double.mlmodelc");
    EXPECT_EQ(doubled(*model), (std::vector<float>{2, 4}));
    EXPECT_EQ(doubled(*model), (std::vector<float>{2, 4}));
}

TEST_F(PredictionTest, everyPartOfASpeechModelGivesTheSameBits)
{
    const auto group = milFixtures() / "parts";
    const auto cases = nlohmann::json::parse(std::ifstream(group / "cases.json"));
    int compared = 0;
    for (const auto& entry : cases) {
        SCOPED_TRACE(entry.at("case").get<std::string>());
        compared += compare(group, entry) ? 1 : 0;
    }
    EXPECT_GT(compared, 30);
}

TEST_F(PredictionTest, productsInEightBitsAreComputedWhenAskedFor)
{
    models = std::make_unique<EngineModels>(workers, builtEngine(), EngineLimits{},
                                            EngineModels::Products::integers);
    const auto group = milFixtures() / "parts";
    const auto cases = nlohmann::json::parse(std::ifstream(group / "cases.json"));
    constexpr auto integers = mil::LargeProducts::integers;
    int compared = 0;
    bool anyDiffers = false;
    for (const auto& entry : cases) {
        const auto name = entry.at("case").get<std::string>();
        if (name.find("encoder") == std::string::npos || !entry.contains("inputs")) {
            continue;
        }
        SCOPED_TRACE(name);
        compared += compare(group, entry, {.largeProducts = integers}) ? 1 : 0;
        const auto bundle = group / entry.at("bundle").get<std::string>();
        const auto inputs = readInputs(group, entry.at("inputs"));
        auto single = mil::Model::load(bundle, {});
        auto rounded = mil::Model::load(bundle, {.largeProducts = integers});
        const auto exact = inProcess(single, inputs);
        const auto other = inProcess(rounded, inputs);
        for (std::size_t i = 0; i < exact.size(); ++i) {
            anyDiffers = anyDiffers || exact[i].bytes != other[i].bytes;
        }
    }
    EXPECT_GT(compared, 0);
    // Otherwise the above would hold without anybody being asked.
    EXPECT_EQ(anyDiffers, !mil::describeIntegers().empty());
}

TEST_F(PredictionTest, operationsOfAllShapesAndTypesGiveTheSameBits)
{
    const auto group = milFixtures() / "ops";
    const auto cases = nlohmann::json::parse(std::ifstream(group / "cases.json"));
    int compared = 0;
    for (std::size_t i = 0; i < cases.size(); i += 6) {
        SCOPED_TRACE(cases[i].at("case").get<std::string>());
        compared += compare(group, cases[i]) ? 1 : 0;
    }
    EXPECT_GT(compared, 40);
}

/// A program of frames `x`, fp32 [1, 24], and their count `n`.
class FewerFramesTest : public EngineTest {
protected:
    std::unique_ptr<MLModel> loadFramed(std::string_view body, std::optional<MLFrames> frames)
    {
        mil::test::writeBundle(folder.path / "Framed.mlmodelc",
                               "program(1.3)\n{\n func main<ios17>(tensor<fp32, [1, 24]> x, "
                               "tensor<int32, [1]> n) {\n" +
                                   std::string(body) + "\n } -> (y);\n}\n");
        return waitFor(models->load(folder.path / "Framed.mlmodelc",
                                    {.units = ComputeUnits::cpuOnly, .frames = std::move(frames)}));
    }

    static MLFeatures inputs(std::int32_t count)
    {
        MLFeatures features{{"x", floats(std::vector<float>(24, -1), {1, 24})},
                            {"n", MultiArray(MLElementType::int32, {1})}};
        *features.at("n").as<std::int32_t>() = count;
        return features;
    }

    static std::vector<float> predictAt(MLModel& model, std::int64_t frames, std::int32_t count,
                                        WorkPriority priority = WorkPriority::normal)
    {
        return floatsOf(waitFor(model.predictAt(frames, inputs(count), priority, {})).at("y"));
    }

    const MLFrames declared{"x", 1, "n", {6, 12, 100}};
};

TEST_F(FewerFramesTest, whatLiesBeyondThemIsZero)
{
    const auto model = loadFramed("tensor<fp32, [1, 24]> y = abs(x = x);", declared);
    const std::vector<float> all(24, 1);
    for (const auto priority : {WorkPriority::background, WorkPriority::normal}) {
        std::vector<float> few(24);
        std::fill_n(few.begin(), 6, 1.0f);
        EXPECT_EQ(predictAt(*model, 6, 4, priority), few);
        EXPECT_EQ(floatsOf(predict(*model, inputs(4), {}, priority).at("y")), all);
        std::fill_n(few.begin(), 12, 1.0f);
        EXPECT_EQ(predictAt(*model, 12, 12, priority), few);
    }
}

TEST_F(FewerFramesTest, whatCannotBeComputedFailsAndTheRestGoesOn)
{
    const auto model = loadFramed("tensor<fp32, [1, 24]> y = abs(x = x);", declared);
    EXPECT_EQ(thrownBy([&] { predictAt(*model, 7, 4); }), "the model cannot compute at length 7");
    EXPECT_EQ(thrownBy([&] { predictAt(*model, 100, 4); }),
              "the model cannot compute at length 100");
    EXPECT_THROW(predictAt(*model, 7, 4), MLNoSuchLength);
    try {
        predictAt(*model, 6, 7);
    } catch (const MLNoSuchLength&) {
        ADD_FAILURE() << "the length is known";
    } catch (const std::runtime_error&) { // NOLINT(bugprone-empty-catch): see the next line
    }
    EXPECT_EQ(thrownBy([&] { predictAt(*model, 6, 7); }), "7 frames do not fit into length 6");
    EXPECT_EQ(predictAt(*model, 6, 4).front(), 1);
}

TEST_F(FewerFramesTest, aProgramWithoutAShorterFormSaysWhy)
{
    const auto model =
        loadFramed("tensor<fp32, [2, 12]> y = reshape(shape = tensor<int32, [2]>([2, 12]), x = x);",
                   MLFrames{"x", 1, "n", {7}});
    const auto why = thrownBy([&] { predictAt(*model, 7, 4); });
    EXPECT_NE(why.find("no shape fits"), std::string::npos) << why;
    EXPECT_EQ(predict(*model, inputs(4)).at("y").elementCount(), 24U);
}

TEST_F(FewerFramesTest, aModelOfWhichNothingWasDeclaredKnowsItsFullLengthOnly)
{
    const auto model = loadFramed("tensor<fp32, [1, 24]> y = abs(x = x);", std::nullopt);
    EXPECT_EQ(thrownBy([&] { predictAt(*model, 6, 4); }),
              "the model was loaded for its full length only");
    const auto strange =
        loadFramed("tensor<fp32, [1, 24]> y = abs(x = x);", MLFrames{"z", 1, "n", {6}});
    EXPECT_NE(thrownBy([&] { predictAt(*strange, 6, 4); }).find("no inputs 'z'"),
              std::string::npos);
}

} // namespace vorlin::test
