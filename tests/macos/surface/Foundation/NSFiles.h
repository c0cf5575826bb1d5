#pragma once

#include <Foundation/NSValues.h>

NS_ASSUME_NONNULL_BEGIN

// foundation/nsurlresourcekey: "Keys that apply to file system URLs."
typedef NSString* NSURLResourceKey NS_TYPED_EXTENSIBLE_ENUM;
// foundation/nsurltotalfileallocatedsizekey: "The key for the total allocated size of the file, in
// bytes."
FOUNDATION_EXPORT NSURLResourceKey const NSURLTotalFileAllocatedSizeKey;

// foundation/nsurl: "An object representing the location of a resource that bridges to URL; use
// NSURL when you need reference semantics or other Foundation-specific behavior."
@interface NSURL : NSObject <NSSecureCoding, NSCopying>
// foundation/nsurl/1572047-urlwithstring: "Creates and returns an NSURL object initialized with a
// provided URL string."
+ (nullable instancetype)URLWithString:(NSString*)URLString;
// foundation/nsurl/1410828-fileurl: "Initializes and returns a newly created NSURL object as a
// file URL with a specified path."
+ (NSURL*)fileURLWithPath:(NSString*)path;
// foundation/nsurl/1408809-path: "The path, conforming to RFC 1808."
@property(nullable, readonly, copy) NSString* path;
// foundation/nsurl/1412925-filesystemrepresentation: "A C string containing the URL’s file system
// path."
@property(readonly) const char* fileSystemRepresentation NS_RETURNS_INNER_POINTER;
// foundation/nsurl/1408782-isfileurl: "A boolean value that determines whether the receiver is a
// file URL."
@property(readonly, getter=isFileURL) BOOL fileURL;
// foundation/nsurl/1408874-getresourcevalue: "Returns the value of the resource property for the
// specified key."
- (BOOL)getResourceValue:(out id _Nullable* _Nonnull)value
                  forKey:(NSURLResourceKey)key
                   error:(out NSError* _Nullable* _Nullable)error;
@end

@interface NSURL (NSURLPathUtilities)
// foundation/nsurl/1417444-lastpathcomponent: "The last path component."
@property(nullable, readonly, copy) NSString* lastPathComponent;
@end

// foundation/filemanager/searchpathdirectory: "The location of significant directories."
typedef NS_ENUM(NSUInteger, NSSearchPathDirectory) {
    // foundation/nssearchpathdirectory/nscachesdirectory: "Discardable cache files
    // (Library/Caches)."
    NSCachesDirectory = 13,
    // foundation/nssearchpathdirectory/nsapplicationsupportdirectory: "Application support files
    // (Library/Application Support)."
    NSApplicationSupportDirectory = 14,
};
// foundation/nssearchpathdomainmask: "Domain constants specifying base locations to use when you
// search for significant directories."
typedef NS_OPTIONS(NSUInteger, NSSearchPathDomainMask) {
    // foundation/nssearchpathdomainmask/nsuserdomainmask: "The user’s home directory—the place to
    // install user’s personal items (~)."
    NSUserDomainMask = 1,
};
// foundation/nsdirectoryenumerationoptions: "Options for enumerating the contents of directories."
typedef NS_OPTIONS(NSUInteger, NSDirectoryEnumerationOptions) {
    // foundation/nsdirectoryenumerationoptions/nsdirectoryenumerationskipssubdirectorydescendants:
    // "An option to perform a shallow enumeration that doesn’t descend into directories."
    NSDirectoryEnumerationSkipsSubdirectoryDescendants = 1UL << 0,
    // foundation/nsdirectoryenumerationoptions/nsdirectoryenumerationskipspackagedescendants: "An
    // option to treat packages like files and not descend into their contents."
    NSDirectoryEnumerationSkipsPackageDescendants = 1UL << 1,
    // foundation/nsdirectoryenumerationoptions/nsdirectoryenumerationskipshiddenfiles: "An option
    // to skip hidden files."
    NSDirectoryEnumerationSkipsHiddenFiles = 1UL << 2,
};
// foundation/nsfileattributekey: "Keys in dictionaries used to get and set file attributes."
typedef NSString* NSFileAttributeKey NS_TYPED_EXTENSIBLE_ENUM;

// foundation/nsdirectoryenumerator: "An object that enumerates the contents of a directory."
@interface NSDirectoryEnumerator<ObjectType> : NSEnumerator <ObjectType>
@end

// foundation/filemanager: "A convenient interface to the contents of the file system, and the
// primary means of interacting with it."
@interface NSFileManager : NSObject
// foundation/filemanager/1409234-default: "The shared file manager object for the process."
@property(class, readonly, strong) NSFileManager* defaultManager;
// foundation/nsfilemanager/1407726-urlsfordirectory: "Returns an array of URLs for the specified
// common directory in the requested domains."
- (NSArray<NSURL*>*)URLsForDirectory:(NSSearchPathDirectory)directory
                           inDomains:(NSSearchPathDomainMask)domainMask;
// foundation/nsfilemanager/1415645-fileexistsatpath: "Returns a Boolean value that indicates
// whether a file or directory exists at a specified path."
- (BOOL)fileExistsAtPath:(NSString*)path;
// foundation/nsfilemanager/1415371-createdirectoryaturl: "Creates a directory with the given
// attributes at the specified URL."
- (BOOL)createDirectoryAtURL:(NSURL*)url
    withIntermediateDirectories:(BOOL)createIntermediates
                     attributes:(nullable NSDictionary<NSFileAttributeKey, id>*)attributes
                          error:(NSError* _Nullable* _Nullable)error;
// foundation/nsfilemanager/1409571-enumeratoraturl: "Returns a directory enumerator object that
// can be used to perform a deep enumeration of the directory at the specified URL."
- (nullable NSDirectoryEnumerator<NSURL*>*)
               enumeratorAtURL:(NSURL*)url
    includingPropertiesForKeys:(nullable NSArray<NSURLResourceKey>*)keys
                       options:(NSDirectoryEnumerationOptions)mask
                  errorHandler:(nullable BOOL (^)(NSURL* url, NSError* error))handler;
@end

// unconfirmed: docs.rs/objc2-foundation: "pub struct NSByteCountFormatterCountStyle(pub
// NSInteger)"
typedef NS_ENUM(NSInteger, NSByteCountFormatterCountStyle) {
    // docs.rs/objc2-foundation: "pub const File: Self = Self(0)"
    NSByteCountFormatterCountStyleFile = 0,
    // docs.rs/objc2-foundation: "pub const Memory: Self = Self(1)"
    NSByteCountFormatterCountStyleMemory = 1,
    // docs.rs/objc2-foundation: "pub const Decimal: Self = Self(2)"
    NSByteCountFormatterCountStyleDecimal = 2,
    // docs.rs/objc2-foundation: "pub const Binary: Self = Self(3)"
    NSByteCountFormatterCountStyleBinary = 3,
};

// foundation/bundle: "A representation of the code and resources stored in a bundle directory on
// disk."
@interface NSBundle : NSObject
// foundation/nsbundle/1410786-mainbundle: "Returns the bundle object that contains the current
// executable."
@property(class, readonly, strong) NSBundle* mainBundle;
// foundation/nsbundle/1418023-bundleidentifier: "The receiver’s bundle identifier."
@property(nullable, readonly, copy) NSString* bundleIdentifier;
@end

NS_ASSUME_NONNULL_END
