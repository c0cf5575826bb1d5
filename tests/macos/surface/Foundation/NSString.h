#pragma once

#include <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@class NSArray<ObjectType>;
@class NSCharacterSet;
@class NSData;
@class NSError;

typedef unsigned short unichar;
typedef NSUInteger NSStringEncoding;
enum {
    NSASCIIStringEncoding = 1,
    NSUTF8StringEncoding = 4,
    NSUTF16LittleEndianStringEncoding = 0x94000100,
};
typedef NS_OPTIONS(NSUInteger, NSStringCompareOptions) {
    NSCaseInsensitiveSearch = 1,
    NSLiteralSearch = 2,
};

@interface NSString : NSObject <NSCopying, NSMutableCopying, NSSecureCoding>
@property(readonly) NSUInteger length;
- (unichar)characterAtIndex:(NSUInteger)index;
- (instancetype)init NS_DESIGNATED_INITIALIZER;
@end

@interface NSString (NSStringExtensionMethods)
+ (instancetype)string;
+ (instancetype)stringWithString:(NSString*)string;
+ (nullable instancetype)stringWithUTF8String:(const char*)nullTerminatedCString;
+ (instancetype)stringWithFormat:(NSString*)format, ... NS_FORMAT_FUNCTION(1, 2);
- (nullable instancetype)initWithUTF8String:(const char*)nullTerminatedCString;
- (nullable instancetype)initWithBytes:(const void*)bytes
                                length:(NSUInteger)len
                              encoding:(NSStringEncoding)encoding;
- (nullable instancetype)initWithData:(NSData*)data encoding:(NSStringEncoding)encoding;
@property(nullable, readonly) const char* UTF8String NS_RETURNS_INNER_POINTER;
@property(readonly) NSInteger integerValue;
@property(readonly) double doubleValue;
@property(readonly) BOOL boolValue;
- (BOOL)isEqualToString:(NSString*)aString;
- (BOOL)hasPrefix:(NSString*)str;
- (BOOL)hasSuffix:(NSString*)str;
- (BOOL)containsString:(NSString*)str;
- (NSComparisonResult)compare:(NSString*)string;
- (NSRange)rangeOfString:(NSString*)searchString;
- (NSString*)substringFromIndex:(NSUInteger)from;
- (NSString*)substringToIndex:(NSUInteger)to;
- (NSString*)stringByAppendingString:(NSString*)aString;
- (NSString*)stringByTrimmingCharactersInSet:(NSCharacterSet*)set;
- (NSString*)stringByReplacingOccurrencesOfString:(NSString*)target
                                       withString:(NSString*)replacement;
- (NSArray<NSString*>*)componentsSeparatedByString:(NSString*)separator;
- (NSUInteger)lengthOfBytesUsingEncoding:(NSStringEncoding)enc;
- (nullable NSData*)dataUsingEncoding:(NSStringEncoding)encoding;
@end

@interface NSString (NSStringPathExtensions)
@property(readonly, copy) NSString* lastPathComponent;
@property(readonly, copy) NSString* pathExtension;
@property(readonly, copy) NSString* stringByDeletingLastPathComponent;
@property(readonly) const char* fileSystemRepresentation NS_RETURNS_INNER_POINTER;
- (NSString*)stringByAppendingPathComponent:(NSString*)str;
@end

@interface NSCharacterSet : NSObject
@property(readonly, class, copy) NSCharacterSet* whitespaceCharacterSet;
@property(readonly, class, copy) NSCharacterSet* whitespaceAndNewlineCharacterSet;
@end

@interface NSAttributedString : NSObject <NSCopying>
- (instancetype)initWithString:(NSString*)str;
@property(readonly, copy) NSString* string;
@end

NS_ASSUME_NONNULL_END
