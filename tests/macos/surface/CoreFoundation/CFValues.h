#pragma once

#include <CoreFoundation/CFBase.h>

CF_ASSUME_NONNULL_BEGIN
CF_IMPLICIT_BRIDGING_ENABLED

// corefoundation/cfnumbertype: "Flags used by CFNumber to indicate the data type of a value."
typedef CF_ENUM(CFIndex, CFNumberType) {
    // corefoundation/cfnumbertype/sint8type: "Eight-bit, signed integer."
    kCFNumberSInt8Type = 1,
    // corefoundation/cfnumbertype/sint16type: "Sixteen-bit, signed integer."
    kCFNumberSInt16Type = 2,
    // corefoundation/cfnumbertype/sint32type: "Thirty-two-bit, signed integer."
    kCFNumberSInt32Type = 3,
    // corefoundation/cfnumbertype/sint64type: "Sixty-four-bit, signed integer."
    kCFNumberSInt64Type = 4,
    // corefoundation/cfnumbertype/float32type: "Thirty-two-bit real."
    kCFNumberFloat32Type = 5,
    // corefoundation/cfnumbertype/float64type: "Sixty-four-bit real."
    kCFNumberFloat64Type = 6,
    // corefoundation/cfnumbertype/chartype: "Basic C char type."
    kCFNumberCharType = 7,
    // corefoundation/cfnumbertype/shorttype: "Basic C short type."
    kCFNumberShortType = 8,
    // corefoundation/cfnumbertype/inttype: "Basic C int type."
    kCFNumberIntType = 9,
    // corefoundation/cfnumbertype/longtype: "Basic C long type."
    kCFNumberLongType = 10,
    // corefoundation/cfnumbertype/longlongtype: "Basic C long long type."
    kCFNumberLongLongType = 11,
    // corefoundation/cfnumbertype/floattype: "Basic C float type."
    kCFNumberFloatType = 12,
    // corefoundation/cfnumbertype/doubletype: "Basic C double type."
    kCFNumberDoubleType = 13,
    // corefoundation/cfnumbertype/cfindextype: "CFIndex value."
    kCFNumberCFIndexType = 14,
    // corefoundation/cfnumbertype/nsintegertype: "NSInteger value."
    kCFNumberNSIntegerType = 15,
    // corefoundation/cfnumbertype/cgfloattype: "CGFloat value."
    kCFNumberCGFloatType = 16,
};

// corefoundation/kcfbooleantrue: "Boolean true value."
CF_EXPORT const CFBooleanRef _Null_unspecified kCFBooleanTrue;
// corefoundation/1541762-cfbooleangettypeid: "Returns the Core Foundation type identifier for the
// CFBoolean opaque type."
CF_EXPORT CFTypeID CFBooleanGetTypeID(void);

// corefoundation/kcfpreferencescurrentapplication: "Indicates a preference that applies only to the
// current application."
CF_EXPORT const CFStringRef kCFPreferencesCurrentApplication;
// corefoundation/1515510-cfpreferencesappsynchronize: "Writes to permanent storage all pending
// changes to the preference data for the application, and reads the latest preference data from
// permanent storage."
CF_EXPORT Boolean CFPreferencesAppSynchronize(CFStringRef applicationID);

// corefoundation/cfstringbuiltinencodings: "Encodings that are built-in on all platforms on which
// macOS runs."
typedef CF_ENUM(CFStringEncoding, CFStringBuiltInEncodings) {
    // corefoundation/cfstringbuiltinencodings/utf8: "An encoding constant that identifies the UTF
    // 8 encoding."
    kCFStringEncodingUTF8 = 0x08000100,
};

// corefoundation/cfdictionaryretaincallback: "Prototype of a callback function used to retain a
// value or key being added to a dictionary."
typedef const void* _Nullable (*CFDictionaryRetainCallBack)(CFAllocatorRef _Nullable allocator,
                                                            const void* _Nullable value);
// corefoundation/cfdictionaryreleasecallback: "Prototype of a callback function used to release a
// key-value pair before it’s removed from a dictionary."
typedef void (*CFDictionaryReleaseCallBack)(CFAllocatorRef _Nullable allocator,
                                            const void* _Nullable value);
// corefoundation/cfdictionarycopydescriptioncallback: "Prototype of a callback function used to
// get a description of a value or key in a dictionary."
typedef CFStringRef _Nullable (*CFDictionaryCopyDescriptionCallBack)(const void* _Nullable value);
// corefoundation/cfdictionaryequalcallback: "Prototype of a callback function used to determine if
// two values or keys in a dictionary are equal."
typedef Boolean (*CFDictionaryEqualCallBack)(const void* _Nullable value1,
                                             const void* _Nullable value2);
// corefoundation/cfdictionaryhashcallback: "Prototype of a callback function invoked to compute a
// hash code for a key."
typedef CFHashCode (*CFDictionaryHashCallBack)(const void* _Nullable value);

// corefoundation/cfdictionarykeycallbacks: "This structure contains the callbacks used to retain,
// release, describe, and compare the keys in a dictionary."
typedef struct {
    CFIndex version;
    CFDictionaryRetainCallBack _Nullable retain;
    CFDictionaryReleaseCallBack _Nullable release;
    CFDictionaryCopyDescriptionCallBack _Nullable copyDescription;
    CFDictionaryEqualCallBack _Nullable equal;
    CFDictionaryHashCallBack _Nullable hash;
} CFDictionaryKeyCallBacks;

// corefoundation/cfdictionaryvaluecallbacks: "This structure contains the callbacks used to
// retain, release, describe, and compare the values in a dictionary."
typedef struct {
    CFIndex version;
    CFDictionaryRetainCallBack _Nullable retain;
    CFDictionaryReleaseCallBack _Nullable release;
    CFDictionaryCopyDescriptionCallBack _Nullable copyDescription;
    CFDictionaryEqualCallBack _Nullable equal;
} CFDictionaryValueCallBacks;

// corefoundation/kcftypedictionarykeycallbacks: "Predefined CFDictionaryKeyCallBacks structure
// containing a set of callbacks appropriate for use when the keys of a CFDictionary are all
// CFType-derived objects."
CF_EXPORT const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
// corefoundation/kcftypedictionaryvaluecallbacks: "Predefined CFDictionaryValueCallBacks structure
// containing a set of callbacks appropriate for use when the values in a CFDictionary are all
// CFType-derived objects."
CF_EXPORT const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;

// corefoundation/1516782-cfdictionarycreate: "Creates an immutable dictionary containing the
// specified key-value pairs."
CF_EXPORT CFDictionaryRef
CFDictionaryCreate(CFAllocatorRef _Nullable allocator, const void* _Nullable* _Nullable keys,
                   const void* _Nullable* _Nullable values, CFIndex numValues,
                   const CFDictionaryKeyCallBacks* _Nullable keyCallBacks,
                   const CFDictionaryValueCallBacks* _Nullable valueCallBacks);

// corefoundation/1542359-cfdatacreate: "Creates an immutable CFData object using data copied from
// a specified byte buffer."
CF_EXPORT CFDataRef _Null_unspecified CFDataCreate(CFAllocatorRef _Nullable allocator,
                                                   const uint8_t* _Nullable bytes, CFIndex length);

CF_IMPLICIT_BRIDGING_DISABLED
CF_ASSUME_NONNULL_END
