#pragma once

#include <Foundation/NSValues.h>

NS_ASSUME_NONNULL_BEGIN

// foundation/nsurlresourcekey: "Keys that apply to file system URLs."
typedef NSString* NSURLResourceKey NS_TYPED_EXTENSIBLE_ENUM;
// foundation/nsurlisdirectorykey: "A key for determining whether the resource is a directory."
FOUNDATION_EXPORT NSURLResourceKey const NSURLIsDirectoryKey;
// foundation/nsurlfilesizekey: "The key for the file’s size, in bytes."
FOUNDATION_EXPORT NSURLResourceKey const NSURLFileSizeKey;
// foundation/nsurltotalfileallocatedsizekey: "The key for the total allocated size of the file, in
// bytes."
FOUNDATION_EXPORT NSURLResourceKey const NSURLTotalFileAllocatedSizeKey;

// foundation/nsurl: "An object representing the location of a resource that bridges to URL; use
// NSURL when you need reference semantics or other Foundation-specific behavior."
@interface NSURL : NSObject <NSSecureCoding, NSCopying>
// foundation/nsurl/1572047-urlwithstring: "Creates and returns an NSURL object initialized with a
// provided URL string."
+ (nullable instancetype)URLWithString:(NSString*)URLString;
// foundation/nsurl/1414650-fileurlwithpath: "Initializes and returns a newly created NSURL object
// as a file URL with a specified path."
+ (NSURL*)fileURLWithPath:(NSString*)path isDirectory:(BOOL)isDir;
// foundation/nsurl/1410828-fileurl: "Initializes and returns a newly created NSURL object as a
// file URL with a specified path."
+ (NSURL*)fileURLWithPath:(NSString*)path;
// foundation/nsurl/1411492-fileurlwithfilesystemrepresentat: "Returns a new URL object initialized
// with a C string representing a local file system path."
+ (NSURL*)fileURLWithFileSystemRepresentation:(const char*)path
                                  isDirectory:(BOOL)isDir
                                relativeToURL:(nullable NSURL*)baseURL;
// foundation/nsurl/1409868-absolutestring: "The URL string for the receiver as an absolute URL."
@property(nullable, readonly, copy) NSString* absoluteString;
// foundation/nsurl/1408809-path: "The path, conforming to RFC 1808."
@property(nullable, readonly, copy) NSString* path;
// foundation/nsurl/1413437-scheme: "The scheme. (read-only)"
@property(nullable, readonly, copy) NSString* scheme;
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
// foundation/nsurl/1411592-deletinglastpathcomponent: "A URL you create by removing the last path
// component from the receiver."
@property(nullable, readonly, copy) NSURL* URLByDeletingLastPathComponent;
// foundation/nsurl/1410614-urlbyappendingpathcomponent: "Returns a new URL by appending a path
// component to the original URL."
- (nullable NSURL*)URLByAppendingPathComponent:(NSString*)pathComponent;
// foundation/nsurl/1413953-urlbyappendingpathcomponent: "Returns a new URL by appending a path
// component to the original URL, along with a trailing slash if the component is a directory."
- (nullable NSURL*)URLByAppendingPathComponent:(NSString*)pathComponent
                                   isDirectory:(BOOL)isDirectory;
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

// foundation/1414224-nssearchpathfordirectoriesindoma: "Creates a list of directory search paths."
FOUNDATION_EXPORT NSArray<NSString*>*
NSSearchPathForDirectoriesInDomains(NSSearchPathDirectory directory,
                                    NSSearchPathDomainMask domainMask, BOOL expandTilde);
// foundation/1413045-nshomedirectory: "Returns the path to either the user’s or application’s home
// directory, depending on the platform."
FOUNDATION_EXPORT NSString* NSHomeDirectory(void);
// foundation/1409211-nstemporarydirectory: "Returns the path of the temporary directory for the
// current user."
FOUNDATION_EXPORT NSString* NSTemporaryDirectory(void);

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
// foundation/filemanager/1407693-url: "Locates and optionally creates the specified common
// directory in a domain."
- (nullable NSURL*)URLForDirectory:(NSSearchPathDirectory)directory
                          inDomain:(NSSearchPathDomainMask)domain
                 appropriateForURL:(nullable NSURL*)url
                            create:(BOOL)shouldCreate
                             error:(NSError* _Nullable* _Nullable)error;
// foundation/nsfilemanager/1415645-fileexistsatpath: "Returns a Boolean value that indicates
// whether a file or directory exists at a specified path."
- (BOOL)fileExistsAtPath:(NSString*)path;
// foundation/nsfilemanager/1410277-fileexistsatpath: "Returns a Boolean value that indicates
// whether a file or directory exists at a specified path."
- (BOOL)fileExistsAtPath:(NSString*)path isDirectory:(nullable BOOL*)isDirectory;
// foundation/nsfilemanager/1415371-createdirectoryaturl: "Creates a directory with the given
// attributes at the specified URL."
- (BOOL)createDirectoryAtURL:(NSURL*)url
    withIntermediateDirectories:(BOOL)createIntermediates
                     attributes:(nullable NSDictionary<NSFileAttributeKey, id>*)attributes
                          error:(NSError* _Nullable* _Nullable)error;
