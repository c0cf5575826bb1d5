#include "Platform/Linux/Pasteboard/PipeReaders.h"

#include <QProcess>

#include <array>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace vorlin {

namespace {

/// A pipe whose reading end is another process's standard input, and nobody else's.
class Reading {
public:
    Reading()
    {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
        end = Descriptor(ends[1]);
        reader.setChildProcessModifier([in = ends[0]] { dup2(in, STDIN_FILENO); });
        reader.start("sleep", {"infinity"});
        EXPECT_TRUE(reader.waitForStarted());
        close(ends[0]);
    }
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;
    ~Reading()
    {
        reader.kill();
        reader.waitForFinished();
    }

    QProcess reader;
    Descriptor end;
};

class PipeReadersOf : public testing::Test, protected Reading {
protected:
    bool counts(std::optional<pid_t> focused) const
    {
        return PipeReaders([focused] { return focused; }).counts(end);
    }

    /// Whether it counts once it has read too early, by what the compositor's socket is known by.
    bool countsAfterBeingEarly(std::optional<pid_t> focused, qint64 compositor) const
    {
        PipeReaders readers([focused] { return focused; });
        readers.noteEarly(end, static_cast<pid_t>(compositor));
        return readers.counts(end);
    }
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
    readers.beginText();
    focused = getppid();
    EXPECT_TRUE(readers.counts(end));
}

TEST_F(PipeReadersOf, whoReadsTooEarlyDoesNotCountAndOthersDo)
{
    PipeReaders readers([] { return std::nullopt; });
    for (int text = 0; text < 3; ++text) {
        readers.beginText();
        readers.noteEarly(end, 1);
        readers.notePasted(end);
        EXPECT_FALSE(readers.counts(end));
        const Reading another;
        readers.notePasted(another.end);
        EXPECT_TRUE(readers.counts(another.end));
    }
}

TEST_F(PipeReadersOf, whoHasReadTooEarlyCountsOnceItHasLetAChordComeFirst)
{
    PipeReaders readers([] { return std::nullopt; });
    readers.beginText();
    readers.noteEarly(end, 1);
    readers.beginText();
    readers.notePasted(end);
    EXPECT_FALSE(readers.counts(end)) << "it may have had a slow day";
    readers.notePasted(end);
    EXPECT_FALSE(readers.counts(end)) << "another type of the same text";
    readers.beginText();
    EXPECT_TRUE(readers.counts(end));
    readers.noteEarly(end, 1);
    readers.notePasted(end);
    EXPECT_FALSE(readers.counts(end));
    readers.beginText();
    readers.notePasted(end);
    EXPECT_FALSE(readers.counts(end)) << "from the beginning again";
}

TEST_F(PipeReadersOf, contentsThatWereNotPastedTellNothingOfAnEarlyReader)
{
    PipeReaders readers([] { return std::nullopt; });
    readers.beginText();
    readers.noteEarly(end, 1);
    readers.beginText();
    EXPECT_FALSE(readers.counts(end));
    readers.beginText();
    EXPECT_FALSE(readers.counts(end));
}

TEST_F(PipeReadersOf, theFocusedProgramMayReadEarlyToo)
{
    const auto process = static_cast<pid_t>(reader.processId());
    EXPECT_TRUE(countsAfterBeingEarly(process, 1));
}

TEST_F(PipeReadersOf, theCompositorReadsForOthersAndCounts)
{
    EXPECT_TRUE(countsAfterBeingEarly(std::nullopt, reader.processId()));
}

TEST_F(PipeReadersOf, aProcessThatTheCompositorBeganIsNotTheCompositor)
{
    EXPECT_FALSE(countsAfterBeingEarly(std::nullopt, getpid()));
}

} // namespace vorlin
