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
    bool compare(const std::filesystem::path& group, const nlohmann::json& entry)
    {
        const auto steps = entry.contains("sequence")
                               ? entry.at("sequence").get<std::vector<nlohmann::json>>()
                               : std::vector<nlohmann::json>{entry};
        const auto bundle = group / entry.at("bundle").get<std::string>();
        auto reference = mil::Model::load(bundle, {});
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

} // namespace vorlin::test
