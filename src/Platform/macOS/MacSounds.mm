#include "Platform/macOS/MacSounds.h"

#include "Platform/macOS/Objects/Text.h"

#include <AppKit/AppKit.h>

namespace vorlin {

void MacSounds::play(const std::string& name)
{
    [[NSSound soundNamed:nsText(name)] play];
}

} // namespace vorlin
