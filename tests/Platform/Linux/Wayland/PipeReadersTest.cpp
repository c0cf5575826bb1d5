#include "Platform/Linux/Pasteboard/PipeReaders.h"

#include <QProcess>

#include <array>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace vorlin {

namespace {

/// A pipe whose reading end is another process's standard input, and nobody else's.
class PipeReadersOf : public testing::Test {
protected:
    PipeReadersOf()
    {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
        end = Descriptor(ends[1]);
        reader.setChildProcessModifier([in = ends[0]] { dup2(in, STDIN_FILENO); });
        reader.start("sleep", {"infinity"});
        EXPECT_TRUE(reader.waitForStarted());
        close(ends[0]);
    }
    ~PipeReadersOf() override
    {
        reader.kill();
        reader.waitForFinished();
    }

    bool counts(std::optional<pid_t> focused) const
    {
        return PipeReaders([focused] { return focused; }).counts(end);
    }

    QProcess reader;
    Descriptor end;
};

} // namespace

TEST_F(PipeReadersOf, theFocusedProgramCounts)
{
    EXPECT_TRUE(counts(static_cast<pid_t>(reader.processId())));
}

TEST_F(PipeReadersOf, anotherProgramDoesNotCount)
{
    EXPECT_FALSE(counts(getppid()));
}

TEST_F(PipeReadersOf, whoHoldsTheWritingEndAloneDoesNotCount)
{
    EXPECT_FALSE(counts(getpid()));
}

TEST_F(PipeReadersOf, everyReaderCountsWhereNoFocusIsKnown)
{
    EXPECT_TRUE(counts(std::nullopt));
}

TEST_F(PipeReadersOf, whoeverHadTheFocusWhenTheTextWasWrittenCounts)
{
    std::optional<pid_t> focused = static_cast<pid_t>(reader.processId());
    PipeReaders readers([&] { return focused; });
    readers.rememberFocus();
    focused = getppid();
    EXPECT_TRUE(readers.counts(end));
}

} // namespace vorlin
