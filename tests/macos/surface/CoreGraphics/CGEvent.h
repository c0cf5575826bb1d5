#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CGGeometry.h>

CF_ASSUME_NONNULL_BEGIN
CF_IMPLICIT_BRIDGING_ENABLED

// coregraphics/cgeventref: "Defines an opaque type that represents a low-level hardware event."
typedef struct SURFACE_BRIDGED(id) __CGEvent* CGEventRef;
// coregraphics/cgeventsourceref: "Defines an opaque type that represents the source of a Quartz
// event."
typedef struct SURFACE_BRIDGED(id) __CGEventSource* CGEventSourceRef;
// coregraphics/cgeventtapproxy: "Defines an opaque type that represents state within the client
// application that’s associated with an event tap."
typedef struct __CGEventTapProxy* CGEventTapProxy;
// coregraphics/cgkeycode: "Represents the virtual key codes used in keyboard events."
typedef uint16_t CGKeyCode;
// coregraphics/cgeventmask: "Defines a mask that identifies the set of Quartz events to be
// observed in an event tap."
typedef uint64_t CGEventMask;
#define CGEventMaskBit(eventType) ((CGEventMask)1 << (eventType))

// coregraphics/cgeventtype: "Constants that specify the different types of input events."
typedef CF_ENUM(uint32_t, CGEventType) {
    // coregraphics/cgeventtype/null: "Specifies a null event."
    kCGEventNull = 0,
    // coregraphics/cgeventtype/keydown: "Specifies a key down event."
    kCGEventKeyDown = 10,
    // coregraphics/cgeventtype/keyup: "Specifies a key up event."
    kCGEventKeyUp = 11,
    // coregraphics/cgeventtype/flagschanged: "Specifies a key changed event for a modifier or
    // status key."
    kCGEventFlagsChanged = 12,
    // coregraphics/cgeventtype/tapdisabledbytimeout: "Specifies an event indicating the event tap
    // is disabled because of timeout."
    kCGEventTapDisabledByTimeout = 0xFFFFFFFE,
    // coregraphics/cgeventtype/tapdisabledbyuserinput: "Specifies an event indicating the event
    // tap is disabled because of user input."
    kCGEventTapDisabledByUserInput = 0xFFFFFFFF,
};
// coregraphics/cgeventfield: "Constants used as keys to access specialized fields in low-level
// events."
typedef CF_ENUM(uint32_t, CGEventField) {
    // coregraphics/cgeventfield/keyboardeventautorepeat: "Key to access an integer field, non-zero
    // when this is an autorepeat of a key-down, and zero otherwise."
    kCGKeyboardEventAutorepeat = 8,
    // coregraphics/cgeventfield/keyboardeventkeycode: "Key to access an integer field that
    // contains the virtual keycode of the key-down or key-up event."
    kCGKeyboardEventKeycode = 9,
    // coregraphics/cgeventfield/eventsourceunixprocessid: "Key to access a field that contains the
    // event source Unix process ID."
    kCGEventSourceUnixProcessID = 41,
    // coregraphics/cgeventfield/eventsourceuserdata: "Key to access a field that contains the
    // event source user-supplied data, up to 64 bits."
    kCGEventSourceUserData = 42,
};
// coregraphics/cgeventflags: "Constants that indicate the modifier key state at the time an event
// is created, as well as other event-related states."
typedef CF_OPTIONS(uint64_t, CGEventFlags) {
    // coregraphics/cgeventflags/1456463-maskalphashift: "Indicates that the Caps Lock key is down
    // for a keyboard, mouse, or flag-changed event."
    kCGEventFlagMaskAlphaShift = 0x00010000,
    // coregraphics/cgeventflags/1455956-maskshift: "Indicates that the Shift key is down for a
    // keyboard, mouse, or flag-changed event."
    kCGEventFlagMaskShift = 0x00020000,
    // coregraphics/cgeventflags/1455570-maskcontrol: "Indicates that the Control key is down for a
    // keyboard, mouse, or flag-changed event."
    kCGEventFlagMaskControl = 0x00040000,
    // coregraphics/cgeventflags/1455191-maskalternate: "Indicates that the Alt or Option key is
    // down for a keyboard, mouse, or flag-changed event."
    kCGEventFlagMaskAlternate = 0x00080000,
    // coregraphics/cgeventflags/1455841-maskcommand: "Indicates that the Command key is down for a
    // keyboard, mouse, or flag-changed event."
    kCGEventFlagMaskCommand = 0x00100000,
    // coregraphics/cgeventflags/1454790-masknumericpad: "Identifies key events from the numeric
    // keypad area on extended keyboards."
    kCGEventFlagMaskNumericPad = 0x00200000,
    // coregraphics/cgeventflags/1454956-maskhelp: "Indicates that the Help modifier key is down
    // for a keyboard, mouse, or flag-changed event."
    kCGEventFlagMaskHelp = 0x00400000,
    // coregraphics/cgeventflags/1454655-masksecondaryfn: "Indicates that the Fn (Function) key is
    // down for a keyboard, mouse, or flag-changed event."
    kCGEventFlagMaskSecondaryFn = 0x00800000,
    // coregraphics/cgeventflags/1455372-masknoncoalesced: "Indicates that mouse and pen movement
    // events are not being coalesced."
    kCGEventFlagMaskNonCoalesced = 0x00000100,
};
// coregraphics/cgeventsourcestateid: "Constants that specify the possible source states of an
// event source."
typedef CF_ENUM(int32_t, CGEventSourceStateID) {
    // coregraphics/cgeventsourcestateid/privatestate: "Specifies that an event source should use a
    // private event state table."
    kCGEventSourceStatePrivate = -1,
    // coregraphics/cgeventsourcestateid/combinedsessionstate: "Specifies that an event source
    // should use the event state table that reflects the combined state of all event sources
    // posting to the current user login session."
    kCGEventSourceStateCombinedSessionState = 0,
    // coregraphics/cgeventsourcestateid/hidsystemstate: "Specifies that an event source should use
    // the event state table that reflects the combined state of all hardware event sources posting
    // from the HID system."
    kCGEventSourceStateHIDSystemState = 1,
};
// coregraphics/cgeventtaplocation: "Constants that specify possible tapping points for events."
typedef CF_ENUM(uint32_t, CGEventTapLocation) {
    // coregraphics/cgeventtaplocation/cghideventtap: "Specifies that an event tap is placed at the
    // point where HID system events enter the window server."
    kCGHIDEventTap = 0,
    // coregraphics/cgeventtaplocation/cgsessioneventtap: "Specifies that an event tap is placed at
    // the point where HID system and remote control events enter a login session."
    kCGSessionEventTap = 1,
    // coregraphics/cgeventtaplocation/cgannotatedsessioneventtap: "Specifies that an event tap is
    // placed at the point where session events have been annotated to flow to an application."
    kCGAnnotatedSessionEventTap = 2,
};
// coregraphics/cgeventtapplacement: "Constants that specify where a new event tap is inserted into
// the list of active event taps."
typedef CF_ENUM(uint32_t, CGEventTapPlacement) {
    // coregraphics/cgeventtapplacement/headinserteventtap: "Specifies that a new event tap should
    // be inserted before any pre-existing event taps at the same location."
    kCGHeadInsertEventTap = 0,
    // coregraphics/cgeventtapplacement/tailappendeventtap: "Specifies that a new event tap should
    // be inserted after any pre-existing event taps at the same location."
    kCGTailAppendEventTap = 1,
};
// coregraphics/cgeventtapoptions: "Constants that specify whether a new event tap is an active
// filter or a passive listener."
typedef CF_ENUM(uint32_t, CGEventTapOptions) {
    // coregraphics/cgeventtapoptions/defaulttap: "CGEventTapOptions.defaultTap"
    kCGEventTapOptionDefault = 0,
    // coregraphics/cgeventtapoptions/listenonly: "CGEventTapOptions.listenOnly"
    kCGEventTapOptionListenOnly = 1,
};

