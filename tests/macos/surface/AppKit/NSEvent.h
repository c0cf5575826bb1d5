#pragma once

#include <AppKit/NSResponder.h>

NS_ASSUME_NONNULL_BEGIN

@class NSGraphicsContext;

typedef NS_ENUM(NSUInteger, NSEventType) {
    NSEventTypeKeyDown = 10,
    NSEventTypeKeyUp = 11,
    NSEventTypeFlagsChanged = 12,
    NSEventTypeApplicationDefined = 15,
};
typedef NS_OPTIONS(unsigned long long, NSEventMask) {
    NSEventMaskKeyDown = 1ULL << NSEventTypeKeyDown,
    NSEventMaskKeyUp = 1ULL << NSEventTypeKeyUp,
    NSEventMaskFlagsChanged = 1ULL << NSEventTypeFlagsChanged,
};
typedef NS_OPTIONS(NSUInteger, NSEventModifierFlags) {
    NSEventModifierFlagCapsLock = 1 << 16,
    NSEventModifierFlagShift = 1 << 17,
    NSEventModifierFlagControl = 1 << 18,
    NSEventModifierFlagOption = 1 << 19,
    NSEventModifierFlagCommand = 1 << 20,
    NSEventModifierFlagNumericPad = 1 << 21,
    NSEventModifierFlagHelp = 1 << 22,
    NSEventModifierFlagFunction = 1 << 23,
    NSEventModifierFlagDeviceIndependentFlagsMask = 0xffff0000UL,
};

@interface NSEvent : NSObject
@property(readonly) NSEventType type;
@property(readonly) NSEventModifierFlags modifierFlags;
@property(readonly) unsigned short keyCode;
@property(readonly, getter=isARepeat) BOOL ARepeat;
@property(class, readonly) NSPoint mouseLocation;
+ (nullable NSEvent*)otherEventWithType:(NSEventType)type
                               location:(NSPoint)location
                          modifierFlags:(NSEventModifierFlags)flags
                              timestamp:(NSTimeInterval)time
                           windowNumber:(NSInteger)wNum
                                context:(nullable NSGraphicsContext*)unusedPassNil
                                subtype:(short)subtype
                                  data1:(NSInteger)d1
                                  data2:(NSInteger)d2;
+ (nullable id)addLocalMonitorForEventsMatchingMask:(NSEventMask)mask
                                            handler:(NSEvent* _Nullable (^)(NSEvent* event))block;
+ (void)removeMonitor:(id)eventMonitor;
@end

NS_ASSUME_NONNULL_END
