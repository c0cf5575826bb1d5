#include "Platform/macOS/MacSettingsWindow.h"

#include "NSWindow.h"
#include "Recorder.h"

#include <gtest/gtest.h>

namespace vorlin {
namespace {

TEST(MacSettingsWindowTest, theWindowOfTheNumberedViewGetsTheNameByWhichItIsFound)
{
    NSWindow* window = [[NSWindow alloc] initWithContentRect:NSZeroRect
                                                   styleMask:NSWindowStyleMaskTitled
                                                     backing:NSBackingStoreBuffered
                                                       defer:NO];
    NSView* view = [[NSView alloc] initWithFrame:NSZeroRect];
    window.contentView = view;
    standins::taken();
    nameSettingsWindow(reinterpret_cast<std::uintptr_t>((__bridge void*)view));
    EXPECT_EQ(standins::taken(),
              (std::vector<std::string>{"-[NSWindow setIdentifier:] Vorlin Settings"}));
}

} // namespace
} // namespace vorlin
