#pragma once

#include <AppKit/NSResponder.h>

NS_ASSUME_NONNULL_BEGIN

// appkit/nsevent/eventtype: "Constants for the types of events that responder objects can handle."
typedef NS_ENUM(NSUInteger, NSEventType) {
    // appkit/nsevent/eventtype/keydown: "The user pressed a key on the keyboard."
    NSEventTypeKeyDown = 10,
    // appkit/nsevent/eventtype/keyup: "The user released a key on the keyboard."
    NSEventTypeKeyUp = 11,
    // appkit/nsevent/eventtype/flagschanged: "The event flags changed."
    NSEventTypeFlagsChanged = 12,
    // appkit/nsevent/eventtype/applicationdefined: "An app-defined event occurred."
    NSEventTypeApplicationDefined = 15,
};
// appkit/nsevent/eventtypemask: "Constants that you use to filter out specific event types from
// the stream of incoming events."
typedef NS_OPTIONS(unsigned long long, NSEventMask) {
    // appkit/nsevent/eventtypemask/keydown: "A mask for key-down events."
    NSEventMaskKeyDown = 1ULL << NSEventTypeKeyDown,
    // appkit/nsevent/eventtypemask/keyup: "A mask for key-up events."
    NSEventMaskKeyUp = 1ULL << NSEventTypeKeyUp,
    // appkit/nsevent/eventtypemask/flagschanged: "A mask for flags-changed events."
    NSEventMaskFlagsChanged = 1ULL << NSEventTypeFlagsChanged,
};
// appkit/nsevent/modifierflags-swift.struct: "Flags that represent key states in an event object."
typedef NS_OPTIONS(NSUInteger, NSEventModifierFlags) {
    // appkit/nsevent/modifierflags-swift.struct/capslock: "The Caps Lock key has been pressed."
    NSEventModifierFlagCapsLock = 1 << 16,
    // appkit/nsevent/modifierflags-swift.struct/shift: "The Shift key has been pressed."
    NSEventModifierFlagShift = 1 << 17,
    // appkit/nsevent/modifierflags-swift.struct/control: "The Control key has been pressed."
    NSEventModifierFlagControl = 1 << 18,
    // appkit/nsevent/modifierflags-swift.struct/option: "The Option or Alt key has been pressed."
    NSEventModifierFlagOption = 1 << 19,
    // appkit/nsevent/modifierflags-swift.struct/command: "The Command key has been pressed."
    NSEventModifierFlagCommand = 1 << 20,
    // appkit/nsevent/modifierflags-swift.struct/numericpad: "A key in the numeric keypad or an
    // arrow key has been pressed."
    NSEventModifierFlagNumericPad = 1 << 21,
    // appkit/nsevent/modifierflags-swift.struct/help: "The Help key has been pressed."
    NSEventModifierFlagHelp = 1 << 22,
    // appkit/nsevent/modifierflags-swift.struct/function: "A function key has been pressed."
    NSEventModifierFlagFunction = 1 << 23,
    // appkit/nsevent/modifierflags-swift.struct/deviceindependentflagsmask: "Device-independent
    // modifier flags are masked."
    NSEventModifierFlagDeviceIndependentFlagsMask = 0xffff0000UL,
};

// appkit/nsevent: "An object that contains information about an input action, such as a mouse
// click or a key press."
@interface NSEvent : NSObject
// appkit/nsevent/type: "The event’s type."
@property(readonly) NSEventType type;
// appkit/nsevent/modifierflags-swift.property: "An integer bit field that indicates the pressed
// modifier keys."
@property(readonly) NSEventModifierFlags modifierFlags;
// appkit/nsevent/keycode: "The virtual code for the key associated with the event."
@property(readonly) unsigned short keyCode;
// appkit/nsevent/isarepeat: "A Boolean value that indicates whether the key event is a repeat."
@property(readonly, getter=isARepeat) BOOL ARepeat;
// appkit/nsevent/mouselocation: "Reports the current mouse position in screen coordinates."
@property(class, readonly) NSPoint mouseLocation;
// appkit/nsevent/addlocalmonitorforevents(matching:handler:): "Installs an event monitor that
// receives copies of events the system posts to this app prior to their dispatch."
+ (nullable id)addLocalMonitorForEventsMatchingMask:(NSEventMask)mask
                                            handler:(NSEvent* _Nullable (^)(NSEvent* event))block;
// appkit/nsevent/removemonitor(_:): "Removes the specified event monitor."
+ (void)removeMonitor:(id)eventMonitor;
@end

NS_ASSUME_NONNULL_END
