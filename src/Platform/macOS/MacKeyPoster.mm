#include "Platform/macOS/MacKeyPoster.h"

#include "Platform/macOS/Objects/CFRef.h"

#include <ApplicationServices/ApplicationServices.h>

namespace vorlin {

struct MacKeyPoster::Source {
    CFRef<CGEventSourceRef> made;
};

MacKeyPoster::MacKeyPoster() : source(std::make_unique<Source>()) {}

MacKeyPoster::~MacKeyPoster() = default;

void MacKeyPoster::post(std::uint16_t keyCode, bool keyDown, std::uint64_t flags)
{
    if (keyDown) {
        source->made = CFRef(CGEventSourceCreate(kCGEventSourceStateCombinedSessionState));
    }
    const CFRef event(CGEventCreateKeyboardEvent(source->made.get(), keyCode, keyDown));
    if (event) {
        CGEventSetFlags(event.get(), flags);
        CGEventPost(kCGHIDEventTap, event.get());
    }
}

} // namespace vorlin
