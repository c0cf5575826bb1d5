#include "Platform/Contracts/PasteboardContract.h"
#include "Platform/Linux/Pasteboard/Offering.h"
#include "Platform/Linux/Pasteboard/PasteboardFixture.h"
#include "Platform/Linux/Pasteboard/PasteboardStatus.h"
#include "Platform/Linux/Pasteboard/SelectionClient.h"

#include <algorithm>
#include <optional>

namespace vorlin {

namespace {

class Restored : public PasteboardFixture {
protected:
    bool isOurs() const
    {
        const auto use = pasteboard->use(PasteSource::clipboard);
        return use == PasteboardUse::unread || use == PasteboardUse::read;
    }
};

constexpr auto clipboard = PasteSource::clipboard;

/// A server and a pasteboard on it, for tests of other classes.
class X11Server : PasteboardFixture {
public:
    static constexpr auto textType = "UTF8_STRING";

    Pasteboard& pasteboard() { return *PasteboardFixture::pasteboard; }
    PasteboardSnapshot snapshot() { return PasteboardFixture::snapshot(); }
    void copyElsewhere(const std::string& text)
    {
        copier.emplace(offering({{textType, plain(textType, bytesOf(text))}}));
        EXPECT_TRUE(eventually(
            [&] { return pasteboard().use(PasteSource::clipboard) == PasteboardUse::replaced; }));
    }

private:
    void TestBody() override {}

