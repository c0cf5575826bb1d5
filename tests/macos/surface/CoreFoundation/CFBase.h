#pragma once

#include <objc/NSObjCRuntime.h>

#define CF_EXPORT SURFACE_EXTERN
#define CF_RETURNS_RETAINED __attribute__((cf_returns_retained))
#define CF_RETURNS_NOT_RETAINED __attribute__((cf_returns_not_retained))
#define CF_CONSUMED __attribute__((cf_consumed))
#define CF_ASSUME_NONNULL_BEGIN NS_ASSUME_NONNULL_BEGIN
#define CF_ASSUME_NONNULL_END NS_ASSUME_NONNULL_END
// Pointers cross between here and Objective-C by these; functions that follow the naming rule
// ("Create", "Copy") are believed.
#define SURFACE_BRIDGED(type) __attribute__((objc_bridge(type)))
#define CF_IMPLICIT_BRIDGING_ENABLED _Pragma("clang arc_cf_code_audited begin")
#define CF_IMPLICIT_BRIDGING_DISABLED _Pragma("clang arc_cf_code_audited end")

CF_ASSUME_NONNULL_BEGIN
CF_IMPLICIT_BRIDGING_ENABLED

typedef unsigned char Boolean;
typedef int32_t SInt32;
typedef uint32_t UInt32;
typedef uint32_t OSType;
typedef int32_t OSStatus;
typedef double CGFloat;
typedef signed long CFIndex;
typedef unsigned long CFTypeID;
typedef unsigned long CFOptionFlags;
typedef unsigned long CFHashCode;
typedef double CFTimeInterval;
typedef CFTimeInterval CFAbsoluteTime;
typedef uint32_t CFStringEncoding;

typedef const void* CFTypeRef;
typedef const struct SURFACE_BRIDGED(NSString) __CFString* CFStringRef;
typedef const struct SURFACE_BRIDGED(NSArray) __CFArray* CFArrayRef;
typedef const struct SURFACE_BRIDGED(NSDictionary) __CFDictionary* CFDictionaryRef;
typedef const struct SURFACE_BRIDGED(NSData) __CFData* CFDataRef;
typedef const struct SURFACE_BRIDGED(NSURL) __CFURL* CFURLRef;
typedef const struct SURFACE_BRIDGED(NSNumber) __CFNumber* CFNumberRef;
typedef const struct SURFACE_BRIDGED(NSNumber) __CFBoolean* CFBooleanRef;
typedef const struct SURFACE_BRIDGED(id) __CFAllocator* CFAllocatorRef;
typedef struct SURFACE_BRIDGED(NSMachPort) __CFMachPort* CFMachPortRef;
typedef struct SURFACE_BRIDGED(id) __CFRunLoop* CFRunLoopRef;
typedef struct SURFACE_BRIDGED(id) __CFRunLoopSource* CFRunLoopSourceRef;
typedef struct SURFACE_BRIDGED(NSTimer) __CFRunLoopTimer* CFRunLoopTimerRef;
typedef CFStringRef CFRunLoopMode;

CF_EXPORT const CFAllocatorRef _Null_unspecified kCFAllocatorDefault;

CF_EXPORT CFTypeRef CFRetain(CFTypeRef cf);
CF_EXPORT void CFRelease(CFTypeRef cf);
CF_EXPORT CFTypeID CFGetTypeID(CFTypeRef cf);
CF_EXPORT Boolean CFEqual(CFTypeRef cf1, CFTypeRef cf2);

CF_IMPLICIT_BRIDGING_DISABLED
CF_ASSUME_NONNULL_END
