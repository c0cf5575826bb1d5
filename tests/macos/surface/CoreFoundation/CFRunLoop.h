#pragma once

#include <CoreFoundation/CFBase.h>

CF_ASSUME_NONNULL_BEGIN
CF_IMPLICIT_BRIDGING_ENABLED

// corefoundation/cfrunlooprunresult: "CFRunLoopRunResult"
typedef CF_ENUM(SInt32, CFRunLoopRunResult) {
    // corefoundation/cfrunlooprunresult/finished: "The running run loop mode has no sources or
    // timers to process."
    kCFRunLoopRunFinished = 1,
    // corefoundation/cfrunlooprunresult/stopped: "CFRunLoopStop(_:) was called on the run loop."
    kCFRunLoopRunStopped = 2,
    // corefoundation/cfrunlooprunresult/timedout: "The specified time interval for running the run
    // loop has passed."
    kCFRunLoopRunTimedOut = 3,
    // corefoundation/cfrunlooprunresult/handledsource: "A source has been processed."
    kCFRunLoopRunHandledSource = 4,
};

// corefoundation/cfrunloopmode/1542364-commonmodes: "Objects added to a run loop using this value
// as the mode are monitored by all run loop modes that have been declared as a member of the set
// of “common” modes with CFRunLoopAddCommonMode(_:_:)."
CF_EXPORT const CFRunLoopMode kCFRunLoopCommonModes;

// corefoundation/1542890-cfrunloopgetmain: "Returns the main CFRunLoop object."
CF_EXPORT CFRunLoopRef CFRunLoopGetMain(void);
// corefoundation/1543356-cfrunloopaddsource: "Adds a CFRunLoopSource object to a run loop mode."
CF_EXPORT void CFRunLoopAddSource(CFRunLoopRef rl, CFRunLoopSourceRef source, CFRunLoopMode mode);
// corefoundation/1542145-cfrunloopremovesource: "Removes a CFRunLoopSource object from a run loop
// mode."
CF_EXPORT void CFRunLoopRemoveSource(CFRunLoopRef rl, CFRunLoopSourceRef source,
                                     CFRunLoopMode mode);

// corefoundation/1400928-cfmachportcreaterunloopsource: "Creates a CFRunLoopSource object for a
// CFMachPort object."
CF_EXPORT CFRunLoopSourceRef CFMachPortCreateRunLoopSource(CFAllocatorRef _Nullable allocator,
                                                           CFMachPortRef port, CFIndex order);
// corefoundation/1400922-cfmachportinvalidate: "Invalidates a CFMachPort object, stopping it from
// receiving any more messages."
CF_EXPORT void CFMachPortInvalidate(CFMachPortRef port);

CF_IMPLICIT_BRIDGING_DISABLED
CF_ASSUME_NONNULL_END
