#pragma once

#import <AppKit/AppKit.h>

#include <vector>

namespace standins {

/// How many pixels windows have to a point.
double& windowScale();

/// The panel made last, while it is alive.
NSPanel* lastPanel();

/// Ends the fades that were begun: the alpha is there, and whoever wanted to know is told.
void endAnimations();

struct Screen {
    unsigned number;
    NSRect frame;
    NSRect visibleFrame;
    bool isMain = false;
};
/// These are the screens from now on.
void setScreens(const std::vector<Screen>& screens);

} // namespace standins
