#pragma once

#import <AppKit/AppKit.h>

#include <functional>

namespace standins {

/// What a person does in a panel that is open.
struct OpenPanel {
    NSModalResponse answer = 0;
    NSString* path = nil;
    /// Within the panel's own loop.
    std::function<void()> meanwhile = [] {};
};
OpenPanel& openPanel();

} // namespace standins
