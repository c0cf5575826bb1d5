#include "Platform/Linux/Keys/PostedKeys.h"

#include <gtest/gtest.h>

namespace vorlin {
namespace {

TEST(PostedKeys, whatWasPostedIsTakenOnce)
{
    PostedKeys ledger;
    ledger.posted(7, 55, true);
    ledger.emitted(7, 55, true, 1000);
    EXPECT_TRUE(ledger.take(55, true, 1000));
    EXPECT_FALSE(ledger.take(55, true, 1000));
}

TEST(PostedKeys, anotherProgramsEventOfTheSameKeyIsNotOurs)
{
    PostedKeys ledger;
    ledger.posted(7, 55, true);
    ledger.emitted(6, 55, true, 990);
    EXPECT_FALSE(ledger.take(55, true, 990));
    ledger.emitted(7, 55, true, 1000);
    EXPECT_FALSE(ledger.take(55, false, 1000));
    EXPECT_FALSE(ledger.take(54, true, 1000));
    EXPECT_FALSE(ledger.take(55, true, 1001));
    EXPECT_TRUE(ledger.take(55, true, 1000));
}

TEST(PostedKeys, aRequestThatMadeNoEventClaimsNoneLater)
{
    PostedKeys ledger;
    ledger.posted(7, 64, true);
    ledger.emitted(9, 64, true, 1000);
    EXPECT_FALSE(ledger.take(64, true, 1000));
    ledger.posted(10, 64, false);
    ledger.emitted(10, 64, false, 1001);
    EXPECT_TRUE(ledger.take(64, false, 1001));
}

TEST(PostedKeys, reportsMayComeMuchLater)
{
    PostedKeys ledger;
    for (std::uint32_t request = 1; request <= 10; ++request) {
        ledger.posted(request, 55, request % 2 == 1);
        ledger.emitted(request, 55, request % 2 == 1, 5000 + request);
    }
    for (std::uint32_t request = 1; request <= 10; ++request) {
        EXPECT_TRUE(ledger.take(55, request % 2 == 1, 5000 + request));
    }
}

TEST(PostedKeys, requestNumbersWrapAround)
{
    PostedKeys ledger;
    ledger.posted(0xFFFFFFFF, 55, true);
    ledger.posted(0, 55, false);
    ledger.emitted(0, 55, false, 10);
    EXPECT_TRUE(ledger.take(55, false, 10));
}

TEST(PostedKeys, entriesThatNobodyTakesDoNotPileUp)
{
    PostedKeys ledger;
    for (std::uint32_t request = 1; request <= 1000; ++request) {
        ledger.posted(request, 55, true);
        ledger.emitted(request, 55, true, request);
    }
    EXPECT_FALSE(ledger.take(55, true, 1));
    EXPECT_TRUE(ledger.take(55, true, 1000));
}

} // namespace
} // namespace vorlin
