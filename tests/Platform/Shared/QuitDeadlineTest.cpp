#include "Platform/Shared/QuitDeadline.h"

#include "Platform/Shared/QuitSignals.h"

#include <gtest/gtest.h>

#include <poll.h>
#include <unistd.h>

#include <chrono>

namespace vorlin {
namespace {

using namespace std::chrono_literals;
using testing::ExitedWithCode;

/// Longer than any deadline here, but not for ever: what should have ended it may be broken.
[[noreturn]] void hang()
{
    while (::poll(nullptr, 0, 30'000) != 0) {
    }
    ::_exit(2);
}

/// What is to happen within it would have happened.
[[noreturn]] void endAfter(std::chrono::milliseconds time)
{
    const auto end = std::chrono::steady_clock::now() + time;
    while (std::chrono::steady_clock::now() < end) {
        ::poll(nullptr, 0, 10);
    }
    ::_exit(0);
}

[[noreturn]] void endAfterAWhile()
{
    endAfter(100ms);
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
                const QuitDeadline deadline(1s); // so that no busy machine is late
                QuitDeadline::begin();
            }
            endAfter(1500ms);
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
            const auto longEnough = std::chrono::steady_clock::now() + 30s;
            while (std::chrono::steady_clock::now() < longEnough) {
                QuitDeadline::begin();
            }
            ::_exit(2);
        },
        ExitedWithCode(1), line);
}

} // namespace
} // namespace vorlin
