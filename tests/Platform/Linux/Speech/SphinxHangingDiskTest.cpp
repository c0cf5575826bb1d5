#include "Answers.h"
#include "LinkedModel.h"
#include "Platform/Linux/Desktop/TemporaryFolder.h"
#include "Platform/Linux/Speech/SphinxAnalyzers.h"
#include "SpokenAudio.h"
#include "fakes/HangingWorkers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vorlin {

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string museum = "the museum is open every day except on monday";

/// The real decoder on virtual time, with models on a disk that the test lets hang.
class SphinxHangingDiskTest : public testing::Test {
protected:
    SphinxHangingDiskTest() { linkSystemModel(folder / "en-us"); }

    std::unique_ptr<SpeechAnalyzer> start(const std::string& locale = "en-US")
    {
        return analyzers.start(locale, transcript.collector());
    }

    std::shared_ptr<std::string> finish(SpeechAnalyzer& analyzer)
    {
        const auto outcome = outcomeOf(loop, analyzer.finalizeAndFinishThroughEndOfInput());
        loop.runReady();
        return outcome;
    }

    void answer()
    {
        workers.hanging = false;
        workers.answer();
        loop.runReady();
    }

    TemporaryFolder folder;
    SimulatedLoop loop;
    HangingWorkers workers{loop};
    Transcript transcript;
    SphinxAnalyzers analyzers{{folder.path()}, workers, loop};
};

TEST_F(SphinxHangingDiskTest, allWhoAskForALocaleWaitForOneLook)
{
    workers.hanging = true;
    const auto first = laterAnswerTo(loop, analyzers.supportedLocale("en-GB"));
    const auto second = laterAnswerTo(loop, analyzers.supportedLocale("de-DE"));
    const auto offered = laterAnswerTo(loop, analyzers.localesToOffer());
    loop.runReady();
    EXPECT_EQ(workers.hung.size(), 1U);
    EXPECT_FALSE(*first || *second || *offered);
    answer();
    EXPECT_EQ(first->value(), "en-US");
    EXPECT_EQ(second->value(), std::nullopt);
    EXPECT_THAT(offered->value().value(), ElementsAre("en-US"));
}

TEST_F(SphinxHangingDiskTest, whatIsInstalledLaterIsFound)
{
    EXPECT_EQ(answerTo(loop, analyzers.supportedLocale("de-DE")), std::nullopt);
    linkSystemModel(folder / "de");
    EXPECT_EQ(answerTo(loop, analyzers.supportedLocale("de-DE")), "de");
    std::filesystem::remove_all(folder / "de");
    EXPECT_EQ(answerTo(loop, analyzers.supportedLocale("de-DE")), std::nullopt);
}

TEST_F(SphinxHangingDiskTest, whoeverAsksIsLetGoOfWithTheAnalyzers)
{
    workers.hanging = true;
    auto own = std::make_unique<SphinxAnalyzers>(std::vector<std::filesystem::path>{folder.path()},
                                                 workers, loop);
    const auto outcome = laterAnswerTo(loop, own->supportedLocale("en-US"));
    own.reset();
    answer(); // reaches nobody
    EXPECT_FALSE(*outcome);
}

TEST_F(SphinxHangingDiskTest, whatIsSaidWaitsForAModelThatHangsAndIsLoadedOnce)
{
    answerTo(loop, analyzers.supportedLocale("en-US"));
    workers.hanging = true;
    const auto cancelled = start();
    feed(*cancelled, spoken("weather"));
    loop.runReady();
    cancelled->cancelAndFinishNow();
    const auto next = start();
    feed(*next, spoken("museum"));
    const auto outcome = finish(*next);
    EXPECT_EQ(workers.hung.size(), 1U);
    EXPECT_EQ(*outcome, "pending");
    EXPECT_FALSE(analyzers.holdsModel());
    answer();
    EXPECT_EQ(*outcome, "done");
    EXPECT_LE(wordErrors(museum, transcript.finalText()), 1);
}

TEST_F(SphinxHangingDiskTest, aModelThatArrivesWhenNobodyWaitsAnyMoreStaysTenMinutes)
{
    answerTo(loop, analyzers.supportedLocale("en-US"));
    workers.hanging = true;
    const auto cancelled = start();
    loop.runReady();
    cancelled->cancelAndFinishNow();
    loop.advance(1h);
    answer();
    EXPECT_TRUE(analyzers.holdsModel());
    loop.advance(599s);
    EXPECT_TRUE(analyzers.holdsModel());
    loop.advance(2s);
    EXPECT_FALSE(analyzers.holdsModel());
}

TEST_F(SphinxHangingDiskTest, aModelThatHangsDoesNotHoldUpAnother)
{
    linkSystemModel(folder / "de");
    answerTo(loop, analyzers.supportedLocale("en-US"));
    workers.hanging = true;
    const auto cancelled = start();
    loop.runReady();
    cancelled->cancelAndFinishNow();
    workers.hanging = false;
    const auto next = start("de");
    feed(*next, spoken("museum"));
    EXPECT_EQ(*finish(*next), "done");
    EXPECT_LE(wordErrors(museum, transcript.finalText()), 1);
    answer(); // comes too late to replace it
    EXPECT_TRUE(analyzers.holdsModel());
}

TEST_F(SphinxHangingDiskTest, aModelThatCannotBeReadEndsWhoWaitsForItAndIsTriedAgain)
{
    const auto file = folder / "en-us/en-us.lm.bin";
    std::filesystem::remove(file);
    write(file, "damaged");
    answerTo(loop, analyzers.supportedLocale("en-US"));
    const auto failing = start();
    EXPECT_EQ(*finish(*failing), "The speech model for en-US cannot be read. Install it again.");
    EXPECT_THAT(transcript.all(), IsEmpty());
    std::filesystem::remove(file);
    std::filesystem::create_symlink(systemModels / "en-us/en-us.lm.bin", file);
    const auto next = start();
    feed(*next, spoken("museum"));
    EXPECT_EQ(*finish(*next), "done");
    EXPECT_LE(wordErrors(museum, transcript.finalText()), 1);
}

} // namespace

} // namespace vorlin
