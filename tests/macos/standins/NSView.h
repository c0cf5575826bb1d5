#pragma once

#import <AppKit/AppKit.h>

#include <string>
#include <vector>

namespace standins {

/// Whether the system is as new as whoever asks wants.
bool& isNewSystem();

/// What lies in a view, from below.
std::vector<NSView*> subviews(NSView* view);

/// The view lies in this window from now on.
void setWindow(NSView* view, NSWindow* window);

/// The bytes of a picture that a layer shows.
std::string pixelsOf(CALayer* layer);

} // namespace standins
