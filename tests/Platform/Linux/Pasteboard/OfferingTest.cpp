#include "Platform/Linux/Pasteboard/Offering.h"
#include "Platform/Linux/Pasteboard/PasteboardFixture.h"

#include <algorithm>
#include <cstring>

namespace vorlin {

namespace {

class OfferedText : public PasteboardFixture {};

constexpr auto clipboard = PasteSource::clipboard;

std::uint32_t number(const Bytes& bytes, std::size_t index)
{
    std::uint32_t value = 0;
    std::memcpy(&value, bytes.data() + 4 * index, sizeof(value));
    return value;
}

} // namespace

TEST_F(OfferedText, isThereWhenSetStringReturns)
{
    ScriptedReader reader;
    for (int i = 0; i < 100; ++i) {
        const auto before = pasteboard->changeCount(clipboard);
        const std::string text = "text " + std::to_string(i);
        pasteboard->setString(clipboard, text);
        EXPECT_NE(reader.owner("CLIPBOARD"), XCB_NONE);
        EXPECT_NE(pasteboard->changeCount(clipboard), before);
        EXPECT_EQ(reader.text(), text);
    }
}

TEST_F(OfferedText, thatIsCopiedForGoodBearsNoMarkAndOneToBePastedDoes)
{
    ScriptedReader reader;
    pasteboard->setString(clipboard, "pasted");
    EXPECT_TRUE(reader.read(std::string(secrecyHint)));
    pasteboard->copyString(clipboard, "copied");
    EXPECT_EQ(reader.text(), "copied");
    EXPECT_FALSE(reader.read(std::string(secrecyHint)));
}

TEST_F(OfferedText, doesNotLookLikeAnotherProgramsCopy)
{
    pasteboard->setString(clipboard, "text");
    const auto count = pasteboard->changeCount(clipboard);
    ScriptedReader reader;
    EXPECT_EQ(reader.text(), "text");
    EXPECT_EQ(pasteboard->changeCount(clipboard), count);
}

TEST_F(OfferedText, comesUnderEveryNameForText)
{
    pasteboard->setString(clipboard, "Grüße “日本” 🎤");
    const Bytes utf8 = bytesOf("Grüße “日本” 🎤");
    ScriptedReader reader;
    EXPECT_EQ(reader.read("UTF8_STRING"), (Typed{"UTF8_STRING", 8, utf8}));
    EXPECT_EQ(reader.read("text/plain;charset=utf-8"),
              (Typed{"text/plain;charset=utf-8", 8, utf8}));
    EXPECT_EQ(reader.read("text/plain"), (Typed{"text/plain", 8, utf8}));
    EXPECT_EQ(reader.read("TEXT"), (Typed{"UTF8_STRING", 8, utf8}));
    EXPECT_EQ(reader.read("STRING"), (Typed{"STRING", 8,
                                            bytesOf("Gr\xfc\xdf"
                                                    "e \"??\" ?")}));
    EXPECT_EQ(reader.read("COMPOUND_TEXT"),
              (Typed{"COMPOUND_TEXT", 8, bytesOf("\x1b%GGrüße “日本” 🎤\x1b%@")}));
    pasteboard->setString(clipboard, "Grüße");
    EXPECT_EQ(reader.read("TEXT"), (Typed{"STRING", 8,
                                          bytesOf("Gr\xfc\xdf"
                                                  "e")}));
    EXPECT_EQ(reader.read("COMPOUND_TEXT"), (Typed{"COMPOUND_TEXT", 8,
                                                   bytesOf("Gr\xfc\xdf"
                                                           "e")}));
}

TEST_F(OfferedText, isMarkedAsASecret)
{
    pasteboard->setString(clipboard, "text");
    ScriptedReader reader;
    EXPECT_EQ(reader.read("x-kde-passwordManagerHint"),
              (Typed{"x-kde-passwordManagerHint", 8, bytesOf("secret")}));
}

TEST_F(OfferedText, mayBeEmpty)
{
    pasteboard->setString(clipboard, "");
    ScriptedReader reader;
    EXPECT_EQ(reader.text(), "");
}

TEST_F(OfferedText, listsWhatItHasAndRefusesTheRest)
{
    pasteboard->setString(clipboard, "text");
    ScriptedReader reader;
    const auto targets = reader.targets();
    for (const char* target : {"TARGETS", "TIMESTAMP", "MULTIPLE", "UTF8_STRING", "STRING",
                               "text/plain", "x-kde-passwordManagerHint"}) {
        EXPECT_NE(std::find(targets.begin(), targets.end(), target), targets.end()) << target;
    }
    EXPECT_FALSE(reader.read("image/png"));
    EXPECT_FALSE(reader.read("SAVE_TARGETS"));
    EXPECT_FALSE(reader.read("UTF8_STRING", "PRIMARY"));
}

TEST_F(OfferedText, hasTheTimeAtWhichItBecameOurs)
{
    ScriptedReader reader;
    const auto before = reader.serverTime();
    pasteboard->setString(clipboard, "text");
    const auto time = reader.read("TIMESTAMP");
    ASSERT_TRUE(time);
    EXPECT_EQ(time->type, "INTEGER");
    EXPECT_GE(number(time->bytes, 0), before);
    EXPECT_LE(number(time->bytes, 0), reader.serverTime());
}

TEST_F(OfferedText, isNotGivenForAPasteMadeBeforeIt)
{
    ScriptedReader reader;
    const auto before = reader.serverTime();
    // The server's clock counts milliseconds.
    while (reader.serverTime() == before) {
    }
    pasteboard->setString(clipboard, "text");
    EXPECT_FALSE(reader.read("UTF8_STRING", "CLIPBOARD", before));
    EXPECT_TRUE(reader.read("UTF8_STRING", "CLIPBOARD", reader.serverTime()));
}

TEST_F(OfferedText, canBeAskedForSeveralTypesAtOnce)
{
    pasteboard->setString(clipboard, "text");
    ScriptedReader reader;
    const std::vector<xcb_atom_t> pairs = {
        reader.atom("UTF8_STRING"), reader.atom("A"), reader.atom("image/png"), reader.atom("B"),
        reader.atom("MULTIPLE"),    reader.atom("C"), reader.atom("STRING"),    reader.atom("D")};
    xcb_change_property(reader.connection, XCB_PROP_MODE_REPLACE, reader.window,
                        reader.atom("READ"), reader.atom("ATOM_PAIR"), 32,
                        static_cast<std::uint32_t>(pairs.size()), pairs.data());
    const auto answer = reader.read("MULTIPLE");
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->type, "ATOM_PAIR");
    EXPECT_EQ(number(answer->bytes, 1), pairs[1]);
    EXPECT_EQ(number(answer->bytes, 3), XCB_ATOM_NONE);
    EXPECT_EQ(number(answer->bytes, 5), XCB_ATOM_NONE);
    EXPECT_EQ(number(answer->bytes, 7), pairs[7]);
    const XcbPointer<xcb_get_property_reply_t> data(
        xcb_get_property_reply(reader.connection,
                               xcb_get_property(reader.connection, 0, reader.window, pairs[1],
                                                XCB_GET_PROPERTY_TYPE_ANY, 0, 100),
                               nullptr));
    EXPECT_EQ(xcb_get_property_value_length(data.get()), 4);
}

TEST_F(OfferedText, oldClientsNameNoProperty)
{
    pasteboard->setString(clipboard, "text");
    ScriptedReader reader;
    xcb_convert_selection(reader.connection, reader.window, reader.atom("CLIPBOARD"),
                          reader.atom("STRING"), XCB_ATOM_NONE, XCB_CURRENT_TIME);
    xcb_flush(reader.connection);
    EXPECT_TRUE(reader.awaitAnswer());
    xcb_convert_selection(reader.connection, reader.window, reader.atom("CLIPBOARD"),
                          reader.atom("MULTIPLE"), XCB_ATOM_NONE, XCB_CURRENT_TIME);
    xcb_flush(reader.connection);
    EXPECT_FALSE(reader.awaitAnswer());
}

TEST_F(OfferedText, primaryAndClipboardAreOfferedSideBySide)
{
    pasteboard->setString(clipboard, "copied");
    pasteboard->setString(PasteSource::primarySelection, "selected");
    ScriptedReader reader;
    EXPECT_EQ(reader.text(), "copied");
    EXPECT_EQ(reader.text("PRIMARY"), "selected");
}

} // namespace vorlin
