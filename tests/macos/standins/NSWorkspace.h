#pragma once

#import <AppKit/AppKit.h>

namespace standins {

/// How the system answers about what is beyond the program's windows.
struct Workspace {
    bool opensAddresses = true;
    bool reducesMotion = false;
};
Workspace& workspace();

} // namespace standins
