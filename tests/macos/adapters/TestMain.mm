#include "Recorder.h"

#import <Foundation/Foundation.h>

#include <gtest/gtest.h>

extern "C" {
void* objc_autoreleasePoolPush();
void objc_autoreleasePoolPop(void* mark);
}

namespace {

// Each test starts with nothing written down, and in a pool, as a turn of the main loop does.
class EachTest : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo& /*test*/) override
    {
        standins::taken();
        pool = objc_autoreleasePoolPush();
    }
    void OnTestEnd(const testing::TestInfo& /*test*/) override { objc_autoreleasePoolPop(pool); }

    void* pool = nullptr;
};

} // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new EachTest);
    return RUN_ALL_TESTS();
}
