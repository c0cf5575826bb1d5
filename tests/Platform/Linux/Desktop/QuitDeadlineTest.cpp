#include "Platform/Linux/Desktop/QuitDeadline.h"

#include "Platform/Linux/Desktop/QuitSignals.h"

#include <gtest/gtest.h>

#include <poll.h>
#include <unistd.h>

namespace vorlin {
namespace {

using namespace std::chrono_literals;
using testing::ExitedWithCode;

[[noreturn]] void hang()
{
    while (true) {
        ::pause();
    }
}

/// What is to happen within it would have happened.
[[noreturn]] void endAfterAWhile()
{
    ::poll(nullptr, 0, 100);
    ::_exit(0);
}

constexpr const char* line = "vorlin: ended without tidying up: something hangs.\n";

TEST(QuitDeadline, anEndThatHangsIsCutShortWithOneLine)
{
    EXPECT_EXIT(
        {
            const QuitDeadline deadline(5ms);
            QuitDeadline::begin();
            hang();
        },
        ExitedWithCode(1), line);
}

TEST(QuitDeadline, aSignalBeginsItAlsoWhereTheMainLoopHangs)
{
    EXPECT_EXIT(
        {
            const QuitDeadline deadline(5ms);
            const QuitSignals quitSignals([] {});
            std::raise(SIGTERM);
            hang();
        },
        ExitedWithCode(1), line);
}

TEST(QuitDeadline, anEndInTimeIsNotDisturbed)
{
    EXPECT_EXIT(
        {
            {
                const QuitDeadline deadline(5ms);
                QuitDeadline::begin();
            }
            endAfterAWhile();
        },
        ExitedWithCode(0), "");
}

TEST(QuitDeadline, withoutABeginningItDoesNotCome)
{
    EXPECT_EXIT(
        {
            const QuitDeadline deadline(5ms);
            endAfterAWhile();
        },
        ExitedWithCode(0), "");
    QuitDeadline::begin(); // without an object
}

TEST(QuitDeadline, laterBeginningsDoNotPutItOff)
{
    EXPECT_EXIT(
        {
            const QuitDeadline deadline(50ms);
            while (true) {
                QuitDeadline::begin();
            }
        },
        ExitedWithCode(1), line);
}

} // namespace
} // namespace vorlin
