// Which shorter lengths are found to be as good as the full one, when that is found out, and what
// is made of it.
#include "Parakeet/LengthProof.h"
#include "Parakeet/LengthFinder.h"
#include "Parakeet/ParakeetDecoding.h"
#include "Parakeet/ParakeetTranscriber.h"
#include "ParakeetFixture.h"
#include "fakes/FakeAudioConverters.h"
#include "fakes/FakeDesktop.h"

#include <algorithm>
#include <limits>

namespace vorlin {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr std::int64_t melFrames = 1501;
constexpr std::int64_t encoderFrames15 = 188;

/// How a model is wrong at one length.
enum class Fault { none, lastFrame, length, notANumber, otherShape, refusal, passing };

/// The fake speech model, with arrays of fixed shapes that can be computed for fewer frames: the
/// loudness of each 10 ms, and of each 80 ms.
class LengthProofTest : public ParakeetFixture {
protected:
    LengthProofTest()
    {
        using enum MLElementType;
        auto& first = models.scripts["Preprocessor.mlmodelc"];
        first.signature.outputs = {feature("mel", float32, {1, 2, melFrames}),
                                   feature("mel_length", int32, {1})};
        first.compute = [](const MLFeatures& in) { return mel(in, 240000); };
        first.computeAt = [this](std::int64_t samples, const MLFeatures& in) {
            return damaged(mel(in, samples), samples == faultySamples ? fault : Fault::none, "mel");
        };
        auto& second = models.scripts["Encoder.mlmodelc"];
        second.signature = {
            {feature("mel", float32, {1, 2, melFrames}), feature("mel_length", int32, {1})},
            {feature("encoder", float32, {1, 1, encoderFrames15}),
             feature("encoder_length", int32, {1})}};
        second.compute = [](const MLFeatures& in) { return encoded(in, melFrames); };
        second.computeAt = [this](std::int64_t frames, const MLFeatures& in) {
            return damaged(encoded(in, frames), frames == faultyFrames ? fault : Fault::none,
                           "encoder");
        };
        folders.identities[a] = "a of today";
        folders.identities[b] = "b of today";
        startAnew();
    }

    /// The program is started again.
    void startAnew()
    {
        runtime = std::make_shared<ParakeetRuntime>(models, heldFolders, loop, loop, &memory);
    }

    static MLFeatures mel(const MLFeatures& in, std::int64_t samples)
    {
        const auto count = in.at("audio_length").as<std::int32_t>()[0];
        MultiArray out(MLElementType::float32, {1, 2, melFrames});
        const auto* signal = in.at("audio_signal").as<float>();
        for (std::int64_t t = 0; t <= samples / 160 && t < melFrames; ++t) {
            float loud = 0;
            for (std::int64_t i = t * 160; i < std::min<std::int64_t>(t * 160 + 160, samples);
                 ++i) {
                loud = std::max(loud, std::abs(signal[i]));
            }
            out.as<float>()[t] = loud;
            out.as<float>()[melFrames + t] = 1;
        }
        return {{"mel", out}, {"mel_length", integer(count / 160 + 1)}};
    }

    static MLFeatures encoded(const MLFeatures& in, std::int64_t frames)
    {
        if (in.at("mel").shape() != MultiArray::Extents{1, 2, melFrames}) {
            throw std::runtime_error("the model takes no such array");
        }
        const auto count = in.at("mel_length").as<std::int32_t>()[0];
        MultiArray out(MLElementType::float32, {1, 1, encoderFrames15});
        for (std::int64_t t = 0; t * 8 < frames && t < encoderFrames15; ++t) {
            float loud = 0;
            for (std::int64_t i = t * 8; i < std::min(t * 8 + 8, frames); ++i) {
                loud = std::max(loud, in.at("mel").as<float>()[i]);
            }
            out.as<float>()[t] = std::round(loud * 100); // the word of that loudness
        }
        return {{"encoder", out}, {"encoder_length", integer((count + 7) / 8)}};
    }

