#include "Platform/macOS/MacPasteboard.h"

#include "CGEvent.h"
#include "Platform/Contracts/PasteboardContract.h"
#include "Platform/Shared/NoFocusedProgram.h"
#include "Platform/macOS/MacKeyPoster.h"
#include "Runtime.h"
#include "TextInserter.h"

/// Declares a type whose data it does not give.
@interface EmptyPromise : NSPasteboardItem
@end
@implementation EmptyPromise
- (NSData*)dataForType:(NSPasteboardType)type
{
    return [type isEqualToString:@"promised"] ? nil : [super dataForType:type];
}
@end

namespace vorlin {
namespace {

using standins::taken;
using Calls = std::vector<std::string>;

constexpr auto clipboard = PasteSource::clipboard;
const std::string clears = "-[NSPasteboard clearContents]";
const std::string reads = "-[NSPasteboard pasteboardItems]";

std::vector<std::uint8_t> bytes(const std::string& text)
{
    return {text.begin(), text.end()};
}

NSData* data(const std::string& text)
{
    return [NSData dataWithBytes:text.data() length:text.size()];
}

struct MacGeneral {
    static constexpr auto textType = "public.utf8-plain-text";

    MacGeneral() { [NSPasteboard.generalPasteboard clearContents]; }
    ~MacGeneral() { [NSPasteboard.generalPasteboard clearContents]; }
    MacGeneral(const MacGeneral&) = delete;
    MacGeneral& operator=(const MacGeneral&) = delete;

    Pasteboard& pasteboard() { return own; }
    PasteboardSnapshot snapshot() { return own.snapshot(clipboard).await_resume(); }
    void copyElsewhere(const std::string& text)
    {
        [NSPasteboard.generalPasteboard clearContents];
        [NSPasteboard.generalPasteboard setString:[NSString stringWithUTF8String:text.c_str()]
                                          forType:NSPasteboardTypeString];
    }

private:
    MacPasteboard own;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Mac, PasteboardContract, MacGeneral);

class MacPasteboardTest : public testing::Test {
protected:
    MacPasteboardTest()
    {
        [system clearContents];
        taken();
    }
    ~MacPasteboardTest() override { [system clearContents]; }

    PasteboardSnapshot contents()
    {
        const auto read = pasteboard.snapshot(clipboard);
        EXPECT_TRUE(read.await_ready()) << "read before it returns";
        return read.await_resume();
    }

    /// Two items, as another program puts them there.
    void copy()
    {
        NSPasteboardItem* rich = [[NSPasteboardItem alloc] init];
        [rich setData:data(std::string("a\0b", 3)) forType:@"public.rtf"];
        [rich setData:data("ab") forType:@"public.utf8-plain-text"];
        [rich setData:data("") forType:@"public.empty"];
        NSPasteboardItem* picture = [[EmptyPromise alloc] init];
        [picture setData:data("\x89PNG") forType:@"public.png"];
        [picture setData:data("later") forType:@"promised"];
        [system writeObjects:@[ rich, picture ]];
        taken();
    }
    const PasteboardSnapshot copied = {{{"public.rtf", bytes(std::string("a\0b", 3))},
                                        {"public.utf8-plain-text", bytes("ab")},
                                        {"public.empty", {}}},
                                       {{"public.png", bytes("\x89PNG")}}};

    NSPasteboard* system = NSPasteboard.generalPasteboard;
    MacPasteboard pasteboard;
};

TEST_F(MacPasteboardTest, readsEachItemWithTheTypesThatHaveData)
{
    copy();
    EXPECT_EQ(contents(), copied);
    EXPECT_EQ(taken(), Calls{reads});
}

TEST_F(MacPasteboardTest, anEmptyPasteboardIsNoItems)
{
    EXPECT_TRUE(contents().empty());
    EXPECT_EQ(taken(), Calls{reads});
}

TEST_F(MacPasteboardTest, clearsBeforeItWritesATextAsAPlainStringWithoutAMark)
{
    copy();
    pasteboard.setString(clipboard, "ü…");
    EXPECT_EQ(taken(),
              (Calls{clears, "-[NSPasteboard setString:forType:] ü… public.utf8-plain-text",
                     "-[NSPasteboardItem setData:forType:] public.utf8-plain-text"}));
    EXPECT_EQ(contents(), (PasteboardSnapshot{{{"public.utf8-plain-text", bytes("ü…")}}}));
    pasteboard.setString(clipboard, "");
    EXPECT_EQ(contents(), (PasteboardSnapshot{{{"public.utf8-plain-text", {}}}}));
}

TEST_F(MacPasteboardTest, clearsBeforeItWritesItemsBackOneCallEachInTheirOrder)
{
    pasteboard.replace(clipboard, copied);
    EXPECT_EQ(taken(), (Calls{clears, "-[NSPasteboardItem setData:forType:] public.empty",
                              "-[NSPasteboardItem setData:forType:] public.rtf",
                              "-[NSPasteboardItem setData:forType:] public.utf8-plain-text",
                              "-[NSPasteboard writeObjects:] 1",
                              "-[NSPasteboardItem setData:forType:] public.png",
                              "-[NSPasteboard writeObjects:] 1"}));
    EXPECT_EQ(contents(), copied);
}

TEST_F(MacPasteboardTest, nothingToPutBackLeavesItEmpty)
{
    copy();
    pasteboard.replace(clipboard, {});
    EXPECT_EQ(taken(), Calls{clears});
    EXPECT_TRUE(contents().empty());
}

TEST_F(MacPasteboardTest, tellsOfEachChangeByANumberAndOfNoReader)
{
    const auto before = pasteboard.changeCount(clipboard);
    EXPECT_EQ(pasteboard.changeCount(clipboard), before);
    pasteboard.setString(clipboard, "a");
    EXPECT_NE(pasteboard.changeCount(clipboard), before);
    EXPECT_EQ(pasteboard.use(clipboard), PasteboardUse::untracked);
    EXPECT_TRUE(pasteboard.isAtHand());
}

TEST_F(MacPasteboardTest, leavesNothingBehindOnAThreadWithoutAPool)
{
    copy();
    const long before = standins::alive();
    std::thread([this] { contents(); }).join();
    EXPECT_EQ(standins::alive(), before);
}

TEST_F(MacPasteboardTest, aTextIsPastedAtOnceAndWhatWasThereComesBackHalfASecondLater)
{
    SimulatedLoop loop;
    MacKeyPoster keys;
    NoFocusedProgram focus({9, 0x100000, clipboard});
    TextInserter inserter(loop, pasteboard, keys, focus);
    copy();
    inserter.anticipate();
    EXPECT_EQ(taken(), Calls()) << "nothing is read ahead";
    inserter.insert("hello");
    loop.runReady();
    const Calls calls = taken();
    const Calls order = {
        reads, clears, "-[NSPasteboard setString:forType:] hello public.utf8-plain-text",
        "CGEventPost 0: 9 down flags 1048576", "CGEventPost 0: 9 up flags 1048576"};
    auto next = order.begin();
    for (const auto& call : calls) {
        if (next != order.end() && call.starts_with(*next)) {
            ++next;
        }
    }
    EXPECT_EQ(next, order.end()) << *next;
    loop.advance(std::chrono::milliseconds(499));
    EXPECT_EQ(contents(), (PasteboardSnapshot{{{"public.utf8-plain-text", bytes("hello")}}}));
    [system setString:@"meanwhile" forType:NSPasteboardTypeString];
    loop.advance(std::chrono::milliseconds(1));
    EXPECT_EQ(contents(), copied) << "whatever was put there meanwhile";
}

} // namespace
} // namespace vorlin
