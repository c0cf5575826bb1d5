#include "ParakeetFixture.h"

namespace vorlin {
namespace {

using std::chrono::seconds;

class ParakeetRuntimeTest : public ParakeetFixture {
protected:
    std::string text(int word, const std::filesystem::path& folder)
    {
        const auto outcome = transcribe(spoken(word), folder);
        loop.runReady();
        return outcome->value ? *outcome->value : "failed: " + outcome->error;
    }
};

TEST_F(ParakeetRuntimeTest, twoTranscriptionsOfOneFolderLoadItOnce)
{
    EXPECT_EQ(text(20, a), "w20");
    EXPECT_EQ(text(30, a), "w30");
    EXPECT_EQ(models.loads, (std::vector<std::filesystem::path>{
                                a / "Preprocessor.mlmodelc", a / "Encoder.mlmodelc",
                                a / "Decoder.mlmodelc", a / "JointDecisionv3.mlmodelc"}));
    using enum ComputeUnits;
    EXPECT_EQ(models.units, (std::vector{cpuOnly, cpuAndGPU, cpuOnly, cpuOnly}));
}

TEST_F(ParakeetRuntimeTest, nothingOfADictationRunsOnTheThreadThatYieldsToAllOthers)
{
    EXPECT_EQ(text(20, a), "w20");
    EXPECT_GT(loop.jobsOf(WorkPriority::normal), 0U);
    EXPECT_EQ(loop.jobsOf(WorkPriority::background), 0U);
}

TEST_F(ParakeetRuntimeTest, anotherFolderReplacesTheLoadedModels)
{
    text(20, a);
    EXPECT_EQ(text(20, b), "w20");
    EXPECT_EQ(models.loads.size(), 8U);
    EXPECT_EQ(models.alive(), 4U);
    text(20, a);
    EXPECT_EQ(models.loads.size(), 12U);
}

TEST_F(ParakeetRuntimeTest, theFourModelsLoadSideBySide)
{
    for (auto& [name, script] : models.scripts) {
        script.loadTakes = seconds(1);
    }
    const auto outcome = transcribe(spoken(20), a);
    loop.advance(seconds(1));
    EXPECT_TRUE(outcome->value);
}

TEST_F(ParakeetRuntimeTest, tenMinutesWithoutUseDropTheModels)
{
    text(20, a);
    loop.advance(seconds(599));
    EXPECT_EQ(models.alive(), 4U);
    loop.advance(seconds(1));
    EXPECT_EQ(models.alive(), 0U);
    EXPECT_EQ(text(20, a), "w20");
}

TEST_F(ParakeetRuntimeTest, eachUseStartsTheTenMinutesAnew)
{
    text(20, a);
    loop.advance(seconds(599));
    text(20, a);
    loop.advance(seconds(599));
    EXPECT_EQ(models.alive(), 4U);
    EXPECT_EQ(models.loads.size(), 4U);
    runtime->warm(a, WorkPriority::normal, {});
    loop.runReady();
    loop.advance(seconds(599));
    EXPECT_EQ(models.alive(), 4U);
    loop.advance(seconds(1));
    EXPECT_EQ(models.alive(), 0U);
}

TEST_F(ParakeetRuntimeTest, aTranscriptionInProgressHoldsTheUnloadOff)
{
    text(20, a);
    loop.advance(seconds(300));
    models.scripts["Encoder.mlmodelc"].takes = seconds(2000);
    const auto outcome = transcribe(spoken(30), a);
    loop.advance(seconds(1999));
    EXPECT_EQ(models.alive(), 4U);
    loop.advance(seconds(1));
    EXPECT_EQ(outcome->value, "w30");
    loop.advance(seconds(599));
    EXPECT_EQ(models.alive(), 4U);
    loop.advance(seconds(1));
    EXPECT_EQ(models.alive(), 0U);
}

TEST_F(ParakeetRuntimeTest, aFailedDecodingArmsTheUnloadToo)
{
    models.scripts["Encoder.mlmodelc"].compute = [](const MLFeatures&) -> MLFeatures {
        throw std::runtime_error("no");
    };
    EXPECT_EQ(text(20, a), "failed: no");
    loop.advance(seconds(600));
    EXPECT_EQ(models.alive(), 0U);
}

TEST_F(ParakeetRuntimeTest, oneUtteranceIsDecodedAtATimeInTheOrderOfTheCalls)
{
    for (auto& [name, script] : models.scripts) {
        script.takes = std::chrono::milliseconds(100);
    }
    std::vector<std::shared_ptr<Outcome<std::string>>> outcomes;
    std::vector<int> finished;
    for (int i = 0; i < 5; ++i) {
        outcomes.push_back(transcribe(spoken(20 + i), i % 2 == 0 ? a : b));
    }
    for (int step = 0; step < 500; ++step) {
        loop.advance(std::chrono::milliseconds(10));
        int done = 0;
        while (done < 5 && outcomes[static_cast<std::size_t>(done)]->done()) {
            ++done;
        }
        for (int later = done; later < 5; ++later) {
            EXPECT_FALSE(outcomes[static_cast<std::size_t>(later)]->done());
        }
    }
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(outcomes[static_cast<std::size_t>(i)]->value, FakeParakeet::word(20 + i));
    }
    EXPECT_EQ(models.mostAtOnce, 1);
}

TEST_F(ParakeetRuntimeTest, aMissingModelFailsTheLoadAndTheNextCallTriesAgain)
{
    models.scripts["Encoder.mlmodelc"].loadFailure = "Encoder.mlmodelc is not there.";
    EXPECT_EQ(text(20, a), "failed: Encoder.mlmodelc is not there.");
    EXPECT_EQ(models.alive(), 0U);
    models.scripts["Encoder.mlmodelc"].loadFailure.clear();
    EXPECT_EQ(text(20, a), "w20");
}

TEST_F(ParakeetRuntimeTest, aFailedLoadOfAnotherFolderKeepsTheLoadedOne)
{
    text(20, a);
    folders.files.erase(b / "parakeet_v3_vocab.json");
    EXPECT_EQ(text(20, b), "failed: parakeet_v3_vocab.json cannot be read.");
    EXPECT_EQ(models.alive(), 4U);
    models.loads.clear();
    EXPECT_EQ(text(20, a), "w20");
    EXPECT_TRUE(models.loads.empty());
}

TEST_F(ParakeetRuntimeTest, warmingLoadsAheadAndItsFailureMeetsTheFirstUse)
{
    runtime->warm(a, WorkPriority::normal, {});
    loop.runReady();
    EXPECT_EQ(models.alive(), 4U);
    folders.files.erase(b / "parakeet_v3_vocab.json");
    runtime->warm(b, WorkPriority::normal, {});
    loop.runReady();
    EXPECT_EQ(text(20, b), "failed: parakeet_v3_vocab.json cannot be read.");
}

TEST_F(ParakeetRuntimeTest, unloadingDropsTheModelsAlsoThoseStillLoading)
{
    text(20, a);
    runtime->unload();
    loop.runReady();
    EXPECT_EQ(models.alive(), 0U);

    models.scripts["Encoder.mlmodelc"].loadTakes = seconds(5);
    runtime->warm(a, WorkPriority::normal, {});
    loop.runReady();
    runtime->unload();
    loop.advance(seconds(10));
    EXPECT_EQ(models.alive(), 0U);
    EXPECT_EQ(models.loads.size(), 8U);
}

TEST_F(ParakeetRuntimeTest, lostModelsCostTheUtteranceAndAreLoadedAnewForTheNext)
{
    models.scripts["Encoder.mlmodelc"].takes = seconds(1);
    const auto outcome = transcribe(spoken(20), a);
    loop.advance(std::chrono::milliseconds(500));
    models.lose();
    loop.runReady();
    EXPECT_EQ(outcome->error, "The speech engine stopped unexpectedly.");
    const auto next = transcribe(spoken(21), a);
    loop.advance(seconds(1));
    EXPECT_EQ(next->value, "w21");
    EXPECT_EQ(models.loads.size(), 8U);
}

TEST_F(ParakeetRuntimeTest, modelsLostBetweenUtterancesCostNothing)
{
    text(20, a);
    models.lose();
    EXPECT_EQ(text(21, a), "w21");
    EXPECT_EQ(models.loads.size(), 8U);
}

TEST_F(ParakeetRuntimeTest, aStopEndsTheDecodingAndLetsTheNextOneIn)
{
    models.scripts["Encoder.mlmodelc"].takes = seconds(10);
    StopSource stop;
    const auto stopped = transcribe(spoken(20), a, stop.token());
    loop.advance(seconds(1));
    models.scripts["Encoder.mlmodelc"].takes = seconds(0);
    const auto next = transcribe(spoken(21), a);
    loop.runReady();
    EXPECT_FALSE(next->done());
    stop.requestStop();
    loop.runReady();
    EXPECT_EQ(stopped->error, MLStopped().what());
    EXPECT_EQ(next->value, "w21");
}

TEST_F(ParakeetRuntimeTest, aStopBeforeItsTurnRunsNoModel)
{
    StopSource stop;
    stop.requestStop();
    const auto stopped = transcribe(spoken(20), a, stop.token());
    loop.runReady();
    EXPECT_EQ(stopped->error, MLStopped().what());
    EXPECT_TRUE(models.loads.empty());
}

TEST_F(ParakeetRuntimeTest, whatIsGivenUpLeavesNothingBehind)
{
    for (auto& [name, script] : models.scripts) {
        script.loadTakes = seconds(1);
    }
    transcribe(spoken(20), a);
    loop.runReady();
    const std::weak_ptr<ParakeetRuntime> gone = runtime;
    runtime.reset();
    EXPECT_TRUE(gone.expired());
    loop.advance(seconds(700));
    EXPECT_EQ(models.alive(), 0U);
}

Bytes bytes(const std::string& text)
{
    return {text.begin(), text.end()};
}

TEST(ParakeetVocabulary, idsNotBelowTheCountAreDropped)
{
    EXPECT_EQ(parakeetVocabulary(bytes(R"({"0": "a", "2": "b"})")),
              (std::vector<std::string>{"a", ""}));
}

TEST(ParakeetVocabulary, idsThatAreNoNumberAreSkipped)
{
    EXPECT_EQ(parakeetVocabulary(bytes(R"({"0": "a", "x": "b", "-1": "c", "1 ": "d", "": "e",
                                           "99999999999999999999": "f", "1": "g"})")),
              (std::vector<std::string>{"a", "g", "", "", "", "", ""}));
}

TEST(ParakeetVocabulary, whatIsNoObjectOfTextsFailsInOneLine)
{
    for (const auto* damaged :
         {"", "[]", "{", "null", R"({"0": 1})", R"({"0": "a"} x)", "{\"0\": \"\xFF\"}"}) {
        EXPECT_THROW(
            {
                try {
                    parakeetVocabulary(bytes(damaged));
                } catch (const std::runtime_error& error) {
                    EXPECT_STREQ(error.what(), "parakeet_v3_vocab.json is not a vocabulary.");
                    throw;
                }
            },
            std::runtime_error)
            << damaged;
    }
}

TEST(ParakeetVocabulary, deepNestingFailsToo)
{
    EXPECT_THROW(parakeetVocabulary(bytes("{\"0\":" + std::string(2000000, '['))),
                 std::runtime_error);
    EXPECT_TRUE(parakeetVocabulary(bytes("{}")).empty());
}

} // namespace
} // namespace vorlin
