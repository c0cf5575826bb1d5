#include "Platform/macOS/MacPasteboard.h"

#include "Platform/macOS/Objects/Data.h"
#include "Platform/macOS/Objects/Text.h"

#include <AppKit/AppKit.h>

namespace vorlin {

namespace {

PasteboardItem contentsOf(NSPasteboardItem* item)
{
    PasteboardItem contents;
    for (NSPasteboardType type in item.types) {
        NSData* const data = [item dataForType:type];
        if (data != nil) {
            contents.emplace(textOf(type), bytesOf(data));
        }
    }
    return contents;
}

} // namespace

Completion<PasteboardSnapshot> MacPasteboard::snapshot(PasteSource /*source*/)
{
    PasteboardSnapshot items;
    @autoreleasepool {
        for (NSPasteboardItem* item in [NSPasteboard generalPasteboard].pasteboardItems) {
            items.push_back(contentsOf(item));
        }
    }
    Completion<PasteboardSnapshot> read;
    read.completer().complete(std::move(items));
    return read;
}

std::int64_t MacPasteboard::changeCount(PasteSource /*source*/) const
{
    return [NSPasteboard generalPasteboard].changeCount;
}

void MacPasteboard::replace(PasteSource source, const PasteboardSnapshot& contents)
{
    NSPasteboard* const pasteboard = [NSPasteboard generalPasteboard];
    [pasteboard clearContents];
    for (const auto& entry : contents) {
        @autoreleasepool {
            NSPasteboardItem* const item = autoreleased([[NSPasteboardItem alloc] init]);
            for (const auto& [type, bytes] : entry) {
                [item setData:nsData(bytes) forType:nsText(type)];
            }
            [pasteboard writeObjects:[NSArray arrayWithObject:item]];
        }
    }
    written = changeCount(source);
}

void MacPasteboard::restore(PasteSource source, const PasteboardSnapshot& contents)
{
    if (changeCount(source) == written) {
        replace(source, contents);
    }
}

void MacPasteboard::setString(PasteSource source, const std::string& text)
{
    NSPasteboard* const pasteboard = [NSPasteboard generalPasteboard];
    [pasteboard clearContents];
    [pasteboard setString:nsText(text) forType:NSPasteboardTypeString];
    written = changeCount(source);
}

void MacPasteboard::copyString(PasteSource source, const std::string& text)
{
    setString(source, text);
}

PasteboardUse MacPasteboard::use(PasteSource /*source*/) const
{
    return PasteboardUse::untracked;
}

} // namespace vorlin
