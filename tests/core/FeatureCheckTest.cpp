#include "ParakeetFixture.h"

#include <algorithm>
#include <utility>

namespace vorlin {
namespace {

class FeatureCheckTest : public ParakeetFixture {
protected:
    FeatureCheckTest()
    {
        using enum MLElementType;
        // As a real export declares them.
        auto& preprocessing = models.scripts["Preprocessor.mlmodelc"].signature;
        preprocessing.outputs = {feature("mel", float32, {1, 80, 1501}),
                                 feature("mel_length", int32, {1})};
        auto& encoding = models.scripts["Encoder.mlmodelc"].signature;
        encoding.inputs = preprocessing.outputs;
        encoding.outputs = {feature("encoder", float32, {1, 144, 188}),
                            feature("encoder_length", int32, {1})};
        auto& decoding = models.scripts["Decoder.mlmodelc"].signature;
        decoding.outputs[2] = feature("decoder", float32, {1, 128, 1});
        auto& joining = models.scripts["JointDecisionv3.mlmodelc"].signature;
        joining.inputs = {feature("encoder_step", float32, {1, 144, 1}),
                          feature("decoder_step", float32, {1, 128, 1})};
    }

    MLFeature& input(const std::string& model, const std::string& name)
    {
        return *std::ranges::find(models.scripts[model].signature.inputs, name, &MLFeature::name);
    }
    MLFeature& output(const std::string& model, const std::string& name)
    {
        return *std::ranges::find(models.scripts[model].signature.outputs, name, &MLFeature::name);
    }

    /// The failure of loading the folder; empty when it fits.
    std::string failure()
    {
        const auto outcome = outcomeOf(
            loop,
            loadParakeet({models, heldFolders, loop, loop, a, WorkPriority::normal, [] {}, {}}));
        loop.runReady();
        EXPECT_TRUE(outcome->done());
        return outcome->error;
    }

