#include "Platform/Linux/Desktop/RemovalNotice.h"

#include "Async/TimerQueue.h"
#include "Platform/RunUntil.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

namespace vorlin {
namespace {

namespace fs = std::filesystem;

/// A loop whose timers run out when the test says so.
class Patience final : public MainLoop {
public:
    void post(Work work) override { work(); }
    TimePoint now() const override { return {}; }
    [[nodiscard]] Timer startTimer(Duration, Work work) override
    {
        return timers.add({}, std::move(work));
    }

    bool runsOut()
    {
        const Work due = timers.takeDue({});
        if (due) {
            due();
        }
        return static_cast<bool>(due);
    }

    TimerQueue timers;
};

class RemovalNoticeTest : public testing::Test {
protected:
    RemovalNoticeTest() { write(file, "a program"); }

    bool waits() const { return loop.timers.size() == 1; }

    const TemporaryFolder folder;
    const fs::path file = folder / "vorlin";
    Patience loop;
    int told = 0;
    const RemovalNotice notice{file, loop, [this] { ++told; }};
};

TEST_F(RemovalNoticeTest, itTellsOfAFileThatStaysAwayForAsLongAsItDoes)
{
    EXPECT_FALSE(waits());
    fs::remove(file);
    ASSERT_TRUE(runUntil([&] { return waits(); }));
    EXPECT_EQ(told, 0);
    EXPECT_TRUE(loop.runsOut());
    EXPECT_TRUE(loop.runsOut());
    EXPECT_EQ(told, 2);
    write(file, "the next");
    ASSERT_TRUE(runUntil([&] { return !waits(); }));
    EXPECT_EQ(told, 2);
}

TEST_F(RemovalNoticeTest, aFileThatIsReplacedIsNotGone)
{
    fs::remove(file);
    ASSERT_TRUE(runUntil([&] { return waits(); }));
    write(file, "the next");
    EXPECT_TRUE(loop.runsOut());
    EXPECT_EQ(told, 0);
    EXPECT_FALSE(waits());
}

} // namespace
} // namespace vorlin
