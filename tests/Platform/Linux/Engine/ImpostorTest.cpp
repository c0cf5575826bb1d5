// An engine process that a hostile model has taken over cannot reach into the program.
#include "EngineFixture.h"

namespace vorlin::test {

using namespace std::chrono_literals;

class ImpostorTest : public EngineTest {
protected:
    ImpostorTest()
    {
        useEngine(VORLIN_IMPOSTOR, {.silence = 3s, .stopping = 100ms, .longest = 60s});
    }

    /// What a prediction says that the engine answers in that way.
    std::string answered(const std::string& way)
    {
        const auto model = load(way);
        return thrownBy([&] { doubled(*model); });
    }

    static constexpr const char* nonsense = "lost: The speech engine answered nonsense.";
};

TEST_F(ImpostorTest, anAnswerThatFitsIsTaken)
{
    EXPECT_EQ(answered("fitting"), "nothing");
}

TEST_F(ImpostorTest, answersThatDoNotFitEndTheProcess)
{
    for (const auto* way : {"beyond-the-end", "at-the-very-end", "among-the-inputs", "unaligned",
                            "of-another-type", "of-no-type", "of-another-shape", "of-another-rank",
                            "huge", "negative", "to-another-question", "signature-again", "garbage",
                            "too-long", "too-much-memory", "needless-memory"}) {
        EXPECT_EQ(answered(way), nonsense) << way;
        EXPECT_TRUE(eventually([] { return children().empty(); })) << way;
    }
}

TEST_F(ImpostorTest, everyOutputIsWantedExactlyOnce)
{
    for (const auto* way : {"no-output", "one-missing", "one-twice", "one-for-the-other",
                            "one-too-many", "one-that-does-not-cross"}) {
        EXPECT_EQ(answered(way), nonsense) << way;
        EXPECT_TRUE(eventually([] { return children().empty(); })) << way;
    }
    EXPECT_EQ(answered("fitting"), "nothing");
}

TEST_F(ImpostorTest, whatItSaysIsMadeFitToBeShown)
{
    EXPECT_EQ(answered("control-characters"), "a  [31mb?\xc3\xa9");
}

TEST_F(ImpostorTest, oneThatSaysNothingIsGivenUp)
{
    EXPECT_EQ(answered("nothing"), "lost: The speech engine stopped responding.");
}

TEST_F(ImpostorTest, garbageInsteadOfASignatureFailsTheLoad)
{
    EXPECT_EQ(thrownBy([&] { load("garbage-at-once"); }), nonsense);
    EXPECT_EQ(thrownBy([&] { load("leaves"); }), nonsense);
    EXPECT_EQ(answered("fitting"), "nothing");
}

} // namespace vorlin::test
