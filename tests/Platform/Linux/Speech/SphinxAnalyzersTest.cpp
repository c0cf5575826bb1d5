#include "Platform/Linux/Speech/SphinxAnalyzers.h"

#include "Answers.h"
#include "SpokenAudio.h"
#include "Transcriber.h"
#include "simulation/SimulatedLoop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vorlin {

namespace {

using namespace std::chrono_literals;
using testing::Each;
using testing::Field;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

const std::string weather = "the weather will be warm and sunny for the rest of the week";
const std::string station = "I think we should meet at the station tomorrow morning";
const std::string committee = "the committee decided to postpone the meeting until next month";
const std::string museum = "the museum is open every day except on monday";

/// Passes work on to a loop's workers and counts it. A dictation's work yields to no other.
class CountingWorkers final : public Workers, public Executor {
public:
    explicit CountingWorkers(Workers& workers) : workers(workers) {}
    Executor& executor(WorkPriority priority) override
    {
        EXPECT_EQ(priority, WorkPriority::normal);
        return *this;
    }
    void post(Work work) override
    {
        ++posted;
        workers.executor(WorkPriority::normal).post(std::move(work));
    }
    int posted = 0;

private:
    Workers& workers;
};

/// The real decoder on virtual time: nothing runs before `loop.runReady()`.
class SphinxAnalyzersTest : public testing::Test {
protected:
    SphinxAnalyzersTest() { answerTo(loop, analyzers.supportedLocale("en-US")); }

    std::unique_ptr<SpeechAnalyzer> start(Transcript& transcript)
    {
        return analyzers.start("en-US", transcript.collector());
    }

    std::shared_ptr<std::string> outcomeOf(Completion<Done> completion)
    {
        return vorlin::outcomeOf(loop, std::move(completion));
    }

    std::string finish(SpeechAnalyzer& analyzer)
    {
        const auto outcome = outcomeOf(analyzer.finalizeAndFinishThroughEndOfInput());
        loop.runReady();
        return *outcome;
    }

    /// What a whole dictation of `samples` gives.
    std::string dictate(const Samples& samples)
    {
        Transcript transcript;
        const auto analyzer = start(transcript);
        feed(*analyzer, samples);
        EXPECT_EQ(finish(*analyzer), "done");
        return transcript.finalText();
    }

