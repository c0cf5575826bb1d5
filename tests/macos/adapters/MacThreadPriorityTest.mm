#include "Platform/macOS/MacThreadPriority.h"

namespace vorlin {
namespace {

TEST(MacThreadPriorityTest, lowersTheThreadThatCallsToUtility)
{
    std::thread(lowerThreadPriority).join();
    EXPECT_EQ(standins::taken(),
              std::vector<std::string>{"elsewhere: pthread_set_qos_class_self_np 17 0"});
}

} // namespace
} // namespace vorlin
