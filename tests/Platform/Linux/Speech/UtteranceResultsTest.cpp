#include "Platform/Linux/Speech/UtteranceResults.h"

#include "Transcriber.h"

#include <gtest/gtest.h>

namespace vorlin {
namespace {

class UtteranceResultsTest : public testing::Test {
protected:
    TextAccumulator text;
    std::vector<std::string> texts;
    UtteranceResults results{[this](const std::string& words, bool isFinal) {
        texts.push_back(text.add(words, isFinal));
    }};
};

TEST_F(UtteranceResultsTest, wordsThatTurnOutToBeNoneLeaveNoSpace)
{
    results.heard("one");
    results.ended("one");
    results.heard("a cough");
    results.ended("");
    results.heard("two");
    results.ended("two");
    EXPECT_EQ(texts, (std::vector<std::string>{"one", "one ", "one a cough", "one ", "one two",
                                               "one two "}));
    EXPECT_EQ(text.finished(), "one two");
}

TEST_F(UtteranceResultsTest, anUtteranceWithoutWordsIsNotTold)
{
    results.heard("");
    results.ended("");
    results.ended("one");
    results.ended("");
    EXPECT_EQ(texts, (std::vector<std::string>{"one "}));
}

TEST_F(UtteranceResultsTest, volatileWordsAreToldWhenTheyChange)
{
    results.heard("one");
    results.heard("one");
    results.heard("");
    results.heard("one two");
    results.ended("one");
    results.heard("one");
    EXPECT_EQ(texts, (std::vector<std::string>{"one", "one two", "one ", "one one"}));
}

} // namespace
} // namespace vorlin
