#include "Async/Published.h"

#include <gtest/gtest.h>

#include <string>

namespace vorlin {
namespace {

struct Owner {
    Published<int, Owner> count{0};
    void write(int value) { count.set(value); }
};

TEST(Published, writingTheValueHeldNotifiesNobody)
{
    Owner owner;
    int calls = 0;
    const auto subscription = owner.count.observe([&calls](int) { ++calls; });
    owner.write(0);
    EXPECT_EQ(calls, 0);
    owner.write(1);
    owner.write(1);
    EXPECT_EQ(calls, 1);
}

TEST(Published, anObserverSeesTheNewValueAndEndsWithItsSubscription)
{
    Owner owner;
    std::string seen;
    auto subscription = owner.count.observe([&](int value) {
        seen += std::to_string(value) + (owner.count.get() == value ? "=" : "!");
    });
    owner.write(1);
    subscription.reset();
    owner.write(2);
    EXPECT_EQ(seen, "1=");
}

TEST(Published, observersMayComeAndGoDuringANotification)
{
    Owner owner;
    std::string calls;
    Subscription second;
    Subscription third;
    const auto first = owner.count.observe([&](int) {
        calls += 'a';
        second.reset();
        if (!third) {
            third = owner.count.observe([&](int) { calls += 'c'; });
        }
    });
    second = owner.count.observe([&](int) { calls += 'b'; });
    owner.write(1);
    EXPECT_EQ(calls, "a");
    owner.write(2);
    EXPECT_EQ(calls, "aac");
}

} // namespace
} // namespace vorlin
