#include "Platform/Linux/Keys/YieldingKeyPoster.h"

#include "fakes/FakeDesktop.h"

#include <gtest/gtest.h>

namespace vorlin {

TEST(YieldingKeyPoster, isReadyOnceThePersonHoldsNoModifiers)
{
    FakeKeyPoster keys;
    bool held = true;
    const YieldingKeyPoster poster(keys, [&] { return held; });
    EXPECT_EQ(poster.readiness(), KeyReadiness::soon);
    held = false;
    EXPECT_EQ(poster.readiness(), KeyReadiness::ready);
}

TEST(YieldingKeyPoster, modifiersMakeNoHopeOfAPosterThatWillNotBeReady)
{
    FakeKeyPoster keys;
    keys.ready = KeyReadiness::never;
    const YieldingKeyPoster poster(keys, [] { return true; });
    EXPECT_EQ(poster.readiness(), KeyReadiness::never);
}

TEST(YieldingKeyPoster, passesOnAllElse)
{
    FakeKeyPoster keys;
    YieldingKeyPoster poster(keys, [] { return false; });
    poster.prepare();
    EXPECT_TRUE(keys.isPrepared);
    poster.post(9, true, 1);
    EXPECT_EQ(keys.posted.size(), 1U);
    poster.rest();
    EXPECT_FALSE(keys.isPrepared);
}

} // namespace vorlin
