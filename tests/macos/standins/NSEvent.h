#pragma once

#import <AppKit/AppKit.h>

namespace standins {

/// Where the pointer is.
NSPoint& pointer();

/// An event of a key. One that changes modifiers throws when it is asked whether it is repeated.
NSEvent* keyEvent(NSEventType type, unsigned short keyCode, NSEventModifierFlags flags,
                  bool isRepeated = false);

/// Gives an event to this program's windows: the monitors whose masks fit see it first. What is
/// left for the windows, nil for nothing.
NSEvent* send(NSEvent* event);

/// How many monitors there are.
std::size_t monitors();

} // namespace standins
