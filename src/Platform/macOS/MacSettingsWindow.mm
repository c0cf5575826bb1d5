#include "Platform/macOS/MacSettingsWindow.h"

#include "Platform/macOS/Objects/Ref.h"

#include <AppKit/AppKit.h>

namespace vorlin {

void nameSettingsWindow(std::uintptr_t window)
{
    NSView* const view = nsObject(reinterpret_cast<const void*>(window));
    [view.window setIdentifier:@"Vorlin Settings"];
}

} // namespace vorlin