// foundation/nsfilemanager/1407884-createdirectoryatpath: "Creates a directory with given
// attributes at the specified path."
- (BOOL)createDirectoryAtPath:(NSString*)path
    withIntermediateDirectories:(BOOL)createIntermediates
                     attributes:(nullable NSDictionary<NSFileAttributeKey, id>*)attributes
                          error:(NSError* _Nullable* _Nullable)error;
// foundation/nsfilemanager/1413590-removeitematurl: "Removes the file or directory at the
// specified URL."
- (BOOL)removeItemAtURL:(NSURL*)URL error:(NSError* _Nullable* _Nullable)error;
// foundation/nsfilemanager/1408573-removeitematpath: "Removes the file or directory at the
// specified path."
- (BOOL)removeItemAtPath:(NSString*)path error:(NSError* _Nullable* _Nullable)error;
// foundation/nsfilemanager/1414750-moveitematurl: "Moves the file or directory at the specified
// URL to a new location synchronously."
- (BOOL)moveItemAtURL:(NSURL*)srcURL
                toURL:(NSURL*)dstURL
                error:(NSError* _Nullable* _Nullable)error;
// foundation/nsfilemanager/1413529-moveitematpath: "Moves the file or directory at the specified
// path to a new location synchronously."
- (BOOL)moveItemAtPath:(NSString*)srcPath
                toPath:(NSString*)dstPath
                 error:(NSError* _Nullable* _Nullable)error;
// foundation/nsfilemanager/1414584-contentsofdirectoryatpath: "Performs a shallow search of the
// specified directory and returns the paths of any contained items."
- (nullable NSArray<NSString*>*)contentsOfDirectoryAtPath:(NSString*)path
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

// foundation/formatter: "An abstract class that declares an interface for objects that create,
// interpret, and validate the textual representation of values."
@interface NSFormatter : NSObject <NSCopying>
@end

// foundation/bytecountformatter: "A formatter that converts a byte count value into a localized
// description that is formatted with the appropriate byte modifier (KB, MB, GB and so on)."
@interface NSByteCountFormatter : NSFormatter
// foundation/bytecountformatter/1408178-string: "Converts a byte count into the specified string
// format without creating an NSNumber object."
+ (NSString*)stringFromByteCount:(long long)byteCount
                      countStyle:(NSByteCountFormatterCountStyle)countStyle;
@end

// foundation/bundle: "A representation of the code and resources stored in a bundle directory on
// disk."
@interface NSBundle : NSObject
// foundation/nsbundle/1410786-mainbundle: "Returns the bundle object that contains the current
// executable."
@property(class, readonly, strong) NSBundle* mainBundle;
// foundation/nsbundle/1415654-bundleurl: "The full URL of the receiver’s bundle directory."
@property(readonly, copy) NSURL* bundleURL;
// foundation/nsbundle/1407973-bundlepath: "The full pathname of the receiver’s bundle directory."
@property(readonly, copy) NSString* bundlePath;
// foundation/nsbundle/1418023-bundleidentifier: "The receiver’s bundle identifier."
@property(nullable, readonly, copy) NSString* bundleIdentifier;
// foundation/bundle/1409078-executablepath: "The full pathname of the receiver's executable file."
@property(nullable, readonly, copy) NSString* executablePath;
// foundation/nsbundle/1410470-executableurl: "The file URL of the receiver's executable file."
@property(nullable, readonly, copy) NSURL* executableURL;
// foundation/nsbundle/1417723-resourcepath: "The full pathname of the bundle’s subdirectory
// containing resources."
@property(nullable, readonly, copy) NSString* resourcePath;
// foundation/nsbundle/1414821-resourceurl: "The file URL of the bundle’s subdirectory containing
// resource files."
@property(nullable, readonly, copy) NSURL* resourceURL;
// foundation/nsbundle/1413477-infodictionary: "A dictionary, constructed from the bundle’s
// Info.plist file, that contains information about the receiver."
@property(nullable, readonly, copy) NSDictionary<NSString*, id>* infoDictionary;
// foundation/nsbundle/1408696-objectforinfodictionarykey: "Returns the value associated with the
// specified key in the receiver's information property list."
- (nullable id)objectForInfoDictionaryKey:(NSString*)key;
// foundation/nsbundle/1411540-urlforresource: "Returns the file URL for the resource identified by
// the specified name and file extension."
- (nullable NSURL*)URLForResource:(nullable NSString*)name withExtension:(nullable NSString*)ext;
// foundation/nsbundle/1411412-urlforauxiliaryexecutable: "Returns the file URL of the executable
// with the specified name in the receiver’s bundle."
- (nullable NSURL*)URLForAuxiliaryExecutable:(NSString*)executableName;
@end

NS_ASSUME_NONNULL_END