    static MLFeatures damaged(MLFeatures outputs, Fault fault, const std::string& name)
    {
        auto& length = outputs.at(name + "_length").as<std::int32_t>()[0];
        auto& array = outputs.at(name);
        switch (fault) {
        case Fault::none: break;
        case Fault::lastFrame: array.as<float>()[std::max(length - 1, 0)] *= 1.5f; break;
        case Fault::length: ++length; break;
        case Fault::notANumber:
            array.as<float>()[0] = std::numeric_limits<float>::quiet_NaN();
            break;
        case Fault::otherShape: array = MultiArray(MLElementType::float32, {1, 1, 7}); break;
        case Fault::refusal: throw MLNoSuchLength("the model cannot compute at that length");
        case Fault::passing: throw std::runtime_error("there is not enough memory");
        }
        return outputs;
    }

    void warm(const std::filesystem::path& folder)
    {
        runtime->warm(folder, WorkPriority::background, {});
        loop.runReady();
    }

    /// What is remembered of a folder's files.
    std::optional<ShorterLengths> remembered(const std::string& identity) const
    {
        const auto value = memory.value("shorterLengths");
        return value ? rememberedLengths(std::get<std::string>(*value),
                                         "3:" + models.engine + ":" + identity)
                     : std::nullopt;
    }

    std::string text(int word, std::size_t samples)
    {
        models.predictions.clear();
        const auto outcome = transcribe(spoken(word, samples), a);
        loop.runReady();
        return outcome->value ? *outcome->value : "failed: " + outcome->error;
    }

    std::size_t predictionsOf(const std::string& name) const
    {
        return static_cast<std::size_t>(std::ranges::count(models.predictions, name));
    }

    static ShorterLengths all() { return everyShorterLength(); }

    /// A key is held.
    std::unique_ptr<ParakeetTranscriber> dictation()
    {
        auto held = std::make_unique<ParakeetTranscriber>(a, runtime, converters, loop);
        spawn(loop, held->prepare());
        loop.runReady();
        return held;
    }

