#pragma once

#include <Foundation/NSCollections.h>

NS_ASSUME_NONNULL_BEGIN

// foundation/nsvalue: "A simple container for a single C or Objective-C data item."
@interface NSValue : NSObject <NSCopying>
// foundation/nsvalue/1412365-objctype: "A C string containing the Objective-C type of the data
// contained in the value object."
@property(readonly) const char* objCType NS_RETURNS_INNER_POINTER;
@end

@interface NSValue (NSValueRangeExtensions)
// foundation/nsvalue/rangevalue: "The Foundation range structure representation of the value."
@property(readonly) NSRange rangeValue;
@end

// foundation/nsnumber: "An object wrapper for primitive scalar numeric values."
@interface NSNumber : NSValue
// foundation/nsnumber/1407153-intvalue: "The number object's value expressed as an int, converted
// as necessary."
@property(readonly) int intValue;
// foundation/nsnumber/1417875-unsignedintvalue: "The number object's value expressed as an
// unsigned int, converted as necessary."
@property(readonly) unsigned int unsignedIntValue;
// foundation/nsnumber/1416870-longlongvalue: "The number object’s value expressed as a long long,
// converted as necessary."
@property(readonly) long long longLongValue;
// foundation/nsnumber/1414524-unsignedlonglongvalue: "The number object’s value expressed as an
// unsigned long long, converted as necessary."
@property(readonly) unsigned long long unsignedLongLongValue;
// foundation/nsnumber/1418317-floatvalue: "The number object's value expressed as a float,
// converted as necessary."
@property(readonly) float floatValue;
// foundation/nsnumber/1414104-doublevalue: "The number object's value expressed as a double,
// converted as necessary."
@property(readonly) double doubleValue;
// foundation/nsnumber/1410865-boolvalue: "The number object's value expressed as a Boolean value."
@property(readonly) BOOL boolValue;
// foundation/nsnumber/1412554-integervalue: "The number object's value expressed as an NSInteger
// object, converted as necessary."
@property(readonly) NSInteger integerValue;
// foundation/nsnumber/1413324-uintvalue: "The number object's value expressed as an NSUInteger
// object, converted as necessary."
@property(readonly) NSUInteger unsignedIntegerValue;
// foundation/nsnumber/1415802-stringvalue: "The number object's value expressed as a
// human-readable string."
@property(readonly, copy) NSString* stringValue;
// foundation/nsnumber/1411315-isequal: "Returns a Boolean value that indicates whether the number
// object’s value and a given number are equal."
- (BOOL)isEqualToNumber:(NSNumber*)number;
@end

@interface NSNumber (NSNumberCreation)
// foundation/nsnumber/1551464-numberwithchar: "Creates and returns an NSNumber object containing a
// given value, treating it as a signed char."
+ (NSNumber*)numberWithChar:(char)value;
// foundation/nsnumber/1551470-numberwithint: "Creates and returns an NSNumber object containing a
// given value, treating it as a signed int."
+ (NSNumber*)numberWithInt:(int)value;
// foundation/nsnumber/1551474-numberwithlong: "Creates and returns an NSNumber object containing a
// given value, treating it as a signed long."
+ (NSNumber*)numberWithLong:(long)value;
// foundation/nsnumber/1551477-numberwithunsignedlong: "Creates and returns an NSNumber object
// containing a given value, treating it as an unsigned long."
+ (NSNumber*)numberWithUnsignedLong:(unsigned long)value;
// foundation/nsnumber/1551462-numberwithlonglong: "Creates and returns an NSNumber object
// containing a given value, treating it as a signed long long."
+ (NSNumber*)numberWithLongLong:(long long)value;
// foundation/nsnumber/1551465-numberwithunsignedlonglong: "Creates and returns an NSNumber object
// containing a given value, treating it as an unsigned long long."
+ (NSNumber*)numberWithUnsignedLongLong:(unsigned long long)value;
// foundation/nsnumber/1551471-numberwithfloat: "Creates and returns an NSNumber object containing
// a given value, treating it as a float."
+ (NSNumber*)numberWithFloat:(float)value;
// foundation/nsnumber/1551463-numberwithdouble: "Creates and returns an NSNumber object containing
// a given value, treating it as a double."
+ (NSNumber*)numberWithDouble:(double)value;
// foundation/nsnumber/1551475-numberwithbool: "Creates and returns an NSNumber object containing a
// given value, treating it as a BOOL."
+ (NSNumber*)numberWithBool:(BOOL)value;
// foundation/nsnumber/1551473-numberwithinteger: "Creates and returns an NSNumber object
// containing a given value, treating it as an NSInteger."
+ (NSNumber*)numberWithInteger:(NSInteger)value;
// foundation/nsnumber/1551469-numberwithunsignedinteger: "Creates and returns an NSNumber object
// containing a given value, treating it as an NSUInteger."
+ (NSNumber*)numberWithUnsignedInteger:(NSUInteger)value;
@end

// foundation/nsdata: "A static byte buffer that bridges to Data; use NSData when you need
// reference semantics or other Foundation-specific behavior."
@interface NSData : NSObject <NSCopying, NSMutableCopying>
// foundation/nsdata/1416769-length: "The number of bytes contained by the data object."
@property(readonly) NSUInteger length;
// foundation/nsdata/1410616-bytes: "A pointer to the data object's contents."
@property(readonly) const void* bytes NS_RETURNS_INNER_POINTER;
@end