    std::optional<ScriptedOwner> copier;
};
INSTANTIATE_TYPED_TEST_SUITE_P(X11, PasteboardContract, X11Server);

} // namespace

TEST_F(Restored, theSameRequestsGetTheSameBytesTypesAndFormats)
{
    const std::map<std::string, Typed> data = {
        {"UTF8_STRING", plain("UTF8_STRING", bytesOf("“日本” 🎤"))},
        {"TEXT", {"UTF8_STRING", 8, bytesOf("typed otherwise")}},
        {"text/html", plain("text/html", bytesOf("<b>text</b>"))},
        {"text/uri-list", plain("text/uri-list", bytesOf("file:///tmp/a\r\n"))},
        {"image/png", plain("image/png", noise(8U << 20U))},
        {"application/x-mine", plain("application/x-mine", {0, 1, 0, 255, 0})},
        {"ATOMS", {"ATOM", 32, noise(16)}},
        {"SHORTS", {"INTEGER", 16, noise(6)}},
        {"LONGS", {"CARDINAL", 32, noise(3U << 20U)}},
        {"EMPTY", plain("EMPTY", {})},
    };
    PasteboardSnapshot contents;
    {
        limit(generously, 64U << 20U);
        const ScriptedOwner owner(offering(data));
        contents = snapshot();
        pasteboard->setString(clipboard, "dictated");
    }
    pasteboard->restore(clipboard, contents);
    ASSERT_TRUE(eventually([&] { return isOurs(); }));
    ScriptedReader reader;
    for (const auto& [target, expected] : data) {
        EXPECT_EQ(reader.read(target), expected) << target;
        EXPECT_EQ(reader.incremental, expected.bytes.size() > (2U << 20U)) << target;
    }
    EXPECT_EQ(reader.targets().size(), data.size() + 3);
    EXPECT_FALSE(reader.read("x-kde-passwordManagerHint"));
    EXPECT_EQ(snapshot(), contents);
}

TEST_F(Restored, emptyContentsLeaveTheSelectionToNobody)
{
    pasteboard->setString(clipboard, "dictated");
    const auto before = pasteboard->changeCount(clipboard);
    pasteboard->restore(clipboard, {});
    const ScriptedReader reader;
    EXPECT_TRUE(eventually([&] { return reader.owner("CLIPBOARD") == XCB_NONE; }));
    EXPECT_TRUE(eventually([&] { return pasteboard->changeCount(clipboard) != before; }));
    EXPECT_TRUE(snapshot().empty());
}

TEST_F(Restored, furtherItemsAddWhatTheFirstLacks)
{
    pasteboard->replace(clipboard, {{{"STRING", bytesOf("one")}},
                                    {{"STRING", bytesOf("two")}, {"text/html", bytesOf("<p>")}}});
    ASSERT_TRUE(eventually([&] { return isOurs(); }));
    ScriptedReader reader;
    EXPECT_EQ(reader.read("STRING")->bytes, bytesOf("one"));
    EXPECT_EQ(reader.read("text/html")->bytes, bytesOf("<p>"));
}

TEST_F(Restored, namesAndDataThatNoSnapshotHasAreLeftOut)
{
    pasteboard->replace(clipboard, {{{"", {1}},
                                     {"TARGETS", {1}},
                                     {"DELETE", {1}},
                                     {"A\x1fINTEGER\x1f"
                                      "32",
                                      {1, 2, 3}},
                                     {"A\x1fINTEGER", {1}},
                                     {"STRING", bytesOf("kept")}}});
    ASSERT_TRUE(eventually([&] { return isOurs(); }));
    ScriptedReader reader;
    EXPECT_EQ(reader.targets().size(), 4U);
    EXPECT_EQ(reader.read("STRING")->bytes, bytesOf("kept"));
}

TEST_F(Restored, whatAnotherProgramHasCopiedMeanwhileStays)
{
    // On one thread, so that the copy surely comes between the decision and the writing.
    PasteboardStatus status;
    SelectionClient client("", status);
    const ScriptedReader reader;
    client.write(0, textOffering("dictated"), status.writing(0), Displace::whatever);
    EXPECT_EQ(status.use(0), PasteboardUse::unread);
    const ScriptedOwner copier(offering({{"UTF8_STRING", plain("UTF8_STRING", bytesOf("copy"))}}));
    const auto old = restoredOffering({{{"UTF8_STRING", bytesOf("old")}}});
    client.write(0, old, status.writing(0), Displace::ownOnly);
    EXPECT_EQ(reader.owner("CLIPBOARD"), copier.window);
    EXPECT_EQ(status.use(0), PasteboardUse::replaced);
    client.write(0, old, status.writing(0), Displace::whatever);
    EXPECT_NE(reader.owner("CLIPBOARD"), copier.window);
}

TEST_F(Restored, aCopyOfWhichNoNewsHasComeStaysToo)
{
    const SelectionConnection connection("");
    const xcb_window_t window = connection.createWindow();
    PasteboardStatus status;
    PasteReaders readers(connection);
    IncrementalSenders senders(connection);
    const xcb_atom_t selection = connection.atom("CLIPBOARD");
    SelectionOwner owner(connection, window, selection, 0, status, readers, senders);
    owner.write(textOffering("dictated"), status.writing(0), Displace::whatever);
    const ScriptedReader reader;
    xcb_xfixes_selection_notify_event_t news{};
    news.owner = window;
    news.selection = selection;
    news.timestamp = reader.serverTime();
    news.selection_timestamp = news.timestamp;
    owner.ownerChanged(news, 1'000'000);
    // The server's clock counts milliseconds.
    while (reader.serverTime() == news.timestamp) {
    }
    const ScriptedOwner copier(offering({}));
    const auto old = restoredOffering({{{"UTF8_STRING", bytesOf("old")}}});
    owner.write(old, status.writing(0), Displace::ownOnly);
    EXPECT_EQ(reader.owner("CLIPBOARD"), copier.window);
    EXPECT_EQ(status.use(0), PasteboardUse::replaced);
    EXPECT_EQ(owner.contents(), nullptr);
}

TEST_F(Restored, aCopyAndARestoreAtTheSameTimeNeverLoseTheCopy)
{
    const PasteboardSnapshot old = {{{"UTF8_STRING", bytesOf("old")}}};
    const ScriptedReader copier;
    for (int i = 0; i < 100; ++i) {
        pasteboard->setString(clipboard, "dictated");
        ASSERT_TRUE(eventually([&] { return copier.owner("CLIPBOARD") != copier.window; }));
        const auto start = copier.serverTime();
        while (copier.serverTime() == start) {
        }
        xcb_set_selection_owner(copier.connection, copier.window, copier.atom("CLIPBOARD"),
                                XCB_CURRENT_TIME);
        copier.sync();
        pasteboard->restore(clipboard, old); // whether or not the news has come
        EXPECT_TRUE(
            eventually([&] { return pasteboard->use(clipboard) == PasteboardUse::replaced; }));
        EXPECT_EQ(copier.owner("CLIPBOARD"), copier.window);
    }
}

TEST_F(Restored, contentsOfOthersAreReplacedWhenAskedTo)
{
    const ScriptedOwner owner(offering({{"UTF8_STRING", plain("UTF8_STRING", bytesOf("copy"))}}));
    const auto contents = snapshot();
    pasteboard->replace(clipboard, {{{"UTF8_STRING", bytesOf("ours")}}});
    ASSERT_TRUE(eventually([&] { return isOurs(); }));
    ScriptedReader reader;
    EXPECT_EQ(reader.text(), "ours");
    EXPECT_TRUE(eventually([&] { return pasteboard->use(clipboard) == PasteboardUse::read; }));
}

} // namespace vorlin
