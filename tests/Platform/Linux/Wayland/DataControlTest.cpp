#include "Platform/Linux/Pasteboard/DataControlPasteboard.h"

#include "Platform/Linux/Wayland/PrivateCompositor.h"
#include "Platform/Shared/QtMainLoop.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

namespace vorlin {

namespace {

using testing::Contains;
using testing::Not;

std::vector<std::uint8_t> bytesOf(const std::string& text)
{
    return {text.begin(), text.end()};
}

std::vector<std::uint8_t> manyBytes(std::size_t size)
{
    std::vector<std::uint8_t> bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<std::uint8_t>(i * 7919U >> 8U);
    }
    return bytes;
}

/// Another program with a clipboard of its own making.
class Owner {
public:
    explicit Owner(MainLoop& loop)
        : writers(loop), control(DataControl::over(connection, [](PasteSource /*source*/) {}))
    {
    }

    void own(std::map<std::string, std::vector<std::uint8_t>> contents)
    {
        std::vector<std::string> types;
        for (const auto& [type, bytes] : contents) {
            types.push_back(type);
        }
        control->offer(PasteSource::clipboard, types,
                       {.read =
                            [this, contents](const std::string& type, Descriptor end) {
                                reads.push_back(type);
                                if (type == silent) {
                                    held.push_back(std::move(end));
                                    return;
                                }
                                writers.write(std::move(end),
                                              std::make_shared<const std::vector<std::uint8_t>>(
                                                  contents.at(type)),
                                              [] {});
                            },
                        .displaced = [] {}});
        EXPECT_TRUE(connection.sync(std::chrono::seconds(30)));
    }

    WaylandConnection connection;
    /// A type that it never brings.
    std::string silent;
    std::vector<std::string> reads;

private:
    PipeWriters writers;
    std::vector<Descriptor> held;
    std::unique_ptr<DataControl> control;
};

/// Another program that reads the clipboard's text.
class Reader {
public:
    explicit Reader(MainLoop& loop)
        : pasteboard(connection, loop, [] { return std::nullopt; }),
          control(DataControl::over(connection, [](PasteSource /*source*/) {}))
    {
        EXPECT_TRUE(connection.sync(std::chrono::seconds(30)));
    }

    std::string text()
    {
        const auto reading = pasteboard.snapshot(PasteSource::clipboard);
        EXPECT_TRUE(runUntil([&] { return reading.await_ready(); }));
        const auto bytes = reading.await_resume().front().at("text/plain");
        return {bytes.begin(), bytes.end()};
    }

    /// Asks for it; returns what it is to be read from.
    Descriptor begin()
    {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
        const Descriptor theirs(ends[1]);
        EXPECT_TRUE(control->receive(PasteSource::clipboard, "text/plain", theirs));
        EXPECT_TRUE(connection.sync(std::chrono::seconds(30)));
        return Descriptor(ends[0]);
    }

    /// What comes there until the end, while the loop runs.
    static std::string all(const Descriptor& end)
    {
        EXPECT_EQ(fcntl(end.number(), F_SETFL, O_NONBLOCK), 0);
        std::string read;
        EXPECT_TRUE(runUntil([&] {
            std::array<char, 65536> piece{};
            const auto size = ::read(end.number(), piece.data(), piece.size());
            read.append(piece.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
            return size == 0;
        }));
        return read;
    }

private:
    WaylandConnection connection;
    DataControlPasteboard pasteboard;
    std::unique_ptr<DataControl> control;
};

class Clipboard : public testing::Test {
protected:
    Clipboard() { std::signal(SIGPIPE, SIG_IGN); }

    PasteboardSnapshot snapshot(PasteSource source = PasteSource::clipboard)
    {
        const auto reading = pasteboard.snapshot(source);
        EXPECT_TRUE(runUntil([&] { return reading.await_ready(); }));
        return reading.await_resume();
    }

    /// Lets another program take the clipboard, and waits until ours has been told.
    void owned(Owner& owner, const std::map<std::string, std::vector<std::uint8_t>>& contents)
    {
        const auto count = pasteboard.changeCount(PasteSource::clipboard);
        owner.own(contents);
        EXPECT_TRUE(
            runUntil([&] { return pasteboard.changeCount(PasteSource::clipboard) != count; }));
    }

    QByteArray pasted(const QString& type = "text/plain")
    {
        return compositor.output({"wl-paste", "--no-newline", "--type", type});
    }

    /// Lets the chord go, and the compositor know of it.
    void paste()
    {
        pasteboard.noteChord();
        EXPECT_TRUE(connection.sync(std::chrono::seconds(30)));
    }

    PasteboardUse use() const { return pasteboard.use(PasteSource::clipboard); }

