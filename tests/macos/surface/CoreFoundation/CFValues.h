#pragma once

#include <CoreFoundation/CFBase.h>

CF_ASSUME_NONNULL_BEGIN
CF_IMPLICIT_BRIDGING_ENABLED

typedef CF_ENUM(CFIndex, CFNumberType) {
    kCFNumberSInt8Type = 1,
    kCFNumberSInt16Type = 2,
    kCFNumberSInt32Type = 3,
    kCFNumberSInt64Type = 4,
    kCFNumberFloat32Type = 5,
    kCFNumberFloat64Type = 6,
    kCFNumberCharType = 7,
    kCFNumberShortType = 8,
    kCFNumberIntType = 9,
    kCFNumberLongType = 10,
    kCFNumberLongLongType = 11,
    kCFNumberFloatType = 12,
    kCFNumberDoubleType = 13,
    kCFNumberCFIndexType = 14,
    kCFNumberNSIntegerType = 15,
    kCFNumberCGFloatType = 16,
};

CF_EXPORT const CFBooleanRef _Null_unspecified kCFBooleanTrue;
CF_EXPORT const CFBooleanRef _Null_unspecified kCFBooleanFalse;
CF_EXPORT CFTypeID CFBooleanGetTypeID(void);
CF_EXPORT Boolean CFBooleanGetValue(CFBooleanRef boolean);
CF_EXPORT CFTypeID CFNumberGetTypeID(void);
CF_EXPORT CFNumberType CFNumberGetType(CFNumberRef number);
CF_EXPORT Boolean CFNumberIsFloatType(CFNumberRef number);
CF_EXPORT Boolean CFNumberGetValue(CFNumberRef number, CFNumberType theType,
                                   void* _Null_unspecified valuePtr);

typedef CF_ENUM(CFStringEncoding, CFStringBuiltInEncodings) {
    kCFStringEncodingUTF8 = 0x08000100,
};

CF_EXPORT CFTypeID CFStringGetTypeID(void);
CF_EXPORT CFStringRef CFStringCreateWithCString(CFAllocatorRef _Nullable alloc,
                                                const char* _Null_unspecified cStr,
                                                CFStringEncoding encoding);

typedef const void* _Nullable (*CFDictionaryRetainCallBack)(CFAllocatorRef _Nullable allocator,
                                                            const void* _Nullable value);
typedef void (*CFDictionaryReleaseCallBack)(CFAllocatorRef _Nullable allocator,
                                            const void* _Nullable value);
typedef CFStringRef _Nullable (*CFDictionaryCopyDescriptionCallBack)(const void* _Nullable value);
typedef Boolean (*CFDictionaryEqualCallBack)(const void* _Nullable value1,
                                             const void* _Nullable value2);
typedef CFHashCode (*CFDictionaryHashCallBack)(const void* _Nullable value);

typedef struct {
    CFIndex version;
    CFDictionaryRetainCallBack _Nullable retain;
    CFDictionaryReleaseCallBack _Nullable release;
    CFDictionaryCopyDescriptionCallBack _Nullable copyDescription;
    CFDictionaryEqualCallBack _Nullable equal;
    CFDictionaryHashCallBack _Nullable hash;
} CFDictionaryKeyCallBacks;

typedef struct {
    CFIndex version;
    CFDictionaryRetainCallBack _Nullable retain;
    CFDictionaryReleaseCallBack _Nullable release;
    CFDictionaryCopyDescriptionCallBack _Nullable copyDescription;
    CFDictionaryEqualCallBack _Nullable equal;
} CFDictionaryValueCallBacks;

CF_EXPORT const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
CF_EXPORT const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;

CF_EXPORT CFDictionaryRef
CFDictionaryCreate(CFAllocatorRef _Nullable allocator, const void* _Nullable* _Nullable keys,
                   const void* _Nullable* _Nullable values, CFIndex numValues,
                   const CFDictionaryKeyCallBacks* _Nullable keyCallBacks,
                   const CFDictionaryValueCallBacks* _Nullable valueCallBacks);
CF_EXPORT const void* _Nullable CFDictionaryGetValue(CFDictionaryRef theDict,
                                                     const void* _Nullable key);

CF_EXPORT CFDataRef _Null_unspecified CFDataCreate(CFAllocatorRef _Nullable allocator,
                                                   const uint8_t* _Nullable bytes, CFIndex length);

CF_IMPLICIT_BRIDGING_DISABLED
CF_ASSUME_NONNULL_END
