#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CGGeometry.h>

CF_ASSUME_NONNULL_BEGIN
CF_IMPLICIT_BRIDGING_ENABLED

typedef struct SURFACE_BRIDGED(id) __CGEvent* CGEventRef;
typedef struct SURFACE_BRIDGED(id) __CGEventSource* CGEventSourceRef;
typedef struct __CGEventTapProxy* CGEventTapProxy;
typedef uint16_t CGKeyCode;
typedef uint64_t CGEventMask;
#define CGEventMaskBit(eventType) ((CGEventMask)1 << (eventType))

typedef CF_ENUM(uint32_t, CGEventType) {
    kCGEventNull = 0,
    kCGEventKeyDown = 10,
    kCGEventKeyUp = 11,
    kCGEventFlagsChanged = 12,
    kCGEventTapDisabledByTimeout = 0xFFFFFFFE,
    kCGEventTapDisabledByUserInput = 0xFFFFFFFF,
};
typedef CF_ENUM(uint32_t, CGEventField) {
    kCGKeyboardEventAutorepeat = 8,
    kCGKeyboardEventKeycode = 9,
    kCGEventSourceUnixProcessID = 41,
    kCGEventSourceUserData = 42,
};
typedef CF_OPTIONS(uint64_t, CGEventFlags){
    kCGEventFlagMaskAlphaShift = 0x00010000,
    kCGEventFlagMaskShift = 0x00020000,
    kCGEventFlagMaskControl = 0x00040000,
    kCGEventFlagMaskAlternate = 0x00080000,
    kCGEventFlagMaskCommand = 0x00100000,
    kCGEventFlagMaskNumericPad = 0x00200000,
    kCGEventFlagMaskHelp = 0x00400000,
    kCGEventFlagMaskSecondaryFn = 0x00800000,
    kCGEventFlagMaskNonCoalesced = 0x00000100,
};
typedef CF_ENUM(int32_t, CGEventSourceStateID) {
    kCGEventSourceStatePrivate = -1,
    kCGEventSourceStateCombinedSessionState = 0,
    kCGEventSourceStateHIDSystemState = 1,
};
typedef CF_ENUM(uint32_t, CGEventTapLocation) {
    kCGHIDEventTap = 0,
    kCGSessionEventTap = 1,
    kCGAnnotatedSessionEventTap = 2,
};
typedef CF_ENUM(uint32_t, CGEventTapPlacement) {
    kCGHeadInsertEventTap = 0,
    kCGTailAppendEventTap = 1,
};
typedef CF_ENUM(uint32_t, CGEventTapOptions) {
    kCGEventTapOptionDefault = 0,
    kCGEventTapOptionListenOnly = 1,
};

typedef CGEventRef _Nullable (*CGEventTapCallBack)(CGEventTapProxy proxy, CGEventType type,
                                                   CGEventRef event, void* _Nullable userInfo);

CG_EXTERN CFMachPortRef _Nullable CGEventTapCreate(
    CGEventTapLocation tap, CGEventTapPlacement place, CGEventTapOptions options,
    CGEventMask eventsOfInterest, CGEventTapCallBack callback, void* _Nullable userInfo);
CG_EXTERN void CGEventTapEnable(CFMachPortRef tap, bool enable);
CG_EXTERN bool CGEventTapIsEnabled(CFMachPortRef tap);

CG_EXTERN CGEventSourceRef _Nullable CGEventSourceCreate(CGEventSourceStateID stateID);
CG_EXTERN CGEventRef _Nullable CGEventCreateKeyboardEvent(CGEventSourceRef _Nullable source,
                                                          CGKeyCode virtualKey, bool keyDown);
CG_EXTERN CGEventType CGEventGetType(CGEventRef _Nullable event);
CG_EXTERN CGEventFlags CGEventGetFlags(CGEventRef _Nullable event);
CG_EXTERN void CGEventSetFlags(CGEventRef _Nullable event, CGEventFlags flags);
CG_EXTERN int64_t CGEventGetIntegerValueField(CGEventRef _Nullable event, CGEventField field);
CG_EXTERN void CGEventSetIntegerValueField(CGEventRef _Nullable event, CGEventField field,
                                           int64_t value);
CG_EXTERN void CGEventPost(CGEventTapLocation tap, CGEventRef _Nullable event);
CG_EXTERN bool CGPreflightListenEventAccess(void);
CG_EXTERN bool CGPreflightPostEventAccess(void);

CF_IMPLICIT_BRIDGING_DISABLED
CF_ASSUME_NONNULL_END