    SimulatedLoop loop;
    CountingWorkers workers{loop};
    SphinxAnalyzers analyzers{{systemModels}, workers, loop};
};

TEST_F(SphinxAnalyzersTest, aSpokenSentenceArrivesWithAtMostOneWordInTenWrong)
{
    EXPECT_LE(wordErrors(weather, dictate(spoken("weather"))), 1);
    EXPECT_LE(wordErrors(station, dictate(spoken("station"))), 1);
    EXPECT_LE(wordErrors(committee, dictate(spoken("committee"))), 1);
    EXPECT_LE(wordErrors(museum, dictate(spoken("museum"))), 1);
}

TEST_F(SphinxAnalyzersTest, severalSentencesWithPausesKeepTheirWords)
{
    Transcript transcript;
    const auto analyzer = start(transcript);
    feed(*analyzer, joined({silence(0.5), spoken("weather"), silence(1.5), spoken("station"),
                            silence(1.5), spoken("committee"), silence(1.5), spoken("museum")}));
    EXPECT_EQ(finish(*analyzer), "done");
    EXPECT_GE(transcript.finals(), 4U);
    EXPECT_LE(wordErrors(weather + ' ' + station + ' ' + committee + ' ' + museum,
                         transcript.finalText()),
              4);
}

TEST_F(SphinxAnalyzersTest, aPauseMakesTextFinalBeforeTheEnd)
{
    Transcript transcript;
    const auto analyzer = start(transcript);
    feed(*analyzer, joined({spoken("museum"), silence(1.5)}));
    loop.runReady();
    EXPECT_EQ(transcript.finals(), 1U);
    EXPECT_LE(wordErrors(museum, transcript.finalText()), 1);
    EXPECT_EQ(finish(*analyzer), "done");
    EXPECT_EQ(transcript.finals(), 1U); // silence adds nothing
}

TEST_F(SphinxAnalyzersTest, longSpeechWithoutAPauseIsCutBetweenWords)
{
    const auto part = joined({spoken("weather"), spoken("committee")});
    Transcript transcript;
    const auto analyzer = start(transcript);
    feed(*analyzer, joined({part, part, part, part}));
    loop.runReady();
    EXPECT_EQ(transcript.finals(), 1U);
    EXPECT_EQ(finish(*analyzer), "done");
    EXPECT_EQ(transcript.finals(), 2U);
    const std::string text = weather + ' ' + committee + ' ';
    EXPECT_LE(wordErrors(text + text + text + text, transcript.finalText()), 9);
}

TEST_F(SphinxAnalyzersTest, volatileTextComesWhileSpeechGoesOnAndOnlyWhenItChanges)
{
    Transcript transcript;
    const auto analyzer = start(transcript);
    const Samples all = spoken("weather");
    feed(*analyzer, Samples(all.begin(), all.begin() + 16000));
    loop.runReady();
    ASSERT_FALSE(transcript.all().empty());
    EXPECT_THAT(transcript.all(), Each(Field(&Transcript::Result::isFinal, false)));
    EXPECT_THAT(transcript.all().back().text, HasSubstr("weather"));

    feed(*analyzer, Samples(all.begin() + 16000, all.end()));
    finish(*analyzer);
    const auto results = transcript.all();
    EXPECT_TRUE(results.back().isFinal);
    for (std::size_t i = 1; i < results.size(); ++i) {
        EXPECT_TRUE(results[i].isFinal || results[i].text != results[i - 1].text);
    }
}

TEST_F(SphinxAnalyzersTest, aSoundThatWasTakenForAWordIsTakenBackAndLeavesNoSpace)
{
    // An eighth of a second out of a sentence: first thought to be "the", then to be nothing.
    const Samples all = spoken("museum");
    Transcript transcript;
    const auto analyzer = start(transcript);
    feed(*analyzer,
         joined({silence(0.3), Samples(all.begin() + 4800, all.begin() + 6800), silence(0.8)}));
    EXPECT_EQ(finish(*analyzer), "done");
    TextAccumulator text;
    std::vector<std::string> texts;
    for (const auto& result : transcript.all()) {
        EXPECT_FALSE(result.isFinal);
        texts.push_back(text.add(result.text, result.isFinal));
    }
    EXPECT_EQ(texts, (std::vector<std::string>{"the", ""}));
}

TEST_F(SphinxAnalyzersTest, theLastWordIsKeptWhenTheAudioEndsWithIt)
{
    Samples cut = spoken("museum");
    while (std::abs(cut.back()) < 200) {
        cut.pop_back();
    }
    EXPECT_LE(wordErrors(museum, dictate(cut)), 1);
}

TEST_F(SphinxAnalyzersTest, theFirstWordIsKeptWhenTheAudioBeginsWithIt)
{
    Samples cut = spoken("museum");
    const auto first = std::ranges::find_if(cut, [](int sample) { return std::abs(sample) > 200; });
    cut.erase(cut.begin(), first);
    EXPECT_THAT(dictate(cut), StartsWith("the museum is open"));
}

TEST_F(SphinxAnalyzersTest, whatIsSaidWhileTheModelLoadsIsDecoded)
{
    Transcript transcript;
    const auto analyzer = start(transcript);
    feed(*analyzer, joined({spoken("weather"), silence(1), spoken("museum")}));
    EXPECT_FALSE(analyzers.holdsModel());
    const auto outcome = outcomeOf(analyzer->finalizeAndFinishThroughEndOfInput());
    EXPECT_FALSE(analyzers.holdsModel());
    EXPECT_THAT(transcript.all(), IsEmpty());
    loop.runReady();
    EXPECT_EQ(*outcome, "done");
    EXPECT_LE(wordErrors(weather + ' ' + museum, transcript.finalText()), 2);
}

TEST_F(SphinxAnalyzersTest, theModelLoadsBeforeAnyAudio)
{
    Transcript transcript;
    const auto analyzer = start(transcript);
    loop.runReady();
    EXPECT_TRUE(analyzers.holdsModel());
}

TEST_F(SphinxAnalyzersTest, silenceOrNothingAtAllGivesNoText)
{
    Transcript transcript;
    const auto silent = start(transcript);
    feed(*silent, silence(5));
    EXPECT_EQ(finish(*silent), "done");
    const auto empty = start(transcript);
    EXPECT_EQ(finish(*empty), "done");
    EXPECT_THAT(transcript.all(), IsEmpty());
}

TEST_F(SphinxAnalyzersTest, aCancelledAnalysisStopsAtOnceAndSaysNothingMore)
{
    int results = 0;
    int postedAtCancel = 0;
    std::unique_ptr<SpeechAnalyzer> analyzer =
        analyzers.start("en-US", [&](const std::string&, bool) {
            ++results;
            analyzer->cancelAndFinishNow();
            postedAtCancel = workers.posted;
        });
    for (int i = 0; i < 20; ++i) {
        feed(*analyzer, spoken("weather"));
    }
    loop.runReady();
    EXPECT_EQ(results, 1);
    EXPECT_LE(workers.posted - postedAtCancel, 2); // each step decodes a tenth of a second at most
    feed(*analyzer, spoken("weather"));
    loop.runReady();
    EXPECT_LE(workers.posted - postedAtCancel, 2);
    EXPECT_EQ(results, 1);
}

TEST_F(SphinxAnalyzersTest, anAnalysisAfterACancelledOneHearsOnlyItsOwnWords)
{
    Transcript first;
    Transcript second;
    const auto cancelled = start(first);
    feed(*cancelled, spoken("weather"));
    const auto next = start(second);
    feed(*next, spoken("museum"));
    cancelled->cancelAndFinishNow();
    EXPECT_EQ(finish(*next), "done");
    EXPECT_THAT(first.all(), IsEmpty());
    EXPECT_LE(wordErrors(museum, second.finalText()), 1);
}

TEST_F(SphinxAnalyzersTest, anAnalysisStartedWhileOneFinishesWaitsItsTurn)
{
    Transcript both;
    const auto first = start(both);
    feed(*first, spoken("weather"));
    const auto firstOutcome = outcomeOf(first->finalizeAndFinishThroughEndOfInput());
    const auto second = start(both);
    feed(*second, spoken("museum"));
    EXPECT_EQ(finish(*second), "done");
    EXPECT_EQ(*firstOutcome, "done");
    EXPECT_LE(wordErrors(weather + ' ' + museum, both.finalText()), 2);
}

TEST_F(SphinxAnalyzersTest, anAnalysisLetGoOfCountsAsCancelled)
{
    Transcript first;
    Transcript second;
    auto dropped = start(first);
    feed(*dropped, spoken("weather"));
    const auto outcome = outcomeOf(dropped->finalizeAndFinishThroughEndOfInput());
    dropped.reset();
    const auto next = start(second);
    feed(*next, spoken("museum"));
    EXPECT_EQ(finish(*next), "done");
    EXPECT_THAT(first.all(), IsEmpty());
    EXPECT_NE(*outcome, "pending");
    EXPECT_NE(*outcome, "done");
}

TEST_F(SphinxAnalyzersTest, audioAfterTheEndIsIgnored)
{
    Transcript transcript;
    const auto analyzer = start(transcript);
    const auto outcome = outcomeOf(analyzer->finalizeAndFinishThroughEndOfInput());
    feed(*analyzer, spoken("weather"));
    loop.runReady();
    feed(*analyzer, spoken("weather"));
    loop.runReady();
    EXPECT_EQ(*outcome, "done");
    EXPECT_THAT(transcript.all(), IsEmpty());
}

TEST_F(SphinxAnalyzersTest, theModelStaysTenMinutesAfterItsLastUseAndLoadsAgain)
{
    EXPECT_LE(wordErrors(committee, dictate(spoken("committee"))), 1);
    loop.advance(400s);
    EXPECT_LE(wordErrors(committee, dictate(spoken("committee"))), 1);
    loop.advance(599s);
    EXPECT_TRUE(analyzers.holdsModel());
    loop.advance(2s);
    EXPECT_FALSE(analyzers.holdsModel());
    EXPECT_LE(wordErrors(committee, dictate(spoken("committee"))), 1);
    EXPECT_TRUE(analyzers.holdsModel());
}

TEST_F(SphinxAnalyzersTest, theModelStaysAsLongAsAnAnalysisRuns)
{
    dictate(spoken("museum"));
    Transcript transcript;
    const auto analyzer = start(transcript);
    loop.advance(1h);
    EXPECT_TRUE(analyzers.holdsModel());
    analyzer->cancelAndFinishNow();
    loop.advance(601s);
    EXPECT_FALSE(analyzers.holdsModel());
}

TEST_F(SphinxAnalyzersTest, analysesOutliveTheirAnalyzersInSilence)
{
    Transcript transcript;
    auto own = std::make_unique<SphinxAnalyzers>(std::vector<std::filesystem::path>{systemModels},
                                                 workers, loop);
    answerTo(loop, own->supportedLocale("en-US"));
    const auto analyzer = own->start("en-US", transcript.collector());
    feed(*analyzer, spoken("museum"));
    own.reset();
    feed(*analyzer, spoken("museum"));
    finish(*analyzer);
    EXPECT_THAT(transcript.all(), IsEmpty());
}

TEST_F(SphinxAnalyzersTest, knowsItsLocalesAndTheirFormat)
{
    EXPECT_EQ(answerTo(loop, analyzers.supportedLocale("en-GB")), "en-US");
    EXPECT_EQ(answerTo(loop, analyzers.supportedLocale("xx-XX")), std::nullopt);
    EXPECT_THAT(answerTo(loop, analyzers.localesToOffer()).value(), testing::Contains("en-US"));
    EXPECT_EQ(answerTo(loop, analyzers.bestAudioFormat("en-US")),
              (AudioFormat{SampleType::int16, 16000, 1, false}));
    EXPECT_EQ(answerTo(loop, analyzers.bestAudioFormat("xx-XX")), std::nullopt);
}

TEST_F(SphinxAnalyzersTest, aMissingModelFailsWithOneLine)
{
    const auto installed = outcomeOf(analyzers.installAssets("en-US"));
    const auto missing = outcomeOf(analyzers.installAssets("xx-XX"));
    loop.runReady();
    EXPECT_EQ(*installed, "done");
    EXPECT_EQ(*missing, "There is no speech model for xx-XX on this machine.");
    EXPECT_THROW(analyzers.start("xx-XX", [](const std::string&, bool) {}), std::runtime_error);
}

} // namespace

} // namespace vorlin