    static constexpr auto preprocessor = "Preprocessor.mlmodelc";
    static constexpr auto encoder = "Encoder.mlmodelc";
    static constexpr auto decoder = "Decoder.mlmodelc";
    static constexpr auto joint = "JointDecisionv3.mlmodelc";
};

TEST_F(FeatureCheckTest, aRealExportFits)
{
    EXPECT_EQ(failure(), "");
}

TEST_F(FeatureCheckTest, everyMissingFeatureIsNamedWithItsModel)
{
    for (auto& [name, script] : models.scripts) {
        for (const bool outputs : {false, true}) {
            auto& features = outputs ? script.signature.outputs : script.signature.inputs;
            for (std::size_t i = 0; i < features.size(); ++i) {
                const auto kept = features;
                features.erase(features.begin() + static_cast<std::ptrdiff_t>(i));
                EXPECT_EQ(failure(), "The model " + name + " has no " +
                                         (outputs ? "output" : "input") + " \"" + kept[i].name +
                                         "\".");
                features = kept;
            }
        }
    }
}

TEST_F(FeatureCheckTest, everyInputOfAnotherTypeIsNamed)
{
    for (auto& [name, script] : models.scripts) {
        for (auto& wrong : script.signature.inputs) {
            const auto kept = wrong.elementType;
            for (const auto type :
                 {std::optional(MLElementType::float16), std::optional<MLElementType>()}) {
                wrong.elementType = type;
                const auto text = failure();
                EXPECT_TRUE(text.starts_with("The model " + name + " has an input \"" + wrong.name +
                                             "\" that is not "))
                    << text;
            }
            wrong.elementType = kept;
        }
    }
}

TEST_F(FeatureCheckTest, everyOutputOfATypeThatDoesNotCrossIsNamed)
{
    for (auto& [name, script] : models.scripts) {
        for (auto& wrong : script.signature.outputs) {
            const auto kept = std::exchange(wrong.elementType, std::nullopt);
            const auto text = failure();
            EXPECT_TRUE(text.starts_with("The model " + name + " has an output \"" + wrong.name +
                                         "\" that is not "))
                << text;
            wrong.elementType = kept;
        }
    }
}

TEST_F(FeatureCheckTest, aStateOfAnotherTypeDoesNotFit)
{
    for (const auto* const name : {"h_out", "c_out"}) {
        auto& state = output(decoder, name);
        const auto kept = std::exchange(state.elementType, MLElementType::float16);
        EXPECT_EQ(failure(), std::string("The model Decoder.mlmodelc has an output \"") + name +
                                 "\" that is not float32 [2, 1, 640].");
        state.elementType = kept;
    }
}

TEST_F(FeatureCheckTest, anInputOfAnotherShapeIsNamedWithTheShapeItShouldHave)
{
    input(preprocessor, "audio_signal") =
        feature("audio_signal", MLElementType::float32, {1, 160000});
    EXPECT_EQ(failure(), "The model Preprocessor.mlmodelc has an input \"audio_signal\" that is "
                         "not float32 [1, 240000].");
}

TEST_F(FeatureCheckTest, theNextModelMustTakeWhatTheOneBeforeGives)
{
    input(encoder, "mel") = feature("mel", MLElementType::float32, {1, 128, 1501});
    EXPECT_EQ(failure(), "The model Encoder.mlmodelc has an input \"mel\" that is not float32 "
                         "[1, 80, 1501].");
    input(encoder, "mel") = output(preprocessor, "mel");
    input(joint, "encoder_step") = feature("encoder_step", MLElementType::float32, {1, 145, 1});
    EXPECT_EQ(failure(), "The model JointDecisionv3.mlmodelc has an input \"encoder_step\" that "
                         "is not float32 [1, 144, 1].");
    input(joint, "encoder_step") = feature("encoder_step", MLElementType::float32, {1, 144, 1});
    output(decoder, "decoder") = feature("decoder", MLElementType::float32, {1, 640, 1});
    EXPECT_EQ(failure(), "The model JointDecisionv3.mlmodelc has an input \"decoder_step\" that "
                         "is not float32 [1, 640, 1].");
}

TEST_F(FeatureCheckTest, anEncoderOutputOfTwoDimensionsDoesNotFit)
{
    output(encoder, "encoder") = feature("encoder", MLElementType::float32, {144, 188});
    EXPECT_EQ(failure(), "The model Encoder.mlmodelc has an output \"encoder\" that is not array "
                         "[1, ?, ?].");
}

TEST_F(FeatureCheckTest, everyShapeThatAnOutputMayHaveMustFit)
{
    auto& frames = output(encoder, "encoder");
    frames.shapes.push_back({{1, 1}, {144, 144}, {94, 94}});
    EXPECT_EQ(failure(), "");
    frames.shapes.push_back({{144, 144}, {188, 188}});
    EXPECT_EQ(failure(), "The model Encoder.mlmodelc has an output \"encoder\" that is not array "
                         "[1, ?, ?].");
    frames.shapes.clear();
    EXPECT_NE(failure(), "");
}

TEST_F(FeatureCheckTest, whatThePlatformTellsNoShapesOfFits)
{
    for (auto* feature : {&output(encoder, "encoder"), &output(decoder, "h_out"),
                          &input(preprocessor, "audio_signal")}) {
        feature->shapes.clear();
        EXPECT_NE(failure(), "");
        feature->anyShape = true;
        EXPECT_EQ(failure(), "");
    }
}

TEST_F(FeatureCheckTest, openExtentsRangesAndEnumerationsThatHoldTheExtentFit)
{
    auto& signal = input(preprocessor, "audio_signal");
    signal.shapes = {{{1, 1}, {0, 1 << 30}}};
    EXPECT_EQ(failure(), "");
    signal.shapes = {{{1, 4}, {16000, 240000}}};
    EXPECT_EQ(failure(), "");
    signal.shapes = {{{1, 1}, {160000, 160000}}, {{1, 1}, {240000, 240000}}};
    EXPECT_EQ(failure(), "");
    signal.shapes = {{{1, 1}, {240001, 480000}}};
    EXPECT_NE(failure(), "");
    signal.shapes = {{{1, 1}, {160000, 160000}}, {{1, 1}, {320000, 320000}}};
    EXPECT_NE(failure(), "");
    signal.shapes = {};
    EXPECT_NE(failure(), "");
}

TEST_F(FeatureCheckTest, anOutputOfOpenExtentsFitsEveryInputThatMayTakeIt)
{
    output(preprocessor, "mel") = feature("mel", MLElementType::float32, {1, 80, -1});
    EXPECT_EQ(failure(), "");
    output(encoder, "encoder") = feature("encoder", MLElementType::float32, {1, -1, -1});
    EXPECT_EQ(failure(), "");
}

TEST_F(FeatureCheckTest, extraOutputsAreIgnoredAndExtraInputsOnlyWhenOptional)
{
    models.scripts[joint].signature.outputs.push_back(
        feature("logits", MLElementType::float16, {1, 8198}));
    EXPECT_EQ(failure(), "");
    auto& inputs = models.scripts[encoder].signature.inputs;
    inputs.push_back(feature("language", MLElementType::int32, {1}));
    EXPECT_EQ(failure(), "The model Encoder.mlmodelc wants the input \"language\", which this "
                         "program does not have.");
    inputs.back().optional = true;
    EXPECT_EQ(failure(), "");
}

} // namespace
} // namespace vorlin
