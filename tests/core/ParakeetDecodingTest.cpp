#include "Parakeet/ParakeetDecoding.h"
#include "ParakeetFixture.h"

#include <cstring>

namespace vorlin {
namespace {

/// What the joint says, step by step; "no token" and one frame on when it has nothing more.
struct Step {
    std::int32_t token = 8192;
    std::int32_t duration = 0;
};

class ParakeetDecodingTest : public ParakeetFixture {
protected:
    ParakeetDecodingTest()
    {
        // An encoder of `width` × `frames` whose element (d, t) is 1000·d + t.
        models.scripts["Encoder.mlmodelc"].compute = [this](const MLFeatures&) {
            MLFeatures out;
            out["encoder"] = encoderOutput();
            out["encoder_length"] = integer(encoderLength);
            return out;
        };
        models.scripts["JointDecisionv3.mlmodelc"].compute = [this](const MLFeatures&) {
            const Step step = at < steps.size() ? steps[at++] : otherwise;
            MLFeatures out;
            out["token_id"] = integer(step.token);
            out["duration"] = integer(step.duration);
            return out;
        };
        models.keepsGiven = true;
    }

    MultiArray encoderOutput() const
    {
        MultiArray array(MLElementType::float32, {1, width, frames});
        for (std::int64_t d = 0; d < width; ++d) {
            for (std::int64_t t = 0; t < frames; ++t) {
                array.as<float>()[d * frames + t] = static_cast<float>(1000 * d + t);
            }
        }
        return array;
    }

    std::shared_ptr<ParakeetLoaded> load()
    {
        // Widths and lengths of every kind, past what the check at load would let through.
        auto made = std::make_shared<ParakeetLoaded>();
        made->vocabulary = vocabulary;
        made->preprocessor = model("Preprocessor.mlmodelc");
        made->encoder = model("Encoder.mlmodelc");
        made->decoder = model("Decoder.mlmodelc");
        made->joint = model("JointDecisionv3.mlmodelc");
        return made;
    }

    std::unique_ptr<MLModel> model(const char* name)
    {
        return models.load(name, {ComputeUnits::cpuOnly}).await_resume();
    }

    std::vector<std::int64_t> tokens(std::int64_t valid = 1000)
    {
        const auto outcome = outcomeOf(loop, greedyTDT(encoder, valid, *loaded, {}));
        loop.runReady();
        EXPECT_EQ(outcome->error, "");
        return outcome->value.value_or(std::vector<std::int64_t>{});
    }

    std::string text(const std::vector<float>& utterance)
    {
        const auto outcome = outcomeOf(loop, decode(utterance, *loaded, {}));
        loop.runReady();
        EXPECT_TRUE(outcome->done());
        return outcome->value ? *outcome->value : "failed: " + outcome->error;
    }

    std::size_t runs(const std::string& name) const
    {
        return static_cast<std::size_t>(
            std::count(models.predictions.begin(), models.predictions.end(), name));
    }

