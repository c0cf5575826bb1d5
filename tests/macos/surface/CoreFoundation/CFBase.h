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

// On no page that we have read; in the Rust bindings "pub type Boolean = u8".
typedef unsigned char Boolean;
// unconfirmed: on no page that we have read.
typedef int32_t SInt32;
// unconfirmed: on no page that we have read.
typedef uint32_t UInt32;
// corefoundation/cgfloat: "The basic type for floating-point scalar values in Core Graphics and
// related frameworks."
typedef double CGFloat;
// corefoundation/cfindex: "Priority values used for kAXPriorityKey"
typedef signed long CFIndex;
// corefoundation/cftypeid: "A type for unique, constant integer values that identify particular
// Core Foundation opaque types."
typedef unsigned long CFTypeID;
// corefoundation/cfhashcode: "A type for hash codes returned by the CFHash function."
typedef unsigned long CFHashCode;
// corefoundation/cfstringencoding: "An integer type for constants used to specify supported string
// encodings in various CFString functions."
typedef uint32_t CFStringEncoding;

// unconfirmed: corefoundation/cftyperef: "An untyped 'generic' reference to any Core Foundation
// object."
typedef const void* CFTypeRef;
// corefoundation/cfstring: "A reference to a CFString object."
typedef const struct SURFACE_BRIDGED(NSString) __CFString* CFStringRef;
// corefoundation/cfdictionary: "A reference to an immutable dictionary object."
typedef const struct SURFACE_BRIDGED(NSDictionary) __CFDictionary* CFDictionaryRef;
// corefoundation/cfdata: "A reference to an immutable CFData object."
typedef const struct SURFACE_BRIDGED(NSData) __CFData* CFDataRef;
// corefoundation/cfboolean: "A reference to a CFBoolean object."
typedef const struct SURFACE_BRIDGED(NSNumber) __CFBoolean* CFBooleanRef;
// corefoundation/cfallocator: "A reference to a CFAllocator object."
typedef const struct SURFACE_BRIDGED(id) __CFAllocator* CFAllocatorRef;
// corefoundation/cfmachport: "A reference to a CFMachPort object."
typedef struct SURFACE_BRIDGED(NSMachPort) __CFMachPort* CFMachPortRef;
// corefoundation/cfrunloop: "A reference to a run loop object."
typedef struct SURFACE_BRIDGED(id) __CFRunLoop* CFRunLoopRef;
// corefoundation/cfrunloopsource: "A reference to a run loop source object."
typedef struct SURFACE_BRIDGED(id) __CFRunLoopSource* CFRunLoopSourceRef;
// corefoundation/cfrunloopmode: "CFRunLoopMode"
typedef CFStringRef CFRunLoopMode;

// corefoundation/kcfallocatordefault: "This is a synonym for NULL."
CF_EXPORT const CFAllocatorRef _Null_unspecified kCFAllocatorDefault;

// corefoundation/1521153-cfrelease: "Releases a Core Foundation object."
CF_EXPORT void CFRelease(CFTypeRef cf);
// corefoundation/1521218-cfgettypeid: "Returns the unique identifier of an opaque type to which a
// Core Foundation object belongs."
CF_EXPORT CFTypeID CFGetTypeID(CFTypeRef cf);

CF_IMPLICIT_BRIDGING_DISABLED
CF_ASSUME_NONNULL_END
