#pragma once

#include <Foundation/NSCollections.h>

NS_ASSUME_NONNULL_BEGIN

@class NSURL;

@interface NSValue : NSObject <NSCopying>
@property(readonly) const char* objCType NS_RETURNS_INNER_POINTER;
@end

@interface NSNumber : NSValue
@property(readonly) int intValue;
@property(readonly) unsigned int unsignedIntValue;
@property(readonly) long long longLongValue;
@property(readonly) unsigned long long unsignedLongLongValue;
@property(readonly) float floatValue;
@property(readonly) double doubleValue;
@property(readonly) BOOL boolValue;
@property(readonly) NSInteger integerValue;
@property(readonly) NSUInteger unsignedIntegerValue;
@property(readonly, copy) NSString* stringValue;
- (BOOL)isEqualToNumber:(NSNumber*)number;
@end

@interface NSNumber (NSNumberCreation)
+ (NSNumber*)numberWithChar:(char)value;
+ (NSNumber*)numberWithUnsignedChar:(unsigned char)value;
+ (NSNumber*)numberWithShort:(short)value;
+ (NSNumber*)numberWithUnsignedShort:(unsigned short)value;
+ (NSNumber*)numberWithInt:(int)value;
+ (NSNumber*)numberWithUnsignedInt:(unsigned int)value;
+ (NSNumber*)numberWithLong:(long)value;
+ (NSNumber*)numberWithUnsignedLong:(unsigned long)value;
+ (NSNumber*)numberWithLongLong:(long long)value;
+ (NSNumber*)numberWithUnsignedLongLong:(unsigned long long)value;
+ (NSNumber*)numberWithFloat:(float)value;
+ (NSNumber*)numberWithDouble:(double)value;
+ (NSNumber*)numberWithBool:(BOOL)value;
+ (NSNumber*)numberWithInteger:(NSInteger)value;
+ (NSNumber*)numberWithUnsignedInteger:(NSUInteger)value;
@end

typedef NS_OPTIONS(NSUInteger, NSDataReadingOptions) {
    NSDataReadingMappedIfSafe = 1UL << 0,
};

@interface NSData : NSObject <NSCopying, NSMutableCopying>
@property(readonly) NSUInteger length;
@property(readonly) const void* bytes NS_RETURNS_INNER_POINTER;
@end

@interface NSData (NSDataCreation)
+ (instancetype)data;
+ (instancetype)dataWithBytes:(nullable const void*)bytes length:(NSUInteger)length;
+ (nullable instancetype)dataWithContentsOfURL:(NSURL*)url
                                       options:(NSDataReadingOptions)readOptionsMask
                                         error:(NSError* _Nullable* _Nullable)errorPtr;
- (instancetype)initWithBytes:(nullable const void*)bytes length:(NSUInteger)length;
@end

@interface NSDate : NSObject <NSCopying>
@property(readonly) NSTimeInterval timeIntervalSinceReferenceDate;
@end

@interface NSDate (NSDateCreation)
+ (instancetype)date;
+ (instancetype)dateWithTimeIntervalSinceNow:(NSTimeInterval)secs;
@property(class, readonly, copy) NSDate* distantFuture;
@property(class, readonly, copy) NSDate* distantPast;
@end

@interface NSUUID : NSObject <NSCopying>
+ (instancetype)UUID;
@property(readonly, copy) NSString* UUIDString;
@end

typedef NSString* NSErrorDomain;
typedef NSString* NSErrorUserInfoKey;
FOUNDATION_EXPORT NSErrorDomain const NSCocoaErrorDomain;
FOUNDATION_EXPORT NSErrorDomain const NSPOSIXErrorDomain;
FOUNDATION_EXPORT NSErrorDomain const NSOSStatusErrorDomain;
FOUNDATION_EXPORT NSErrorDomain const NSURLErrorDomain;
FOUNDATION_EXPORT NSErrorUserInfoKey const NSLocalizedDescriptionKey;
FOUNDATION_EXPORT NSErrorUserInfoKey const NSUnderlyingErrorKey;
enum : NSInteger {
    NSURLErrorCancelled = -999,
    NSURLErrorBadServerResponse = -1011,
};

@interface NSError : NSObject <NSCopying>
- (instancetype)initWithDomain:(NSErrorDomain)domain
                          code:(NSInteger)code
                      userInfo:(nullable NSDictionary<NSErrorUserInfoKey, id>*)dict
    NS_DESIGNATED_INITIALIZER;
+ (instancetype)errorWithDomain:(NSErrorDomain)domain
                           code:(NSInteger)code
                       userInfo:(nullable NSDictionary<NSErrorUserInfoKey, id>*)dict;
@property(readonly, copy) NSErrorDomain domain;
@property(readonly) NSInteger code;
@property(readonly, copy) NSDictionary<NSErrorUserInfoKey, id>* userInfo;
@property(readonly, copy) NSString* localizedDescription;
@property(nullable, readonly, copy) NSString* localizedFailureReason;
@end

typedef NSString* NSExceptionName NS_TYPED_EXTENSIBLE_ENUM;
FOUNDATION_EXPORT NSExceptionName const NSGenericException;
FOUNDATION_EXPORT NSExceptionName const NSInvalidArgumentException;
FOUNDATION_EXPORT NSExceptionName const NSInternalInconsistencyException;

@interface NSException : NSObject <NSCopying>
+ (NSException*)exceptionWithName:(NSExceptionName)name
                           reason:(nullable NSString*)reason
                         userInfo:(nullable NSDictionary*)userInfo;
@property(readonly, copy) NSExceptionName name;
@property(nullable, readonly, copy) NSString* reason;
@property(nullable, readonly, copy) NSDictionary* userInfo;
- (void)raise;
@end

NS_ASSUME_NONNULL_END
