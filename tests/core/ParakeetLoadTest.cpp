#include "Parakeet/ParakeetLoad.h"

#include "ParakeetFixture.h"
#include "fakes/HangingWorkers.h"

namespace vorlin {
namespace {

using std::chrono::seconds;

/// Loads that take time: five seconds each.
class ParakeetLoadTest : public ParakeetFixture {
protected:
    ParakeetLoadTest()
    {
        for (auto& [name, script] : models.scripts) {
            script.loadTakes = seconds(5);
        }
    }

    void warm(const std::filesystem::path& folder, WorkPriority priority = WorkPriority::background,
              StopToken stop = {})
    {
        runtime->warm(folder, priority, std::move(stop));
        loop.runReady();
    }
    /// The priorities of the loads asked for, each set of four as one letter.
    std::string priorities() const
    {
        std::string text;
        for (std::size_t i = 0; i < models.priorities.size(); i += 4) {
            text += models.priorities[i] == WorkPriority::normal ? 'n' : 'b';
        }
        return text;
    }

    static constexpr const char* unanswered = "The model's folder does not answer.";
};

TEST_F(ParakeetLoadTest, aDiskThatDoesNotAnswerFailsTheLoadAndLetsTheNextIn)
{
    models.hanging = {a};
    const auto hung = transcribe(spoken(20), a);
    const auto other = transcribe(spoken(21), b);
    loop.advance(seconds(29));
    EXPECT_FALSE(hung->done());
    loop.advance(seconds(6));
    EXPECT_EQ(hung->error, unanswered);
    loop.advance(seconds(5));
    EXPECT_EQ(other->value, "w21");
}

TEST_F(ParakeetLoadTest, aVocabularyThatDoesNotAnswerFailsTheLoadToo)
{
    HangingWorkers slow(loop);
    slow.hanging = true;
    runtime = std::make_shared<ParakeetRuntime>(models, heldFolders, loop, slow);
    const auto hung = transcribe(spoken(20), a);
    loop.advance(seconds(35));
    EXPECT_EQ(hung->error, unanswered);
    slow.hanging = false;
    const auto other = transcribe(spoken(21), b);
    loop.advance(seconds(5));
    EXPECT_EQ(other->value, "w21");
    slow.answer();
    loop.runReady();
    EXPECT_EQ(models.alive(), 4U);
}

TEST_F(ParakeetLoadTest, aLoadThatGetsOnHoweverSlowlyIsWaitedFor)
{
    models.scripts["Encoder.mlmodelc"].loadTakes = seconds(3600);
    models.progressEvery = seconds(20);
    const auto slow = transcribe(spoken(20), a);
    loop.advance(seconds(3599));
    EXPECT_FALSE(slow->done());
    loop.advance(seconds(1));
    EXPECT_EQ(slow->value, "w20");
}

TEST_F(ParakeetLoadTest, aHangingFolderIsAskedAgainOnceAMinuteAndFourTimesAtMost)
{
    models.hanging = {a};
    std::vector<std::size_t> attempts;
    for (int i = 0; i < 10; ++i) { // one each 40 s
        const auto hung = transcribe(spoken(20), a);
        loop.advance(seconds(40));
        EXPECT_EQ(hung->error, unanswered);
        attempts.push_back(models.loads.size() / 4);
    }
    EXPECT_EQ(attempts, (std::vector<std::size_t>{1, 1, 2, 2, 3, 3, 4, 4, 4, 4}));
    models.answer();
    loop.runReady();
    const auto outcome = transcribe(spoken(20), a);
    loop.advance(seconds(5));
    EXPECT_EQ(outcome->value, "w20");
}

TEST_F(ParakeetLoadTest, whatIsGivenUpMayStillComeForWhoeverAsksThen)
{
    models.scripts["Encoder.mlmodelc"].loadTakes = seconds(45); // without a sign until then
    const auto first = transcribe(spoken(20), a);
    loop.advance(seconds(40));
    EXPECT_EQ(first->error, unanswered);
    const auto second = transcribe(spoken(20), a);
    loop.advance(seconds(5));
    EXPECT_EQ(second->value, "w20");
    EXPECT_EQ(models.loads.size(), 4U);
}

TEST_F(ParakeetLoadTest, aFolderKnownToHangFailsTheNextDictationWithinTenSeconds)
{
    models.hanging = {a};
    const auto first = transcribe(spoken(20), a);
    loop.advance(seconds(35));
    EXPECT_EQ(first->error, unanswered);
    const auto second = transcribe(spoken(20), a);
    loop.advance(seconds(9));
    EXPECT_FALSE(second->done()) << "it may only be asleep";
    loop.advance(seconds(1));
    EXPECT_EQ(second->error, unanswered);
}

TEST_F(ParakeetLoadTest, aDiskThatAnswersAgainIsLoadedFromThoughTheFirstAttemptHangsForGood)
{
    models.hanging = {a};
    const auto first = transcribe(spoken(20), a);
    loop.advance(seconds(55));
    EXPECT_EQ(first->error, unanswered);
    models.hanging.clear();
    const auto tooSoon = transcribe(spoken(20), a);
    loop.advance(seconds(10));
    EXPECT_EQ(tooSoon->error, unanswered);
    const auto second = transcribe(spoken(20), a);
    loop.advance(seconds(5));
    EXPECT_EQ(second->value, "w20");
}

TEST_F(ParakeetLoadTest, whatAnOlderAttemptFailsWithDoesNotCount)
{
    models.hanging = {a};
    const auto first = transcribe(spoken(20), a);
    loop.advance(seconds(60));
    models.hanging.clear();
    const auto second = transcribe(spoken(20), a);
    loop.advance(seconds(1));
    models.answer();
    loop.runReady();
    EXPECT_FALSE(second->done());
    loop.advance(seconds(4));
    EXPECT_EQ(second->value, "w20");
}

TEST_F(ParakeetLoadTest, whatFailsFirstIsToldThoughTheVocabularyHangs)
{
    HangingWorkers slow(loop);
    slow.hanging = true;
    runtime = std::make_shared<ParakeetRuntime>(models, heldFolders, loop, slow);
    models.scripts["JointDecisionv3.mlmodelc"].loadFailure = "The joint is damaged.";
    // Each attempt leaves a thread that hangs; no more are begun than may hang.
    for (const auto* error : {"The joint is damaged.", "The joint is damaged.",
                              "The joint is damaged.", "The joint is damaged.", unanswered}) {
        const auto outcome = transcribe(spoken(20), a);
        loop.advance(seconds(35));
        EXPECT_EQ(outcome->error, error);
        EXPECT_EQ(models.alive(), 0U) << "what arrived is let go";
    }
    EXPECT_EQ(slow.hung.size(), ParakeetLoad::mostAttempts);
    slow.hanging = false;
    slow.answer();
    loop.runReady();
    models.scripts["JointDecisionv3.mlmodelc"].loadFailure.clear();
    const auto outcome = transcribe(spoken(20), a);
    loop.advance(seconds(5));
    EXPECT_EQ(outcome->value, "w20");
}

TEST_F(ParakeetLoadTest, warmedAheadItLoadsInTheBackgroundUntilADictationWaits)
{
    warm(a);
    EXPECT_EQ(priorities(), "b");
    EXPECT_EQ(loop.jobsOf(WorkPriority::background), 1U) << "the reading of the vocabulary";
    const auto outcome = transcribe(spoken(20), a);
    loop.runReady();
    EXPECT_EQ(priorities(), "bn");
    EXPECT_EQ(loop.jobsOf(WorkPriority::background), 1U);
    const auto again = transcribe(spoken(21), a);
    warm(a, WorkPriority::normal);
    EXPECT_EQ(priorities(), "bn");
    loop.advance(seconds(5));
    EXPECT_EQ(outcome->value, "w20");
    EXPECT_EQ(again->value, "w21");
    EXPECT_EQ(models.alive(), 4U);
}

TEST_F(ParakeetLoadTest, theHurriedLoadIsTakenAsSoonAsItIsThere)
{
    for (auto& [name, script] : models.scripts) {
        script.loadTakes = seconds(500);
    }
    models.progressEvery = seconds(10);
    warm(a);
    for (auto& [name, script] : models.scripts) {
        script.loadTakes = seconds(5);
    }
    const auto outcome = transcribe(spoken(20), a);
    loop.advance(seconds(5));
    EXPECT_EQ(outcome->value, "w20");
    loop.advance(seconds(500));
    EXPECT_EQ(models.alive(), 4U);
}

TEST_F(ParakeetLoadTest, aWarmUpGivesWayToAnotherFolderAtOnce)
{
    models.hanging = {a};
    warm(a);
    const auto outcome = transcribe(spoken(21), b);
    loop.advance(seconds(5));
    EXPECT_EQ(outcome->value, "w21");
}

TEST_F(ParakeetLoadTest, aCancelledDictationsLoadGivesWayToAnotherFolderAtOnce)
{
    models.hanging = {a};
    StopSource dictation;
    warm(a, WorkPriority::normal, dictation.token());
    const auto cancelled = transcribe(spoken(20), a, dictation.token());
    loop.advance(seconds(1));
    dictation.requestStop();
    const auto outcome = transcribe(spoken(21), b);
    loop.advance(seconds(5));
    EXPECT_EQ(outcome->value, "w21");
    EXPECT_EQ(cancelled->error, MLStopped().what());
}

TEST_F(ParakeetLoadTest, aLoadThatADictationWaitsForGivesWayToNobody)
{
    const auto first = transcribe(spoken(20), a);
    loop.runReady();
    warm(b);
    runtime->unload();
    loop.advance(seconds(5));
    EXPECT_EQ(first->value, "w20");
}

TEST_F(ParakeetLoadTest, ofWarmUpsThatWaitOnlyTheLastIsDone)
{
    models.scripts["Encoder.mlmodelc"].takes = seconds(5);
    const auto first = transcribe(spoken(20), a);
    loop.advance(seconds(6));
    for (const auto* folder : {"/models/c", "/models/d"}) {
        warm(folder);
    }
    warm(b);
    loop.advance(seconds(20));
    EXPECT_EQ(first->value, "w20");
    ASSERT_EQ(models.loads.size(), 8U);
    EXPECT_EQ(models.loads.back().parent_path(), b);
}

TEST_F(ParakeetLoadTest, unloadingDoesNotWaitForAWarmUpThatHangs)
{
    const auto first = transcribe(spoken(20), a);
    loop.advance(seconds(5));
    EXPECT_EQ(first->value, "w20");
    models.hanging = {b};
    warm(b);
    runtime->unload();
    loop.runReady();
    EXPECT_EQ(models.alive(), 0U);
}

} // namespace
} // namespace vorlin
