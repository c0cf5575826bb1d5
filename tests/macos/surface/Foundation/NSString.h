#pragma once

#include <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@class NSArray<ObjectType>;

// foundation/unichar: "Type for UTF-16 code units."
typedef unsigned short unichar;
// foundation/nsstringencoding: "The following constants are provided by NSString as possible
// string encodings."
typedef NSUInteger NSStringEncoding;
enum {
    // foundation/1497293-string_encodings: "Constants for encoding standards used when converting
    // raw data to and from string representations."
    NSASCIIStringEncoding = 1,
    // foundation/nsutf8stringencoding: "An 8-bit representation of Unicode characters, suitable
    // for transmission or storage by ASCII-based systems."
    NSUTF8StringEncoding = 4,
    // foundation/1497293-string_encodings/nsutf16littleendianstringencoding:
    // "NSUTF16StringEncoding encoding with explicit endianness specified."
    NSUTF16LittleEndianStringEncoding = 0x94000100,
};
// foundation/nsstring: "A static, plain-text Unicode string object which you use when you need
// reference semantics or other Foundation-specific behavior."
@interface NSString : NSObject <NSCopying, NSMutableCopying, NSSecureCoding>
// foundation/nsstring/1414212-length: "The number of UTF-16 code units in the receiver."
@property(readonly) NSUInteger length;
// foundation/nsstring/1414645-character: "Returns the character at a given UTF-16 code unit
// index."
- (unichar)characterAtIndex:(NSUInteger)index;
// foundation/nsstring/1409306-init: "Returns an initialized NSString object that contains no
// characters."
- (instancetype)init NS_DESIGNATED_INITIALIZER;
@end

@interface NSString (NSStringExtensionMethods)
// foundation/nsstring/1497312-string: "Returns an empty string."
+ (instancetype)string;
// foundation/nsstring/1497372-stringwithstring: "Returns a string created by copying the
// characters from another given string."
+ (instancetype)stringWithString:(NSString*)string;
// foundation/nsstring/1497379-stringwithutf8string: "Returns a string created by copying the data
// from a given C array of UTF8-encoded bytes."
+ (nullable instancetype)stringWithUTF8String:(const char*)nullTerminatedCString;
// foundation/nsstring/1412128-init: "Returns an NSString object initialized by copying the
// characters from a given C array of UTF8-encoded bytes."
- (nullable instancetype)initWithUTF8String:(const char*)nullTerminatedCString;
// foundation/nsstring/1407339-init: "Returns an initialized NSString object containing a given
// number of bytes from a given buffer of bytes interpreted in a given encoding."
- (nullable instancetype)initWithBytes:(const void*)bytes
                                length:(NSUInteger)len
                              encoding:(NSStringEncoding)encoding;
// foundation/nsstring/1411189-utf8string: "A null-terminated UTF8 representation of the string."
@property(nullable, readonly) const char* UTF8String NS_RETURNS_INNER_POINTER;
// foundation/nsstring/1410267-integervalue: "The NSInteger value of the string."
@property(readonly) NSInteger integerValue;
// foundation/nsstring/1414031-doublevalue: "The floating-point value of the string as a double."
@property(readonly) double doubleValue;
// foundation/nsstring/1409420-boolvalue: "The Boolean value of the string."
@property(readonly) BOOL boolValue;
// foundation/nsstring/1407803-isequaltostring: "Returns a Boolean value that indicates whether a
// given string is equal to the receiver using a literal Unicode-based comparison."
- (BOOL)isEqualToString:(NSString*)aString;
// foundation/nsstring/1410309-hasprefix: "Returns a Boolean value that indicates whether a given
// string matches the beginning characters of the receiver."
- (BOOL)hasPrefix:(NSString*)str;
// foundation/nsstring/1416529-hassuffix: "Returns a Boolean value that indicates whether a given
// string matches the ending characters of the receiver."
- (BOOL)hasSuffix:(NSString*)str;
// foundation/nsstring/1414563-contains: "Returns a Boolean value indicating whether the string
// contains a given string by performing a case-sensitive, locale-unaware search."
- (BOOL)containsString:(NSString*)str;
// foundation/nsstring/1412307-appending: "Returns a new string made by appending a given string to
// the receiver."
- (NSString*)stringByAppendingString:(NSString*)aString;
@end

@interface NSString (NSStringPathExtensions)
// foundation/nsstring/1416528-lastpathcomponent: "The last path component of the receiver."
@property(readonly, copy) NSString* lastPathComponent;
// foundation/nsstring/1414559-filesystemrepresentation: "A file system-specific representation of
// the receiver."
@property(readonly) const char* fileSystemRepresentation NS_RETURNS_INNER_POINTER;
// foundation/nsstring/1417069-appendingpathcomponent: "Returns a new string made by appending to
// the receiver a given string."
- (NSString*)stringByAppendingPathComponent:(NSString*)str;
@end

NS_ASSUME_NONNULL_END
