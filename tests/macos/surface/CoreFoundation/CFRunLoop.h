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

// corefoundation/cfrunloopmode/1543124-defaultmode: "Run loop mode that should be used when a
// thread is in its default, or idle, state, waiting for an event."
CF_EXPORT const CFRunLoopMode kCFRunLoopDefaultMode;
// corefoundation/cfrunloopmode/1542364-commonmodes: "Objects added to a run loop using this value
// as the mode are monitored by all run loop modes that have been declared as a member of the set
// of “common” modes with CFRunLoopAddCommonMode(_:_:)."
CF_EXPORT const CFRunLoopMode kCFRunLoopCommonModes;

// corefoundation/1542428-cfrunloopgetcurrent: "Returns the CFRunLoop object for the current
// thread."
CF_EXPORT CFRunLoopRef CFRunLoopGetCurrent(void);
// corefoundation/1542890-cfrunloopgetmain: "Returns the main CFRunLoop object."
CF_EXPORT CFRunLoopRef CFRunLoopGetMain(void);
// corefoundation/1542011-cfrunlooprun: "Runs the current thread’s CFRunLoop object in its default
// mode indefinitely."
CF_EXPORT void CFRunLoopRun(void);
// corefoundation/1541988-cfrunloopruninmode: "Runs the current thread’s CFRunLoop object in a
// particular mode."
CF_EXPORT CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode mode, CFTimeInterval seconds,
                                                Boolean returnAfterSourceHandled);
// corefoundation/1541796-cfrunloopstop: "Forces a CFRunLoop object to stop running."
CF_EXPORT void CFRunLoopStop(CFRunLoopRef rl);
// corefoundation/1541622-cfrunloopwakeup: "Wakes a waiting CFRunLoop object."
CF_EXPORT void CFRunLoopWakeUp(CFRunLoopRef rl);
// corefoundation/1542985-cfrunloopperformblock: "Enqueues a block object on a given runloop to be
// executed as the runloop cycles in specified modes."
CF_EXPORT void CFRunLoopPerformBlock(CFRunLoopRef rl, CFTypeRef mode, void (^block)(void));
// corefoundation/1543356-cfrunloopaddsource: "Adds a CFRunLoopSource object to a run loop mode."
CF_EXPORT void CFRunLoopAddSource(CFRunLoopRef rl, CFRunLoopSourceRef source, CFRunLoopMode mode);
// corefoundation/1542145-cfrunloopremovesource: "Removes a CFRunLoopSource object from a run loop
// mode."
CF_EXPORT void CFRunLoopRemoveSource(CFRunLoopRef rl, CFRunLoopSourceRef source,
                                     CFRunLoopMode mode);
// corefoundation/1542250-cfrunloopcontainssource: "Returns a Boolean value that indicates whether
// a run loop mode contains a particular CFRunLoopSource object."
CF_EXPORT Boolean CFRunLoopContainsSource(CFRunLoopRef rl, CFRunLoopSourceRef source,
                                          CFRunLoopMode mode);
// corefoundation/1543336-cfrunloopsourceinvalidate: "Invalidates a CFRunLoopSource object,
// stopping it from ever firing again."
CF_EXPORT void CFRunLoopSourceInvalidate(CFRunLoopSourceRef source);

// corefoundation/1400928-cfmachportcreaterunloopsource: "Creates a CFRunLoopSource object for a
// CFMachPort object."
CF_EXPORT CFRunLoopSourceRef CFMachPortCreateRunLoopSource(CFAllocatorRef _Nullable allocator,
                                                           CFMachPortRef port, CFIndex order);
// corefoundation/1400922-cfmachportinvalidate: "Invalidates a CFMachPort object, stopping it from
// receiving any more messages."
CF_EXPORT void CFMachPortInvalidate(CFMachPortRef port);
// corefoundation/1400936-cfmachportisvalid: "Returns a Boolean value that indicates whether a
// CFMachPort object is valid and able to receive messages."
CF_EXPORT Boolean CFMachPortIsValid(CFMachPortRef port);

// corefoundation/1543542-cfabsolutetimegetcurrent: "Returns the current system absolute time."
CF_EXPORT CFAbsoluteTime CFAbsoluteTimeGetCurrent(void);

CF_IMPLICIT_BRIDGING_DISABLED
CF_ASSUME_NONNULL_END
