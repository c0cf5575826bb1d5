#include "Platform/macOS/Plain/KeyEvents.h"

#include <gtest/gtest.h>

namespace vorlin {
namespace {

TEST(KeyEventsTest, aTapAsksForKeysDownKeysUpAndModifiersAlone)
{
    EXPECT_EQ(tappedEvents, (1U << 10U) | (1U << 11U) | (1U << 12U));
}

TEST(KeyEventsTest, aRecordingAsksForKeysDownAndModifiersAlone)
{
    EXPECT_EQ(recordedEvents, 5120U);
}

TEST(KeyEventsTest, theTypesOfATapHaveTheNumbersOfThePlatform)
{
    EXPECT_EQ(keyEventType(10), KeyEventType::keyDown);
    EXPECT_EQ(keyEventType(11), KeyEventType::keyUp);
    EXPECT_EQ(keyEventType(12), KeyEventType::flagsChanged);
    EXPECT_EQ(keyEventType(0xFFFFFFFE), KeyEventType::tapDisabledByTimeout);
    EXPECT_EQ(keyEventType(0xFFFFFFFF), KeyEventType::tapDisabledByUserInput);
}

TEST(KeyEventsTest, whatNobodyAskedForIsNoType)
{
    for (const std::uint32_t number : {0U, 1U, 9U, 13U, 14U, 0xFFFFFFFDU}) {
        EXPECT_EQ(keyEventType(number), std::nullopt) << number;
    }
}

TEST(KeyEventsTest, onlyEventsOfKeysHaveFieldsToRead)
{
    EXPECT_TRUE(isOfAKey(KeyEventType::keyDown));
    EXPECT_TRUE(isOfAKey(KeyEventType::keyUp));
    EXPECT_TRUE(isOfAKey(KeyEventType::flagsChanged));
    EXPECT_FALSE(isOfAKey(KeyEventType::tapDisabledByTimeout));
    EXPECT_FALSE(isOfAKey(KeyEventType::tapDisabledByUserInput));
}

} // namespace
} // namespace vorlin
