#include "Platform/Linux/Pasteboard/PasteboardFixture.h"

namespace vorlin {

namespace {

class Snapshot : public PasteboardFixture {};

Bytes numbers(const std::vector<std::uint32_t>& values)
{
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(values.data());
    return {bytes, bytes + values.size() * sizeof(std::uint32_t)};
}

} // namespace

TEST_F(Snapshot, aSelectionNobodyOwnsIsEmpty)
{
    EXPECT_TRUE(snapshot().empty());
    EXPECT_TRUE(snapshot(PasteSource::primarySelection).empty());
}

TEST_F(Snapshot, everyTypeIsReadByteForByte)
{
    const std::map<std::string, Typed> data = {
        {"UTF8_STRING", plain("UTF8_STRING", bytesOf("“日本” 🎤"))},
        {"STRING", plain("STRING", bytesOf("text"))},
        {"TEXT", {"UTF8_STRING", 8, bytesOf("typed otherwise")}},
        {"text/html", plain("text/html", bytesOf("<b>text</b>"))},
        {"text/uri-list", plain("text/uri-list", bytesOf("file:///tmp/a\r\nfile:///tmp/b\r\n"))},
        {"image/png", plain("image/png", noise(100'000))},
        {"application/x-mine", plain("application/x-mine", {0, 1, 0, 255, 0})},
        {"ATOMS", {"ATOM", 32, numbers({1, 2, 3, 0x12345678})}},
        {"SHORTS", {"INTEGER", 16, {1, 2, 3, 4, 5, 6}}},
        {"EMPTY", plain("EMPTY", {})},
    };
    const ScriptedOwner owner(offering(data));
    EXPECT_EQ(snapshot(), PasteboardSnapshot{itemOf(data)});
}

TEST_F(Snapshot, primaryIsReadApartFromClipboard)
{
    const ScriptedOwner copied(offering({{"STRING", plain("STRING", bytesOf("copied"))}}));
    const ScriptedOwner selected(offering({{"STRING", plain("STRING", bytesOf("selected"))}}),
                                 "PRIMARY");
    EXPECT_EQ(snapshot().at(0).at("STRING"), bytesOf("copied"));
    EXPECT_EQ(snapshot(PasteSource::primarySelection).at(0).at("STRING"), bytesOf("selected"));
}

TEST_F(Snapshot, eightMegabytesComeInPieces)
{
    const std::map<std::string, Typed> data = {
        {"STRING", plain("STRING", bytesOf("beside"))},
        {"image/bmp", plain("image/bmp", noise(8U << 20U))},
        {"NUMBERS", {"CARDINAL", 32, noise(400'000)}},
    };
    const ScriptedOwner owner(offering(data));
    EXPECT_EQ(snapshot(), PasteboardSnapshot{itemOf(data)});
}

TEST_F(Snapshot, oneLargePropertyIsReadWhole)
{
    const Bytes image = noise((7U << 20U) + 3);
    const ScriptedOwner owner([&](ScriptedOwner& self, const ScriptedOwner::Request& request) {
        if (self.name(request.target) == "TARGETS") {
            self.putTargets(request, {"image/png"});
        } else {
            self.put(request, plain("image/png", image));
        }
    });
    EXPECT_EQ(snapshot(), (PasteboardSnapshot{{{"image/png", image}}}));
}

TEST_F(Snapshot, questionsCommandsAndHandlesAreNotAskedFor)
{
    const ScriptedOwner owner(offering({
        {"STRING", plain("STRING", bytesOf("text"))},
        {"DELETE", {"NULL", 32, {}}},
        {"INSERT_SELECTION", {"NULL", 32, {}}},
        {"SAVE_TARGETS", {"NULL", 32, {}}},
        {"PIXMAP", {"PIXMAP", 32, {1, 2, 3, 4}}},
        {"application/x-qt-image", plain("application/x-qt-image", {1})},
        {"FOREIGN", {"WINDOW", 32, {1, 2, 3, 4}}},
    }));
    EXPECT_EQ(snapshot(), (PasteboardSnapshot{{{"STRING", bytesOf("text")}}}));
    for (const char* target : {"DELETE", "INSERT_SELECTION", "SAVE_TARGETS", "PIXMAP",
                               "application/x-qt-image", "MULTIPLE", "TIMESTAMP"}) {
        EXPECT_EQ(owner.asked(target), 0) << target;
    }
}

TEST_F(Snapshot, anOwnerWithoutAListIsAskedForText)
{
    const ScriptedOwner owner([](ScriptedOwner& self, const ScriptedOwner::Request& request) {
        if (self.name(request.target) == "STRING") {
            self.put(request, plain("STRING", bytesOf("old")));
        } else {
            self.refuse(request);
        }
    });
    EXPECT_EQ(snapshot(), (PasteboardSnapshot{{{"STRING", bytesOf("old")}}}));
}

TEST_F(Snapshot, twoAtOnceGetTheSame)
{
    const ScriptedOwner owner(offering({{"STRING", plain("STRING", noise(500'000))}}));
    std::vector<PasteboardSnapshot> results;
    for (int i = 0; i < 2; ++i) {
        spawn(loop,
              [](Completion<PasteboardSnapshot> reading,
                 std::vector<PasteboardSnapshot>& all) -> Task<> {
                  all.push_back(co_await reading);
              }(pasteboard->snapshot(PasteSource::clipboard), results));
    }
    ASSERT_TRUE(eventually([&] { return results.size() == 2; }));
    EXPECT_EQ(results[0].at(0).at("STRING"), noise(500'000));
    EXPECT_EQ(results[1], results[0]);
    EXPECT_EQ(owner.asked("STRING"), 1);
}

TEST_F(Snapshot, ourOwnContentsAreReadWithoutAsking)
{
    const PasteboardSnapshot contents = {{{"STRING", bytesOf("ours")},
                                          {"image/png", noise(2'000'000)},
                                          {"N\x1fINTEGER\x1f"
                                           "32",
                                           noise(8)}}};
    pasteboard->replace(PasteSource::clipboard, contents);
    EXPECT_EQ(snapshot(), contents);
    pasteboard->setString(PasteSource::clipboard, "mine");
    EXPECT_EQ(snapshot().at(0).at("UTF8_STRING"), bytesOf("mine"));
}

TEST_F(Snapshot, anotherOwnerInTheMiddleIsReadInstead)
{
    ScriptedOwner silent([](ScriptedOwner& self, const ScriptedOwner::Request& request) {
        if (self.name(request.target) == "TARGETS") {
            self.putTargets(request, {"STRING", "text/html"});
        } else if (self.name(request.target) == "STRING") {
            self.put(request, plain("STRING", bytesOf("old")));
        }
    });
    std::optional<PasteboardSnapshot> result;
    spawn(loop,
          [](Completion<PasteboardSnapshot> reading,
             std::optional<PasteboardSnapshot>& out) -> Task<> {
              out = co_await reading;
          }(pasteboard->snapshot(PasteSource::clipboard), result));
    ASSERT_TRUE(silent.awaitAsked("text/html"));
    const ScriptedOwner next(offering({{"UTF8_STRING", plain("UTF8_STRING", bytesOf("new"))}}));
    ASSERT_TRUE(eventually([&] { return result.has_value(); }));
    EXPECT_EQ(*result, (PasteboardSnapshot{{{"UTF8_STRING", bytesOf("new")}}}));
}

TEST_F(Snapshot, whatIsWrittenDuringAReadingDoesNotGetIntoIt)
{
    ScriptedOwner slow([](ScriptedOwner& self, const ScriptedOwner::Request& request) {
        if (self.name(request.target) == "TARGETS") {
            self.putTargets(request, {"STRING", "text/html"});
        } else if (self.name(request.target) == "STRING") {
            self.put(request, plain("STRING", bytesOf("old")));
        }
    });
    std::optional<PasteboardSnapshot> result;
    spawn(loop,
          [](Completion<PasteboardSnapshot> reading,
             std::optional<PasteboardSnapshot>& out) -> Task<> {
              out = co_await reading;
          }(pasteboard->snapshot(PasteSource::clipboard), result));
    ASSERT_TRUE(slow.awaitAsked("text/html"));
    pasteboard->setString(PasteSource::clipboard, "dictated");
    ASSERT_TRUE(eventually([&] { return result.has_value(); }));
    EXPECT_EQ(*result, (PasteboardSnapshot{{{"STRING", bytesOf("old")}}}));
}

TEST_F(Snapshot, theCountChangesWithEveryOwner)
{
    const auto before = pasteboard->changeCount(PasteSource::clipboard);
    const auto primary = pasteboard->changeCount(PasteSource::primarySelection);
    const ScriptedOwner owner(offering({}));
    EXPECT_TRUE(
        eventually([&] { return pasteboard->changeCount(PasteSource::clipboard) != before; }));
    EXPECT_EQ(pasteboard->changeCount(PasteSource::primarySelection), primary);
}

} // namespace vorlin