// coregraphics/cgeventtapcallback: "A client-supplied callback function that’s invoked whenever an
// associated event tap receives a Quartz event."
typedef CGEventRef _Nullable (*CGEventTapCallBack)(CGEventTapProxy proxy, CGEventType type,
                                                   CGEventRef event, void* _Nullable userInfo);

// coregraphics/cgevent/1454426-tapcreate: "Creates an event tap."
CG_EXTERN CFMachPortRef _Nullable CGEventTapCreate(
    CGEventTapLocation tap, CGEventTapPlacement place, CGEventTapOptions options,
    CGEventMask eventsOfInterest, CGEventTapCallBack callback, void* _Nullable userInfo);
// coregraphics/cgevent/1455445-tapenable: "Enables or disables an event tap."
CG_EXTERN void CGEventTapEnable(CFMachPortRef tap, bool enable);

// coregraphics/1408776-cgeventsourcecreate: "Returns a Quartz event source created with a
// specified source state."
CG_EXTERN CGEventSourceRef _Nullable CGEventSourceCreate(CGEventSourceStateID stateID);
// coregraphics/1456564-cgeventcreatekeyboardevent: "Returns a new Quartz keyboard event."
CG_EXTERN CGEventRef _Nullable CGEventCreateKeyboardEvent(CGEventSourceRef _Nullable source,
                                                          CGKeyCode virtualKey, bool keyDown);
// coregraphics/1455642-cgeventgetflags: "Returns the event flags of a Quartz event."
CG_EXTERN CGEventFlags CGEventGetFlags(CGEventRef _Nullable event);
// coregraphics/1455044-cgeventsetflags: "Sets the event flags of a Quartz event."
CG_EXTERN void CGEventSetFlags(CGEventRef _Nullable event, CGEventFlags flags);
// coregraphics/1455885-cgeventgetintegervaluefield: "Returns the integer value of a field in a
// Quartz event."
CG_EXTERN int64_t CGEventGetIntegerValueField(CGEventRef _Nullable event, CGEventField field);
// coregraphics/cgevent/1456527-post: "Posts a Quartz event into the event stream at a specified
// location."
CG_EXTERN void CGEventPost(CGEventTapLocation tap, CGEventRef _Nullable event);

CF_IMPLICIT_BRIDGING_DISABLED
CF_ASSUME_NONNULL_END
