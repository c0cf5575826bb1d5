#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

// learn.microsoft.com/dotnet/api/foundation.aeeventclass: "AppleEvent | 1634039412"
typedef UInt32 AEEventClass;
// learn.microsoft.com/dotnet/api/foundation.aeeventid: "ReopenApplication | 1918988400"
typedef UInt32 AEEventID;
enum : UInt32 {
    // appendix2_aepg.html of the archived Apple event guide: "kCoreEventClass 'aevt'"
    kCoreEventClass = 0x61657674,
    // learn.microsoft.com/dotnet/api/foundation.aeeventid: "ReopenApplication | 1918988400"
    kAEReopenApplication = 0x72617070,
};

// foundation/nsappleeventdescriptor: "A wrapper for the Apple event descriptor data type."
@interface NSAppleEventDescriptor : NSObject <NSCopying, NSSecureCoding>
@end

// foundation/nsappleeventmanager: "A mechanism for registering handler routines for specific types
// of Apple events and dispatching events to those handlers."
@interface NSAppleEventManager : NSObject
// foundation/nsappleeventmanager/shared(): "Returns the single instance of NSAppleEventManager,
// creating it first if it doesn’t exist."
+ (NSAppleEventManager*)sharedAppleEventManager;
// foundation/nsappleeventmanager/seteventhandler(_:andselector:foreventclass:andeventid:):
// "Registers the Apple event handler specified by handler for the event specified by eventClass and
// eventID."
- (void)setEventHandler:(id)handler
            andSelector:(SEL)handleEventSelector
          forEventClass:(AEEventClass)eventClass
             andEventID:(AEEventID)eventID;
// foundation/nsappleeventmanager/removeeventhandler(foreventclass:andeventid:): "If an Apple event
// handler has been registered for the event specified by eventClass and eventID, removes it."
- (void)removeEventHandlerForEventClass:(AEEventClass)eventClass andEventID:(AEEventID)eventID;
@end

NS_ASSUME_NONNULL_END
