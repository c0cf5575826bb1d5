#include "Transcriber.h"

#include <gtest/gtest.h>

#include <thread>

namespace vorlin {
namespace {

TEST(TextAccumulator, provisionalTextIsReplacedAndFinalTextKept)
{
    TextAccumulator text;
    EXPECT_EQ(text.add("hello", false), "hello");
    EXPECT_EQ(text.add("hello wor", false), "hello wor");
    EXPECT_EQ(text.add("hello world", true), "hello world ");
    EXPECT_EQ(text.finished(), "hello world");
}

TEST(TextAccumulator, aProvisionalTailIsKeptInTheFinishedText)
{
    TextAccumulator text;
    text.add("one", true);
    EXPECT_EQ(text.add("two", false), "one two");
    EXPECT_EQ(text.finished(), "one two");
}

TEST(TextAccumulator, noResultsGiveNoText)
{
    EXPECT_EQ(TextAccumulator().finished(), "");
}

TEST(TextAccumulator, anEmptyFinalResultAppendsOneSpace)
{
    TextAccumulator text;
    EXPECT_EQ(text.add("", true), " ");
    EXPECT_EQ(text.add("a", false), " a");
    EXPECT_EQ(text.finished(), "a");
}

TEST(TextAccumulator, finishingNeverSeesHalfAResult)
{
    TextAccumulator text;
    std::thread results([&text] {
        for (int i = 0; i < 2000; ++i) {
            text.add("x", false);
            text.add("x", true);
        }
    });
    std::size_t longest = 0;
    for (int i = 0; i < 2000; ++i) {
        // Each word counts once, provisional or final, so the length never falls.
        const auto length = text.finished().size();
        EXPECT_GE(length, longest);
        longest = length;
    }
    results.join();
    EXPECT_EQ(text.finished().size(), 2000U * 2 - 1);
}

TEST(Trimmed, takesWhiteSpaceAndLineBreaksOfEveryKindFromBothEnds)
{
    EXPECT_EQ(trimmed(" \t\r\n a b \n"), "a b");
    EXPECT_EQ(trimmed("\u00A0\u2003\u2028été\u3000\u0085"), "été");
    EXPECT_EQ(trimmed("\u200Bx"), "\u200Bx"); // a zero-width space is no white space
    EXPECT_EQ(trimmed("   "), "");
    EXPECT_EQ(trimmed(""), "");
    EXPECT_EQ(trimmed(" \xFF\xFE "), "\xFF\xFE");
}

} // namespace
} // namespace vorlin