    std::int64_t width = 3;
    std::int64_t frames = 5;
    std::int32_t encoderLength = 5;
    std::vector<Step> steps;
    Step otherwise;
    std::size_t at = 0;
    std::vector<std::string> vocabulary{"<unk>", "\xE2\x96\x81Hello", "\xE2\x96\x81world", "!"};
    std::shared_ptr<ParakeetLoaded> loaded = load();
    MultiArray encoder = encoderOutput();
};

TEST_F(ParakeetDecodingTest, anEmptyUtteranceIsEmptyTextAndRunsNoModel)
{
    EXPECT_EQ(text({}), "");
    EXPECT_TRUE(models.predictions.empty());
}

TEST_F(ParakeetDecodingTest, beyondFifteenSecondsSamplesAreDropped)
{
    std::vector<float> samples(250000);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        samples[i] = static_cast<float>(i);
    }
    text(samples);
    const auto& given = models.given["Preprocessor.mlmodelc"].at(0);
    EXPECT_EQ(given.at("audio_length").number(0), 240000);
    const auto& signal = given.at("audio_signal");
    EXPECT_EQ(signal.shape(), (MultiArray::Extents{1, 240000}));
    EXPECT_EQ(signal.number(239999), 239999);
}

TEST_F(ParakeetDecodingTest, aShortUtteranceIsFollowedByZeros)
{
    text(std::vector<float>(16000, 0.25F));
    const auto& given = models.given["Preprocessor.mlmodelc"].at(0);
    EXPECT_EQ(given.at("audio_length").number(0), 16000);
    const auto& signal = given.at("audio_signal");
    EXPECT_EQ(signal.number(15999), 0.25);
    for (int i = 16000; i < 240000; ++i) {
        ASSERT_EQ(signal.number(i), 0);
    }
}

TEST_F(ParakeetDecodingTest, onlyBlanksOfNoDurationTakeOneJointRunAFrame)
{
    EXPECT_TRUE(tokens().empty());
    EXPECT_EQ(runs("JointDecisionv3.mlmodelc"), 5U);
    EXPECT_EQ(runs("Decoder.mlmodelc"), 1U);
}

TEST_F(ParakeetDecodingTest, atMostEightTokensComeFromOneFrame)
{
    otherwise = {7, 0};
    EXPECT_EQ(tokens(2), std::vector<std::int64_t>(16, 7));
    EXPECT_EQ(runs("JointDecisionv3.mlmodelc"), 16U);
    EXPECT_EQ(runs("Decoder.mlmodelc"), 17U);
}

TEST_F(ParakeetDecodingTest, aDurationIsTheNumberOfFramesToGoOn)
{
    steps = {{1, 2}, {2, 0}, {8192, 1}, {3, 4}};
    EXPECT_EQ(tokens(), (std::vector<std::int64_t>{1, 2, 3}));
    const auto& given = models.given["JointDecisionv3.mlmodelc"];
    ASSERT_EQ(given.size(), 4U);
    const std::array<double, 4> seen{0, 2, 2, 3};
    for (std::size_t i = 0; i < given.size(); ++i) {
        EXPECT_EQ(given[i].at("encoder_step").number(0), seen.at(i));
        EXPECT_EQ(given[i].at("encoder_step").number(2), 2000 + seen.at(i));
    }
}

TEST_F(ParakeetDecodingTest, theEighthTokenOfAFrameMayStillNameItsDuration)
{
    steps = std::vector<Step>(7, {5, 0});
    steps.push_back({6, 3});
    otherwise = {8192, 0};
    EXPECT_EQ(tokens().size(), 8U);
    // Frame 0 eight times, then frames 3 and 4.
    EXPECT_EQ(runs("JointDecisionv3.mlmodelc"), 10U);
}

TEST_F(ParakeetDecodingTest, aNegativeDurationKeepsTheFrame)
{
    steps = {{4, -1}, {5, -3}, {6, 1}, {8192, -1}, {8192, 1}, {8192, 9}};
    EXPECT_EQ(tokens(), (std::vector<std::int64_t>{4, 5, 6}));
    const auto& given = models.given["JointDecisionv3.mlmodelc"];
    ASSERT_EQ(given.size(), 6U);
    EXPECT_EQ(given[2].at("encoder_step").number(0), 0);
    EXPECT_EQ(given[4].at("encoder_step").number(0), 1);
    EXPECT_EQ(given[5].at("encoder_step").number(0), 2);
}

TEST_F(ParakeetDecodingTest, aModelThatNeverGoesOnIsAnUnexpectedResultAndNoHang)
{
    otherwise = {8192, -1};
    EXPECT_EQ(text(spoken(50)), "failed: The speech model returned an unexpected result.");
}

/// Computed elsewhere, and on the calling thread into arrays that stay.
class ParakeetStateTest : public ParakeetDecodingTest, public testing::WithParamInterface<bool> {};

TEST_P(ParakeetStateTest, theDecoderIsPrimedWithBlankAndFedItsOwnState)
{
    models.computesHere = GetParam();
    models.scripts["Decoder.mlmodelc"].compute = [](const MLFeatures& in) {
        MultiArray h(MLElementType::float32, {2, 1, 640});
        MultiArray c(MLElementType::float32, {2, 1, 640});
        h.as<float>()[7] = in.at("h_in").as<float>()[7] + 1;
        c.as<float>()[9] = in.at("c_in").as<float>()[9] + 10;
        MLFeatures out;
        out["decoder"] = arrayOf({1, 1, 1}, {h.as<float>()[7] * 100});
        out["h_out"] = h;
        out["c_out"] = c;
        return out;
    };
    steps = {{3, 1}, {8192, 1}, {4, 1}};
    tokens();
    const auto& given = models.given["Decoder.mlmodelc"];
    ASSERT_EQ(given.size(), 3U);
    EXPECT_EQ(given[0].at("targets").number(0), 8192);
    EXPECT_EQ(given[0].at("target_length").number(0), 1);
    EXPECT_EQ(given[0].at("h_in").shape(), (MultiArray::Extents{2, 1, 640}));
    EXPECT_EQ(given[0].at("h_in").number(7), 0);
    EXPECT_EQ(given[1].at("targets").number(0), 3);
    EXPECT_EQ(given[1].at("h_in").number(7), 1);
    EXPECT_EQ(given[2].at("targets").number(0), 4);
    EXPECT_EQ(given[2].at("c_in").number(9), 20);
    // A blank leaves the decoder where it was.
    const auto& joint = models.given["JointDecisionv3.mlmodelc"];
    EXPECT_EQ(joint[0].at("decoder_step").number(0), 100);
    EXPECT_EQ(joint[1].at("decoder_step").number(0), 200);
    EXPECT_EQ(joint[2].at("decoder_step").number(0), 200);
    EXPECT_EQ(joint[3].at("decoder_step").number(0), 300);
}

INSTANTIATE_TEST_SUITE_P(ComputedHereOrNot, ParakeetStateTest, testing::Bool());

TEST_F(ParakeetDecodingTest, whatIsComputedOnTheCallingThreadSaysTheSameAndFailsTheSame)
{
    steps = {{3, 0}, {4, 2}, {8192, 1}, {5, 1}, {6, 1}};
    const auto elsewhere = tokens();
    EXPECT_EQ(elsewhere, (std::vector<std::int64_t>{3, 4, 5, 6}));
    at = 0;
    models.computesHere = true;
    EXPECT_EQ(tokens(), elsewhere);
    models.scripts["Decoder.mlmodelc"].compute = [](const MLFeatures&) -> MLFeatures {
        throw std::runtime_error("no memory");
    };
    EXPECT_EQ(text(spoken(50)), "failed: no memory");
}

TEST_F(ParakeetDecodingTest, withoutValidFramesTheDecoderIsPrimedAndNothingComes)
{
    otherwise = {1, 1};
    EXPECT_TRUE(tokens(0).empty());
    EXPECT_TRUE(tokens(-5).empty());
    EXPECT_EQ(runs("Decoder.mlmodelc"), 2U);
    EXPECT_EQ(runs("JointDecisionv3.mlmodelc"), 0U);
}

TEST_F(ParakeetDecodingTest, framesAreReadThroughStridesAndFromHalfPrecision)
{
    // The same numbers, frame after frame, in half precision.
    const auto memory =
        std::shared_ptr<std::byte>(new std::byte[64]{}, std::default_delete<std::byte[]>());
    const std::array<std::uint16_t, 6> halves{0x3C00, 0x4000, 0x4200, 0x4400, 0x4500, 0x4600};
    std::memcpy(memory.get(), halves.data(), sizeof halves); // 1 2 3 4 5 6
    encoder = MultiArray(MLElementType::float16, {1, 3, 2}, {6, 1, 3}, memory);
    tokens();
    const auto& given = models.given["JointDecisionv3.mlmodelc"];
    ASSERT_EQ(given.size(), 2U);
    for (int d = 0; d < 3; ++d) {
        EXPECT_EQ(given[0].at("encoder_step").number(d), 1 + d);
        EXPECT_EQ(given[1].at("encoder_step").number(d), 4 + d);
    }
}

TEST_F(ParakeetDecodingTest, framesOfSinglePrecisionAreReadThroughStridesToo)
{
    // Frame after frame, four numbers apart though a frame has three; what lies between is no
    // part of the array.
    const auto numbers =
        std::make_shared<std::array<float, 8>>(std::array<float, 8>{1, 2, 3, -99, 4, 5, 6, -99});
    encoder = MultiArray(
        MLElementType::float32, {1, 3, 2}, {8, 1, 4},
        std::shared_ptr<std::byte>(numbers, reinterpret_cast<std::byte*>(numbers->data())));
    tokens();
    const auto& given = models.given["JointDecisionv3.mlmodelc"];
    ASSERT_EQ(given.size(), 2U);
    for (int d = 0; d < 3; ++d) {
        EXPECT_EQ(given[0].at("encoder_step").number(d), 1 + d);
        EXPECT_EQ(given[1].at("encoder_step").number(d), 4 + d);
    }
}

TEST_F(ParakeetDecodingTest, wordStartsBecomeSpacesButNotInFront)
{
    EXPECT_EQ(detokenised({1, 2}, vocabulary), "Hello world");
}

TEST_F(ParakeetDecodingTest, specialTokensAndTokensOutsideTheVocabularyAreLeftOut)
{
    EXPECT_EQ(detokenised({0, 1, 4, 99999, -1, 3, 0}, vocabulary), "Hello!");
    EXPECT_EQ(detokenised({0, 0}, vocabulary), "");
    EXPECT_EQ(detokenised({0, 1, 2}, {"<", "<a", "b>"}), "<<ab>");
}

TEST_F(ParakeetDecodingTest, spacesAndTabsGoFromBothEndsButLineBreaksStay)
{
    EXPECT_EQ(detokenised({0, 1, 2}, {"\t\xE2\x96\x81", "\na b\n", " \xC2\xA0\t"}), "\na b\n");
}

TEST_F(ParakeetDecodingTest, aMissingOutputOfPreprocessorOrEncoderIsAnUnexpectedResult)
{
    const std::string unexpected = "failed: The speech model returned an unexpected result.";
    for (const auto& [name, output] :
         std::vector<std::pair<std::string, std::string>>{{"Preprocessor.mlmodelc", "mel"},
                                                          {"Preprocessor.mlmodelc", "mel_length"},
                                                          {"Encoder.mlmodelc", "encoder"},
                                                          {"Encoder.mlmodelc", "encoder_length"}}) {
        const auto whole = models.scripts[name].compute;
        models.scripts[name].compute = [&](const MLFeatures& in) {
            auto out = whole(in);
            out.erase(output);
            return out;
        };
        EXPECT_EQ(text(spoken(50)), unexpected) << output;
        models.scripts[name].compute = whole;
    }
}

TEST_F(ParakeetDecodingTest, noFramesOfAnAbsurdWidthAreAnUnexpectedResultAndNoMemory)
{
    models.scripts["Encoder.mlmodelc"].compute = [](const MLFeatures&) {
        MLFeatures out;
        out["encoder"] = MultiArray(MLElementType::float16, {1, 1LL << 31, 0});
        out["encoder_length"] = integer(0);
        return out;
    };
    EXPECT_EQ(text(spoken(50)), "failed: The speech model returned an unexpected result.");
    EXPECT_EQ(runs("Decoder.mlmodelc"), 0U);
}

TEST_F(ParakeetDecodingTest, framesOfTooFewDimensionsAreAnUnexpectedResult)
{
    using Extents = MultiArray::Extents;
    for (const auto& extents : {Extents{}, Extents{3, 5}}) {
        models.scripts["Encoder.mlmodelc"].compute = [&extents](const MLFeatures&) {
            MLFeatures out;
            out["encoder"] = MultiArray(MLElementType::float32, extents);
            out["encoder_length"] = integer(5);
            return out;
        };
        EXPECT_EQ(text(spoken(50)), "failed: The speech model returned an unexpected result.");
    }
    EXPECT_EQ(runs("Decoder.mlmodelc"), 0U);
}

TEST_F(ParakeetDecodingTest, aFailingPredictionIsTheFailureOfTheUtterance)
{
    models.scripts["Encoder.mlmodelc"].compute = [](const MLFeatures&) -> MLFeatures {
        throw std::runtime_error("no memory");
    };
    EXPECT_EQ(text(spoken(50)), "failed: no memory");
}

using ParakeetDecodingDeathTest = ParakeetDecodingTest;

TEST_F(ParakeetDecodingDeathTest, aMissingOutputOfDecoderOrJointStopsTheProgram)
{
    for (const auto& [name, output] : std::vector<std::pair<std::string, std::string>>{
             {"Decoder.mlmodelc", "h_out"},
             {"Decoder.mlmodelc", "c_out"},
             {"Decoder.mlmodelc", "decoder"},
             {"JointDecisionv3.mlmodelc", "token_id"},
             {"JointDecisionv3.mlmodelc", "duration"}}) {
        const auto whole = models.scripts[name].compute;
        models.scripts[name].compute = [&](const MLFeatures& in) {
            auto out = whole(in);
            out.erase(output);
            return out;
        };
        EXPECT_DEATH(text(spoken(50)), "left out the output " + output);
        models.scripts[name].compute = whole;
    }
}

TEST_F(ParakeetDecodingDeathTest, anEncoderOutputOfTwoDimensionsStopsTheProgram)
{
    encoder = MultiArray(MLElementType::float32, {3, 5});
    EXPECT_DEATH(tokens(), "fewer than three dimensions");
}

} // namespace
} // namespace vorlin
