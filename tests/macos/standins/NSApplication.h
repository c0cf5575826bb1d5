#pragma once

#import <AppKit/AppKit.h>

#include <map>
#include <sys/types.h>
#include <vector>

namespace standins {

/// The program, and which others there are.
struct Program {
    NSString* identifier = @"net.vorlin.test";
    pid_t own = 100;
    /// The processes with its identifier.
    std::vector<pid_t> running = {100};
    /// When they were launched, of those that the system launched.
    std::map<pid_t, NSTimeInterval> launched;
    NSArray<NSWindow*>* windows = nil;
};
Program& program();

/// The end of the program's start: the framework puts its own handlers of events in place first.
void finishLaunching();

/// A person opens the running program once more: its handler is told, or this target of it.
void openOnceMore();
void openOnceMore(id target);

/// Whom the handler tells.
id eventTarget();

/// How many handlers of events the program has.
std::size_t eventHandlers();

/// The program looks like this from now on.
void setAppearance(NSAppearanceName name);

/// How many watch the program's appearance.
std::size_t appearanceObservers();

} // namespace standins