@interface NSData (NSDataCreation)
// foundation/nsdata/1547234-data: "Creates an empty data object."
+ (instancetype)data;
// foundation/nsdata/1547231-datawithbytes: "Creates a data object containing a given number of
// bytes copied from a given buffer."
+ (instancetype)dataWithBytes:(nullable const void*)bytes length:(NSUInteger)length;
// foundation/nsdata/1412793-init: "Initializes a data object filled with a given number of bytes
// copied from a given buffer."
- (instancetype)initWithBytes:(nullable const void*)bytes length:(NSUInteger)length;
@end

// foundation/nserrordomain: "NSErrorDomain"
typedef NSString* NSErrorDomain;
// unconfirmed: docs.rs/objc2-foundation: "pub type NSErrorUserInfoKey = NSString"
typedef NSString* NSErrorUserInfoKey;
// foundation/nscocoaerrordomain: "Cocoa errors"
FOUNDATION_EXPORT NSErrorDomain const NSCocoaErrorDomain;
// foundation/nsurlerrordomain: "URL loading system errors"
FOUNDATION_EXPORT NSErrorDomain const NSURLErrorDomain;
// foundation/nslocalizeddescriptionkey: "The corresponding value is a localized string
// representation of the error that, if present, will be returned by localizedDescription."
FOUNDATION_EXPORT NSErrorUserInfoKey const NSLocalizedDescriptionKey;
enum : NSInteger {
    // foundation/1508628-url_loading_system_error_codes/nsurlerrorcancelled: "An asynchronous load
    // has been canceled."
    NSURLErrorCancelled = -999,
    // foundation/1508628-url_loading_system_error_codes/nsurlerrorbadserverresponse: "The URL
    // Loading System received bad data from the server."
    NSURLErrorBadServerResponse = -1011,
};

// foundation/nserror: "Information about an error condition including a domain, a domain-specific
// error code, and application-specific information."
@interface NSError : NSObject <NSCopying>
// foundation/nserror/1417063-init: "Returns an NSError object initialized for a given domain and
// code with a given userInfo dictionary."
- (instancetype)initWithDomain:(NSErrorDomain)domain
                          code:(NSInteger)code
                      userInfo:(nullable NSDictionary<NSErrorUserInfoKey, id>*)dict
    NS_DESIGNATED_INITIALIZER;
// docs.rs/objc2-foundation/NSError: "pub unsafe fn errorWithDomain_code_userInfo(domain:
// &NSErrorDomain, code: NSInteger, dict: Option<&NSDictionary<NSErrorUserInfoKey, AnyObject>>) …"
+ (instancetype)errorWithDomain:(NSErrorDomain)domain
                           code:(NSInteger)code
                       userInfo:(nullable NSDictionary<NSErrorUserInfoKey, id>*)dict;
// foundation/nserror/1413924-domain: "A string containing the error domain."
@property(readonly, copy) NSErrorDomain domain;
// foundation/nserror/1409165-code: "The error code."
@property(readonly) NSInteger code;
// foundation/nserror/1411580-userinfo: "The user info dictionary."
@property(readonly, copy) NSDictionary<NSErrorUserInfoKey, id>* userInfo;
// foundation/nserror/1414418-localizeddescription: "A string containing the localized description
// of the error."
@property(readonly, copy) NSString* localizedDescription;
@end

// foundation/nsexceptionname: "NSExceptionName"
typedef NSString* NSExceptionName NS_TYPED_EXTENSIBLE_ENUM;
// foundation/nsexceptionname/1412113-genericexception: "A generic name for an exception."
FOUNDATION_EXPORT NSExceptionName const NSGenericException;
// foundation/nsexceptionname/1415426-invalidargumentexception: "Name of an exception that occurs
// when you pass an invalid argument to a method, such as a nil pointer where a non-nil object is
// required."
FOUNDATION_EXPORT NSExceptionName const NSInvalidArgumentException;
// foundation/nsexceptionname/1416220-internalinconsistencyexception: "Name of an exception that
// occurs when an internal assertion fails and implies an unexpected condition within the called
// code."
FOUNDATION_EXPORT NSExceptionName const NSInternalInconsistencyException;

// foundation/nsexception: "An object that represents a special condition that interrupts the
// normal flow of program execution."
@interface NSException : NSObject <NSCopying>
// foundation/nsexception/1569530-exceptionwithname: "Creates and returns an exception object ."
+ (NSException*)exceptionWithName:(NSExceptionName)name
                           reason:(nullable NSString*)reason
                         userInfo:(nullable NSDictionary*)userInfo;
// foundation/nsexception/1410925-name: "A string used to uniquely identify the receiver."
@property(readonly, copy) NSExceptionName name;
// foundation/nsexception/1415537-reason: "A string containing a “human-readable” reason for the
// receiver."
@property(nullable, readonly, copy) NSString* reason;
// foundation/nsexception/1418149-userinfo: "A dictionary containing application-specific data
// pertaining to the receiver."
@property(nullable, readonly, copy) NSDictionary* userInfo;
// foundation/nsexception/1416135-raise: "Raises the receiver, causing program flow to jump to the
// local exception handler."
- (void)raise;
@end

NS_ASSUME_NONNULL_END