    PrivateCompositor compositor;
    Person person;
    QtMainLoop loop;
    WaylandConnection connection;
    std::optional<pid_t> focused;
    DataControlPasteboard pasteboard{connection, loop, [this] { return focused; }};
};

} // namespace

TEST_F(Clipboard, everyTypeIsReadByteForByte)
{
    const std::map<std::string, std::vector<std::uint8_t>> contents{
        {"text/plain;charset=utf-8", bytesOf("plain")},
        {"text/html", bytesOf("<b>plain</b>")},
        {"image/png", manyBytes(3'000'001)},
        {"application/x-one", manyBytes(70'000)},
        {"application/x-two", bytesOf("2")},
        {"application/x-three", bytesOf(std::string("\0\n", 2))},
    };
    Owner owner(loop);
    owned(owner, contents);
    const auto read = snapshot();
    ASSERT_EQ(read.size(), 1);
    EXPECT_TRUE(read.front() == contents);
}

TEST_F(Clipboard, whatIsReadComesBackByteForByte)
{
    const auto picture = manyBytes(3'000'001);
    Owner owner(loop);
    owned(owner, {{"text/html", bytesOf("<b>plain</b>")}, {"image/png", picture}});
    const auto before = snapshot();
    pasteboard.setString(PasteSource::clipboard, "dictated");
    EXPECT_EQ(pasted(), "dictated");
    pasteboard.restore(PasteSource::clipboard, before);
    EXPECT_EQ(pasted("text/html"), "<b>plain</b>");
    EXPECT_TRUE(pasted("image/png") == QByteArray(reinterpret_cast<const char*>(picture.data()),
                                                  static_cast<qsizetype>(picture.size())));
    EXPECT_TRUE(snapshot() == before);
}

TEST_F(Clipboard, aTypeThatNeverComesHoldsUpNoOther)
{
    Owner owner(loop);
    owner.silent = "application/x-slow";
    owned(owner, {{"application/x-slow", {}},
                  {"image/png", bytesOf("png")},
                  {"text/html", bytesOf("html")},
                  {"x-z/last", bytesOf("last")}});
    const auto read = snapshot();
    ASSERT_EQ(read.size(), 1);
    EXPECT_EQ(read.front(), (PasteboardItem{{"image/png", bytesOf("png")},
                                            {"text/html", bytesOf("html")},
                                            {"x-z/last", bytesOf("last")}}));
}

TEST_F(Clipboard, contentsThatAreReplacedMeanwhileAreReadAnew)
{
    Owner owner(loop);
    owner.silent = "text/html";
    owned(owner, {{"text/html", {}}, {"text/plain", bytesOf("old")}});
    const auto reading = pasteboard.snapshot(PasteSource::clipboard);
    EXPECT_TRUE(runUntil([&] { return std::ranges::count(owner.reads, "text/html") == 1; }));
    owner.silent.clear();
    owner.own({{"text/plain", bytesOf("new")}});
    EXPECT_TRUE(runUntil([&] { return reading.await_ready(); }));
    EXPECT_EQ(reading.await_resume(), (PasteboardSnapshot{{{"text/plain", bytesOf("new")}}}));
}

TEST_F(Clipboard, anEmptyOneIsReadAndComesBackEmpty)
{
    EXPECT_EQ(snapshot(), PasteboardSnapshot{});
    pasteboard.setString(PasteSource::clipboard, "dictated");
    EXPECT_EQ(pasted(), "dictated");
    pasteboard.restore(PasteSource::clipboard, {});
    EXPECT_EQ(compositor.output({"wl-paste", "--list-types"}), "");
    EXPECT_EQ(snapshot(), PasteboardSnapshot{});
}

TEST_F(Clipboard, thePrimarySelectionIsAnotherOne)
{
    pasteboard.setString(PasteSource::clipboard, "clipboard");
    pasteboard.setString(PasteSource::primarySelection, "selected");
    EXPECT_EQ(compositor.output({"wl-paste", "--no-newline", "--primary"}), "selected");
    EXPECT_EQ(pasted(), "clipboard");
}

TEST_F(Clipboard, theTextIsMarkedAsNothingToBeRemembered)
{
    pasteboard.setString(PasteSource::clipboard, "dictated");
    EXPECT_EQ(pasted("x-kde-passwordManagerHint"), "secret");
}

TEST_F(Clipboard, aCopiedTextIsMarkedAsNothing)
{
    pasteboard.copyString(PasteSource::clipboard, "copied");
    EXPECT_EQ(pasted(), "copied");
    EXPECT_FALSE(pasteboard.types(PasteSource::clipboard).empty());
    EXPECT_THAT(pasteboard.types(PasteSource::clipboard), Not(Contains(secrecyHint)));
}

TEST_F(Clipboard, whatAnotherProgramCopiesIsNoticed)
{
    EXPECT_EQ(use(), PasteboardUse::untracked);
    pasteboard.setString(PasteSource::clipboard, "dictated");
    EXPECT_EQ(use(), PasteboardUse::unread);
    compositor.output({"wl-copy", "another"});
    EXPECT_TRUE(runUntil([&] { return use() == PasteboardUse::replaced; }));
    EXPECT_EQ(snapshot().front().at("text/plain"), bytesOf("another"));
}

TEST_F(Clipboard, putsNothingInPlaceOfWhatAnotherProgramHasCopied)
{
    for (const bool isKnown : {false, true}) {
        pasteboard.setString(PasteSource::clipboard, "dictated");
        Owner owner(loop);
        owner.own({{"text/plain", bytesOf("another")}});
        if (isKnown) {
            EXPECT_TRUE(runUntil([&] { return use() == PasteboardUse::replaced; }));
        }
        pasteboard.restore(PasteSource::clipboard, {{{"text/plain", bytesOf("old")}}});
        EXPECT_EQ(pasted(), "another");
    }
}

TEST_F(Clipboard, theFocusedProgramsReadingCounts)
{
    focused = getpid();
    pasteboard.setString(PasteSource::clipboard, "dictated");
    paste();
    Reader reader(loop);
    EXPECT_EQ(reader.text(), "dictated");
    EXPECT_TRUE(runUntil([&] { return use() == PasteboardUse::read; }));
}

TEST_F(Clipboard, whoReadsBeforeTheChordGoesHasNotPasted)
{
    focused = getpid();
    pasteboard.setString(PasteSource::clipboard, "dictated");
    Reader reader(loop);
    EXPECT_EQ(reader.text(), "dictated");
    EXPECT_EQ(use(), PasteboardUse::unread);
    paste();
    EXPECT_EQ(use(), PasteboardUse::unread);
    EXPECT_EQ(reader.text(), "dictated");
    EXPECT_TRUE(runUntil([&] { return use() == PasteboardUse::read; }));
}

TEST_F(Clipboard, whatWasAskedForBeforeTheChordAndGivenAfterItIsNoPaste)
{
    focused = getpid();
    const std::string text(1'000'000, 'x');
    pasteboard.setString(PasteSource::clipboard, text);
    Reader reader(loop);
    const Descriptor begun = reader.begin(); // the compositor has asked us for it
    paste();
    EXPECT_EQ(Reader::all(begun), text);
    EXPECT_EQ(use(), PasteboardUse::unread);
}

TEST_F(Clipboard, theChordOfAnEarlierTextIsNotThatOfTheNext)
{
    focused = getpid();
    pasteboard.setString(PasteSource::clipboard, "first");
    pasteboard.noteChord();
    pasteboard.setString(PasteSource::clipboard, "second");
    EXPECT_TRUE(connection.sync(std::chrono::seconds(30)));
    Reader reader(loop);
    EXPECT_EQ(reader.text(), "second");
    EXPECT_EQ(use(), PasteboardUse::unread);
}

TEST_F(Clipboard, whatIsLeftForThePersonCountsAsReadWithoutAChord)
{
    focused = getpid();
    pasteboard.copyString(PasteSource::clipboard, "left");
    Reader reader(loop);
    EXPECT_EQ(reader.text(), "left");
    EXPECT_TRUE(runUntil([&] { return use() == PasteboardUse::read; }));
}

TEST_F(Clipboard, whoReadsEveryTextBeforeItIsPastedDoesNotCountWhereTheFocusIsNotKnown)
{
    pasteboard.setString(PasteSource::clipboard, "first");
    Reader reader(loop); // this very process
    EXPECT_EQ(reader.text(), "first");
    pasteboard.setString(PasteSource::clipboard, "second");
    paste();
    EXPECT_EQ(reader.text(), "second");
    EXPECT_EQ(use(), PasteboardUse::unread);
}

TEST_F(Clipboard, whoHasReadOneTextTooEarlyIsNotExcludedForGood)
{
    pasteboard.setString(PasteSource::clipboard, "first");
    Reader reader(loop);
    EXPECT_EQ(reader.text(), "first");
    pasteboard.setString(PasteSource::clipboard, "unread");
    paste();
    pasteboard.copyString(PasteSource::clipboard, "left");
    EXPECT_EQ(reader.text(), "left") << "which no chord was for";
    for (const auto* const text : {"second", "third"}) {
        EXPECT_EQ(use(), PasteboardUse::unread);
        pasteboard.setString(PasteSource::clipboard, text);
        paste();
        EXPECT_EQ(reader.text(), text);
    }
    EXPECT_TRUE(runUntil([&] { return use() == PasteboardUse::read; }));
}

TEST_F(Clipboard, aReaderWithoutTheFocusDoesNotCount)
{
    focused = getppid();
    pasteboard.setString(PasteSource::clipboard, "dictated");
    paste();
    EXPECT_EQ(pasted(), "dictated");
    EXPECT_EQ(use(), PasteboardUse::unread);
}

TEST_F(Clipboard, aReaderThatGoesInTheMiddleCostsNothing)
{
    pasteboard.setString(PasteSource::clipboard, std::string(1'000'000, 'x'));
    compositor.output({"sh", "-c", "wl-paste | head -c 10"});
    EXPECT_EQ(pasted().size(), 1'000'000);
}

TEST_F(Clipboard, aCompositorThatGoesLeavesNothingToReadOrWrite)
{
    pasteboard.setString(PasteSource::clipboard, "dictated");
    compositor.kill();
    EXPECT_TRUE(runUntil([&] { return !pasteboard.available(); }));
    pasteboard.setString(PasteSource::primarySelection, "again");
    EXPECT_EQ(snapshot(PasteSource::primarySelection), PasteboardSnapshot{});
}

} // namespace vorlin
