// Each mistake, when its name is defined, must keep this file from compiling.

#import <AppKit/AppKit.h>
#import <CoreML/CoreML.h>

#include <cstddef>
#include <thread>

void mistake(NSPasteboard* pasteboard, MLMultiArray* array);
void mistake(NSPasteboard* pasteboard, MLMultiArray* array)
{
    [pasteboard clearContents];
    [array getBytesWithHandler:^(const void* /*bytes*/, NSInteger /*size*/){
    }];
#ifdef MISSPELT_SELECTOR
    [pasteboard clearContent];
#endif
#ifdef MISSPELT_CONSTANT
    [pasteboard setString:@"" forType:NSPasteboardTypeText];
#endif
#ifdef NOTHING_FOR_SOMETHING
    [pasteboard setString:nil forType:NSPasteboardTypeString];
#endif
#ifdef PERHAPS_NOTHING_FOR_SOMETHING
    [pasteboard setString:[pasteboard stringForType:NSPasteboardTypeString]
                  forType:NSPasteboardTypeString];
#endif
#ifdef NEWER_THAN_OUR_OLDEST_SYSTEM
    [[NSGlassEffectView alloc] initWithFrame:NSZeroRect].cornerRadius = 27;
#endif
#ifdef DEPRECATED
    (void)array.dataPointer;
#endif
#ifdef WRONG_CLASS
    [pasteboard writeObjects:@[ array ]];
    NSPasteboardItem* item = pasteboard;
#endif
#ifdef OF_THE_OTHER_CXX_LIBRARY
    const std::jthread thread;
#endif
#ifdef SIGN_LOST
    const std::size_t changes = pasteboard.changeCount;
#endif
}

#ifdef CONSTANT_OFF_BY_ONE
static_assert(NSWindowStyleMaskNonactivatingPanel == 127);
#endif
