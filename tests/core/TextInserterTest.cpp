#include "TextInserter.h"
#include "fakes/FakeDesktop.h"
#include "fakes/FakePasteboard.h"
#include "simulation/SimulatedLoop.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace vorlin {
namespace {

using namespace std::chrono_literals;
using namespace eventFlags;

class TextInserterTest : public testing::Test {
protected:
    SimulatedLoop loop;
    FakePasteboard pasteboard;
    FakeKeyPoster keys;
    FakeFocusedProgram focus;
    std::unique_ptr<TextInserter> inserter =
        std::make_unique<TextInserter>(loop, pasteboard, keys, focus);
    /// What the focused program has pasted.
    std::vector<std::string> pasted;

    /// The focused program pastes `delay` after the chord; never when negative.
    void programReadsAfter(std::chrono::milliseconds delay)
    {
        keys.onPost = [this, delay](const PostedKey& key) {
            if (key.keyDown && delay >= 0ms) {
                loop.postAfter(delay, [this, source = focus.chord.source] {
                    pasted.push_back(pasteboard.read(source));
                });
            }
        };
    }
    void insert(const std::string& text)
    {
        inserter->insert(text);
        loop.runReady();
    }
    std::string board() { return pasteboard.string(); }
};

TEST_F(TextInserterTest, pastesWithTheChordOfTheFocusedProgram)
{
    insert("hello");
    EXPECT_EQ(board(), "hello");
    EXPECT_EQ(keys.posted,
              (std::vector<PostedKey>{{9, true, maskCommand}, {9, false, maskCommand}}));
    focus.chord = {keyCodes::insert, maskShift, PasteSource::primarySelection};
    insert("world");
    EXPECT_EQ(pasteboard.string(PasteSource::primarySelection), "world");
    EXPECT_EQ(keys.posted.back(), (PostedKey{keyCodes::insert, false, maskShift}));
}

TEST_F(TextInserterTest, aTerminalGetsOneLineAndNothingThatRunsIt)
{
    focus.chord.typesIntoTerminal = true;
    programReadsAfter(0ms);
    insert("rm -r *\r\n");
    EXPECT_EQ(board(), "rm -r *");
    loop.advance(1s);
    for (const auto& [said, typed] : std::vector<std::pair<std::string, std::string>>{
             {"one\ntwo", "one two"},
             {"one\r\n\n\ttwo\x03\x7f", "one two"},
             {"\x1b[200~hi", " [200~hi"},
             {"a\u0085b\u2028c\u2029d\u009be", "a b c d e"},
             {"Grüße, 日本 🎤 “x”\u00a0…", "Grüße, 日本 🎤 “x”\u00a0…"},
             {"one\n two", "one two"},
             {"one \ntwo", "one two"},
             {"\n", ""},
             {"\xe2\x80", "\xe2\x80"},
         }) {
        insert(said);
        loop.advance(1s);
        ASSERT_FALSE(pasted.empty());
        EXPECT_EQ(pasted.back(), typed);
    }
}

TEST_F(TextInserterTest, aProgramThatLooksFirstIsSentTheChordOnceItHasLooked)
{
    focus.chord.looksFirst = true;
    pasteboard.lookedAt = false;
    pasteboard.copy(FakePasteboard::text("old"));
    programReadsAfter(0ms);
    insert("hello");
    loop.advance(200ms);
    EXPECT_TRUE(keys.posted.empty());
    EXPECT_EQ(board(), "hello");
    pasteboard.lookedAt = true;
    loop.advance(20ms);
    EXPECT_EQ(pasted, std::vector<std::string>{"hello"});
    loop.advance(400ms);
    EXPECT_EQ(board(), "hello");
    loop.advance(200ms);
    EXPECT_EQ(board(), "old");
}

TEST_F(TextInserterTest, aProgramThatNeverLooksIsSentTheChordAfterHalfASecond)
{
    focus.chord.looksFirst = true;
    pasteboard.lookedAt = false;
    programReadsAfter(0ms);
    insert("hello");
    loop.advance(600ms);
    EXPECT_EQ(pasted, std::vector<std::string>{"hello"});
}

TEST_F(TextInserterTest, whatAProgramHasNotLookedAtAtTheEndIsPutBackAndNotPasted)
{
    focus.chord.looksFirst = true;
    pasteboard.lookedAt = false;
    pasteboard.copy(FakePasteboard::text("old"));
    insert("hello");
    inserter->restoreNow();
    EXPECT_EQ(board(), "old");
    loop.advance(1s);
    EXPECT_TRUE(keys.posted.empty());
    EXPECT_EQ(board(), "old");
}

TEST_F(TextInserterTest, aTextAbandonedBeforeAProgramHasLookedIsPutBackAndNotPasted)
{
    focus.chord.looksFirst = true;
    pasteboard.lookedAt = false;
    pasteboard.copy(FakePasteboard::text("old"));
    insert("hello");
    EXPECT_TRUE(inserter->abandon());
    EXPECT_EQ(board(), "old");
    loop.advance(1s);
    EXPECT_TRUE(keys.posted.empty());
    EXPECT_FALSE(inserter->abandon());
    programReadsAfter(0ms);
    pasteboard.lookedAt = true;
    insert("world");
    loop.advance(1s);
    EXPECT_EQ(pasted, std::vector<std::string>{"world"});
    EXPECT_EQ(board(), "old");
}

TEST_F(TextInserterTest, aCopyMadeWhileAProgramLooksIsNotPastedAndComesBack)
{
    focus.chord.looksFirst = true;
    pasteboard.lookedAt = false;
    pasteboard.copy(FakePasteboard::text("old"));
    insert("hello");
    loop.advance(100ms);
    pasteboard.copy(FakePasteboard::text("new"));
    pasteboard.lookedAt = true;
    programReadsAfter(0ms);
    loop.advance(100ms);
    EXPECT_EQ(pasted, std::vector<std::string>{"hello"});
    loop.advance(1s);
    EXPECT_EQ(board(), "new");
}

TEST_F(TextInserterTest, aFocusThatMovesWhileAProgramLooksGetsItsOwnChord)
{
    focus.chord.looksFirst = true;
    const auto usual = PasteChord{keyCodes::v, eventFlags::maskControl, PasteSource::clipboard};
    pasteboard.lookedAt = false;
    pasteboard.copy(FakePasteboard::text("old"));
    insert("hello");
    loop.advance(100ms);
    focus.chord = usual;
    pasteboard.lookedAt = true;
    programReadsAfter(0ms);
    loop.advance(100ms);
    EXPECT_EQ(pasted, std::vector<std::string>{"hello"});
    ASSERT_FALSE(keys.posted.empty());
    EXPECT_EQ(keys.posted.front(), (PostedKey{keyCodes::v, true, usual.modifiers}));
    loop.advance(1s);
    EXPECT_EQ(board(), "old");
}

TEST_F(TextInserterTest, aProgramThatTakesOverWhateverIsCopiedHoldsNoTextUp)
{
    focus.chord.looksFirst = true;
    pasteboard.lookedAt = false;
    int takenOver = 0;
    std::function<void()> takeOver = [&] {
        if (board() == "hello" && pasteboard.use(PasteSource::clipboard) == PasteboardUse::unread) {
            ++takenOver;
            pasteboard.copy(FakePasteboard::text("hello"));
        }
        loop.postAfter(5ms, takeOver);
    };
    takeOver();
    int left = 0;
    inserter->onLeft = [&] { ++left; };
    insert("hello");
    loop.advance(100ms);
    EXPECT_EQ(left, 1);
    EXPECT_EQ(takenOver, 3) << "tried once more, then left for good";
    EXPECT_EQ(board(), "hello");
}

TEST_F(TextInserterTest, aTextIsLostToNobodyWhateverHasTheFocusLater)
{
    pasteboard.copy(FakePasteboard::text("old"));
    focus.isNowKnown = false;
    insert("one");
    loop.advance(1s);
    focus.isNowKnown = true;
    insert("two");
    loop.advance(2500ms);
    EXPECT_EQ(board(), "two") << "pasted into who is known now";
    EXPECT_EQ(pasted.size(), 0U);
    loop.advance(5s);
    EXPECT_EQ(board(), "one") << "and what was left comes back";
    focus.isNowKnown = true;
    insert("three");
    loop.advance(2900ms);
    focus.isNowKnown = false;
    loop.advance(5s);
    EXPECT_EQ(board(), "one") << "who was known did not want it";
}

TEST_F(TextInserterTest, whatIsPressedWhileTheKeysGetReadyCostsNoText)
{
    pasteboard.copy(FakePasteboard::text("old"));
    programReadsAfter(0ms);
    for (const bool atOnce : {true, false}) {
        keys.ready = KeyReadiness::soon;
        insert("hello");
        loop.advance(100ms);
        pasteboard.snapshotsCompleteAtOnce = atOnce;
        inserter->anticipate();
        loop.runReady();
        inserter->dismiss();
        if (!std::exchange(pasteboard.snapshotsCompleteAtOnce, true)) {
            pasteboard.completeSnapshot();
        }
        keys.ready = KeyReadiness::ready;
        loop.advance(2s);
        EXPECT_EQ(pasted.back(), "hello");
        EXPECT_EQ(board(), "old");
    }
    EXPECT_EQ(pasted.size(), 2U);
}

TEST_F(TextInserterTest, whatIsPutBackOrCopiedWhileTheKeysGetReadyIsWhatComesBack)
{
    pasteboard.copy(FakePasteboard::text("old"));
    programReadsAfter(0ms);
    insert("one");
    loop.advance(300ms);
    keys.ready = KeyReadiness::soon;
    insert("two");
    loop.advance(300ms);
    EXPECT_EQ(board(), "old") << "put back meanwhile";
    keys.ready = KeyReadiness::ready;
    loop.advance(1s);
    EXPECT_EQ(pasted, (std::vector<std::string>{"one", "two"}));
    EXPECT_EQ(board(), "old");
    keys.ready = KeyReadiness::soon;
    insert("three");
    loop.advance(100ms);
    pasteboard.copy(FakePasteboard::text("new"));
    loop.advance(100ms);
    keys.ready = KeyReadiness::ready;
    loop.advance(1s);
    EXPECT_EQ(pasted.back(), "three");
    EXPECT_EQ(board(), "new");
}

TEST_F(TextInserterTest, aTextThatIsNotThereYetTakesNothingFromTheOneBefore)
{
    pasteboard.copy(FakePasteboard::text("old"));
    insert("slow");
    loop.advance(10ms);
    focus.chord.source = PasteSource::primarySelection;
    pasteboard.confirms = false;
    insert("second");
    loop.advance(100ms);
    EXPECT_EQ(board(), "slow") << "its program may yet read it";
    pasteboard.confirms = true;
    loop.advance(3s);
    EXPECT_EQ(board(), "second");
}

TEST_F(TextInserterTest, whatWasLeftLongAgoIsNotJoined)
{
    inserter->leave("meet me at nine");
    loop.runReady();
    loop.advance(1min);
    inserter->leave("or ten");
    loop.runReady();
    EXPECT_EQ(board(), "meet me at nine or ten");
    loop.advance(5h);
    inserter->leave("other");
    loop.runReady();
    EXPECT_EQ(board(), "other");
}

TEST_F(TextInserterTest, elsewhereLineBreaksArePastedAsTheyAre)
{
    insert("one\ntwo\n");
    EXPECT_EQ(board(), "one\ntwo\n");
}

TEST_F(TextInserterTest, aTextThatIsLeftIsLikeOneThatThePersonCopiedAndStays)
{
    pasteboard.copy(FakePasteboard::text("old"));
    int left = 0;
    inserter->onLeft = [&] {
        ++left;
        EXPECT_EQ(board(), "hello") << "told once it is there";
    };
    inserter->anticipate();
    inserter->leave("hello");
    loop.advance(10s);
    EXPECT_EQ(left, 1);
    EXPECT_TRUE(keys.posted.empty());
    EXPECT_FALSE(pasteboard.boards[PasteSource::clipboard].isMarked);
    inserter.reset();
    EXPECT_EQ(board(), "hello");
}

TEST_F(TextInserterTest, aTextThatIsLeftWaitsUntilTheOneBeforeWasReadAndOutlivesItsRestore)
{
    pasteboard.copy(FakePasteboard::text("old"));
    programReadsAfter(400ms);
    insert("one");
    inserter->leave("two");
    loop.advance(200ms);
    EXPECT_EQ(board(), "one");
    loop.advance(10s);
    EXPECT_EQ(pasted, (std::vector<std::string>{"one"}));
    EXPECT_EQ(board(), "two");
}

TEST_F(TextInserterTest, textsAfterOneThatIsLeftArePastedAndItComesBack)
{
    programReadsAfter(10ms);
    inserter->leave("one");
    insert("two");
    loop.advance(10s);
    EXPECT_EQ(pasted, (std::vector<std::string>{"two"}));
    EXPECT_EQ(board(), "one");
}

TEST_F(TextInserterTest, aTextForOneWindowIsPastedOnlyThere)
{
    programReadsAfter(10ms);
    focus.focused = 7;
    inserter->insert("one", 7);
    loop.advance(10s);
    EXPECT_EQ(pasted, (std::vector<std::string>{"one"}));
    for (const auto elsewhere : {std::optional<std::uint64_t>(8), std::optional<std::uint64_t>()}) {
        focus.focused = elsewhere;
        inserter->insert("two", 7);
        loop.advance(10s);
        EXPECT_EQ(pasted.size(), 1U);
        EXPECT_EQ(board(), "two");
        pasteboard.copy(FakePasteboard::text("old"));
    }
}

TEST_F(TextInserterTest, whereTheFocusGoesWhileTheOldContentsAreReadCounts)
{
    pasteboard.snapshotsCompleteAtOnce = false;
    focus.focused = 7;
    inserter->insert("one", 7);
    loop.runReady();
    focus.focused = 8;
    pasteboard.completeSnapshot();
    loop.advance(10s);
    EXPECT_TRUE(keys.posted.empty());
    EXPECT_EQ(board(), "one");
}

TEST_F(TextInserterTest, theFocusIsFoundOutAnewBeforeTheChord)
{
    focus.looksEndAtOnce = false;
    focus.onLook = [this] { focus.chord = {keyCodes::v, maskControl | maskShift}; };
    insert("hello");
    EXPECT_TRUE(keys.posted.empty()) << "it is being found out";
    focus.endLooks();
    loop.runReady();
    ASSERT_FALSE(keys.posted.empty());
    EXPECT_EQ(keys.posted.front(), (PostedKey{keyCodes::v, true, maskControl | maskShift}));
}

TEST_F(TextInserterTest, aTextForOneWindowIsNotPastedWhereALookFindsAnother)
{
    focus.focused = 7;
    focus.onLook = [this] { focus.focused = 8; };
    inserter->insert("one", 7);
    loop.advance(10s);
    EXPECT_TRUE(keys.posted.empty());
    EXPECT_EQ(board(), "one") << "it is left there";
}

TEST_F(TextInserterTest, theFocusIsFoundOutAnewOnceTheProgramHasLookedAtTheText)
{
    focus.chord.looksFirst = true;
    focus.focused = 7;
    int looks = 0;
    focus.onLook = [&] { focus.focused = ++looks < 2 ? 7 : 8; };
    inserter->insert("one", 7);
    loop.advance(10s);
    EXPECT_TRUE(keys.posted.empty());
    EXPECT_EQ(board(), "one");
}

TEST_F(TextInserterTest, whatIsAbandonedWhileTheFocusIsFoundOutIsNotPasted)
{
    focus.looksEndAtOnce = false;
    insert("hello");
    EXPECT_TRUE(inserter->abandon());
    focus.endLooks();
    loop.advance(10s);
    EXPECT_TRUE(keys.posted.empty());
}

TEST_F(TextInserterTest, aTextInThePlaceOfAnAbandonedOneIsNotLeftForIt)
{
    programReadsAfter(400ms);
    insert("one");
    inserter->leave("two");
    loop.advance(100ms);
    inserter->abandon();
    insert("three");
    loop.advance(10s);
    EXPECT_EQ(pasted, (std::vector<std::string>{"one", "three"}));
}

TEST_F(TextInserterTest, aTextToBeLeftIsAbandonedLikeTheOthers)
{
    pasteboard.copy(FakePasteboard::text("old"));
    programReadsAfter(-1ms);
    insert("one");
    inserter->leave("two");
    loop.runReady();
    EXPECT_TRUE(inserter->abandon());
    loop.advance(10s);
    EXPECT_EQ(board(), "old");
}

TEST_F(TextInserterTest, theOldContentsComeBackHalfASecondAfterThePaste)
{
    const PasteboardSnapshot old = {{{"text/html", {1, 0, 2}}, {"text", {'o'}}},
                                    {{"image/png", {3}}}};
    pasteboard.copy(old);
    programReadsAfter(30ms);
    insert("hello");
    loop.advance(499ms);
    EXPECT_EQ(board(), "hello");
    loop.advance(1ms);
    EXPECT_EQ(pasteboard.boards[PasteSource::clipboard].items, old);
    EXPECT_EQ(pasted, (std::vector<std::string>{"hello"}));
}

TEST_F(TextInserterTest, anEmptyPasteboardIsEmptyAgain)
{
    programReadsAfter(30ms);
    insert("hello");
    loop.advance(500ms);
    EXPECT_TRUE(pasteboard.boards[PasteSource::clipboard].items.empty());
}

TEST_F(TextInserterTest, anEmptyTextIsPastedLikeAnyOther)
{
    pasteboard.copy(FakePasteboard::text("old"));
    insert("");
    EXPECT_EQ(board(), "");
    EXPECT_EQ(keys.posted.size(), 2U);
}

TEST_F(TextInserterTest, aSlowProgramStillGetsTheText)
{
    pasteboard.copy(FakePasteboard::text("old"));
    programReadsAfter(1s);
    insert("hello");
    loop.advance(990ms);
    EXPECT_EQ(board(), "hello");
    loop.advance(50ms);
    EXPECT_EQ(pasted, (std::vector<std::string>{"hello"}));
    EXPECT_EQ(board(), "old");
}

TEST_F(TextInserterTest, theRestoreWaitsThreeSecondsAtMost)
{
    pasteboard.copy(FakePasteboard::text("old"));
    insert("hello");
    loop.advance(2980ms);
    EXPECT_EQ(board(), "hello");
    loop.advance(20ms);
    EXPECT_EQ(board(), "old");
}

TEST_F(TextInserterTest, whereTheChordMayBeAnotherProgramsATextThatNobodyReadsIsLeft)
{
    focus.isNowKnown = false;
    pasteboard.copy(FakePasteboard::text("old"));
    int left = 0;
    inserter->onLeft = [&] { ++left; };
    insert("hello");
    loop.advance(2900ms);
    EXPECT_EQ(left, 0);
    loop.advance(200ms);
    EXPECT_EQ(left, 1);
    EXPECT_EQ(board(), "hello");
    EXPECT_FALSE(pasteboard.boards[PasteSource::clipboard].isMarked);
    programReadsAfter(0ms);
    insert("world");
    loop.advance(1s);
    EXPECT_EQ(board(), "hello") << "what was left is the old contents now";
    EXPECT_EQ(left, 1) << "what is read is put away as elsewhere";
}

TEST_F(TextInserterTest, whereTextsAreTakenRarelyOneThatNobodyReadsAtOnceIsLeft)
{
    focus.chord.takesRarely = true;
    pasteboard.copy(FakePasteboard::text("old"));
    int left = 0;
    inserter->onLeft = [&] { ++left; };
    insert("hello");
    loop.advance(499ms);
    EXPECT_EQ(left, 0);
    loop.advance(1ms);
    EXPECT_EQ(left, 1);
    EXPECT_EQ(board(), "hello");
    programReadsAfter(100ms);
    insert("world");
    loop.advance(1s);
    EXPECT_EQ(board(), "hello") << "a text that was read is put away";
    EXPECT_EQ(left, 1);
}

TEST_F(TextInserterTest, textsThatAreLeftOneAfterTheOtherAreAllThereUntilSomebodyTakesThem)
{
    focus.isNowKnown = false;
    pasteboard.copy(FakePasteboard::text("old"));
    insert("one");
    loop.advance(1s);
    insert("two"); // before the first is given up
    loop.advance(10s);
    EXPECT_EQ(board(), "one two");
    insert("three");
    loop.advance(10s);
    EXPECT_EQ(board(), "one two three");
    pasteboard.read();
    insert("four");
    loop.advance(10s);
    EXPECT_EQ(board(), "four");
    pasteboard.copy(FakePasteboard::text("new"));
    insert("five");
    loop.advance(10s);
    EXPECT_EQ(board(), "five");
}

TEST_F(TextInserterTest, aTextThatIsReadBetweenTwoThatAreLeftIsNoPartOfThem)
{
    focus.isNowKnown = false;
    insert("one");
    loop.advance(10s);
    programReadsAfter(0ms);
    insert("two");
    loop.advance(1s);
    EXPECT_EQ(board(), "one");
    programReadsAfter(-1ms);
    insert("three");
    loop.advance(10s);
    EXPECT_EQ(board(), "one three");
}

TEST_F(TextInserterTest, aCopyOfAnotherProgramStays)
{
    pasteboard.copy(FakePasteboard::text("old"));
    programReadsAfter(30ms);
    insert("hello");
    loop.advance(100ms);
    pasteboard.copy(FakePasteboard::text("copied meanwhile"));
    loop.advance(10s);
    EXPECT_EQ(board(), "copied meanwhile");
}

TEST_F(TextInserterTest, aCopyInTheMomentOfTheRestoreStays)
{
    for (const bool atTheEnd : {false, true}) {
        pasteboard.copy(FakePasteboard::text("old"));
        programReadsAfter(30ms);
        insert("hello");
        loop.advance(100ms);
        pasteboard.beforeRestore = [&] { pasteboard.copy(FakePasteboard::text("copied")); };
        if (atTheEnd) {
            inserter->restoreNow();
        } else {
            loop.advance(10s);
        }
        EXPECT_EQ(board(), "copied");
        pasteboard.beforeRestore = [] {};
    }
}

TEST_F(TextInserterTest, aTextOfWhichItIsNotKnownWhetherItIsThereIsLeftAndNoChordPosted)
{
    std::vector<std::string> left;
    inserter->onLeft = [&] { left.push_back(board()); };
    pasteboard.copy(FakePasteboard::text("old"));
    pasteboard.copy(FakePasteboard::text("selected"), PasteSource::primarySelection);
    pasteboard.confirms = false;
    insert("one");
    focus.chord = {keyCodes::insert, maskShift, PasteSource::primarySelection};
    insert("two");
    EXPECT_EQ(left, (std::vector<std::string>{"one", "one two"}));
    EXPECT_TRUE(keys.posted.empty());
    EXPECT_EQ(pasteboard.string(PasteSource::primarySelection), "selected");
    loop.advance(10s);
    EXPECT_EQ(board(), "one two");
    pasteboard.confirms = true;
    programReadsAfter(0ms);
    insert("three");
    loop.advance(10s);
    EXPECT_EQ(pasted, std::vector<std::string>{"three"});
    EXPECT_EQ(pasteboard.string(PasteSource::primarySelection), "selected");
}

TEST_F(TextInserterTest, anInsertionTakesOverAPendingRestore)
{
    pasteboard.copy(FakePasteboard::text("old"));
    programReadsAfter(10ms);
    insert("one");
    loop.advance(300ms);
    insert("two");
    EXPECT_EQ(board(), "two");
    EXPECT_EQ(pasteboard.snapshots, 1);
    loop.advance(300ms);
    EXPECT_EQ(board(), "two"); // the restore of the first text is off
    loop.advance(200ms);
    EXPECT_EQ(board(), "old");
    EXPECT_EQ(pasted, (std::vector<std::string>{"one", "two"}));
}

TEST_F(TextInserterTest, anInsertionAfterAForeignCopyKeepsThatCopy)
{
    pasteboard.copy(FakePasteboard::text("old"));
    programReadsAfter(10ms);
    insert("one");
    loop.advance(300ms);
    pasteboard.copy(FakePasteboard::text("copied meanwhile"));
    insert("two");
    loop.advance(5s);
    EXPECT_EQ(board(), "copied meanwhile");
    EXPECT_EQ(pasted, (std::vector<std::string>{"one", "two"}));
}

TEST_F(TextInserterTest, theNextTextWaitsUntilTheOneBeforeWasRead)
{
    programReadsAfter(1s);
    insert("one");
    insert("two");
    EXPECT_EQ(keys.posted.size(), 2U);
    loop.advance(5s);
    EXPECT_EQ(pasted, (std::vector<std::string>{"one", "two"}));
}

TEST_F(TextInserterTest, aProgramThatNeverReadsHoldsUpTheNextTextForThreeSecondsAtMost)
{
    pasteboard.copy(FakePasteboard::text("old"));
    insert("one");
    insert("two");
    loop.advance(3020ms);
    EXPECT_EQ(keys.posted.size(), 4U);
    loop.advance(4s);
    EXPECT_EQ(board(), "old");
}

TEST_F(TextInserterTest, aTextThatIsAbandonedWhileItWaitsIsNeverPasted)
{
    pasteboard.copy(FakePasteboard::text("old"));
    programReadsAfter(1s);
    insert("one");
    insert("two");
    EXPECT_TRUE(inserter->abandon());
    EXPECT_FALSE(inserter->abandon()) << "the first is the program's by now";
    loop.advance(990ms);
    EXPECT_EQ(board(), "one");
    loop.advance(5s);
    EXPECT_EQ(pasted, (std::vector<std::string>{"one"}));
    EXPECT_EQ(board(), "old");
}

TEST_F(TextInserterTest, aTextThatIsAbandonedWhileTheContentsAreReadIsNeverPasted)
{
    pasteboard.snapshotsCompleteAtOnce = false;
    pasteboard.copy(FakePasteboard::text("old"));
    insert("hello");
    EXPECT_TRUE(inserter->abandon());
    pasteboard.completeSnapshot();
    loop.advance(5s);
    EXPECT_TRUE(keys.posted.empty());
    EXPECT_EQ(board(), "old");
    insert("again");
    EXPECT_EQ(pasteboard.snapshots, 2) << "nothing was kept of the contents";
}

TEST_F(TextInserterTest, aTextAfterAnAbandonedOneIsPasted)
{
    pasteboard.copy(FakePasteboard::text("old"));
    programReadsAfter(1s);
    insert("one");
    insert("two");
    inserter->abandon();
    insert("three");
    loop.advance(5s);
    EXPECT_EQ(pasted, (std::vector<std::string>{"one", "three"}));
    EXPECT_EQ(board(), "old");
}

TEST_F(TextInserterTest, theContentsAreReadAheadSoThatInsertingCostsNothing)
{
    pasteboard.snapshotsCompleteAtOnce = false;
    pasteboard.copy(FakePasteboard::text("old"));
    inserter->anticipate();
    loop.runReady();
    pasteboard.completeSnapshot();
    loop.advance(1s);
    EXPECT_EQ(pasteboard.snapshots, 1);
    insert("hello");
    EXPECT_EQ(keys.posted.size(), 2U); // although no further snapshot would complete
    EXPECT_EQ(pasteboard.snapshots, 1);
    pasteboard.read();
    loop.advance(500ms);
    EXPECT_EQ(board(), "old");
}

TEST_F(TextInserterTest, contentsThatChangeWhileSpeakingAreReadAgain)
{
    pasteboard.copy(FakePasteboard::text("old"));
    inserter->anticipate();
    loop.advance(1s);
    pasteboard.copy(FakePasteboard::text("newer"));
    loop.advance(200ms);
    EXPECT_EQ(pasteboard.snapshots, 2);
    insert("hello");
    EXPECT_EQ(pasteboard.snapshots, 2);
    pasteboard.read();
    loop.advance(500ms);
    EXPECT_EQ(board(), "newer");
}

TEST_F(TextInserterTest, contentsThatChangeAtTheLastMomentAreReadBeforeTheyAreReplaced)
{
    pasteboard.copy(FakePasteboard::text("old"));
    inserter->anticipate();
    loop.advance(1s);
    pasteboard.copy(FakePasteboard::text("newest"));
    insert("hello");
    pasteboard.read();
    loop.advance(500ms);
    EXPECT_EQ(board(), "newest");
}

TEST_F(TextInserterTest, dismissingEndsTheReadingAhead)
{
    inserter->anticipate();
    loop.advance(1s);
    inserter->dismiss();
    const int before = pasteboard.snapshots;
    pasteboard.copy(FakePasteboard::text("copied later"));
    loop.advance(10s);
    EXPECT_EQ(pasteboard.snapshots, before);
}

TEST_F(TextInserterTest, theTextOfADictationBeforeIsNotTakenForOldContents)
{
    pasteboard.copy(FakePasteboard::text("old"));
    insert("one"); // nobody reads it for now
    inserter->anticipate();
    loop.advance(2s);
    pasteboard.read();
    insert("two");
    pasteboard.read();
    loop.advance(5s);
    EXPECT_EQ(board(), "old");
}

TEST_F(TextInserterTest, selectionAndClipboardAreRestoredEachOnItsOwn)
{
    pasteboard.copy(FakePasteboard::text("copied"));
    pasteboard.copy(FakePasteboard::text("selected"), PasteSource::primarySelection);
    programReadsAfter(10ms);
    insert("one");
    focus.chord.source = PasteSource::primarySelection;
    insert("two");
    EXPECT_EQ(board(), "one");
    loop.advance(1s);
    EXPECT_EQ(board(), "copied");
    EXPECT_EQ(pasteboard.string(PasteSource::primarySelection), "selected");
}

TEST_F(TextInserterTest, onItsEndWhatIsPendingIsPutBackAtOnce)
{
    pasteboard.copy(FakePasteboard::text("old"));
    programReadsAfter(10ms);
    insert("hello");
    loop.advance(100ms);
    inserter.reset();
    EXPECT_EQ(board(), "old");
    loop.advance(10s);
    EXPECT_EQ(board(), "old");
}

TEST_F(TextInserterTest, whatIsPendingIsPutBackAtOnceWhenAskedForAndOnlyThen)
{
    pasteboard.copy(FakePasteboard::text("old"));
    insert("hello");
    inserter->restoreNow();
    EXPECT_EQ(board(), "old");
    pasteboard.copy(FakePasteboard::text("copied since"));
    loop.advance(10s);
    inserter.reset();
    EXPECT_EQ(board(), "copied since");
}

TEST_F(TextInserterTest, onItsEndACopyOfAnotherProgramStays)
{
    pasteboard.copy(FakePasteboard::text("old"));
    programReadsAfter(10ms);
    insert("hello");
    loop.advance(100ms);
    pasteboard.copy(FakePasteboard::text("copied meanwhile"));
    inserter.reset();
    EXPECT_EQ(board(), "copied meanwhile");
}

TEST_F(TextInserterTest, whereUseIsNotToldEachInsertionRestoresItsOwnSnapshot)
{
    pasteboard.tracked = false;
    pasteboard.copy(FakePasteboard::text("old"));
    insert("one");
    loop.advance(300ms);
    insert("two");
    loop.advance(200ms);
    EXPECT_EQ(board(), "old");
    loop.advance(300ms);
    EXPECT_EQ(board(), "one");
}

TEST_F(TextInserterTest, contentsThatAreAtHandAreReadWhenTheTextIsPastedAndNotAhead)
{
    pasteboard.atHand = true;
    inserter->anticipate();
    loop.advance(1s);
    EXPECT_EQ(pasteboard.snapshots, 0);
    insert("one");
    EXPECT_EQ(pasteboard.snapshots, 1);
}

TEST_F(TextInserterTest, contentsAreReadAheadAlsoWhileTheirUseIsNotTold)
{
    pasteboard.tracked = false; // as on X11 until something has been written
    inserter->anticipate();
    loop.advance(1s);
    EXPECT_EQ(pasteboard.snapshots, 1);
    insert("one");
    EXPECT_EQ(pasteboard.snapshots, 1);
}

TEST_F(TextInserterTest, whereUseIsNotToldAForeignCopyIsOverwritten)
{
    pasteboard.tracked = false;
    pasteboard.copy(FakePasteboard::text("old"));
    insert("one");
    pasteboard.copy(FakePasteboard::text("copied meanwhile"));
    loop.advance(500ms);
    EXPECT_EQ(board(), "old");
}

TEST_F(TextInserterTest, theChordIsThatOfTheProgramThatHasTheFocusAfterTheWait)
{
    pasteboard.snapshotsCompleteAtOnce = false;
    insert("hello");
    EXPECT_TRUE(keys.posted.empty());
    focus.chord = {keyCodes::v, maskControl | maskShift, PasteSource::clipboard};
    pasteboard.completeSnapshot();
    loop.runReady();
    EXPECT_EQ(keys.posted, (std::vector<PostedKey>{{9, true, maskControl | maskShift},
                                                   {9, false, maskControl | maskShift}}));
    EXPECT_EQ(pasteboard.snapshots, 1);
}

TEST_F(TextInserterTest, aFocusThatMovesToTheSelectionDuringTheWaitGetsTheTextThere)
{
    constexpr auto selection = PasteSource::primarySelection;
    pasteboard.copy(FakePasteboard::text("copied"));
    pasteboard.copy(FakePasteboard::text("selected"), selection);
    pasteboard.snapshotsCompleteAtOnce = false;
    insert("hello");
    focus.chord = {keyCodes::insert, maskShift, selection};
    pasteboard.completeSnapshot();
    loop.runReady();
    EXPECT_TRUE(keys.posted.empty()) << "the selection's own contents are read first";
    pasteboard.completeSnapshot();
    loop.runReady();
    EXPECT_EQ(keys.posted.front(), (PostedKey{keyCodes::insert, true, maskShift}));
    EXPECT_EQ(board(), "copied");
    EXPECT_EQ(pasteboard.read(selection), "hello");
    loop.advance(1s);
    EXPECT_EQ(pasteboard.string(selection), "selected");
}

TEST_F(TextInserterTest, aFocusThatMovesWhileTheTextBeforeIsUnreadDecidesOnTheNextOnesChord)
{
    programReadsAfter(300ms);
    insert("one");
    insert("two");
    ASSERT_EQ(keys.posted.size(), 2U) << "the second waits for the reader of the first";
    focus.chord = {keyCodes::v, maskControl | maskShift, PasteSource::clipboard};
    loop.advance(400ms);
    ASSERT_EQ(keys.posted.size(), 4U);
    EXPECT_EQ(keys.posted[2], (PostedKey{keyCodes::v, true, maskControl | maskShift}));
    loop.advance(1s);
    EXPECT_EQ(pasted, (std::vector<std::string>{"one", "two"}));
}

TEST_F(TextInserterTest, contentsReadAheadThatWereNotUsedAreLetGo)
{
    const PasteChord toSelection{keyCodes::insert, maskShift, PasteSource::primarySelection};
    const PasteChord toClipboard = std::exchange(focus.chord, toSelection);
    inserter->anticipate();
    loop.runReady();
    focus.chord = toClipboard;
    loop.advance(200ms);
    ASSERT_EQ(pasteboard.snapshots, 2);
    insert("hello");
    focus.chord = toSelection;
    insert("again");
    EXPECT_EQ(pasteboard.snapshots, 3) << "nothing was kept of the selection";
}

TEST_F(TextInserterTest, keysArePreparedFromTheAnnouncementToTheChord)
{
    inserter->anticipate();
    EXPECT_TRUE(keys.isPrepared);
    bool wasPrepared = false;
    keys.onPost = [&](const PostedKey&) { wasPrepared = keys.isPrepared; };
    insert("hello");
    EXPECT_TRUE(wasPrepared);
    EXPECT_FALSE(keys.isPrepared);
    inserter->anticipate();
    EXPECT_TRUE(keys.isPrepared);
    inserter->dismiss();
    EXPECT_FALSE(keys.isPrepared);
}

TEST_F(TextInserterTest, theNextAnnouncementKeepsKeysPreparedOverTheChordBefore)
{
    insert("first"); // nobody reads it, so that the next one waits
    inserter->anticipate();
    insert("second");
    inserter->anticipate();
    loop.advance(3s);
    EXPECT_EQ(keys.posted.size(), 4U);
    EXPECT_TRUE(keys.isPrepared);
    inserter->dismiss();
    EXPECT_FALSE(keys.isPrepared);
}

TEST_F(TextInserterTest, aTextWaitsForKeysThatAreReadySoon)
{
    keys.ready = KeyReadiness::soon;
    insert("hello");
    loop.advance(1s);
    EXPECT_TRUE(keys.posted.empty());
    EXPECT_NE(board(), "hello");
    keys.ready = KeyReadiness::ready;
    loop.advance(20ms);
    EXPECT_EQ(keys.posted.size(), 2U);
    EXPECT_EQ(board(), "hello");
}

TEST_F(TextInserterTest, keysThatAreNotReadyOnceTheContentsAreReadAreWaitedFor)
{
    pasteboard.snapshotsCompleteAtOnce = false;
    pasteboard.copy(FakePasteboard::text("old"));
    programReadsAfter(0ms);
    insert("hello");
    loop.advance(900ms);
    keys.ready = KeyReadiness::soon;
    pasteboard.completeSnapshot();
    loop.advance(100ms);
    EXPECT_EQ(board(), "old");
    keys.ready = KeyReadiness::ready;
    loop.advance(20ms);
    EXPECT_EQ(pasted, std::vector<std::string>{"hello"});
    loop.advance(1s);
    EXPECT_EQ(board(), "old");
}

TEST_F(TextInserterTest, keysThatAreNotReadyOnceAProgramHasLookedAreWaitedForAsOftenAsThatIsSo)
{
    focus.chord.looksFirst = true;
    pasteboard.copy(FakePasteboard::text("old"));
    programReadsAfter(0ms);
    keys.ready = KeyReadiness::ready;
    pasteboard.lookedAt = false;
    insert("hello");
    for (int time = 0; time < 3; ++time) {
        loop.advance(100ms);
        keys.ready = KeyReadiness::soon;
        pasteboard.lookedAt = true;
        loop.advance(100ms);
        EXPECT_EQ(board(), "old");
        pasteboard.lookedAt = false;
        keys.ready = KeyReadiness::ready;
    }
    loop.advance(20ms);
    pasteboard.lookedAt = true;
    loop.advance(20ms);
    EXPECT_EQ(pasted, std::vector<std::string>{"hello"});
}

TEST_F(TextInserterTest, aTextWaitsForKeysTwoSecondsHoweverOftenTheFocusMoves)
{
    programReadsAfter(0ms);
    keys.ready = KeyReadiness::soon;
    insert("hello");
    loop.advance(1900ms);
    focus.chord.source = PasteSource::primarySelection;
    loop.advance(200ms);
    EXPECT_EQ(board(), "hello");
    keys.ready = KeyReadiness::ready;
    loop.advance(1s);
    EXPECT_TRUE(pasted.empty());
    keys.ready = KeyReadiness::soon;
    insert("world");
    loop.advance(1900ms);
    keys.ready = KeyReadiness::ready;
    loop.advance(20ms);
    EXPECT_EQ(pasted, std::vector<std::string>{"world"}) << "each has its own";
}

TEST_F(TextInserterTest, aTextWhoseChordCannotBePostedIsLeftOnTheClipboard)
{
    int left = 0;
    inserter->onLeft = [&] { ++left; };
    keys.ready = KeyReadiness::never;
    insert("hello");
    EXPECT_EQ(left, 1);
    EXPECT_EQ(board(), "hello");
    loop.advance(10s);
    EXPECT_EQ(board(), "hello");
    keys.ready = KeyReadiness::soon; // and stays so
    insert("world");
    loop.advance(3s);
    EXPECT_EQ(left, 2);
    EXPECT_EQ(board(), "hello world") << "nobody has taken the first";
    EXPECT_TRUE(keys.posted.empty());
}

} // namespace
} // namespace vorlin
