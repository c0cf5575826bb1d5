#include "Platform/Linux/Desktop/InstanceLock.h"

#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace vorlin {
namespace {

using Outcome = InstanceLock::Outcome;

TEST(InstanceLock, onlyOneAtATimeHasIt)
{
    const TemporaryFolder folder;
    InstanceLock first(folder / "lock");
    InstanceLock second(folder / "lock");
    EXPECT_EQ(first.take(), Outcome::taken);
    EXPECT_EQ(first.take(), Outcome::taken);
    EXPECT_EQ(second.take(), Outcome::heldElsewhere);
    first.release();
    EXPECT_EQ(second.take(), Outcome::taken);
}

TEST(InstanceLock, aProcessThatIsKilledGivesItBack)
{
    const TemporaryFolder folder;
    int pipe[2] = {};
    ASSERT_EQ(::pipe(pipe), 0);
    const auto child = ::fork();
    if (child == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        InstanceLock held(folder / "lock");
        const char outcome = held.take() == Outcome::taken ? 'y' : 'n';
        [[maybe_unused]] const auto written = ::write(pipe[1], &outcome, 1);
        ::pause();
    }
    char outcome = 0;
    ASSERT_EQ(::read(pipe[0], &outcome, 1), 1);
    EXPECT_EQ(outcome, 'y');
    InstanceLock ours(folder / "lock");
    EXPECT_EQ(ours.take(), Outcome::heldElsewhere);
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    EXPECT_EQ(ours.take(), Outcome::taken);
    ::close(pipe[0]);
    ::close(pipe[1]);
}

TEST(InstanceLock, whatIsNoFileOfOursIsUnavailableAndUntouched)
{
    const TemporaryFolder folder;
    EXPECT_EQ(InstanceLock(folder / "none/lock").take(), Outcome::unavailable);
    std::filesystem::create_symlink("elsewhere", folder / "link");
    EXPECT_EQ(InstanceLock(folder / "link").take(), Outcome::unavailable);
    EXPECT_FALSE(std::filesystem::exists(folder / "elsewhere"));
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), S_IRUSR | S_IWUSR), 0);
    EXPECT_EQ(InstanceLock(folder / "pipe").take(), Outcome::unavailable);
}

} // namespace
} // namespace vorlin