    FakeDefaults memory;
    FakeAudioConverters converters;
    Fault fault = Fault::none;
    std::int64_t faultySamples = 0;
    std::int64_t faultyFrames = 0;
};

TEST_F(LengthProofTest, theTwoModelsAreLoadedWithTheirFrames)
{
    warm(a);
    EXPECT_EQ(models.toldFrames.at("Preprocessor.mlmodelc"), preprocessorFrames());
    EXPECT_EQ(models.toldFrames.at("Encoder.mlmodelc"), encoderFrames());
    EXPECT_EQ(models.toldFrames.at("Decoder.mlmodelc"), std::nullopt);
}

TEST_F(LengthProofTest, lengthsThatSayTheSameAreFoundInTheBackgroundOnceItIsQuiet)
{
    warm(a);
    loop.advance(LengthFinder::quietTime - milliseconds(1));
    EXPECT_TRUE(models.predictions.empty());
    EXPECT_EQ(remembered("a of today"), std::nullopt);
    loop.advance(milliseconds(1));
    EXPECT_EQ(models.predictionPriorities, std::set{WorkPriority::background});
    EXPECT_EQ(remembered("a of today"), all());
    EXPECT_EQ(predictionsOf("Encoder.mlmodelc"), 8U);
    EXPECT_EQ(predictionsOf("Encoder.mlmodelc:317"), 4U);
    models.predictions.clear();
    loop.advance(seconds(500));
    EXPECT_TRUE(models.predictions.empty());
}

TEST_F(LengthProofTest, aLengthThatSaysSomethingElseIsNotUsed)
{
    for (const auto wrong :
         {Fault::lastFrame, Fault::length, Fault::notANumber, Fault::otherShape, Fault::refusal}) {
        fault = wrong;
        faultySamples = 3 * 16000 + 640;
        faultyFrames = 617; // of 6 s
        memory.values.clear();
        startAnew();
        warm(a);
        loop.advance(LengthFinder::quietTime);
        auto expected = all();
        std::erase_if(expected, [this](const ShorterLength& length) {
            return length.samples == faultySamples || length.frames == faultyFrames;
        });
        EXPECT_EQ(remembered("a of today"), expected) << static_cast<int>(wrong);
    }
}

/// What the shorter preprocessor leaves at zero, the full one may not.
TEST_F(LengthProofTest, theShorterEncoderIsProvedWithWhatTheShorterPreprocessorSays)
{
    const auto said = [](const MLFeatures& in, std::int64_t samples) {
        auto outputs = mel(in, samples);
        const auto count = outputs.at("mel_length").as<std::int32_t>()[0];
        for (std::int64_t t = count; t <= samples / 160; ++t) {
            outputs.at("mel").as<float>()[t] = -3;
        }
        return outputs;
    };
    auto& first = models.scripts["Preprocessor.mlmodelc"];
    first.compute = [said](const MLFeatures& in) { return said(in, 240000); };
    first.computeAt = [said](std::int64_t samples, const MLFeatures& in) {
        return said(in, samples);
    };
    const auto ahead = [](const MLFeatures& in, std::int64_t frames) {
        auto outputs = encoded(in, frames);
        for (std::int64_t t = 0; t * 8 < frames && t < encoderFrames15; ++t) {
            const auto seen = t * 8 + 14;
            outputs.at("encoder").as<float>()[t] +=
                seen < frames ? in.at("mel").as<float>()[seen] : 0;
        }
        return outputs;
    };
    auto& second = models.scripts["Encoder.mlmodelc"];
    second.compute = [ahead](const MLFeatures& in) { return ahead(in, melFrames); };
    second.computeAt = [ahead](std::int64_t frames, const MLFeatures& in) {
        return ahead(in, frames);
    };
    warm(a);
    loop.advance(LengthFinder::quietTime);
    EXPECT_EQ(remembered("a of today"), ShorterLengths());
}

TEST_F(LengthProofTest, beforeTheProofEveryUtteranceTakesTheFullLength)
{
    EXPECT_EQ(text(20, 16000), "w20 w20 w20 w20 w20 w20 w20 w20 w20 w20 w20 w20 w20");
    EXPECT_EQ(predictionsOf("Preprocessor.mlmodelc"), 1U);
    EXPECT_EQ(predictionsOf("Encoder.mlmodelc"), 1U);
}

TEST_F(LengthProofTest, afterItAnUtteranceTakesTheShortestLengthThatHoldsIt)
{
    const auto before = text(20, 48000);
    warm(a);
    loop.advance(LengthFinder::quietTime);
    EXPECT_EQ(text(20, 48000), before);
    EXPECT_EQ(predictionsOf("Preprocessor.mlmodelc:48640"), 1U);
    EXPECT_EQ(predictionsOf("Encoder.mlmodelc:317"), 1U);
    EXPECT_EQ(predictionsOf("Encoder.mlmodelc"), 0U);
    text(20, 48001);
    EXPECT_EQ(predictionsOf("Preprocessor.mlmodelc:64640"), 1U);
    EXPECT_EQ(predictionsOf("Encoder.mlmodelc:417"), 1U);
    text(20, 12 * 16000);
    EXPECT_EQ(predictionsOf("Preprocessor.mlmodelc"), 1U);
    EXPECT_EQ(predictionsOf("Encoder.mlmodelc"), 1U);
}

TEST_F(LengthProofTest, aLengthThatFailsAfterAllCostsNoWords)
{
    warm(a);
    loop.advance(LengthFinder::quietTime);
    const auto before = text(20, 16000);
    fault = Fault::refusal;
    faultyFrames = 217;
    faultySamples = 2 * 16000 + 640;
    EXPECT_EQ(text(20, 16000), before);
    EXPECT_EQ(predictionsOf("Preprocessor.mlmodelc:32640"), 1U);
    EXPECT_EQ(predictionsOf("Encoder.mlmodelc"), 1U);
    text(20, 16000); // it is not tried again
    EXPECT_EQ(predictionsOf("Preprocessor.mlmodelc:48640"), 1U);
    EXPECT_EQ(predictionsOf("Encoder.mlmodelc:317"), 1U);
}

TEST_F(LengthProofTest, whatIsTooShortToBeProvedTakesTheFullLength)
{
    warm(a);
    loop.advance(LengthFinder::quietTime);
    text(20, 399);
    EXPECT_EQ(predictionsOf("Preprocessor.mlmodelc"), 1U);
    text(20, 400);
    EXPECT_EQ(predictionsOf("Preprocessor.mlmodelc:32640"), 1U);
}

TEST_F(LengthProofTest, aProofGivesWayToAnUtteranceAndGoesOnLater)
{
    models.scripts["Encoder.mlmodelc"].takes = seconds(1);
    warm(a);
    loop.advance(LengthFinder::quietTime + milliseconds(500));
    EXPECT_EQ(predictionsOf("Encoder.mlmodelc"), 1U);
    const auto outcome = transcribe(spoken(20), a);
    loop.advance(milliseconds(1));
    EXPECT_EQ(models.stopped, 1);
    EXPECT_EQ(models.lastPriority, WorkPriority::normal);
    loop.advance(seconds(1));
    EXPECT_TRUE(outcome->value);
    models.predictions.clear();
    loop.advance(LengthFinder::quietTime - seconds(1) - milliseconds(2));
    EXPECT_TRUE(models.predictions.empty());
    loop.advance(seconds(60));
    EXPECT_EQ(remembered("a of today"), all());
}

TEST_F(LengthProofTest, aProofGivesWayBeforeTheUtteranceIsThere)
{
    models.scripts["Encoder.mlmodelc"].takes = seconds(1);
    warm(a);
    loop.advance(LengthFinder::quietTime + milliseconds(500));
    runtime->hurry();
    EXPECT_EQ(models.stopped, 1);
    loop.runReady();
    models.predictions.clear();
    loop.advance(LengthFinder::quietTime - milliseconds(1));
    EXPECT_TRUE(models.predictions.empty());
    loop.advance(seconds(60));
    EXPECT_EQ(remembered("a of today"), all());
}

TEST_F(LengthProofTest, aKeyStartsTheQuietTimeAnew)
{
    warm(a);
    loop.advance(seconds(4));
    warm(a);
    loop.advance(seconds(1));
    EXPECT_TRUE(models.predictions.empty());
    loop.advance(seconds(60));
    EXPECT_EQ(remembered("a of today"), all());
}

TEST_F(LengthProofTest, noProofBeginsWhileAKeyIsHeld)
{
    warm(a);
    loop.advance(seconds(4));
    auto held = dictation();
    auto other = dictation();
    loop.advance(seconds(60));
    EXPECT_TRUE(models.predictions.empty());
    const auto text = outcomeOf(loop, held->finish());
    loop.advance(seconds(60));
    EXPECT_TRUE(text->done());
    EXPECT_TRUE(models.predictions.empty());
    other->cancel();
    loop.advance(LengthFinder::quietTime - milliseconds(1));
    EXPECT_TRUE(models.predictions.empty());
    loop.advance(seconds(60));
    EXPECT_EQ(remembered("a of today"), all());
}

TEST_F(LengthProofTest, aProofWhoseTimeHasComeWaitsAgainForWhoWasFaster)
{
    // Runs out with the quiet time; on the executor it is before what that posts.
    const Timer key = loop.startTimer(LengthFinder::quietTime, [this] {
        runtime->executor().post([this] { runtime->hurry(); });
    });
    warm(a);
    loop.advance(LengthFinder::quietTime);
    EXPECT_TRUE(models.predictions.empty());
    loop.advance(seconds(60));
    EXPECT_EQ(remembered("a of today"), all());
}

TEST_F(LengthProofTest, aProofGivesWayToAnUnload)
{
    models.scripts["Encoder.mlmodelc"].takes = seconds(1);
    warm(a);
    loop.advance(LengthFinder::quietTime + milliseconds(500));
    runtime->unload();
    loop.runReady();
    EXPECT_EQ(models.alive(), 0U);
    models.predictions.clear();
    loop.advance(seconds(60));
    EXPECT_TRUE(models.predictions.empty());
}

TEST_F(LengthProofTest, whatWasProvedIsKeptForTheNextStart)
{
    warm(a);
    loop.advance(LengthFinder::quietTime);
    startAnew();
    models.predictions.clear();
    warm(a);
    loop.advance(seconds(60));
    EXPECT_TRUE(models.predictions.empty());
    text(20, 16000);
    EXPECT_EQ(predictionsOf("Encoder.mlmodelc:217"), 1U);
}

TEST_F(LengthProofTest, otherFilesAreProvedAnew)
{
    warm(a);
    loop.advance(LengthFinder::quietTime);
    folders.identities[a] = "a of tomorrow";
    startAnew();
    warm(a);
    text(20, 16000);
    EXPECT_EQ(predictionsOf("Encoder.mlmodelc"), 1U);
    loop.advance(LengthFinder::quietTime);
    EXPECT_EQ(remembered("a of tomorrow"), all());
    EXPECT_EQ(remembered("a of today"), all());
}

TEST_F(LengthProofTest, anotherEngineProvesAnew)
{
    warm(a);
    loop.advance(LengthFinder::quietTime);
    models.engine = "engine of tomorrow";
    startAnew();
    warm(a);
    text(20, 16000);
    EXPECT_EQ(predictionsOf("Encoder.mlmodelc"), 1U);
    loop.advance(LengthFinder::quietTime);
    EXPECT_EQ(remembered("a of today"), all());
}

TEST_F(LengthProofTest, modelsThatKnowTheirFullLengthOnlyAreLeftInPeace)
{
    models.scripts["Encoder.mlmodelc"].computeAt = nullptr;
    warm(a);
    loop.advance(seconds(60));
    EXPECT_TRUE(models.predictions.empty());
}

TEST_F(LengthProofTest, filesThatAreNotKnownAreNotProved)
{
    folders.identities[a].clear();
    warm(a);
    loop.advance(seconds(60));
    EXPECT_TRUE(models.predictions.empty());
}

TEST_F(LengthProofTest, modelsThatFailAreNotProvedForEver)
{
    models.scripts["Encoder.mlmodelc"].compute = [](const MLFeatures&) -> MLFeatures {
        throw std::runtime_error("no");
    };
    warm(a);
    loop.advance(seconds(60));
    EXPECT_EQ(predictionsOf("Encoder.mlmodelc"), 1U);
    EXPECT_EQ(remembered("a of today"), std::nullopt);
}

TEST_F(LengthProofTest, modelsThatAProofEndsAreNotProvedAgain)
{
    models.scripts["Encoder.mlmodelc"].takes = seconds(1);
    warm(a);
    loop.advance(LengthFinder::quietTime + milliseconds(500));
    models.lose();
    loop.runReady();
    EXPECT_EQ(remembered("a of today"), ShorterLengths());
    models.predictions.clear();
    for (int load = 0; load < 2; ++load) {
        warm(a);
        loop.advance(seconds(60));
        startAnew();
    }
    EXPECT_EQ(models.loads.size(), 12U);
    EXPECT_TRUE(models.predictions.empty());
}

TEST_F(LengthProofTest, aFailureThatMayPassSaysNothingOfALength)
{
    fault = Fault::passing;
    faultyFrames = 617;
    warm(a);
    loop.advance(seconds(60));
    EXPECT_EQ(remembered("a of today"), std::nullopt);
    fault = Fault::none;
    runtime->unload();
    loop.runReady();
    warm(a);
    loop.advance(LengthFinder::quietTime);
    EXPECT_EQ(remembered("a of today"), all());
}

TEST_F(LengthProofTest, theRuntimeGoesWithAProofUnderWay)
{
    models.scripts["Encoder.mlmodelc"].takes = seconds(1);
    warm(a);
    loop.advance(LengthFinder::quietTime + milliseconds(500));
    runtime.reset();
    loop.runReady();
    EXPECT_EQ(models.stopped, 1);
    EXPECT_EQ(models.alive(), 0U);
}

TEST(RememberedLengthsTest, whatIsNoneIsNotRead)
{
    const ShorterLengths lengths{{32640, 217}, {64640, 417}};
    const auto text = withLengths("", "a", lengths);
    EXPECT_EQ(rememberedLengths(text, "a"), lengths);
    EXPECT_EQ(rememberedLengths(text, "b"), std::nullopt);
    for (const char* bad :
         {"", "{", "7", "[]", "[7, null, {}]", R"([{"files":7}])", R"([{"files":"a"}])",
          R"([{"files":"a","lengths":7}])", R"([{"files":"a","lengths":[7]}])",
          R"([{"files":"a","lengths":[[32640]]}])", R"([{"files":"a","lengths":[[32640,317]]}])",
          R"([{"files":"a","lengths":[[48640,317],[32640,217]]}])",
          R"([{"files":"a","lengths":[[32640,217.5]]}])"}) {
        EXPECT_EQ(rememberedLengths(bad, "a"), std::nullopt) << bad;
        EXPECT_EQ(rememberedLengths(withLengths(bad, "c", lengths), "c"), lengths) << bad;
    }
}

TEST(RememberedLengthsTest, theOldestFoldersMakeRoom)
{
    std::string text;
    for (int i = 0; i < 20; ++i) {
        text = withLengths(text, std::to_string(i), {{32640, 217}});
    }
    EXPECT_EQ(rememberedLengths(text, "11"), std::nullopt);
    EXPECT_TRUE(rememberedLengths(text, "12"));
    EXPECT_TRUE(rememberedLengths(text, "19"));
}

} // namespace
} // namespace vorlin
