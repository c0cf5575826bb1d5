#include "Platform/Linux/Speech/HypothesisText.h"

#include <gtest/gtest.h>

namespace vorlin {

TEST(HypothesisText, keepsPlainWords)
{
    EXPECT_EQ(hypothesisText("we can't go", "en-US"), "we can't go");
    EXPECT_EQ(hypothesisText("", "en-US"), "");
}

TEST(HypothesisText, leavesOutFillersAndExtraSpaces)
{
    EXPECT_EQ(hypothesisText("<s> hello  <sil> [NOISE] world ++UM++ </s>", "en-US"), "hello world");
    EXPECT_EQ(hypothesisText("  <sil> ", "en-US"), "");
}

TEST(HypothesisText, leavesOutMarksOfAlternativePronunciations)
{
    EXPECT_EQ(hypothesisText("read(2) the(12) book", "en-US"), "read the book");
    EXPECT_EQ(hypothesisText("odd(x) (2) open( shut) ()", "en-US"), "odd(x) (2) open( shut) ()");
}

TEST(HypothesisText, writesTheEnglishPronounAsACapital)
{
    EXPECT_EQ(hypothesisText("i think i'm late i'd i'll i've i'm(2)", "en-US"),
              "I think I'm late I'd I'll I've I'm");
    EXPECT_EQ(hypothesisText("i", "en"), "I");
    EXPECT_EQ(hypothesisText("in it i.e. hi", "en-US"), "in it i.e. hi");
}

TEST(HypothesisText, leavesTheWordsOfOtherLanguagesAlone)
{
    EXPECT_EQ(hypothesisText("i ragazzi", "it-IT"), "i ragazzi");
    EXPECT_EQ(hypothesisText("i", "enm"), "i");
}

} // namespace vorlin
