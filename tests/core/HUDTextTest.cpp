#include "HUDText.h"

#include <gtest/gtest.h>
#include <utf8proc.h>

#include <random>
#include <string>
#include <vector>

namespace vorlin {
namespace {

constexpr auto clip = HUDTextMode::clip;
constexpr auto full = HUDTextMode::full;

const std::string family = "👨‍👩‍👧‍👦";
const std::string ellipsis = "…";

std::string repeated(const std::string& text, std::size_t times)
{
    std::string result;
    for (std::size_t i = 0; i < times; ++i) {
        result += text;
    }
    return result;
}

/// Where every character begins, by reading the whole text from its start.
std::vector<std::size_t> starts(const std::string& text)
{
    std::vector<std::size_t> result;
    const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
    utf8proc_int32_t before = -1;
    utf8proc_int32_t state = 0;
    for (std::size_t at = 0; at < text.size();) {
        utf8proc_int32_t now = 0;
        auto length =
            utf8proc_iterate(bytes + at, static_cast<utf8proc_ssize_t>(text.size() - at), &now);
        if (length < 1) {
            length = 1;
            now = 0xFFFD;
        }
        if (before < 0 || utf8proc_grapheme_break_stateful(before, now, &state)) {
            result.push_back(at);
        }
        before = now;
        at += static_cast<std::size_t>(length);
    }
    return result;
}

std::size_t characters(const std::string& text)
{
    return starts(text).size();
}

TEST(HUDTextCharacters, areWhatAPersonCallsOne)
{
    const std::vector<std::string> each = {
        "a",
        "é",
        "e\u0301",
        "日",
        "👨‍👩‍👧‍👦",
        "👍🏽",
        "🇩🇪",
        "❤️",
        "각",
        "\u1100\u1161\u11A8",
        "नि",
        "\r\n",
        "🏴\U000E0067\U000E0062\U000E0073\U000E0063\U000E0074\U000E007F"};
    std::string text;
    for (const auto& one : each) {
        text = one + text;
    }
    std::string expected;
    for (std::size_t count = 1; count <= each.size(); ++count) {
        expected = each[count - 1] + expected;
        const auto start = startOfLastCharacters(text, count);
        ASSERT_TRUE(start);
        EXPECT_EQ(text.substr(*start), expected);
    }
    EXPECT_FALSE(startOfLastCharacters(text, each.size() + 1));
}

TEST(HUDTextCharacters, ofNothingAreNone)
{
    EXPECT_EQ(startOfLastCharacters("", 0), 0U);
    EXPECT_EQ(startOfLastCharacters("abc", 0), 3U);
    EXPECT_FALSE(startOfLastCharacters("", 1));
}

TEST(HUDTextCharacters, flagsPairUpFromTheFrontHoweverManyThereAre)
{
    for (std::size_t letters = 1; letters < 300; ++letters) {
        const std::string text = repeated("🇩", letters);
        const std::size_t flags = (letters + 1) / 2;
        EXPECT_TRUE(startOfLastCharacters(text, flags));
        EXPECT_FALSE(startOfLastCharacters(text, flags + 1));
        const std::size_t last = letters % 2 == 0 ? 8 : 4;
        EXPECT_EQ(startOfLastCharacters(text, 1), text.size() - last);
    }
}

TEST(HUDTextCharacters, aCharacterMayBeLongerThanAnyWindow)
{
    const std::string accents = "a" + repeated("\u0301", 5000);
    EXPECT_EQ(startOfLastCharacters("xy" + accents, 1), 2U);
    EXPECT_EQ(startOfLastCharacters("xy" + accents, 2), 1U);
    EXPECT_EQ(startOfLastCharacters("x" + accents + "z", 2), 1U);
    const std::string chain = repeated("👩‍", 2000) + "👩";
    EXPECT_EQ(startOfLastCharacters("x" + chain, 1), 1U);
}

TEST(HUDTextCharacters, bytesThatAreNoTextStandForThemselves)
{
    EXPECT_EQ(startOfLastCharacters("a\xFF\xFE", 2), 1U);
    EXPECT_EQ(startOfLastCharacters("a\xE6\x97", 2), 1U);
    EXPECT_EQ(startOfLastCharacters("a\xE6\x97 b", 3), 2U);
    const std::string continuations(5000, '\x80');
    EXPECT_EQ(startOfLastCharacters(continuations, 4000), 1000U);
}

/// Random text out of everything that joins, separates or is no text at all.
TEST(HUDTextCharacters, areFoundFromTheEndAsFromTheFront)
{
    const std::vector<std::string> pieces = {
        "a", " ",      "\r",     "\n",   "\u0301", "\u200D", "👩",     "👧",     "🏽", "🇩",
        "🇪", "\uFE0F", "각",     "가",   "\u1100", "\u1161", "\u11A8", "\u0600", "क",  "्",
        "ा", "日",     "\u200B", "\x80", "\xFF",   "\xE6",   "\u00AD", "❤",      "©"};
    std::mt19937_64 random(1);
    for (int run = 0; run < 3000; ++run) {
        // Few kinds at a time, so that long runs of what joins come up.
        std::vector<std::string> kinds;
        for (std::uint64_t i = 0; i <= random() % 4; ++i) {
            kinds.push_back(pieces[random() % pieces.size()]);
        }
        std::string text;
        for (std::uint64_t i = random() % 300; i > 0; --i) {
            text += kinds[random() % kinds.size()];
        }
        const auto expected = starts(text);
        for (const std::size_t count :
             {std::size_t{1}, 1 + random() % 40, expected.size(), expected.size() + 1}) {
            const auto found = startOfLastCharacters(text, count);
            if (count > expected.size()) {
                EXPECT_FALSE(found);
            } else if (count > 0) {
                ASSERT_EQ(found, expected[expected.size() - count]) << run << " " << count;
            }
        }
    }
}

/// A second of this; many minutes, which no test is given, if each cut read the whole text.
TEST(HUDTextCharacters, areFoundWithoutReadingTheFrontOfALongText)
{
    const std::string text = repeated("sixteen letters ", 1 << 18);
    for (int i = 0; i < 20'000; ++i) {
        ASSERT_EQ(startOfLastCharacters(text, 421), text.size() - 421);
    }
}

TEST(HUDTranscriptLine, of420CharactersShowsUnchangedInFullMode)
{
    const std::string text = repeated("a", 420);
    EXPECT_EQ(transcriptLine(text, full), text);
}

TEST(HUDTranscriptLine, of421CharactersShowsTheLast420InFullMode)
{
    const std::string text = "x" + repeated("a", 420);
    EXPECT_EQ(transcriptLine(text, full), ellipsis + repeated("a", 420));
}

TEST(HUDTranscriptLine, counts421EmojiFamiliesAs421)
{
    EXPECT_EQ(transcriptLine(repeated(family, 420), full), repeated(family, 420));
    EXPECT_EQ(transcriptLine(repeated(family, 421), full), ellipsis + repeated(family, 420));
}

TEST(HUDTranscriptLine, isCutBetweenCharactersOnly)
{
    const std::string text = "words before " + repeated("e\u0301", 420);
    EXPECT_EQ(transcriptLine(text, full), ellipsis + repeated("e\u0301", 420));
}

TEST(HUDTranscriptLine, isNeverCutInClipMode)
{
    const std::string text = repeated("many words ", 1000);
    EXPECT_EQ(transcriptLine(text, clip), text);
}

TEST(HUDDrawnText, isOneParagraph)
{
    EXPECT_EQ(drawnText("one\ntwo\r\nthree\u2028four\u2029five\tsix\vseven\u0085eight", clip),
              "one two three four five six seven eight");
    EXPECT_EQ(drawnText(" \n  one   two \n", full), "one two");
    EXPECT_EQ(drawnText("\n\n\n", clip), "");
}

TEST(HUDDrawnText, hasNoControlsAndNothingInvisible)
{
    EXPECT_EQ(drawnText(std::string("a\0b\x1B[31mc\x7F", 10) + "\u0090d", clip), "ab[31mcd");
    EXPECT_EQ(drawnText("a\u200B\u00AD\u2060\uFEFF\uFFF9\u206A\U000E0001"
                        "b",
                        clip),
              "ab");
}

TEST(HUDDrawnText, doesNotTurnTheDirectionOfWhatFollows)
{
    EXPECT_EQ(drawnText("a\u202E\u202B\u2067\u2066\u2068"
                        "b\u2069\u202C",
                        full),
              "ab");
    EXPECT_EQ(drawnText("ab\u200E \u05D0\u200F \u061C", full), "ab\u200E \u05D0\u200F \u061C");
}

TEST(HUDDrawnText, keepsWhatCharactersAreBuiltOf)
{
    const std::string scotland = "🏴\U000E0067\U000E0062\U000E0073\U000E0063\U000E0074\U000E007F";
    const std::string persian = "می\u200Cخواهم";
    const std::string year = "\u0601\u0662\u0660";
    for (const auto& text : {family, scotland, persian, year, std::string("👍🏽 क्\u200Dष"),
                             std::string("non\u00A0breaking")}) {
        EXPECT_EQ(drawnText(text, clip), text);
    }
}

TEST(HUDDrawnText, isValidUtf8)
{
    EXPECT_EQ(drawnText("a\xFF\xE6\x97z\xED\xA0\x80", clip),
              "a\uFFFD\uFFFD\uFFFDz\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(drawnText("\uFFFC\uFDD0\uFFFE\U0010FFFF", clip), "\uFFFD\uFFFD\uFFFD\uFFFD");
}

TEST(HUDDrawnText, boundsACharacterOfEndlessAccents)
{
    const std::string endless = "a" + repeated("\u0301", 10'000) + "b";
    EXPECT_EQ(drawnText(endless, clip), "a" + repeated("\u0301", 31) + "b");
}

TEST(HUDDrawnText, keepsTheEndOfALongLine)
{
    const std::string megabyte = repeated("0123456789", 100'000) + " the end";
    const std::string drawn = drawnText(megabyte, clip);
    EXPECT_EQ(characters(drawn), 420U);
    EXPECT_TRUE(drawn.ends_with("9 the end"));
    EXPECT_EQ(drawnText(megabyte, full), ellipsis + drawn);
}

TEST(HUDDrawnText, leavesACutTranscriptAsItIs)
{
    const std::string line = transcriptLine(repeated(family, 1000), full);
    EXPECT_EQ(drawnText(line, full), line);
}

TEST(HUDDrawnText, findsTheWordsBeforeAnInvisibleEnd)
{
    EXPECT_EQ(drawnText("hello world" + repeated("\u200B", 20'000), clip), "hello world");
    EXPECT_EQ(drawnText("hello world" + repeated("\n", 60'000), full), "hello world");
    EXPECT_EQ(drawnText(repeated("\u202E", 100'000), clip), "");
}

TEST(HUDDrawnText, isShortWhateverComes)
{
    std::mt19937_64 random(7);
    for (int run = 0; run < 200; ++run) {
        std::string noise(random() % 5000, ' ');
        for (char& byte : noise) {
            byte = static_cast<char>(random());
        }
        const std::string notice = drawnNotice(noise);
        ASSERT_LE(characters(notice), 421U);
        ASSERT_EQ(notice.find_first_of("\n\r\t\x1B\x7F"), std::string::npos);
        for (const auto mode : {clip, full}) {
            const std::string drawn = drawnText(noise, mode);
            ASSERT_LE(characters(drawn), 421U);
            ASSERT_EQ(drawn.find_first_of("\n\r\t\x1B\x7F"), std::string::npos);
            ASSERT_TRUE(drawnText("x" + drawn, mode).ends_with(drawn.substr(drawn.size() / 2)));
        }
    }
}

TEST(HUDDrawnNotice, isOneParagraphToo)
{
    EXPECT_EQ(drawnNotice(" The model\nis\u202E\x1B[31m damaged.\xFF\n"),
              "The model is[31m damaged.\uFFFD");
}

TEST(HUDDrawnNotice, keepsTheBeginningOfALongLine)
{
    const std::string drawn = drawnNotice("the beginning " + repeated("0123456789", 100'000));
    EXPECT_EQ(characters(drawn), 421U);
    EXPECT_TRUE(drawn.starts_with("the beginning 01"));
    EXPECT_TRUE(drawn.ends_with("45" + ellipsis));
}

TEST(HUDDrawnNotice, isCutBetweenCharactersAndOnlyWhereItIsLonger)
{
    const std::string notice = repeated(family, 420);
    EXPECT_EQ(drawnNotice(notice), notice);
    EXPECT_EQ(drawnNotice(notice + "a"), notice + ellipsis);
    EXPECT_EQ(drawnNotice(notice + "\n"), notice);
}

TEST(HUDDrawnNotice, findsTheWordsAfterAnInvisibleBeginning)
{
    EXPECT_EQ(drawnNotice(repeated("\u200B", 20'000) + "hello"), "hello");
    EXPECT_EQ(drawnNotice("hello" + repeated("\n", 100'000)), "hello");
}

TEST(HUDDrawnNotice, isNotCutWithinACodePoint)
{
    std::string cut((1 << 16) - 1, ' ');
    cut += "é"; // by +, GCC 12 takes it for a copy out of bounds under the thread sanitizer
    EXPECT_EQ(drawnNotice(cut), "");
}

TEST(HUDDirection, isThatOfTheFirstLetter)
{
    EXPECT_FALSE(runsRightToLeft(""));
    EXPECT_FALSE(runsRightToLeft("hello \u05E9"));
    EXPECT_TRUE(runsRightToLeft("\u05E9\u05DC\u05D5\u05DD hello"));
    EXPECT_TRUE(runsRightToLeft("… 12 (\u0645\u0631\u062D\u0628\u0627"));
    EXPECT_FALSE(runsRightToLeft("123 👍 \xFF"));
}

} // namespace
} // namespace vorlin
